// The clock seam and FakeClock.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/clock.h"

using namespace plat;

TEST(Clock, RealClockIsMonotonicAndSleeps) {
  uint64_t a = TickCount64();
  auto wallStart = std::chrono::steady_clock::now();
  SleepMs(60);
  auto slept = std::chrono::steady_clock::now() - wallStart;
  uint64_t b = TickCount64();
  EXPECT_GE(std::chrono::duration_cast<std::chrono::milliseconds>(slept).count(), 55);
  // The tick may be as coarse as the system's timer (about 16 ms on Windows).
  EXPECT_GE(b - a, 40u);
  EXPECT_LT(b - a, 5000u);
  SleepMs(0);
  EXPECT_GE(TickCount64(), b);
}

TEST(Clock, FakeClockInstallsItselfAndSleepsInstantly) {
  uint64_t realBefore = TickCount64();
  {
    FakeClock fake;
    EXPECT_EQ(TickCount64(), fake.Now());
    uint64_t start = TickCount64();
    auto wallStart = std::chrono::steady_clock::now();
    // A ten-second retry loop in steps of 100 ms, as the file layer runs it.
    int attempts = 0;
    while (TickCount64() - start < 10000) {
      ++attempts;
      SleepMs(100);
    }
    auto wall = std::chrono::steady_clock::now() - wallStart;
    EXPECT_EQ(attempts, 100);
    EXPECT_EQ(fake.SleptTotal(), 10000u);
    EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(wall).count(), 1000);
    fake.Advance(5);
    EXPECT_EQ(TickCount64(), start + 10005);
    EXPECT_EQ(fake.SleptTotal(), 10000u);   // Advance is not a sleep
    // Other threads see the same clock.
    uint64_t seen = 0;
    std::thread([&] {
      SleepMs(1000);
      seen = TickCount64();
    }).join();
    EXPECT_EQ(seen, start + 11005);
  }
  // Gone with its destructor: the real clock is back.
  uint64_t realAfter = TickCount64();
  EXPECT_GE(realAfter, realBefore);
  EXPECT_LT(realAfter - realBefore, 60000u);
}

TEST(Clock, CustomHooks) {
  struct Ctx {
    uint64_t now = 42;
    uint32_t lastSleep = 0;
  } ctx;
  ClockHooks hooks{[](void* c) { return static_cast<Ctx*>(c)->now; },
                   [](uint32_t ms, void* c) { static_cast<Ctx*>(c)->lastSleep = ms; }, &ctx};
  SetClockHooks(&hooks);
  EXPECT_EQ(TickCount64(), 42u);
  SleepMs(77);
  EXPECT_EQ(ctx.lastSleep, 77u);
  SetClockHooks(nullptr);
  EXPECT_NE(TickCount64(), 42u);
}
