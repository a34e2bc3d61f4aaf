// Linux: the coarse monotonic clock is read from the vDSO without a hardware counter; the
// thread pointer is the thread's own control block.
#include <time.h>

#include "platform/stamps.h"

namespace plat {

uint32_t CoarseTickCount() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
  return static_cast<uint32_t>(static_cast<uint64_t>(ts.tv_sec) * 1000u +
                               static_cast<uint64_t>(ts.tv_nsec) / 1000000u);
}

uintptr_t ThreadToken() { return reinterpret_cast<uintptr_t>(__builtin_thread_pointer()); }

}  // namespace plat
