#include <windows.h>

#include "platform/fatal_dialog.h"

namespace plat {

int ShowAssertionBox(const char16_t* caption, const char16_t* text) {
  return ::MessageBoxW(nullptr, reinterpret_cast<const wchar_t*>(text),
                       reinterpret_cast<const wchar_t*>(caption),
                       MB_RETRYCANCEL | MB_ICONERROR | MB_TASKMODAL);
}

void EndProcess(int code) { ::ExitProcess(static_cast<UINT>(code)); }

}  // namespace plat
