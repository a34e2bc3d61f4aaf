// Hook dispatch of the clock and FakeClock, the same on both OSes.
#include "platform/clock.h"

#include "platform/internal/clock_hooks.h"
#include "platform/internal/keep_alive.h"

namespace plat {
namespace {

// Replaced hooks are kept alive: a thread may still be inside a hook that another
// thread just replaced.
std::atomic<const ClockHooks*> g_hooks{nullptr};

uint64_t FakeTick(void* ctx) { return static_cast<FakeClock*>(ctx)->Now(); }
void FakeSleep(uint32_t ms, void* ctx) { static_cast<FakeClock*>(ctx)->Sleep(ms); }

}  // namespace

uint64_t TickCount64() {
  const ClockHooks* h = g_hooks.load(std::memory_order_acquire);
  return h ? h->tick(h->ctx) : detail::RealTickCount64();
}

void SleepMs(uint32_t ms) {
  const ClockHooks* h = g_hooks.load(std::memory_order_acquire);
  if (h)
    h->sleep(ms, h->ctx);
  else
    detail::RealSleepMs(ms);
}

void SetClockHooks(const ClockHooks* hooks) {
  const ClockHooks* old =
      g_hooks.exchange(hooks ? new ClockHooks(*hooks) : nullptr, std::memory_order_acq_rel);
  detail::KeepAlive(old);
}

FakeClock::FakeClock() : now_(1000000), slept_(0) {
  ClockHooks h{&FakeTick, &FakeSleep, this};
  SetClockHooks(&h);
}

FakeClock::~FakeClock() { SetClockHooks(nullptr); }

void FakeClock::Advance(uint64_t ms) {
  now_.fetch_add(ms, std::memory_order_acq_rel);
}

void FakeClock::Sleep(uint32_t ms) {
  slept_.fetch_add(ms, std::memory_order_acq_rel);
  now_.fetch_add(ms, std::memory_order_acq_rel);
}

uint64_t FakeClock::Now() const { return now_.load(std::memory_order_acquire); }
uint64_t FakeClock::SleptTotal() const { return slept_.load(std::memory_order_acquire); }

}  // namespace plat
