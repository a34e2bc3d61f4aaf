// The old viewer's window, mailslot and WM_COPYDATA.
#include "platform/legacy_viewer.h"

#include <windows.h>

namespace plat {

uint64_t FindViewerWindow(const char16_t* className) {
  return reinterpret_cast<uint64_t>(FindWindowW(reinterpret_cast<const wchar_t*>(className), nullptr));
}

bool IsViewerWindow(uint64_t window) {
  return window != 0 && IsWindow(reinterpret_cast<HWND>(window));
}

bool SendCopyData(uint64_t window, uint64_t dwData, const void* data, uint32_t size,
                  uint64_t* reply) {
  COPYDATASTRUCT cds;
  cds.dwData = static_cast<ULONG_PTR>(dwData);
  cds.cbData = size;
  cds.lpData = const_cast<void*>(data);
  DWORD_PTR result = 0;
  LRESULT ok = SendMessageTimeoutW(reinterpret_cast<HWND>(window), WM_COPYDATA, 0,
                                   reinterpret_cast<LPARAM>(&cds), SMTO_ABORTIFHUNG, 5000, &result);
  if (reply) *reply = result;
  return ok != 0;
}

intptr_t OpenMailslot(const char16_t* name) {
  HANDLE h = CreateFileW(reinterpret_cast<const wchar_t*>(name), GENERIC_WRITE,
                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  return h == INVALID_HANDLE_VALUE ? kNoMailslot : reinterpret_cast<intptr_t>(h);
}

bool WriteMailslot(intptr_t mailslot, const void* data, uint32_t size, uint32_t* written) {
  DWORD n = 0;
  BOOL ok = WriteFile(reinterpret_cast<HANDLE>(mailslot), data, size, &n, nullptr);
  if (written) *written = n;
  return ok != 0;
}

void CloseMailslot(intptr_t mailslot) {
  if (mailslot != kNoMailslot) CloseHandle(reinterpret_cast<HANDLE>(mailslot));
}

void Beep(uint32_t type) { MessageBeep(type); }

}  // namespace plat
