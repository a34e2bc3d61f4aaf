#include "module/JobLock.h"

#include "platform/thread.h"
namespace zx {

void clsJobLock::EnterContended() {
  for (int spin = 0; spin < 100; ++spin) {
    uint32_t expected = kFree;
    if (state_.load(std::memory_order_relaxed) == kFree &&
        state_.compare_exchange_weak(expected, kLocked, std::memory_order_acquire,
                                     std::memory_order_relaxed))
      return;
    plat::CpuPause();
  }
  // Mark the lock as waited for; whoever leaves it then wakes one waiter.
  while (state_.exchange(kWaiters, std::memory_order_acquire) != kFree)
    state_.wait(kWaiters, std::memory_order_relaxed);
}

}  // namespace zx
