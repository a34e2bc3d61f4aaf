#include <windows.h>

#include "platform/stamps.h"

namespace plat {

uint32_t CoarseTickCount() { return ::GetTickCount(); }

uintptr_t ThreadToken() { return reinterpret_cast<uintptr_t>(::NtCurrentTeb()); }

}  // namespace plat
