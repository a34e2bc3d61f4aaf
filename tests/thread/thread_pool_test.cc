// clsThreadPool and its run-once work item: runs on a thread of the pool, once per
// submit, awaited; a pool closed with callbacks pending cancels them.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "core/diag/StaticCleanup.h"
#include "platform/process.h"
#include "thread/ThreadPool.h"
#include "thread_test_util.h"

using namespace zx;

namespace {

class Counting : public clsThreadPoolWorkerBaseRunOnce {
 public:
  using clsThreadPoolWorkerBaseRunOnce::clsThreadPoolWorkerBaseRunOnce;
  ~Counting() override { WaitForCallback(true); }
  void Run() override {
    mayRunLong = CallbackMayRunLong();
    if (slowMs) std::this_thread::sleep_for(std::chrono::milliseconds(slowMs));
    ++runs;
  }
  std::atomic<int> runs{0};
  std::atomic<bool> mayRunLong{false};
  int slowMs = 0;
};

TEST(ThreadPool, ARunOnceItemRunsOnThePoolOncePerSubmit) {
  clsThreadPool pool;
  ASSERT_TRUE(pool.IsValid());
  Counting item(pool);
  ASSERT_TRUE(item.IsValid());
  item.Submit();
  item.WaitForCallback();
  EXPECT_EQ(item.runs, 1);
  EXPECT_NE(item.CallbackThreadId(), 0u);
  EXPECT_NE(item.CallbackThreadId(), plat::ThreadId());
  EXPECT_TRUE(item.mayRunLong);
  item.Submit();
  item.Submit();
  item.WaitForCallback();
  EXPECT_EQ(item.runs, 3);
}

// At process exit the pool's threads may be gone or stuck behind the loader: the
// pool is let go without a wait.
TEST(ThreadPool, AtStaticCleanUpThePoolIsLeftWithoutAWait) {
  auto* pool = new clsThreadPool;
  auto* item = new Counting(*pool);
  item->slowMs = 600;
  item->Submit();
  while (item->CallbackThreadId() == 0) std::this_thread::yield();
  SetStaticCleanupBegun(true);
  const auto start = std::chrono::steady_clock::now();
  delete pool;
  const auto took = std::chrono::steady_clock::now() - start;
  SetStaticCleanupBegun(false);
  EXPECT_LT(took, std::chrono::milliseconds(300));
  item->WaitForCallback();
  EXPECT_EQ(item->runs, 1);
  delete item;
}

TEST(ThreadPool, TheEndOfAnItemWaitsForItsRunningCallback) {
  clsThreadPool pool;
  std::atomic<int>* runs = nullptr;
  {
    Counting item(pool);
    item.slowMs = 200;
    runs = &item.runs;
    item.Submit();
    while (item.CallbackThreadId() == 0) std::this_thread::yield();
    const auto start = std::chrono::steady_clock::now();
    item.WaitForCallback();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    EXPECT_EQ(item.runs, 1);
  }
  (void)runs;
}

TEST(ThreadPool, AWaitThatCancelsLeavesNoRunBehind) {
  clsThreadPool pool;
  Counting a(pool), b(pool), c(pool);
  a.slowMs = b.slowMs = 300;
  a.Submit();
  b.Submit();
  // With the pool busy, c's runs wait in the queue (Linux: both threads are taken);
  // the cancelling wait drops those not yet started.
  while (a.CallbackThreadId() == 0 || b.CallbackThreadId() == 0) std::this_thread::yield();
  for (int i = 0; i < 3; ++i) c.Submit();
  c.WaitForCallback(true);
  const int after = c.runs;
  EXPECT_LE(after, 3);
#ifndef _WIN32
  EXPECT_EQ(after, 0);
#endif
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_EQ(c.runs, after);   // nothing ran after the wait
  c.Submit();
  c.WaitForCallback(false);   // without cancelling: it runs once a thread is free
  EXPECT_EQ(c.runs, after + 1);
}

}  // namespace
