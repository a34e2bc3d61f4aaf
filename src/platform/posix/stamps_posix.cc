// Linux: the coarse monotonic clock is read from the vDSO without a hardware counter (the
// thread token, the thread pointer, is inline in the header).
#include <time.h>

#include "platform/stamps.h"

namespace plat {

uint32_t CoarseTickCount() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
  return static_cast<uint32_t>(static_cast<uint64_t>(ts.tv_sec) * 1000u +
                               static_cast<uint64_t>(ts.tv_nsec) / 1000000u);
}

}  // namespace plat
