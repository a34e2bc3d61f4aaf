// Events and the wait for any object. On Windows the system's objects are the oracle.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/errors.h"
#include "platform/event.h"
#include "platform/thread.h"
#include "thread/HandleObject.h"

namespace {

using plat::WaitHandle;

struct Events {
  std::vector<WaitHandle> h;
  Events(int n, bool manual) {
    for (int i = 0; i < n; ++i) h.push_back(plat::EventCreate(manual, false));
  }
  ~Events() {
    for (WaitHandle e : h) plat::HandleClose(e);
  }
};

TEST(WaitAny, LowestSignalledIndexWinsAndOnlyAutoResetIsConsumed) {
  // Steps on three events: set (+i+1) or reset (-i-1) one, then a wait without time-out.
  const struct {
    bool manual;
    std::vector<int> steps;
    std::vector<uint32_t> results;
  } cases[] = {
      {false, {3, 1, 0, 0, 0}, {0, 2, plat::kWaitTimeout}},
      {true, {2, 0, 0, 1, 0, -1, -2, 0}, {1, 1, 0, plat::kWaitTimeout}},
  };
  for (const auto& c : cases) {
    Events ev(3, c.manual);
    size_t next = 0;
    for (int step : c.steps) {
      if (step > 0) plat::EventSet(ev.h[step - 1]);
      else if (step < 0) plat::EventReset(ev.h[-step - 1]);
      else EXPECT_EQ(plat::WaitAny(3, ev.h.data(), 0), c.results[next++]) << c.manual << " wait " << next;
    }
  }
  WaitHandle e = plat::EventCreate(false, true);   // initially signalled
  EXPECT_EQ(plat::WaitOne(e, 0), 0u);
  EXPECT_EQ(plat::WaitOne(e, 0), plat::kWaitTimeout);
  plat::HandleClose(e);
}

// Waiters blocked on one event; returns how many came back within `settleMs`.
int Returned(const std::atomic<int>& n, int expect, int settleMs) {
  auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(settleMs);
  while (n.load() < expect && std::chrono::steady_clock::now() < until)
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));   // let any extra one show up
  return n.load();
}

TEST(WaitAny, AutoResetWakesExactlyOneWaiterPerSetManualResetAll) {
  for (bool manual : {false, true}) {
    SCOPED_TRACE(manual);
    WaitHandle e = plat::EventCreate(manual, false);
    std::atomic<int> woke{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
      waiters.emplace_back([&] {
        if (plat::WaitOne(e, 10000) == 0) woke.fetch_add(1);
      });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(woke.load(), 0);
    if (manual) plat::EventSet(e);
    for (int round = 1; !manual && round <= 4; ++round) {
      plat::EventSet(e);
      EXPECT_EQ(Returned(woke, round, 2000), round) << "round " << round;
    }
    for (auto& t : waiters) t.join();
    EXPECT_EQ(woke.load(), 4);
    // Auto-reset: every signal was taken by a waiter, nothing is left over.
    EXPECT_EQ(plat::WaitOne(e, 0), manual ? 0u : plat::kWaitTimeout);
    plat::HandleClose(e);
  }
}

TEST(WaitAny, WaiterGetsItsLowestIndexOfTheSignalledObject) {
  Events ev(2, false);
  WaitHandle arr[3] = {ev.h[0], ev.h[1], ev.h[1]};
  std::atomic<uint32_t> got{0xDEAD};
  std::thread t([&] { got = plat::WaitAny(3, arr, 10000); });
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  plat::EventSet(ev.h[1]);
  t.join();
  EXPECT_EQ(got.load(), 1u);
}

TEST(WaitAny, TimeoutTakesAboutTheTimeAsked) {
  Events ev(1, true);
  auto t0 = std::chrono::steady_clock::now();
  EXPECT_EQ(plat::WaitAny(1, ev.h.data(), 40), plat::kWaitTimeout);
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t0).count();
  EXPECT_GE(ms, 30);
  EXPECT_LT(ms, 5000);
}

TEST(WaitAny, BadArgumentsFailInsteadOfCrashing) {
  Events ev(1, true);
  WaitHandle bad[2] = {ev.h[0], nullptr};
  EXPECT_EQ(plat::WaitAny(2, bad, 0), plat::kWaitFailed);
  WaitHandle ones = reinterpret_cast<WaitHandle>(~uintptr_t(0));
  EXPECT_FALSE(plat::HandleIsValid(ones));
  EXPECT_FALSE(plat::HandleIsValid(nullptr));
  EXPECT_EQ(plat::WaitAny(0, nullptr, 0), plat::kWaitFailed);
  std::vector<WaitHandle> many(65, ev.h[0]);
  EXPECT_EQ(plat::WaitAny(65, many.data(), 0), plat::kWaitFailed);
  EXPECT_FALSE(plat::EventSet(nullptr));
  EXPECT_FALSE(plat::HandleClose(nullptr));
  EXPECT_EQ(plat::LastError(), plat::kErrInvalidHandle);
}

