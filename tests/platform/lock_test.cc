// Critical sections and the lock word (the job lock): one table of tests run against
// both. On Linux a critical section is a lock word; on Windows it is the system's
// CRITICAL_SECTION, so the same table checks that ours behaves as the system's does.
// Recursion, try-enter from another thread, leaves by a thread that does not own
// the lock, exclusion under contention, and wakes: a sleeper is woken when the
// owner leaves its last level, and a queue of sleepers drains.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/lock.h"
#include "platform/lock_word.h"

namespace {

using namespace std::chrono_literals;

// The analysis cannot follow locks taken and left across helper calls and threads,
// which is what these tests are about.
struct SectionLock {
  explicit SectionLock(uint32_t spin) : cs(spin) {}
  void Enter() ZX_NO_THREAD_SAFETY_ANALYSIS { cs.Enter(); }
  bool TryEnter() ZX_NO_THREAD_SAFETY_ANALYSIS { return cs.TryEnter(); }
  void Leave() ZX_NO_THREAD_SAFETY_ANALYSIS { cs.Leave(); }
  plat::CriticalSection cs;
};
template <bool kNaps>
struct WordLockOf {
  explicit WordLockOf(uint32_t spin) : word(spin, kNaps) {}
  void Enter() ZX_NO_THREAD_SAFETY_ANALYSIS { word.Enter(); }
  bool TryEnter() ZX_NO_THREAD_SAFETY_ANALYSIS { return word.TryEnter(); }
  void Leave() ZX_NO_THREAD_SAFETY_ANALYSIS { word.Leave(); }
  plat::LockWord word;
};
using WordLock = WordLockOf<false>;
using NappingWordLock = WordLockOf<true>;   // the job lock's kind

template <class L>
bool TryFromOtherThread(L& lock) {
  bool got = false;
  std::thread([&] {
    got = lock.TryEnter();
    if (got) lock.Leave();
  }).join();
  return got;
}

// Polls `done` until the deadline; false when it never came.
bool Within(std::chrono::milliseconds limit, const std::atomic<int>& done, int expected) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (done.load() != expected) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

// Work inside the lock that the compiler keeps.
std::atomic<int> g_busy{0};

template <class L>
class LockTable : public ::testing::Test {};
using Locks = ::testing::Types<SectionLock, WordLock, NappingWordLock>;
TYPED_TEST_SUITE(LockTable, Locks);

TYPED_TEST(LockTable, RecursionHoldsUntilTheLastLeave) {
  TypeParam lock(100);
  lock.Enter();
  lock.Enter();
  EXPECT_TRUE(lock.TryEnter());   // try-enter on the owner counts as one more level
  EXPECT_FALSE(TryFromOtherThread(lock));
  lock.Leave();
  lock.Leave();
  EXPECT_FALSE(TryFromOtherThread(lock)) << "still held once";
  lock.Leave();
  EXPECT_TRUE(TryFromOtherThread(lock));
  EXPECT_TRUE(lock.TryEnter());
  lock.Leave();
}

TYPED_TEST(LockTable, LeaveByANonOwnerChangesNothing) {
  TypeParam lock(100);
  lock.Leave();   // nobody owns it
  EXPECT_TRUE(TryFromOtherThread(lock));
  lock.Enter();
  std::thread([&] { lock.Leave(); }).join();   // not the owner: refused
  EXPECT_FALSE(TryFromOtherThread(lock)) << "a stranger's leave released the lock";
  lock.Enter();   // the owner's count was not touched either: two levels now
  lock.Leave();
  EXPECT_FALSE(TryFromOtherThread(lock));
  lock.Leave();
  EXPECT_TRUE(TryFromOtherThread(lock));
}

// Holds long enough that threads pile up asleep while others barge in on a leave:
// a woken sleeper then meets a lock that is taken again.
TYPED_TEST(LockTable, ExcludesUnderContentionWithRecursion) {
  struct Case {
    uint32_t spin;
    int work, rounds;   // loop rounds inside the lock, and how often each thread enters
  };
  for (const Case c : {Case{0, 200, 5000}, Case{4000, 200, 5000}, Case{4000, 0, 50000}}) {
    const uint32_t spin = c.spin;
    const int work = c.work, kRounds = c.rounds;
    TypeParam lock(spin);
    constexpr int kThreads = 8;
    long counter = 0;   // deliberately not atomic: the lock guards it (TSan watches)
    std::atomic<int> inside{0};
    std::atomic<bool> overlap{false};
    std::atomic<int> ready{0};   // all start together, or the first is done before the last starts
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&] {
        ready.fetch_add(1);
        while (ready.load() < kThreads) std::this_thread::yield();
        for (int i = 0; i < kRounds; ++i) {
          lock.Enter();
          if (inside.fetch_add(1) != 0) overlap = true;
          for (int k = 0; k < work; ++k) g_busy.store(k, std::memory_order_relaxed);
          if (i % 8 == 0) {   // a second level now and then
            lock.Enter();
            ++counter;
            lock.Leave();
          } else {
            ++counter;
          }
          inside.fetch_sub(1);
          lock.Leave();
        }
      });
    for (auto& t : threads) t.join();
    EXPECT_EQ(counter, long{kThreads} * kRounds) << "spin " << spin << ", work " << work;
    EXPECT_FALSE(overlap.load()) << "spin " << spin << ", work " << work;
  }
}

