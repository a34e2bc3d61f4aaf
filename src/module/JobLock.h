// The job lock: one process-wide critical section that serialises the module list,
// every heap node and heap operation, and the trace level. Debug output is called
// while it is held, so it is always taken before the output lock.
#pragma once
#include "platform/lock.h"

namespace zx {

plat::CriticalSection& JobLock();

}  // namespace zx
