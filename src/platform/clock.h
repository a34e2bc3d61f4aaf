// The one clock and the one sleep behind every wait, retry and time-out. Tests
// replace both so that a 10-second retry loop runs in milliseconds.
// Errors: none; the calls cannot fail.
// Threads: any thread; hooks may be swapped while other threads read the clock.
//
//   const uint64_t deadline = plat::TickCount64() + 5000;
//   while (!Ready() && plat::TickCount64() < deadline) plat::SleepMs(10);
#pragma once
#include <atomic>
#include <cstdint>

namespace plat {

uint64_t TickCount64();          // monotonic milliseconds
void SleepMs(uint32_t ms);       // 0 gives up the rest of the time slice

struct ClockHooks {
  uint64_t (*tick)(void* ctx);
  void (*sleep)(uint32_t ms, void* ctx);
  void* ctx;
};
// Installs a copy of `hooks`; null restores the real clock. Thread-safe against
// readers in flight.
void SetClockHooks(const ClockHooks* hooks);

// A fake clock for tests: installs itself while it lives; time moves only when
// somebody sleeps (the sleep returns at once) or Advance is called. It starts at
// 1,000,000 ms so that code subtracting intervals never sees a wrap at 0. Safe to
// use from several threads.
class FakeClock {
 public:
  FakeClock();
  ~FakeClock();
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;
  void Advance(uint64_t ms);
  void Sleep(uint32_t ms);       // what SleepMs does while the clock is installed
  uint64_t Now() const;
  uint64_t SleptTotal() const;   // sum of all sleeps
 private:
  std::atomic<uint64_t> now_;
  std::atomic<uint64_t> slept_;
};

}  // namespace plat
