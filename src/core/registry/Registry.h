// The library's registry reader, above the raw values of platform/registry.h:
//
// - String values are read into a 512-byte stack buffer first and, on
//   ERROR_MORE_DATA, once more into a heap buffer of the reported size.
// - A boolean string value is true when its first character is "T".
// - The hive rule: keys under the current user come from HKEY_CURRENT_USER, unless
//   the value "Registry.ImpersonationAware" under HKEY_LOCAL_MACHINE\software\zarnik
//   begins with "T" (read once); then RegOpenCurrentUser supplies the hive (the
//   impersonated user's), and the first failure of that call falls back to
//   HKEY_CURRENT_USER for the rest of the process.
//
// Passing plat::Hive::CurrentUser to these functions applies the hive rule.
// Threads: any thread; the hive rule is an atomic read once.
#pragma once
#include <cstdint>
#include <string>


#include "platform/registry.h"

namespace zx {

// REG_SZ or REG_EXPAND_SZ (not expanded), without trailing terminators. False (and
// `out` untouched) when the value is missing, of another type or unreadable.
bool RegReadString(plat::Hive hive, const char16_t* key, const char16_t* name, std::u16string& out);
// True when the string value exists and begins with "T"; `absent` when it is missing
// or not a string.
bool RegReadBool(plat::Hive hive, const char16_t* key, const char16_t* name, bool absent);
// REG_DWORD of 4 bytes.
bool RegReadDword(plat::Hive hive, const char16_t* key, const char16_t* name, uint32_t& out);

// Writes (creating the key); 0 or a Windows error number.
long RegWriteString(plat::Hive hive, const char16_t* key, const char16_t* name, const char16_t* text);
long RegWriteDword(plat::Hive hive, const char16_t* key, const char16_t* name, uint32_t value);

// The hive that "the current user" means now, after the hive rule.
plat::Hive UserHive();

// Tests: forget the decision of the hive rule and, optionally, replace the
// RegOpenCurrentUser probe (null restores the platform's).
void ResetHiveRuleForTests(bool (*openCurrentUser)() = nullptr);

}  // namespace zx
