// Raw registry values. Windows: the real registry. Linux: one text file per hive in
// the registry editor's export format (see regfile.h), in $ZXUT_REGISTRY_DIR
// (HKLM.reg, HKCU.reg) if set, else /etc/zarnik/HKLM.reg and
// ${XDG_CONFIG_HOME:-~/.config}/zarnik/HKCU.reg. Key and value names compare without
// case. Writes keep every other key and value, replace the file atomically and are
// serialised between processes by a lock file next to it ("<file>.lock").
// The reading rules (stack buffer and retry, "T" booleans, the hive rule) live
// above this layer in core/Registry.h.
// Errors: the value calls return the Windows error number (0: success); they do not
// set plat::LastError.
// Threads: any thread; on Linux one lock per process serialises the store, and the
// lock file serialises writers of different processes.
//
//   uint32_t type = 0, size = sizeof(value);
//   if (plat::QueryRegValue(plat::Hive::CurrentUser, u"Software\\zarnik", u"X", &type, &value, &size) == 0) ...
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "platform/errors.h"   // the error numbers these return

namespace plat {

enum class Hive {
  LocalMachine,
  CurrentUser,
  // The hive of the user the calling thread impersonates (RegOpenCurrentUser), the
  // same as CurrentUser when nobody is impersonated; on Linux always CurrentUser.
  ThreadUser,
};
constexpr uint32_t kRegSz = 1;
constexpr uint32_t kRegExpandSz = 2;
constexpr uint32_t kRegBinary = 3;
constexpr uint32_t kRegDword = 4;
constexpr uint32_t kRegMultiSz = 7;
constexpr uint32_t kRegQword = 11;

// RegOpenKeyExW + RegQueryValueExW: data may be null to ask for the size; *size is
// in bytes (in: the buffer, out: the value's size). Returns 0, 2 (key or value not
// found), 234 (more data; *size set to what is needed) or 87 (null size with data).
// String data is UTF-16LE with its terminator, as it was stored.
long QueryRegValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t* type,
                   void* data, uint32_t* size);
// RegCreateKeyExW + RegSetValueExW. Returns 0 or a Windows error number (5 when the
// hive's file or folder may not be written).
long SetRegValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t type,
                 const void* data, uint32_t size);
// RegOpenKeyExW + RegDeleteValueW. Returns 0, 2 (no such key or value) or an error.
long DeleteRegValue(Hive hive, const char16_t* key, const char16_t* name);
// RegOpenCurrentUser succeeds (the handle is closed again at once). Linux: true.
bool OpenCurrentUserHive();

// ---- The checked calls of an editing tool (`zxut reg`). Unlike the calls above,
// which read past a line of the store they do not understand and keep it, these
// report such a line, and the changing ones refuse to rewrite the file: they return
// 1009 (ERROR_BADDB) with `problem` telling the file, line and what is wrong.
// Windows has no store file: there they are the plain calls.
struct RegFileProblem {
  std::string file;
  size_t line = 0;       // 1-based
  std::string what;      // "a value whose data does not read", ...
};
struct RegValue {
  std::u16string name;   // empty for the key's default value
  uint32_t type = 0;
  std::vector<uint8_t> data;
};
// The key's direct subkeys and its values (an empty key: the hive's). 0, 2 (no such
// key) or an error; a file with a problem is listed all the same, with the first
// problem in `problem`.
long ListRegKey(Hive hive, const char16_t* key, std::vector<std::u16string>& subkeys,
                std::vector<RegValue>& values, RegFileProblem* problem);
long SetRegValueChecked(Hive hive, const char16_t* key, const char16_t* name, uint32_t type,
                        const void* data, uint32_t size, RegFileProblem* problem);
long DeleteRegValueChecked(Hive hive, const char16_t* key, const char16_t* name,
                           RegFileProblem* problem);

// Where the Linux store keeps a hive (empty on Windows); for `zxut reg` and tests.
std::string RegistryFilePath(Hive hive);
// Forget cached file contents (the store also notices changed files by itself).
void RegistryReload();

}  // namespace plat
