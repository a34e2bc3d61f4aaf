#include <sched.h>

#include "platform/process.h"
#include "platform/processors.h"

namespace plat {

unsigned ProcessorsOfProcess() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (::sched_getaffinity(0, sizeof set, &set) == 0) {
    const int n = CPU_COUNT(&set);
    if (n > 0) return static_cast<unsigned>(n);
  }
  return ProcessorCount();
}

}  // namespace plat
