// The job lock: one process-wide recursive lock that serialises the module list,
// every heap node and heap operation, and the trace level. Debug output is called
// while it is held, so it is always taken before the output lock.
//
// Every heap call takes it, so it is our own: one atomic exchange to enter and one
// to leave while nobody waits, a short spin, then a wait on the lock word.
#pragma once
#include <atomic>
#include <cstdint>

#include "platform/stamps.h"
#include "platform/thread_annotations.h"

namespace zx {

class ZX_CAPABILITY("mutex") clsJobLock {
 public:
  // The analysis checks the callers; these bodies are the lock itself.
  void Enter() ZX_ACQUIRE() ZX_NO_THREAD_SAFETY_ANALYSIS {
    const uintptr_t me = Me();
    if (owner_.load(std::memory_order_relaxed) == me) {
      ++depth_;
      return;
    }
    uint32_t expected = kFree;
    if (!state_.compare_exchange_strong(expected, kLocked, std::memory_order_acquire,
                                        std::memory_order_relaxed))
      EnterContended();
    owner_.store(me, std::memory_order_relaxed);
    depth_ = 1;
  }
  void Leave() ZX_RELEASE() ZX_NO_THREAD_SAFETY_ANALYSIS {
    if (--depth_ != 0) return;
    owner_.store(0, std::memory_order_relaxed);
    if (state_.exchange(kFree, std::memory_order_release) == kWaiters) state_.notify_one();
  }

 private:
  static constexpr uint32_t kFree = 0, kLocked = 1, kWaiters = 2;
  void EnterContended();
  static uintptr_t Me() { return plat::ThreadToken(); }
  std::atomic<uint32_t> state_{kFree};
  std::atomic<uintptr_t> owner_{0};
  uint32_t depth_ = 0;
};

// Constant-initialised and trivially destructible: there before any static
// initialiser runs, and usable until the very end.
constinit inline clsJobLock g_jobLock;
inline clsJobLock& JobLock() ZX_RETURN_CAPABILITY(g_jobLock) { return g_jobLock; }

class ZX_SCOPED_CAPABILITY JobLockHolder {
 public:
  JobLockHolder() ZX_ACQUIRE(g_jobLock) { JobLock().Enter(); }
  ~JobLockHolder() ZX_RELEASE() { JobLock().Leave(); }
  JobLockHolder(const JobLockHolder&) = delete;
  JobLockHolder& operator=(const JobLockHolder&) = delete;
};

}  // namespace zx
