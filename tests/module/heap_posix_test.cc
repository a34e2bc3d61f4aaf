// Linux heaps read nothing they do not hold: second frees of blocks whose memory
// went back to the system, wild pointers into unmapped pages and pointers into the
// middle of a block all get their error codes without a fault. Chunks fill up and
// the walk and validation cover every one of them.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "module_test_util.h"
#include "module/HeapNode.h"
#include "module/ModuleList.h"
#include "platform/heap.h"

namespace {

using zxtest::DebugCapture;

const plat::HeapServices& Sys() { return plat::SystemHeapServices(); }

// An address whose page was mapped once and is not any more.
uint8_t* UnmappedAddress() {
  const long page = ::sysconf(_SC_PAGESIZE);
  void* p = ::mmap(nullptr, static_cast<size_t>(page), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  EXPECT_NE(p, MAP_FAILED);
  ::munmap(p, static_cast<size_t>(page));
  return static_cast<uint8_t*>(p) + 64;
}

TEST(SystemHeapPosixTest, AHeapHoldsItsChunksAndLiveLargeBlocksOnly) {
  plat::SysHeap h = Sys().create(0, 32768, 0);
  ASSERT_NE(Sys().holds, nullptr);
  auto* small = static_cast<uint8_t*>(Sys().alloc(h, 0, 40));
  auto* large = static_cast<uint8_t*>(Sys().alloc(h, 0, 300000));
  ASSERT_TRUE(small && large);
  EXPECT_TRUE(Sys().holds(h, small, 40));
  EXPECT_TRUE(Sys().holds(h, large + 299996, 4));
  EXPECT_FALSE(Sys().holds(h, large + 299997, 4)) << "past the block's end";
  int local = 0;
  EXPECT_FALSE(Sys().holds(h, &local, sizeof local));
  ASSERT_TRUE(Sys().free(h, 0, small));
  ASSERT_TRUE(Sys().free(h, 0, large));
  EXPECT_TRUE(Sys().holds(h, small, 40)) << "a freed small block stays mapped with its chunk";
  EXPECT_FALSE(Sys().holds(h, large, 4)) << "a freed large block went back to the system";
  EXPECT_FALSE(Sys().free(h, 0, large));
  EXPECT_FALSE(Sys().free(h, 0, small + 16)) << "the middle of a block is no block";
  EXPECT_TRUE(Sys().destroy(h));

  EXPECT_FALSE(plat::MemoryReadable(UnmappedAddress(), 4));
  EXPECT_TRUE(plat::MemoryReadable(&local, sizeof local));
}

TEST(SystemHeapPosixTest, ManyChunksAreWalkedAndValidatedBlockByBlock) {
  plat::SysHeap h = Sys().create(0, 32768, 0);
  std::vector<void*> blocks;
  for (int i = 0; i < 20000; ++i) {   // about 1.6 MB of small blocks: several chunks
    void* p = Sys().alloc(h, 0, 16 + static_cast<size_t>(i % 5) * 24);
    ASSERT_NE(p, nullptr);
    std::memset(p, 0x5A, 16);
    blocks.push_back(p);
  }
  for (size_t i = 0; i < blocks.size(); i += 2) ASSERT_TRUE(Sys().free(h, 0, blocks[i]));
  struct Tally { size_t busy = 0, idle = 0; } tally;
  ASSERT_TRUE(Sys().walk(h, [](void* ctx, const plat::HeapWalkEntry& e) {
    auto* t = static_cast<Tally*>(ctx);
    (e.busy ? t->busy : t->idle)++;
    return true;
  }, &tally));
  EXPECT_EQ(tally.busy, 10000u);
  EXPECT_EQ(tally.idle, 10000u);
  EXPECT_TRUE(Sys().validate(h, 0, nullptr));
  // Reuse takes freed blocks of the same class before carving new memory.
  void* again = Sys().alloc(h, plat::kHeapZeroMemory, 16);
  EXPECT_EQ(again, blocks[19990]) << "the last freed block of that class";
  EXPECT_EQ(static_cast<uint8_t*>(again)[0], 0);
  // A header overwritten from the block in front is told by validation.
  std::memset(static_cast<uint8_t*>(blocks[1]) - 16, 0x77, 16);
  EXPECT_FALSE(Sys().validate(h, 0, nullptr));
  EXPECT_FALSE(Sys().validate(h, 0, blocks[1]));
  EXPECT_TRUE(Sys().destroy(h));
}

class HeapPosixTest : public ::testing::Test {
 protected:
  void SetUp() override { module_ = zx::JobOpen(u"HeapPosixTest", 0); }
  void TearDown() override { zx::JobClose(module_); }
  zx::clsModuleNode* module_ = nullptr;
};

TEST_F(HeapPosixTest, SecondFreesOfLargeObjectsAreRefusedWithoutAFault) {
  DebugCapture cap;
  zx::clsHeapNode* h = zx::HeapCreate(module_, u"Big", 0);
  for (uint32_t form : {0u, zx::kObjDebug | zx::kObjNoStack}) {
    void* p = zx::HeapObjectAlloc(h, 1 << 20, form, 0);   // served by its own mapping
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(zx::HeapObjectSize(h, p), 1 << 20);
    EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
    EXPECT_EQ(zx::HeapObjectFree(h, p), -6);
    EXPECT_EQ(zx::HeapObjectSize(h, p), -6);
  }
  // What the second free is told by depends on whether the memory went back to the
  // system (nothing readable: magic 0) or waits in the allocator (the old header).
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapPosixTest'/'Big']::FreeObject"));
  EXPECT_EQ(h->objects, 0);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapPosixTest, WildPointersGiveMinusSix) {
  zx::clsHeapNode* h = zx::HeapCreate(module_, u"Wild", zx::kHeapDebug);
  uint8_t* wild = UnmappedAddress();
  EXPECT_EQ(zx::HeapObjectFree(h, wild), -6);
  EXPECT_EQ(zx::HeapObjectSize(h, wild), -6);
  EXPECT_EQ(zx::HeapValidate(h, wild), -3) << "no block of the heap";
  // A pointer into the middle of a live object: the bytes in front are user data.
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 100, zx::kObjZero, 0));
  EXPECT_EQ(zx::HeapObjectFree(h, p + 48), -6);
  EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapPosixTest, MemoryGivenBackByTheAllocatorIsNeverRead) {
  // Thousands of freed objects let the general allocator shrink; their second
  // frees read only the heap's own chunks.
  zx::clsHeapNode* h = zx::HeapCreate(module_, u"Many", 0);
  std::vector<void*> objects;
  for (int i = 0; i < 5000; ++i) objects.push_back(zx::HeapObjectAlloc(h, 200 + i % 3000, 0, 0));
  for (void* p : objects) ASSERT_EQ(zx::HeapObjectFree(h, p), 0);
  zx::HeapShrink(h);
  int refused = 0;
  for (void* p : objects) refused += zx::HeapObjectFree(h, p) == -6;
  EXPECT_EQ(refused, 5000);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

}  // namespace
