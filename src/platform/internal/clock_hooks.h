// Internal: the real clock of each OS, which the shared hook dispatch calls when no
// hook is installed.
#pragma once
#include <cstdint>

namespace plat::detail {
uint64_t RealTickCount64();
void RealSleepMs(uint32_t ms);
}  // namespace plat::detail
