// Holds back the redrawing of an application window while a crash report or a
// stack walk runs, so that a half-painted window does not fault again under the
// report (LockWindowUpdate on the first ancestor that is not a child window).
// Linux: the library has no windows there; the lock does nothing.
// Errors: none; a window that cannot be locked is simply not locked.
// Threads: one lock at a time per desktop (the system allows one).
//
//   plat::WindowUpdateLock hold(plat::ActiveTopLevelWindow());
#pragma once

namespace plat {

// The first non-child ancestor of the active window, or null.
void* ActiveTopLevelWindow();

class WindowUpdateLock {
 public:
  // Locks the first non-child ancestor of `window`; a null window locks nothing.
  explicit WindowUpdateLock(void* window);
  ~WindowUpdateLock();
  WindowUpdateLock(const WindowUpdateLock&) = delete;
  WindowUpdateLock& operator=(const WindowUpdateLock&) = delete;
  bool Locked() const { return locked_; }

 private:
  bool locked_ = false;
};

}  // namespace plat
