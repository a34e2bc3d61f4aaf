// The job lock: one process-wide recursive lock that serialises the module list,
// every heap node and heap operation, and the trace level. Debug output is called
// while it is held, so it is always taken before the output lock.
//
// Every heap call takes it, so it is a LockWord (platform/lock_word.h) with a spin
// count of 100: one compare-exchange to enter and one atomic add to leave while
// nobody waits, a short adaptive spin, naps, then a sleep on the lock word. The naps
// let one thread run on through a run of heap calls while another waits, instead
// of both paying for a handover at every leave.
#pragma once
#include "platform/lock_word.h"
#include "platform/thread_annotations.h"

namespace zx {

using clsJobLock = plat::LockWord;

// Constant-initialised and trivially destructible: there before any static
// initialiser runs, and usable until the very end.
constinit inline clsJobLock g_jobLock{100, true};
inline clsJobLock& JobLock() ZX_RETURN_CAPABILITY(g_jobLock) { return g_jobLock; }

class ZX_SCOPED_CAPABILITY JobLockHolder {
 public:
  JobLockHolder() ZX_ACQUIRE(g_jobLock) { JobLock().Enter(); }
  ~JobLockHolder() ZX_RELEASE() { JobLock().Leave(); }
  JobLockHolder(const JobLockHolder&) = delete;
  JobLockHolder& operator=(const JobLockHolder&) = delete;
};

}  // namespace zx
