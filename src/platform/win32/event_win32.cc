#include <windows.h>

#include "platform/event.h"

namespace plat {

WaitHandle EventCreate(bool manualReset, bool initiallySignalled) {
  return ::CreateEventW(nullptr, manualReset, initiallySignalled, nullptr);
}
bool EventSet(WaitHandle event) { return ::SetEvent(event) != FALSE; }
bool EventReset(WaitHandle event) { return ::ResetEvent(event) != FALSE; }

bool HandleClose(WaitHandle h) {
  if (!HandleIsValid(h)) {
    ::SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  return ::CloseHandle(h) != FALSE;
}

bool HandleDuplicate(WaitHandle source, WaitHandle* target) {
  if (!target) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return false;
  }
  HANDLE process = ::GetCurrentProcess();
  return ::DuplicateHandle(process, source, process, target, 0, TRUE, DUPLICATE_SAME_ACCESS) != FALSE;
}

uint32_t WaitAny(uint32_t count, const WaitHandle* handles, uint32_t timeoutMs, WaitMode mode) {
  if (mode.pumpMessages)
    return mode.alertable
               ? ::MsgWaitForMultipleObjectsEx(count, handles, timeoutMs, kQsAllInput, MWMO_ALERTABLE)
               : ::MsgWaitForMultipleObjects(count, handles, FALSE, timeoutMs, kQsAllInput);
  return mode.alertable ? ::WaitForMultipleObjectsEx(count, handles, FALSE, timeoutMs, TRUE)
                        : ::WaitForMultipleObjects(count, handles, FALSE, timeoutMs);
}

void PumpMessages() {
  MSG msg;
  while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    ::TranslateMessage(&msg);
    ::DispatchMessageW(&msg);
  }
}

}  // namespace plat
