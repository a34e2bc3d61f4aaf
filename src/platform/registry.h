// Raw registry values. Windows: the real registry. Linux: one text file per hive in
// the registry editor's export format ("Windows Registry Editor Version 5.00"),
// in $ZXUT_REGISTRY_DIR (HKLM.reg, HKCU.reg) if set, else /etc/zarnik/HKLM.reg and
// ${XDG_CONFIG_HOME:-~/.config}/zarnik/HKCU.reg. Key names compare without case.
// The reading rules (stack buffer and retry, "T" booleans, the hive rule) live
// above this layer in core/Registry.h.
#pragma once
#include <cstdint>
#include <string>

namespace plat {

enum class Hive { LocalMachine, CurrentUser };
constexpr uint32_t kRegSz = 1;
constexpr uint32_t kRegDword = 4;

// RegQueryValueExW: data may be null to ask for the size; *size is in bytes.
// Returns 0, 2 (not found) or 234 (more data, *size set to what is needed).
// String data is UTF-16 with its terminator.
long RegQueryValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t* type,
                   void* data, uint32_t* size);
// RegCreateKeyExW + RegSetValueExW. Returns 0 or a Windows error number.
long RegSetValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t type,
                 const void* data, uint32_t size);
long RegDeleteValue(Hive hive, const char16_t* key, const char16_t* name);
// RegOpenCurrentUser: false when the call fails (the hive rule then falls back).
bool OpenCurrentUserHive();

// Where the Linux store keeps a hive (empty on Windows); for `zxut reg` and tests.
std::string RegistryFilePath(Hive hive);
// Forget cached file contents (tests write the files directly).
void RegistryReload();

}  // namespace plat
