// The user's name, the token's groups, the window station's flags and the user's
// registry root through the system.
#include <windows.h>

#include <vector>

#include "platform/session.h"

namespace plat {

std::u16string UserName() {
  wchar_t buf[64];
  DWORD n = static_cast<DWORD>(sizeof buf / sizeof buf[0]);
  if (!::GetUserNameW(buf, &n) || n == 0) return {};
  return std::u16string(reinterpret_cast<const char16_t*>(buf), n - 1);
}

SessionKind ProcessSessionKind(uint32_t* error, int* step) {
  *error = 0;
  *step = 0;
  HANDLE token = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) {
    *error = ::GetLastError();
    return SessionKind::Failed;
  }
  DWORD size = 0;
  if (!::GetTokenInformation(token, TokenGroups, nullptr, 0, &size) &&
      ::GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    *error = ::GetLastError();
    *step = 1;
    ::CloseHandle(token);
    return SessionKind::Failed;
  }
  std::vector<unsigned char> data(size ? size : 1);
  if (!::GetTokenInformation(token, TokenGroups, data.data(), size, &size)) {
    *error = ::GetLastError();
    *step = 2;
    ::CloseHandle(token);
    return SessionKind::Failed;
  }
  ::CloseHandle(token);
  SID_IDENTIFIER_AUTHORITY nt = SECURITY_NT_AUTHORITY;
  PSID interactive = nullptr, service = nullptr;
  if (!::AllocateAndInitializeSid(&nt, 1, SECURITY_INTERACTIVE_RID, 0, 0, 0, 0, 0, 0, 0, &interactive)) {
    *error = ::GetLastError();
    return SessionKind::Failed;
  }
  if (!::AllocateAndInitializeSid(&nt, 1, SECURITY_SERVICE_RID, 0, 0, 0, 0, 0, 0, 0, &service)) {
    *error = ::GetLastError();
    ::FreeSid(interactive);
    return SessionKind::Failed;
  }
  SessionKind kind = SessionKind::Service;
  const auto* groups = reinterpret_cast<const TOKEN_GROUPS*>(data.data());
  for (DWORD i = 0; i < groups->GroupCount; ++i) {
    if (::EqualSid(groups->Groups[i].Sid, interactive)) {
      kind = SessionKind::Interactive;
      break;
    }
    if (::EqualSid(groups->Groups[i].Sid, service)) break;
  }
  ::FreeSid(interactive);
  ::FreeSid(service);
  return kind;
}

int WindowStationVisible() {
  HWINSTA station = ::GetProcessWindowStation();
  USEROBJECTFLAGS flags{};
  DWORD needed = 0;
  if (!station || !::GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, &needed)) return -1;
  return (flags.dwFlags & WSF_VISIBLE) ? 1 : 0;
}

bool UserSoftwareKeyOpens(Hive hive) {
  HKEY root = HKEY_CURRENT_USER;
  bool close = false;
  if (hive == Hive::ThreadUser && ::RegOpenCurrentUser(KEY_READ, &root) == ERROR_SUCCESS) close = true;
  HKEY key = nullptr;
  const bool ok = ::RegOpenKeyExW(root, L"Software", 0, KEY_READ, &key) == ERROR_SUCCESS;
  if (key) ::RegCloseKey(key);
  if (close) ::RegCloseKey(root);
  return ok;
}

}  // namespace plat
