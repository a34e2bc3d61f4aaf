// The path services behind the path exports: normalising, the mapping between
// local paths and network shares, folder tokens, the kind of an output target
// and the facts of a volume. Every service that takes a path works on its
// normalised form (NormalizePath).
// Errors: the result values the exports pass on; no exceptions, no messages.
// Threads: any thread.
//
//   zx::String unc;
//   if (zx::EnsureUNCPath(u"Z:\\docs\\a.txt", unc) == 0) ...   // "\\srv\share\docs\a.txt"
#pragma once
#include <cstdint>

#include "core/strings/String.h"

namespace zx {

// The full path (room 260, as the system call gets it) with "\.\" made "\"; the
// path as given when it has no full form in that room.
String NormalizePath(const String& path);

// 0 with the network form of a drive path (or the path itself, when it isn't one);
// -1 when a drive path can't be resolved.
int32_t EnsureUNCPath(const String& path, String& out);
// 0 with the local name of a "\\server\share" path that has a remembered
// connection (or the path itself); -1 when the network can't be listed.
int32_t EnsureLocalPath(const String& path, String& out);

// Environment variables, then the user's known folders ("%Desktop%", "%Personal%"...);
// names that are neither stay as written.
String ExpandDefaultTokensOfFolderPath(const String& text);

// The kind of an output target.
enum : int32_t {
  kPathKindNone = 0,
  kPathKindFile = 1,
  kPathKindFolder = 2,
  kPathKindPrinterPort = 3,   // LPTn:
  kPathKindSerialPort = 4,    // COMn:
  kPathKindUsb = 6,           // USB:...
};
int32_t ClassifyPath(const String& target);

// UTIL_FSINFO: five u32 fields, dwSize 20.
struct scFSInfo {
  uint32_t dwSize;
  uint32_t dwMaxPath;
  uint32_t dwMaxDrive;
  uint32_t dwMaxComponent;
  uint32_t dwFlags;
};
constexpr uint32_t kFSInfoCaseSensitive = 1;
constexpr uint32_t kFSInfoCasePreserved = 2;
constexpr uint32_t kFSInfoUnicode = 4;
constexpr uint32_t kFSInfoLongNames = 8;
constexpr uint32_t kFSInfoCompressed = 16;
constexpr uint32_t kFSInfoWrongSize = 64;
// 64 for a wrong dwSize (the block untouched), else 1 when names are
// case-sensitive, 0 otherwise. A volume that can't be asked reports a longest
// component of 0 and no flags.
uint32_t GetFSInfo(const String& root, scFSInfo* info);

}  // namespace zx
