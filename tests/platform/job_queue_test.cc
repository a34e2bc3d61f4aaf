// The job queue behind the dispatcher (a completion port on Windows, a mutex and a
// condition variable on Linux): order, time-outs, null items, a getter woken by a post
// from another thread, a sleeper woken again after a look took its item, and many
// producers and consumers losing nothing.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "platform/job_queue.h"

namespace {

void* Item(uintptr_t n) { return reinterpret_cast<void*>(n); }

TEST(JobQueue, OrderNullItemsAndTimeOuts) {
  plat::JobQueue q(2);
  ASSERT_TRUE(q.IsValid());
  void* got = Item(99);
  EXPECT_EQ(q.Get(&got, 0), 0) << "empty: nothing at once";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(q.Get(&got, 50), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40)) << "the time-out is waited";
  // More than the first room of the ring, with wrap-around in between.
  for (uintptr_t i = 1; i <= 40; ++i) ASSERT_TRUE(q.Post(Item(i)));
  for (uintptr_t i = 1; i <= 30; ++i) {
    ASSERT_EQ(q.Get(&got, 0), 1);
    ASSERT_EQ(got, Item(i));
  }
  for (uintptr_t i = 41; i <= 300; ++i) ASSERT_TRUE(q.Post(Item(i)));
  ASSERT_TRUE(q.Post(nullptr));
  for (uintptr_t i = 31; i <= 300; ++i) {
    ASSERT_EQ(q.Get(&got, plat::kQueueWaitInfinite), 1);
    ASSERT_EQ(got, Item(i));
  }
  ASSERT_EQ(q.Get(&got, 0), 1);
  EXPECT_EQ(got, nullptr) << "a null item is an item";
  EXPECT_EQ(q.Get(nullptr, 0), -1);
}

TEST(JobQueue, ASleepingGetterIsWokenByAPost) {
  plat::JobQueue q(1);
  std::atomic<int> got{0};
  std::thread getter([&] {
    void* item = nullptr;
    got = q.Get(&item, plat::kQueueWaitInfinite) == 1 && item == Item(7) ? 1 : -1;
  });
  // Long enough for the getter to have gone past its spin and to sleep.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(got.load(), 0);
  ASSERT_TRUE(q.Post(Item(7)));
  getter.join();
  EXPECT_EQ(got.load(), 1);
}

// A post wakes a sleeper, but a look from another thread takes the item first: the
// sleeper goes back to sleep and must still be woken by the next post.
TEST(JobQueue, ASleeperWhoseItemWasTakenIsWokenByTheNextPost) {
  auto* q = new plat::JobQueue(2);
  std::atomic<int> got{0};
  std::thread getter([&] {
    void* item = nullptr;
    while (q->Get(&item, plat::kQueueWaitInfinite) == 1 && item) ++got;
  });
  int stolen = 0;
  for (int round = 0; round < 40; ++round) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));   // the getter sleeps
    void* item = nullptr;
    ASSERT_TRUE(q->Post(Item(1)));
    stolen += q->Get(&item, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));   // the woken getter finds nothing
    ASSERT_TRUE(q->Post(Item(2)));
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (got.load() + stolen < 2 * (round + 1) && std::chrono::steady_clock::now() < end)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (got.load() + stolen < 2 * (round + 1)) {
      getter.detach();   // stranded: the queue stays for it
      FAIL() << "round " << round << ": the sleeper was not woken (" << stolen << " items looked away)";
    }
  }
  ASSERT_TRUE(q->Post(nullptr));
  getter.join();
  delete q;
}

TEST(JobQueue, ManyProducersAndConsumersLoseNothing) {
  constexpr int kProducers = 3, kConsumers = 3, kEach = 20000;
  plat::JobQueue q(kConsumers);
  std::vector<std::atomic<int>> seen(kProducers * kEach + 1);
  std::vector<std::thread> threads;
  for (int c = 0; c < kConsumers; ++c)
    threads.emplace_back([&] {
      void* item = nullptr;
      while (q.Get(&item, plat::kQueueWaitInfinite) == 1 && item) ++seen[reinterpret_cast<uintptr_t>(item)];
    });
  for (int p = 0; p < kProducers; ++p)
    threads.emplace_back([&, p] {
      for (int i = 0; i < kEach; ++i) {
        q.Post(Item(static_cast<uintptr_t>(p * kEach + i + 1)));
        // Now and then a pause, so that consumers run dry and sleep.
        if (i % 4096 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
    });
  for (int p = 0; p < kProducers; ++p) threads[kConsumers + p].join();
  for (int c = 0; c < kConsumers; ++c) q.Post(nullptr);
  for (int c = 0; c < kConsumers; ++c) threads[c].join();
  int wrong = 0;
  for (size_t i = 1; i < seen.size(); ++i) wrong += seen[i].load() != 1;
  EXPECT_EQ(wrong, 0) << "every item is taken exactly once";
}

}  // namespace
