#include <windows.h>

#include "platform/window_update.h"

namespace plat {
namespace {

HWND TopLevelOf(HWND window) {
  while (window && (::GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD)) {
    HWND parent = ::GetParent(window);
    if (!parent) break;
    window = parent;
  }
  return window;
}

}  // namespace

void* ActiveTopLevelWindow() { return TopLevelOf(::GetActiveWindow()); }

WindowUpdateLock::WindowUpdateLock(void* window) {
  HWND top = TopLevelOf(static_cast<HWND>(window));
  locked_ = top && ::LockWindowUpdate(top);
}

WindowUpdateLock::~WindowUpdateLock() {
  if (locked_) ::LockWindowUpdate(nullptr);
}

}  // namespace plat
