#include <windows.h>

#include "platform/internal/clock_hooks.h"

namespace plat::detail {

uint64_t RealTickCount64() { return ::GetTickCount64(); }
void RealSleepMs(uint32_t ms) { ::Sleep(ms); }

}  // namespace plat::detail
