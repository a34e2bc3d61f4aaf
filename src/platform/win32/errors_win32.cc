// Error numbers are the thread's own system error; texts come from the system.
#include <windows.h>

#include "platform/errors.h"

namespace plat {

uint32_t LastError() { return ::GetLastError(); }
void SetLastError(uint32_t code) { ::SetLastError(code); }

bool SystemErrorText(uint32_t code, uint16_t langId, std::u16string& out) {
  wchar_t* buffer = nullptr;
  DWORD n = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                                 FORMAT_MESSAGE_ALLOCATE_BUFFER,
                             nullptr, code, langId, reinterpret_cast<wchar_t*>(&buffer), 0,
                             nullptr);
  if (!n || !buffer) return false;
  out.assign(reinterpret_cast<const char16_t*>(buffer), n);
  ::LocalFree(buffer);
  return true;
}

}  // namespace plat
