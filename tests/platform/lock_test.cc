// Critical sections: recursion, try-enter from another thread, exclusion.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/lock.h"

using namespace plat;

// The lock analysis cannot follow a recursive enter or a try-enter on another
// thread, which is what this test is about.
static void RecursiveAndTryEnterFromAnotherThread() ZX_NO_THREAD_SAFETY_ANALYSIS {
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
  std::thread([&]() ZX_NO_THREAD_SAFETY_ANALYSIS {
    otherGot = cs.TryEnter();
    if (otherGot) cs.Leave();
  }).join();
  EXPECT_TRUE(otherGot);
}

TEST(CriticalSection, RecursiveAndTryEnterFromAnotherThread) { RecursiveAndTryEnterFromAnotherThread(); }

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
