#include <windows.h>

#include <vector>

#include "platform/processors.h"

namespace plat {

unsigned ProcessorsOfProcess() {
  // The groups of the process, with room for 256 and one retry with what the call asks.
  USHORT count = 256;
  std::vector<USHORT> groups(count);
  BOOL ok = ::GetProcessGroupAffinity(::GetCurrentProcess(), &count, groups.data());
  if (!ok && ::GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
    groups.resize(count);
    ok = ::GetProcessGroupAffinity(::GetCurrentProcess(), &count, groups.data());
  }
  unsigned sum = 0;
  if (ok)
    for (USHORT i = 0; i < count; ++i) sum += ::GetActiveProcessorCount(groups[i]);
  if (sum) return sum;
  DWORD_PTR process = 0, system = 0;
  if (::GetProcessAffinityMask(::GetCurrentProcess(), &process, &system)) {
    unsigned bits = 0;
    for (; process; process &= process - 1) ++bits;
    return bits ? bits : 1;
  }
  return 1;
}

}  // namespace plat