// A test that fails with threads still waiting leaves them and their lock behind
// (leaked), so that the run goes on.
template <class L>
void Abandon(std::unique_ptr<L>& lock, std::vector<std::thread>& threads) {
  (void)lock.release();
  for (auto& t : threads) t.detach();
}

TYPED_TEST(LockTable, SleeperWakesWhenTheOwnerLeavesItsLastLevel) {
  auto owned = std::make_unique<TypeParam>(0);   // no spin: the waiter sleeps at once
  TypeParam& lock = *owned;
  lock.Enter();
  lock.Enter();
  lock.Enter();
  static std::atomic<int> got;
  got = 0;
  std::vector<std::thread> waiter;
  waiter.emplace_back([&lock] {
    lock.Enter();
    got = 1;
    lock.Leave();
  });
  std::this_thread::sleep_for(50ms);   // long enough to be asleep
  lock.Leave();
  lock.Leave();
  EXPECT_EQ(got.load(), 0) << "entered while the owner held one level";
  lock.Leave();
  if (!Within(10s, got, 1)) {
    Abandon(owned, waiter);
    FAIL() << "the sleeper was never woken";
  }
  waiter[0].join();
}

TYPED_TEST(LockTable, EverySleeperGetsItsTurn) {
  for (uint32_t spin : {0u, 100u}) {
    auto owned = std::make_unique<TypeParam>(spin);
    TypeParam& lock = *owned;
    constexpr int kSleepers = 6;
    lock.Enter();
    static std::atomic<int> done;
    done = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < kSleepers; ++t)
      threads.emplace_back([&lock] {
        lock.Enter();
        std::this_thread::sleep_for(1ms);   // held a while, so that the others sleep on
        done.fetch_add(1);
        lock.Leave();
      });
    std::this_thread::sleep_for(50ms);
    lock.Leave();
    if (!Within(10s, done, kSleepers)) {
      Abandon(owned, threads);
      FAIL() << "spin " << spin << ": " << done.load() << " of " << kSleepers << " got the lock";
    }
    for (auto& t : threads) t.join();
  }
}

void LeaveTellsWhetherTheCallerOwnedIt() ZX_NO_THREAD_SAFETY_ANALYSIS {
  plat::LockWord lock(0);
  EXPECT_FALSE(lock.Leave());
  EXPECT_FALSE(lock.OwnedByMe());
  lock.Enter();
  EXPECT_TRUE(lock.OwnedByMe());
  bool strangerOwns = true, strangerLeft = true;
  std::thread([&]() ZX_NO_THREAD_SAFETY_ANALYSIS {
    strangerOwns = lock.OwnedByMe();
    strangerLeft = lock.Leave();
  }).join();
  EXPECT_FALSE(strangerOwns);
  EXPECT_FALSE(strangerLeft);
  EXPECT_TRUE(lock.Leave());
  EXPECT_FALSE(lock.OwnedByMe());
}
TEST(LockWord, LeaveTellsWhetherTheCallerOwnedIt) { LeaveTellsWhetherTheCallerOwnedIt(); }

// A static lock word is usable before any static initialiser has run.
constinit plat::LockWord g_early(100);

void EarlyEnterAndLeave() ZX_NO_THREAD_SAFETY_ANALYSIS {
  EXPECT_TRUE(g_early.TryEnter());
  EXPECT_TRUE(g_early.Leave());
}
TEST(LockWord, ConstantInitialised) { EarlyEnterAndLeave(); }

}  // namespace
