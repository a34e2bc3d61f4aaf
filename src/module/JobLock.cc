#include "module/JobLock.h"

#include <new>

namespace zx {

plat::CriticalSection& JobLock() {
  // Never destroyed: a client thread may still call in while the process ends.
  alignas(plat::CriticalSection) static unsigned char storage[sizeof(plat::CriticalSection)];
  static plat::CriticalSection* lock = new (storage) plat::CriticalSection(4000);
  return *lock;
}

namespace {
// Built during static initialisation, before any export can run.
const bool g_jobLockBuilt = (JobLock(), true);
}  // namespace

}  // namespace zx
