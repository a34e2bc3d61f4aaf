// The one clock and the one sleep behind every wait, retry and time-out. Tests
// replace both so that a 10-second retry loop runs in milliseconds.
#pragma once
#include <cstdint>

namespace plat {

uint64_t TickCount64();          // monotonic milliseconds
void SleepMs(uint32_t ms);

struct ClockHooks {
  uint64_t (*tick)(void* ctx);
  void (*sleep)(uint32_t ms, void* ctx);
  void* ctx;
};
// Null restores the real clock.
void SetClockHooks(const ClockHooks* hooks);

// A fake clock for tests: time moves only when somebody sleeps or Advance is called.
class FakeClock {
 public:
  FakeClock();
  ~FakeClock();
  void Advance(uint64_t ms);
  uint64_t Now() const;
  uint64_t SleptTotal() const;
 private:
  uint64_t now_;
  uint64_t slept_;
};

}  // namespace plat
