// The processors the process may use: Windows adds up the active processors of the
// process's groups (GetProcessGroupAffinity, GetActiveProcessorCount), else counts
// the bits of its affinity mask; Linux counts the CPUs of its affinity
// (sched_getaffinity). At least 1.
// Threads: any thread.
#pragma once

namespace plat {

unsigned ProcessorsOfProcess();

}  // namespace plat
