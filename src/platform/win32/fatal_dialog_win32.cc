#include <windows.h>
#include <shellapi.h>

#include "platform/fatal_dialog.h"

namespace plat {

int ShowAssertionBox(const char16_t* caption, const char16_t* text) {
  return ::MessageBoxW(nullptr, reinterpret_cast<const wchar_t*>(text),
                       reinterpret_cast<const wchar_t*>(caption),
                       MB_RETRYCANCEL | MB_ICONERROR | MB_TASKMODAL);
}

int ShowMessageBox(const char16_t* caption, const char16_t* text, uint32_t style) {
  return ::MessageBoxW(nullptr, reinterpret_cast<const wchar_t*>(text), reinterpret_cast<const wchar_t*>(caption),
                       style);
}

bool OpenFolder(const char16_t* folder) {
  return reinterpret_cast<INT_PTR>(::ShellExecuteW(nullptr, L"open", reinterpret_cast<const wchar_t*>(folder),
                                                   nullptr, nullptr, SW_SHOWNORMAL)) > 32;
}

void EndProcess(int code) { ::ExitProcess(static_cast<UINT>(code)); }

}  // namespace plat
