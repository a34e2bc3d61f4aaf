// The system heap services the tracked heaps stand on: blocks are told from
// anything else, a freed or foreign block is refused, reused blocks are zeroed on
// request, and the walk sees exactly the busy blocks.
#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "platform/heap.h"

namespace {

const plat::HeapServices& Sys() { return plat::SystemHeapServices(); }

std::set<void*> BusyBlocks(plat::SysHeap heap) {
  std::set<void*> busy;
  EXPECT_TRUE(Sys().walk(heap, [](void* ctx, const plat::HeapWalkEntry& e) {
    if (e.busy) static_cast<std::set<void*>*>(ctx)->insert(e.data);
    return true;
  }, &busy));
  return busy;
}

TEST(SystemHeapTest, BlocksAreKnownByTheirHeapOnly) {
  ASSERT_NE(Sys().walk, nullptr);
  ASSERT_NE(Sys().validate, nullptr);
  plat::SysHeap a = Sys().create(0, 32768, 0);
  plat::SysHeap b = Sys().create(0, 32768, 0);
  ASSERT_NE(a, nullptr);
  void* p = Sys().alloc(a, 0, 40);
  void* q = Sys().alloc(a, 0, 3000);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
  EXPECT_EQ(Sys().size(a, 0, p), 40u);
  EXPECT_EQ(Sys().size(a, 0, q), 3000u);
  EXPECT_TRUE(Sys().validate(a, 0, p));
  EXPECT_TRUE(Sys().validate(a, 0, nullptr));
  EXPECT_EQ(BusyBlocks(a), (std::set<void*>{p, q}));
  EXPECT_TRUE(BusyBlocks(b).empty());
#ifndef _WIN32
  // What the system decides on Windows, our heap refuses on Linux.
  EXPECT_FALSE(Sys().free(b, 0, p)) << "another heap's block";
  EXPECT_EQ(Sys().size(b, 0, p), plat::kHeapBadBlock);
  EXPECT_TRUE(Sys().free(a, 0, p));
  EXPECT_FALSE(Sys().free(a, 0, p)) << "a freed block";
  EXPECT_EQ(Sys().size(a, 0, p), plat::kHeapBadBlock);
#else
  EXPECT_TRUE(Sys().free(a, 0, p));
#endif
  EXPECT_EQ(BusyBlocks(a), (std::set<void*>{q}));
  EXPECT_TRUE(Sys().destroy(a));
  EXPECT_TRUE(Sys().destroy(b));
}

TEST(SystemHeapTest, ReusedBlocksAreZeroedOnRequestAndCompactionAnswers) {
  plat::SysHeap h = Sys().create(0, 32768, 0);
  for (int round = 0; round < 3; ++round) {
    auto* p = static_cast<unsigned char*>(Sys().alloc(h, 0, 100));
    std::memset(p, 0xAB, 100);
    ASSERT_TRUE(Sys().free(h, 0, p));
    auto* z = static_cast<unsigned char*>(Sys().alloc(h, plat::kHeapZeroMemory, 100));
    for (int i = 0; i < 100; ++i) ASSERT_EQ(z[i], 0) << i;
    ASSERT_TRUE(Sys().free(h, 0, z));
  }
#ifndef _WIN32
  EXPECT_GE(Sys().compact(h, 0), 32768u);
#endif
  EXPECT_TRUE(Sys().destroy(h));
}

TEST(SystemHeapTest, AHeapWithAMaximumRefusesMore) {
  plat::SysHeap h = Sys().create(0, 4096, 65536);
  void* big = Sys().alloc(h, 0, 1 << 20);
  EXPECT_EQ(big, nullptr);
  EXPECT_TRUE(Sys().destroy(h));
}

}  // namespace