TEST(WaitAny, PingPongLosesNoSignal) {
  Events ev(2, false);
  constexpr int kRounds = 5000;
  std::thread other([&] {
    for (int i = 0; i < kRounds; ++i) {
      ASSERT_EQ(plat::WaitOne(ev.h[0], 10000), 0u);
      plat::EventSet(ev.h[1]);
    }
  });
  for (int i = 0; i < kRounds; ++i) {
    plat::EventSet(ev.h[0]);
    ASSERT_EQ(plat::WaitOne(ev.h[1], 10000), 0u) << i;
  }
  other.join();
}

TEST(HandleObject, OwnerClosesDuplicatesAndForgets) {
  zx::clsEvent ev(true, false);
  ASSERT_TRUE(ev.IsValid());
  EXPECT_TRUE(ev.Owns());
  zx::clsGenericHandleObjectAutoRelease copy;
  EXPECT_FALSE(copy.IsValid());
  ASSERT_TRUE(copy.Duplicate(ev.Handle()));
  EXPECT_TRUE(copy.Owns());
  EXPECT_NE(copy.Handle(), nullptr);
  ev.Set();
  EXPECT_EQ(plat::WaitOne(copy.Handle(), 0), 0u);
  ev.Release();
  EXPECT_EQ(ev.Handle(), nullptr);
  EXPECT_FALSE(ev.Owns());
  EXPECT_EQ(plat::WaitOne(copy.Handle(), 0), 0u);   // the duplicate keeps the event
  {
    zx::clsGenericHandleObjectAutoRelease borrowed(copy.Handle(), false);   // not owned: left open
  }
  EXPECT_EQ(plat::WaitOne(copy.Handle(), 0), 0u);
  EXPECT_FALSE(copy.Duplicate(nullptr));   // a failed duplicate keeps what was held
  EXPECT_TRUE(copy.IsValid());

  WaitHandle dup = nullptr;   // the same on the system's level
  ASSERT_TRUE(plat::HandleDuplicate(copy.Handle(), &dup));
  ASSERT_TRUE(plat::HandleIsValid(dup));
  EXPECT_EQ(plat::WaitOne(dup, 0), 0u);   // one object behind both handles
  plat::EventReset(copy.Handle());
  EXPECT_EQ(plat::WaitOne(dup, 0), plat::kWaitTimeout);
  EXPECT_TRUE(plat::HandleClose(dup));
}

uint32_t Entry(void* arg) {
  static_cast<std::atomic<bool>*>(arg)->store(true);
  return 42;
}

TEST(ThreadHandle, SuspendedUntilResumedThenSignalledWithItsExitCode) {
  std::atomic<bool> ran{false};
  uint32_t tid = 0;
  int err = -1;
  WaitHandle t = plat::ThreadCreateSuspended(16384, &Entry, &ran, &tid, &err);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(err, 0);
  EXPECT_NE(tid, 0u);
  std::this_thread::sleep_for(std::chrono::milliseconds(40));
  EXPECT_FALSE(ran.load());
  uint32_t code = 0;
  EXPECT_TRUE(plat::ThreadExitCode(t, &code));
  EXPECT_EQ(code, plat::kStillActive);
  EXPECT_EQ(plat::WaitOne(t, 0), plat::kWaitTimeout);
  EXPECT_EQ(plat::ThreadSuspend(t), 1u);   // created suspended: count 1 before
  EXPECT_EQ(plat::ThreadResume(t), 2u);
  EXPECT_EQ(plat::ThreadResume(t), 1u);
  EXPECT_EQ(plat::WaitOne(t, 10000), 0u);
  EXPECT_TRUE(ran.load());
  EXPECT_TRUE(plat::ThreadExitCode(t, &code));
  EXPECT_EQ(code, 42u);
  EXPECT_EQ(plat::WaitOne(t, 0), 0u);   // stays signalled
  plat::ThreadTimeInfo times;
  EXPECT_TRUE(plat::ThreadTimes(t, &times));
  EXPECT_NE(times.exit, 0u);
  EXPECT_GE(times.exit, times.creation);
  EXPECT_TRUE(plat::HandleClose(t));
}

TEST(ThreadHandle, EventBeforeThreadInTheArrayWinsWhenBothAreSignalled) {
  std::atomic<bool> ran{false};
  WaitHandle t = plat::ThreadCreateSuspended(0, &Entry, &ran, nullptr, nullptr);
  ASSERT_NE(t, nullptr);
  plat::ThreadResume(t);
  ASSERT_EQ(plat::WaitOne(t, 10000), 0u);
  WaitHandle e = plat::EventCreate(true, true);
  WaitHandle both[2] = {e, t};
  EXPECT_EQ(plat::WaitAny(2, both, 0), 0u);
  WaitHandle reversed[2] = {t, e};
  EXPECT_EQ(plat::WaitAny(2, reversed, 0), 0u);
  plat::HandleClose(e);
  plat::HandleClose(t);
}

TEST(ThreadHandle, HugeStackFailsWithAnError) {
  std::atomic<bool> ran{false};
  int err = 0;
  WaitHandle t = plat::ThreadCreateSuspended(size_t(1) << 46, &Entry, &ran, nullptr, &err);
  EXPECT_EQ(t, nullptr);
  EXPECT_NE(plat::LastError(), 0u);
  EXPECT_FALSE(ran.load());
}

}  // namespace
