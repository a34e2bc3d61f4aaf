// clsBackoff on the fake clock: which modes sleep for real (1 ms) and when.
#include <gtest/gtest.h>

#include "support/support_test_util.h"
#include "platform/clock.h"
#include "core/timing/Backoff.h"
#include "core/timing/TickCount.h"

namespace {

using zx::clsBackoff;

TEST(Backoff, ModeOneSleepsAMillisecondWithARaisedPeriodOtherModesNever) {
  {
    plat::FakeClock clock;
    clsBackoff b(clsBackoff::kSleep1);
    EXPECT_FALSE(b.PeriodRaised());
    b.Idle(1);
    b.Idle(1);
    EXPECT_EQ(clock.SleptTotal(), 2u);
    EXPECT_TRUE(b.PeriodRaised());
  }
  plat::FakeClock clock;
  clsBackoff b(clsBackoff::kSpin, 1000);
  const uint64_t before = clock.Now();
  for (int mode : {2, 3, 4, 0, 7, -1}) b.Idle(mode);   // yielding and unknown modes
  EXPECT_EQ(clock.SleptTotal(), 0u);
  EXPECT_EQ(clock.Now(), before);
  EXPECT_FALSE(b.PeriodRaised());
}

TEST(Backoff, ModeSixSleepsOncePerNewHundredMillisecondBlock) {
  plat::FakeClock clock;   // starts on a block boundary
  clsBackoff b;
  b.Idle(6);   // no last call yet: a yield
  b.Idle(6);   // same block
  EXPECT_EQ(clock.SleptTotal(), 0u);
  clock.Advance(150);
  b.Idle(6);   // a new block: a real sleep
  EXPECT_EQ(clock.SleptTotal(), 1u);
  b.Idle(6);
  clock.Advance(40);
  b.Idle(6);
  EXPECT_EQ(clock.SleptTotal(), 1u);
  clock.Advance(100);
  b.Idle(6);
  EXPECT_EQ(clock.SleptTotal(), 2u);
  for (int i = 0; i < 20; ++i, clock.Advance(100)) b.Idle(5);   // mode 5 sleeps at most as often
  EXPECT_LE(clock.SleptTotal(), 22u);
}

TEST(Backoff, WaitUntilPollsCallsStepAndKeepsItsTimeOut) {
  plat::FakeClock clock;
  clsBackoff b(clsBackoff::kSleep1);
  int steps = 0, asks = 0;
  EXPECT_TRUE(b.WaitUntil([&] { return ++asks > 0; }, [&] { ++steps; }, 100));
  EXPECT_EQ(steps, 0);

  asks = 0;
  EXPECT_TRUE(b.WaitUntil([&] { return ++asks == 4; }, [&] { ++steps; }, 100));
  EXPECT_EQ(steps, 3);

  const uint64_t t0 = zx::UtilTickCount64();
  EXPECT_FALSE(b.WaitUntil([] { return false; }, nullptr, 50));
  EXPECT_GE(zx::UtilTickCount64() - t0, 50u);
  EXPECT_LE(zx::UtilTickCount64() - t0, 52u);

  asks = 0;   // all ones: no limit
  EXPECT_TRUE(b.WaitUntil([&] { return ++asks == 500; }, nullptr, 0xFFFFFFFFu));
  EXPECT_EQ(asks, 500);

  zxsupport::DiagCapture diag;   // no predicate: refused
  EXPECT_FALSE(b.WaitUntil(nullptr, nullptr, 10));
  EXPECT_TRUE(diag.AnyStartsWith(u"ERR: clsBackoff::WaitUntil"));
}

TEST(TickCount, FollowsTheLibraryClock) {
  plat::FakeClock clock;
  const uint64_t t = zx::UtilTickCount64();
  EXPECT_EQ(t, clock.Now());
  clock.Advance(1234);
  EXPECT_EQ(zx::UtilTickCount64(), t + 1234);
}

}  // namespace
