// The job blocks: blocks freed on a worker come back to the thread that makes
// jobs, a batch at a time; the shelf is bounded; other sizes use the heap; jobs
// made and deleted on different threads keep the live count right.
#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "thread/JobBlocks.h"
#include "thread/ThreadedJob.h"

namespace {

using namespace zx;

#if defined(_WIN32) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kRecycles = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
constexpr bool kRecycles = false;
#else
constexpr bool kRecycles = true;
#endif
#else
constexpr bool kRecycles = true;
#endif

// Empties the shelf (earlier jobs left batches on it) into the heap. On a thread of
// its own, whose leftover blocks go with it.
void DrainShelf() {
  std::thread([] {
    std::vector<void*> taken;
    while (jobblocks::ShelvedForTests() > 0) taken.push_back(jobblocks::Allocate(8));
    for (void* b : taken) ::operator delete(b);
  }).join();
}

// The steps run on a fresh thread, whose own lists start empty.
template <class F>
void OnFreshThread(F steps) {
  std::thread(steps).join();
}

TEST(JobBlocks, BlocksFreedOnAnotherThreadComeBackInBatches) {
  if (!kRecycles) GTEST_SKIP() << "Windows and sanitizer builds take every block from the heap";
  DrainShelf();
  OnFreshThread([] {
    std::vector<void*> blocks;
    for (size_t i = 0; i < 3 * jobblocks::kBatch + 5; ++i) blocks.push_back(jobblocks::Allocate(80));
    for (void* b : blocks) ASSERT_NE(b, nullptr);
    // Freed on a worker: three full batches reach the shelf, five stay with the
    // worker and go back to the heap when it ends.
    std::thread([&] {
      for (void* b : blocks) jobblocks::Free(b, 80);
    }).join();
    EXPECT_EQ(jobblocks::ShelvedForTests(), 3 * jobblocks::kBatch);
    const std::set<void*> freed(blocks.begin(), blocks.end());
    std::vector<void*> again;
    for (size_t i = 0; i < jobblocks::kBatch; ++i) again.push_back(jobblocks::Allocate(64));
    size_t reused = 0;
    for (void* b : again) reused += freed.count(b);
    EXPECT_EQ(reused, jobblocks::kBatch) << "a whole batch from the shelf";
    EXPECT_EQ(jobblocks::ShelvedForTests(), 2 * jobblocks::kBatch);
    for (void* b : again) jobblocks::Free(b, 64);
  });
  DrainShelf();
}

TEST(JobBlocks, TheShelfIsBoundedAndLargeBlocksUseTheHeap) {
  if (!kRecycles) GTEST_SKIP() << "Windows and sanitizer builds take every block from the heap";
  DrainShelf();
  OnFreshThread([] {
    const size_t many = (jobblocks::kShelfBatches + 4) * jobblocks::kBatch;
    std::vector<void*> blocks;
    for (size_t i = 0; i < many; ++i) blocks.push_back(jobblocks::Allocate(jobblocks::kBlockSize));
    std::thread([&] {
      for (void* b : blocks) jobblocks::Free(b, jobblocks::kBlockSize);
    }).join();
    EXPECT_EQ(jobblocks::ShelvedForTests(), jobblocks::kShelfBatches * jobblocks::kBatch);
    // Larger than a block: the heap's, and the shelf is not touched.
    void* large = jobblocks::Allocate(jobblocks::kBlockSize + 1);
    ASSERT_NE(large, nullptr);
    static_cast<char*>(large)[jobblocks::kBlockSize] = 1;
    jobblocks::Free(large, jobblocks::kBlockSize + 1);
    EXPECT_EQ(jobblocks::ShelvedForTests(), jobblocks::kShelfBatches * jobblocks::kBatch);
  });
  DrainShelf();
}

TEST(JobBlocks, JobsMadeHereAndDeletedThereAreCounted) {
  const int32_t before = clsUTThreadedJob::LiveInstances();
  std::vector<clsUTThreadedJob*> jobs;
  for (int i = 0; i < 1000; ++i) jobs.push_back(new clsUTThreadedJob(String(u"job"), nullptr, nullptr));
  EXPECT_EQ(clsUTThreadedJob::LiveInstances(), before + 1000);
  std::thread([&] {
    for (auto* job : jobs) delete job;
  }).join();
  EXPECT_EQ(clsUTThreadedJob::LiveInstances(), before);
  auto* job = new (std::nothrow) clsUTThreadedJob(String(u"x"), nullptr, nullptr);
  ASSERT_NE(job, nullptr);
  EXPECT_EQ(job->Name(), String(u"x"));
  delete job;
}

}  // namespace
