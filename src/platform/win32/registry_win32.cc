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

std::string RegistryFilePath(Hive) { return {}; }
void RegistryReload() {}

}  // namespace plat
