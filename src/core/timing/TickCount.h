// The millisecond counter of every time-out in the library.
// Threads: any thread.
#pragma once
#include <cstdint>

#include "platform/clock.h"

namespace zx {

// Monotonic milliseconds. The supported systems all have a 64-bit tick
// (GetTickCount64 on Windows, CLOCK_MONOTONIC on Linux), so no wrap counter is
// needed; it reads the one replaceable clock so that tests can move time.
inline uint64_t UtilTickCount64() { return plat::TickCount64(); }

}  // namespace zx
