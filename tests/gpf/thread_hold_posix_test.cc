// Linux: the hold of other threads behind the dump. Held threads stand still until
// released (also by the destructor alone), their registers are their own (stack
// pointer inside their stack), errno survives the handler, and neither the calling
// thread nor a thread that has ended stops the capture.
#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/posix/thread_hold_posix.h"

namespace {

using namespace std::chrono_literals;

// A thread that counts as fast as it can, checking its errno between counts.
struct Spinner {
  std::atomic<uint64_t> count{0};
  std::atomic<bool> stop{false};
  std::atomic<uint32_t> tid{0};
  std::atomic<bool> errnoLost{false};
  uint64_t stackLow = 0, stackHigh = 0;
  std::thread t;

  Spinner() {
    t = std::thread([this] {
      pthread_attr_t attr;
      pthread_getattr_np(pthread_self(), &attr);
      void* base = nullptr;
      size_t size = 0;
      pthread_attr_getstack(&attr, &base, &size);
      pthread_attr_destroy(&attr);
      stackLow = reinterpret_cast<uint64_t>(base);
      stackHigh = stackLow + size;
      tid.store(static_cast<uint32_t>(syscall(SYS_gettid)));
      while (!stop.load(std::memory_order_relaxed)) {
        errno = 4242;
        count.fetch_add(1, std::memory_order_relaxed);
        if (errno != 4242) errnoLost.store(true);
      }
    });
    while (!tid.load()) std::this_thread::yield();
  }
  ~Spinner() {
    stop.store(true);
    t.join();
  }
};

// Whether the counter moves within `wait`.
bool Moves(const Spinner& s, std::chrono::milliseconds wait) {
  const uint64_t before = s.count.load();
  const auto until = std::chrono::steady_clock::now() + wait;
  while (std::chrono::steady_clock::now() < until) {
    if (s.count.load() != before) return true;
    std::this_thread::sleep_for(1ms);
  }
  return false;
}

TEST(ThreadHold, HeldThreadsStandStillWithTheirOwnRegistersUntilReleased) {
  Spinner a, b;
  for (int round = 0; round < 3; ++round) {   // the slots serve hold after hold
    SCOPED_TRACE(round);
    plat::ThreadHold hold({a.tid.load(), b.tid.load()});
    hold.Capture(2000);
    ASSERT_EQ(hold.Count(), 2u);
    const Spinner* spinners[] = {&a, &b};
    for (size_t i = 0; i < 2; ++i) {
      ASSERT_TRUE(hold.Answered(i));
      EXPECT_FALSE(hold.Gone(i));
      EXPECT_EQ(hold.Id(i), spinners[i]->tid.load());
      const plat::ContextAmd64& c = hold.Context(i);
      EXPECT_GE(c.Rsp, spinners[i]->stackLow);
      EXPECT_LT(c.Rsp, spinners[i]->stackHigh);
      EXPECT_NE(c.Rip, 0u);
      EXPECT_EQ(c.ContextFlags, plat::kContextFull);
    }
    EXPECT_FALSE(Moves(a, 50ms));
    EXPECT_FALSE(Moves(b, 50ms));
    hold.Release();
    EXPECT_TRUE(Moves(a, 5000ms));
    EXPECT_TRUE(Moves(b, 5000ms));
  }
  EXPECT_FALSE(a.errnoLost.load());
  EXPECT_FALSE(b.errnoLost.load());
}

TEST(ThreadHold, DestructorReleasesTheThreads) {
  Spinner a;
  {
    plat::ThreadHold hold({a.tid.load()});
    hold.Capture(2000);
    ASSERT_TRUE(hold.Answered(0));
    EXPECT_FALSE(Moves(a, 30ms));
  }
  EXPECT_TRUE(Moves(a, 5000ms));
}

TEST(ThreadHold, CallingThreadAndEndedThreadAreLeftOutAtOnce) {
  uint32_t ended = 0;
  std::thread([&ended] { ended = static_cast<uint32_t>(syscall(SYS_gettid)); }).join();
  Spinner a;
  const uint32_t self = static_cast<uint32_t>(syscall(SYS_gettid));
  plat::ThreadHold hold({self, ended, a.tid.load()});
  const auto t0 = std::chrono::steady_clock::now();
  hold.Capture(10000);
  // Neither the caller nor the ended thread makes the capture wait for its limit.
  EXPECT_LT(std::chrono::steady_clock::now() - t0, 5s);
  EXPECT_FALSE(hold.Answered(0));
  EXPECT_FALSE(hold.Answered(1));
  EXPECT_TRUE(hold.Gone(1));
  EXPECT_TRUE(hold.Answered(2));
  EXPECT_EQ(hold.Id(0), self);
}

TEST(ThreadHold, ProcessThreadsIncludeTheCaller) {
  Spinner a;
  const std::vector<uint32_t> ids = plat::ThreadIdsOfProcess();
  const uint32_t self = static_cast<uint32_t>(syscall(SYS_gettid));
  EXPECT_NE(std::find(ids.begin(), ids.end(), self), ids.end());
  EXPECT_NE(std::find(ids.begin(), ids.end(), a.tid.load()), ids.end());
}

}  // namespace
