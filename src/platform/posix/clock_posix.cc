// Linux: the real clock (CLOCK_MONOTONIC) and sleep behind the library clock.
#include <sched.h>
#include <time.h>

#include <cerrno>

#include "platform/internal/clock_hooks.h"

namespace plat::detail {

uint64_t RealTickCount64() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
}

void RealSleepMs(uint32_t ms) {
  if (ms == 0) {
    sched_yield();
    return;
  }
  timespec req{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
  while (nanosleep(&req, &req) != 0 && errno == EINTR) {
  }
}

}  // namespace plat::detail
