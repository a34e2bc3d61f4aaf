// The temporary folder and the naming rule of temporary files: "_22_" before the
// base name (the mark by which the sweeper knows the library's own files) and a
// rising number, created exclusively so that no two callers get one name.
// Threads: any thread; the exclusive create keeps names apart, also between
// processes.
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "file/File.h"

namespace zx {

// Flag bits of the naming rule.
enum : uint32_t {
  kTempLongFolder = 0x1,     // the long form of the temporary folder
  kTempPlainFirst = 0x2,     // try the name without a number first
  kTempRandomAccess = 0x4,   // random instead of sequential access
  kTempNoPrefix = 0x10,      // no "_22_" prefix
};

// The temporary folder, ending with a separator; cached, one cache per form.
String UtilGetTempPath(bool longForm);
// Forgets both cached forms (tests that move the temporary folder).
void UtilResetTempPathCache();

// Creates the folders (a backslash-separated relative path, usually "zarnik")
// under the temporary folder and a new file named from `base` and `extension`
// in it; see UtilMakeTempName.
String UtilCreateTempName(const String& folders, const String& base, const String& extension, uint32_t flags,
                          clsFileHandleHolder* holder);

// Creates a new, empty file named from `path` (folder and base) and `extension`
// and returns its name; empty after 0xFFFFF failed attempts, or at once when the
// folder cannot be reached. With a holder the file stays open there, to be
// deleted when closed, and a file of the same name untouched for more than 7
// days may be taken over; without one it is closed and stays behind.
String UtilMakeTempName(const String& path, const String& extension, uint32_t flags, clsFileHandleHolder* holder);

}  // namespace zx
