// Linux: the coarse monotonic clock is read from the vDSO without a hardware counter (the
// thread token, the thread pointer, is inline in the header).
#include <dlfcn.h>
#include <initializer_list>
#include <time.h>

#include "platform/stamps.h"

namespace plat {
namespace {

using ClockFn = int (*)(clockid_t, timespec*);

// The vDSO's own entry, called directly: the C library's wrapper in front of it costs
// about as much again as the coarse read itself, and every debug allocation asks.
ClockFn ResolveClock() {
  if (void* vdso = dlopen("linux-vdso.so.1", RTLD_LAZY | RTLD_NOLOAD)) {
    for (const char* name : {"__vdso_clock_gettime", "__kernel_clock_gettime"})
      if (void* fn = dlsym(vdso, name)) return reinterpret_cast<ClockFn>(fn);
  }
  return &clock_gettime;
}

// Resolved while the library loads: a first look-up inside a heap call would take the
// loader's lock under the job lock, while a library being loaded may hold the
// loader's lock and wait for the job lock. Null until then (the wrapper serves).
const ClockFn g_readClock = ResolveClock();

}  // namespace

uint32_t CoarseTickCount() {
  timespec ts{};
  const ClockFn readClock = g_readClock;
  if (!readClock || readClock(CLOCK_MONOTONIC_COARSE, &ts) != 0) clock_gettime(CLOCK_MONOTONIC_COARSE, &ts);
  return static_cast<uint32_t>(static_cast<uint64_t>(ts.tv_sec) * 1000u +
                               static_cast<uint64_t>(ts.tv_nsec) / 1000000u);
}

}  // namespace plat
