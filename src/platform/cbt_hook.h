// The one process-wide computer-based-training window hook.
// Errors: SetCbtHook returns false when the system refused.
// Threads: install and remove from one thread at a time; the callback runs on the
// thread whose window event it is.
//
//   plat::SetCbtHook(&OnCbt, plat::LibraryModuleHandle());  ...  plat::SetCbtHook(nullptr, nullptr);
#pragma once
#include <cstdint>

namespace plat {

// Called before the next hook with before = 1 and result null, and after it with
// before = 0 and a pointer to the result, which the callback may change.
using CbtCallback = void (*)(int code, uintptr_t wParam, intptr_t lParam, int before, intptr_t* result);

// Installs the hook for `callback` (replacing the callback when one is installed),
// or removes it for null. False when the system refused. Linux has no window
// hooks: installing fails, removing succeeds.
bool SetCbtHook(CbtCallback callback, void* moduleHandle);

}  // namespace plat
