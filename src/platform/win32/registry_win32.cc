// The real registry.
#include <windows.h>

#include "platform/registry.h"

namespace plat {
namespace {

const wchar_t* W(const char16_t* p) { return reinterpret_cast<const wchar_t*>(p); }

// The root key of a hive; for ThreadUser one opened with RegOpenCurrentUser, which
// the holder closes.
class Root {
 public:
  Root(Hive hive, REGSAM access) {
    if (hive == Hive::LocalMachine) {
      key_ = HKEY_LOCAL_MACHINE;
    } else if (hive == Hive::CurrentUser) {
      key_ = HKEY_CURRENT_USER;
    } else {
      error_ = ::RegOpenCurrentUser(access, &key_);
      owned_ = error_ == ERROR_SUCCESS;
    }
  }
  ~Root() {
    if (owned_) ::RegCloseKey(key_);
  }
  HKEY key() const { return key_; }
  LONG error() const { return error_; }
 private:
  HKEY key_ = nullptr;
  LONG error_ = ERROR_SUCCESS;
  bool owned_ = false;
};

}  // namespace

long QueryRegValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t* type,
                   void* data, uint32_t* size) {
  Root root(hive, KEY_READ);
  if (root.error()) return root.error();
  HKEY h = nullptr;
  LONG r = ::RegOpenKeyExW(root.key(), W(key), 0, KEY_QUERY_VALUE, &h);
  if (r != ERROR_SUCCESS) return r;
  DWORD t = 0;
  DWORD n = size ? *size : 0;
  r = ::RegQueryValueExW(h, W(name), nullptr, &t, static_cast<BYTE*>(data), size ? &n : nullptr);
  ::RegCloseKey(h);
  if (type) *type = t;
  if (size) *size = n;
  return r;
}

long SetRegValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t type,
                 const void* data, uint32_t size) {
  Root root(hive, KEY_WRITE);
  if (root.error()) return root.error();
  HKEY h = nullptr;
  LONG r = ::RegCreateKeyExW(root.key(), W(key), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &h, nullptr);
  if (r != ERROR_SUCCESS) return r;
  r = ::RegSetValueExW(h, W(name), 0, type, static_cast<const BYTE*>(data), size);
  ::RegCloseKey(h);
  return r;
}

long DeleteRegValue(Hive hive, const char16_t* key, const char16_t* name) {
  Root root(hive, KEY_WRITE);
  if (root.error()) return root.error();
  HKEY h = nullptr;
  LONG r = ::RegOpenKeyExW(root.key(), W(key), 0, KEY_SET_VALUE, &h);
  if (r != ERROR_SUCCESS) return r;
  r = ::RegDeleteValueW(h, W(name));
  ::RegCloseKey(h);
  return r;
}

bool OpenCurrentUserHive() {
  HKEY h = nullptr;
  if (::RegOpenCurrentUser(KEY_READ, &h) != ERROR_SUCCESS) return false;
  ::RegCloseKey(h);
  return true;
}

long ListRegKey(Hive hive, const char16_t* key, std::vector<std::u16string>& subkeys,
                std::vector<RegValue>& values, RegFileProblem*) {
  subkeys.clear();
  values.clear();
  Root root(hive, KEY_READ);
  if (root.error()) return root.error();
  HKEY h = nullptr;
  LONG r = ::RegOpenKeyExW(root.key(), W(key), 0, KEY_READ, &h);
  if (r != ERROR_SUCCESS) return r;
  DWORD maxSubkey = 0, maxName = 0, maxData = 0;
  r = ::RegQueryInfoKeyW(h, nullptr, nullptr, nullptr, nullptr, &maxSubkey, nullptr, nullptr, &maxName,
                         &maxData, nullptr, nullptr);
  std::vector<wchar_t> name;
  for (DWORD i = 0; r == ERROR_SUCCESS; ++i) {
    name.assign(maxSubkey + 2, L'\0');
    DWORD length = static_cast<DWORD>(name.size());
    r = ::RegEnumKeyExW(h, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (r == ERROR_SUCCESS) subkeys.emplace_back(reinterpret_cast<const char16_t*>(name.data()), length);
  }
  if (r == ERROR_NO_MORE_ITEMS) r = ERROR_SUCCESS;
  for (DWORD i = 0; r == ERROR_SUCCESS; ++i) {
    name.assign(maxName + 2, L'\0');
    DWORD length = static_cast<DWORD>(name.size());
    DWORD type = 0, size = maxData;
    RegValue value;
    value.data.resize(maxData);
    r = ::RegEnumValueW(h, i, name.data(), &length, nullptr, &type, value.data.data(), &size);
    if (r != ERROR_SUCCESS) break;
    value.name.assign(reinterpret_cast<const char16_t*>(name.data()), length);
    value.type = type;
    value.data.resize(size);
    values.push_back(std::move(value));
  }
  ::RegCloseKey(h);
  return r == ERROR_NO_MORE_ITEMS ? 0 : r;
}

long SetRegValueChecked(Hive hive, const char16_t* key, const char16_t* name, uint32_t type,
                        const void* data, uint32_t size, RegFileProblem*) {
  return SetRegValue(hive, key, name, type, data, size);
}

long DeleteRegValueChecked(Hive hive, const char16_t* key, const char16_t* name, RegFileProblem*) {
  return DeleteRegValue(hive, key, name);
}

std::string RegistryFilePath(Hive) { return {}; }
void RegistryReload() {}

}  // namespace plat
