#include <windows.h>
#include <winnetwk.h>

#include <string>
#include <vector>

#include "platform/path.h"

namespace plat {
namespace {

const wchar_t* W(const std::u16string& s) { return reinterpret_cast<const wchar_t*>(s.c_str()); }
std::u16string U(const wchar_t* s) { return s ? std::u16string(reinterpret_cast<const char16_t*>(s)) : u""; }

constexpr wchar_t kShellFolders[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

bool UserShellFolder(const std::u16string& name, std::u16string& out) {
  DWORD size = 0;
  if (::RegGetValueW(HKEY_CURRENT_USER, kShellFolders, W(name), RRF_RT_REG_SZ, nullptr, nullptr, &size) !=
      ERROR_SUCCESS)
    return false;
  std::wstring value(size / sizeof(wchar_t) + 1, L'\0');
  if (::RegGetValueW(HKEY_CURRENT_USER, kShellFolders, W(name), RRF_RT_REG_SZ, nullptr, value.data(), &size) !=
      ERROR_SUCCESS)
    return false;
  out = U(value.c_str());
  return true;
}

}  // namespace

std::u16string CurrentDirectory() {
  DWORD n = ::GetCurrentDirectoryW(0, nullptr);
  std::wstring buf(n + 1, L'\0');
  n = ::GetCurrentDirectoryW(static_cast<DWORD>(buf.size()), buf.data());
  buf.resize(n);
  return U(buf.c_str());
}

std::u16string DriveCurrentDirectory(char16_t drive) {
  const wchar_t name[] = {L'=', static_cast<wchar_t>(drive), L':', 0};
  wchar_t buf[MAX_PATH + 1];
  const DWORD n = ::GetEnvironmentVariableW(name, buf, MAX_PATH + 1);
  return n && n <= MAX_PATH ? U(buf) : u"";
}

bool PathsUsePosixRoot() { return false; }

std::u16string ExpandEnvironment(const std::u16string& text) {
  std::wstring buf(MAX_PATH, L'\0');
  DWORD n = ::ExpandEnvironmentStringsW(W(text), buf.data(), static_cast<DWORD>(buf.size()));
  if (n > buf.size()) {
    buf.assign(n, L'\0');
    n = ::ExpandEnvironmentStringsW(W(text), buf.data(), static_cast<DWORD>(buf.size()));
  }
  if (n == 0 || n > buf.size()) return text;
  return U(buf.c_str());
}

bool ShellFolder(const std::u16string& name, std::u16string& out) {
  if (UserShellFolder(name, out)) return true;
  // The machine's key is opened, but only the user's values count.
  HKEY machine = nullptr;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kShellFolders, 0, KEY_READ, &machine) == ERROR_SUCCESS)
    ::RegCloseKey(machine);
  return UserShellFolder(name, out);
}

bool VolumeInformation(const std::u16string& root, uint32_t* maxComponent, uint32_t* fsFlags) {
  DWORD component = 0, flags = 0;
  if (!::GetVolumeInformationW(root.empty() ? nullptr : W(root), nullptr, 0, nullptr, &component, &flags, nullptr,
                               0))
    return false;
  if (maxComponent) *maxComponent = component;
  if (fsFlags) *fsFlags = flags;
  return true;
}

int ToUniversalName(const std::u16string& path, std::u16string& out) {
  const bool drivePath = path.size() >= 2 && path[1] == u':' &&
                         ((path[0] >= u'A' && path[0] <= u'Z') || (path[0] >= u'a' && path[0] <= u'z'));
  if (!drivePath) return 0;
  std::vector<char> buf(1024);
  DWORD size = static_cast<DWORD>(buf.size());
  DWORD rc = ::WNetGetUniversalNameW(W(path), UNIVERSAL_NAME_INFO_LEVEL, buf.data(), &size);
  if (rc == ERROR_MORE_DATA) {
    buf.assign(size, 0);
    rc = ::WNetGetUniversalNameW(W(path), UNIVERSAL_NAME_INFO_LEVEL, buf.data(), &size);
  }
  if (rc != NO_ERROR) return -1;
  out = U(reinterpret_cast<UNIVERSAL_NAME_INFOW*>(buf.data())->lpUniversalName);
  return 1;
}

bool RememberedShares(std::vector<NetworkShare>& out) {
  out.clear();
  HANDLE e = nullptr;
  if (::WNetOpenEnumW(RESOURCE_REMEMBERED, RESOURCETYPE_DISK, 0, nullptr, &e) != NO_ERROR) return false;
  std::vector<char> buf(16000);
  for (;;) {
    DWORD count = 1, size = static_cast<DWORD>(buf.size());
    if (::WNetEnumResourceW(e, &count, buf.data(), &size) != NO_ERROR || count == 0) break;
    const auto* r = reinterpret_cast<const NETRESOURCEW*>(buf.data());
    out.push_back({U(r->lpRemoteName), U(r->lpLocalName)});
  }
  ::WNetCloseEnum(e);
  return true;
}

bool SharesCoverSubfolders() { return false; }

bool CanonicalizePath(const std::u16string& path, std::u16string& out) {
  using Fn = BOOL(WINAPI*)(LPWSTR, LPCWSTR);
  static const Fn canonicalize = [] {
    HMODULE lib = ::LoadLibraryW(L"shlwapi.dll");
    return lib ? reinterpret_cast<Fn>(reinterpret_cast<void*>(::GetProcAddress(lib, "PathCanonicalizeW"))) : nullptr;
  }();
  if (!canonicalize || path.size() >= MAX_PATH) return false;
  wchar_t buffer[MAX_PATH] = {};
  if (!canonicalize(buffer, W(path))) return false;
  out = U(buffer);
  return true;
}

}  // namespace plat
