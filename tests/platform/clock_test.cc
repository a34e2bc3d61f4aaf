// The clock seam and FakeClock, critical sections, and OLE string layout.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "platform/bstr.h"
#include "platform/clock.h"
#include "platform/lock.h"
#include "platform/process.h"

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

TEST(CriticalSection, RecursiveAndTryEnterFromAnotherThread) {
  CriticalSection cs(100);
  cs.Enter();
  cs.Enter();                     // recursion on the owner
  EXPECT_TRUE(cs.TryEnter());     // and try-enter too
  bool otherGot = true;
  std::thread([&] { otherGot = cs.TryEnter(); }).join();
  EXPECT_FALSE(otherGot);
  cs.Leave();
  cs.Leave();
  std::thread([&] { otherGot = cs.TryEnter(); }).join();
  EXPECT_FALSE(otherGot);         // still held once
  cs.Leave();
  std::thread([&] {
    otherGot = cs.TryEnter();
    if (otherGot) cs.Leave();
  }).join();
  EXPECT_TRUE(otherGot);
}

TEST(CriticalSection, MutualExclusionUnderContention) {
  CriticalSection cs(100);
  long counter = 0;          // deliberately not atomic: the lock protects it
  std::atomic<int> inside{0};
  std::atomic<bool> overlap{false};
  auto work = [&] {
    for (int i = 0; i < 20000; ++i) {
      Lock lock(cs);
      if (inside.fetch_add(1) != 0) overlap = true;
      ++counter;
      inside.fetch_sub(1);
    }
  };
  std::thread threads[] = {std::thread(work), std::thread(work), std::thread(work)};
  for (auto& t : threads) t.join();
  EXPECT_EQ(counter, 60000);
  EXPECT_FALSE(overlap.load());
}

TEST(Bstr, LayoutAllocationAndReallocation) {
  Bstr b = SysAllocLen(u"abc", 3);
  ASSERT_NE(b, nullptr);
  uint32_t prefix;
  std::memcpy(&prefix, reinterpret_cast<const unsigned char*>(b) - 4, 4);
  EXPECT_EQ(prefix, 6u);   // bytes, not characters
  EXPECT_EQ(SysLen(b), 3u);
  EXPECT_EQ(SysByteLen(b), 6u);
  EXPECT_EQ(b[3], 0);
  EXPECT_EQ(std::u16string(b), u"abc");
  EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 4, 0u);
  SysFree(b);
  // Uninitialised text, embedded zeros and reallocation.
  b = SysAllocLen(nullptr, 5);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(SysLen(b), 5u);
  EXPECT_EQ(b[5], 0);
  for (int i = 0; i < 5; ++i) b[i] = u'x';
  // Embedded zeros count: the length is the prefix, not a scan.
  Bstr z = SysAllocLen(u"a\0b", 3);
  EXPECT_EQ(SysLen(z), 3u);
  // Reallocation may take its text from the old string itself.
  ASSERT_TRUE(SysReAllocLen(&b, b + 1, 3));
  EXPECT_EQ(std::u16string(b, SysLen(b)), u"xxx");
  ASSERT_TRUE(SysReAllocLen(&z, u"longer text", 11));
  EXPECT_EQ(std::u16string(z), u"longer text");
  EXPECT_FALSE(SysReAllocLen(nullptr, u"x", 1));
  SysFree(b);
  SysFree(z);
  SysFree(nullptr);
  EXPECT_EQ(SysLen(nullptr), 0u);
  EXPECT_EQ(SysAlloc(nullptr), nullptr);
  Bstr empty = SysAlloc(u"");
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(SysLen(empty), 0u);
  SysFree(empty);
}

TEST(Process, Identity) {
  EXPECT_NE(ProcessId(), 0u);
  EXPECT_NE(ThreadId(), 0u);
  uint32_t other = 0;
  std::thread([&] { other = ThreadId(); }).join();
  EXPECT_NE(other, ThreadId());
  EXPECT_GE(ProcessorCount(), 1u);
  EXPECT_LT(CurrentProcessor(), 4096u);
  std::u16string exe = ExecutablePath();
  EXPECT_NE(exe.find(u"test_platform"), std::u16string::npos);
  EXPECT_EQ(ExecutableBaseName(), u"test_platform");
  EXPECT_FALSE(LibraryPath().empty());
  bool found = true;
  EXPECT_EQ(EnvironmentVariable(u"ZXUT_SURELY_NOT_SET_42", &found), u"");
  EXPECT_FALSE(found);
}

#ifndef _WIN32
TEST(Process, EnvironmentIsConvertedFromUtf8) {
  setenv("ZXUT_PLATFORM_TEST_ENV", "gr\xC3\xBC\xC3\x9F" "e", 1);
  bool found = false;
  EXPECT_EQ(EnvironmentVariable(u"ZXUT_PLATFORM_TEST_ENV", &found), u"gr\u00FC\u00DFe");
  EXPECT_TRUE(found);
  unsetenv("ZXUT_PLATFORM_TEST_ENV");
}
#endif
