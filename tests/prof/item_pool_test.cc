// The item pool: blocks are distinct, aligned and reused after a free, slabs
// fill up and more are made; a job's items come from its pool and go back when
// the delete operations, a copy's failure path or the close destroy them.
#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

#include "prof_test_util.h"
#include "prof/ItemPool.h"

using namespace proftest;

namespace {

TEST(ProfItemPool, BlocksAreDistinctAlignedAndReused) {
  zx::clsItemPool pool(40);
  std::vector<void*> blocks;
  std::set<uintptr_t> seen;
  // Three slabs' worth and a little more.
  for (size_t i = 0; i < 3 * zx::clsItemPool::kSlabItems + 5; ++i) {
    void* b = pool.Allocate();
    ASSERT_NE(b, nullptr);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(b) % zx::clsItemPool::kAlign, 0u);
    // Blocks do not overlap: write a pattern over each whole block.
    std::memset(b, static_cast<int>(i & 0xFF), 40);
    ASSERT_TRUE(seen.insert(reinterpret_cast<uintptr_t>(b)).second);
    blocks.push_back(b);
  }
  for (size_t i = 0; i < blocks.size(); ++i)
    ASSERT_EQ(static_cast<unsigned char*>(blocks[i])[39], static_cast<unsigned char>(i & 0xFF)) << i;
  EXPECT_EQ(pool.InUse(), blocks.size());
  pool.Free(blocks[7]);
  pool.Free(blocks[100]);
  pool.Free(nullptr);
  EXPECT_EQ(pool.InUse(), blocks.size() - 2);
  // The last freed comes back first, then the one before.
  EXPECT_EQ(pool.Allocate(), blocks[100]);
  EXPECT_EQ(pool.Allocate(), blocks[7]);
  EXPECT_EQ(pool.InUse(), blocks.size());
}

TEST(ProfItemPool, AJobsItemsComeFromItsPoolAndGoBack) {
  Job job;
  const size_t empty = job->itemPool.InUse();
  EXPECT_EQ(empty, 0u);
  HPROFLIST l = ProfAppendListW(job, nullptr, W(u"list"));
  ASSERT_NE(l, nullptr);
  for (int i = 0; i < 1000; ++i) ProfAppendStringW(job, l, W(u"k"), W(u"v"));
  ProfAppendStringW(job, nullptr, W(u"top"), W(u"1"));
  EXPECT_EQ(job->itemPool.InUse(), 1002u);  // the list's own item, its values, one more
  EXPECT_EQ(ProfDeleteItemW(job, nullptr, W(u"top")), 1);
  EXPECT_EQ(job->itemPool.InUse(), 1001u);
  EXPECT_EQ(ProfDeleteListW(job, nullptr, W(u"list")), 1);
  EXPECT_EQ(job->itemPool.InUse(), 0u);
  // A copy of a job's tree into another comes from the other's pool.
  Job other;
  HPROFLIST again = ProfAppendListW(job, nullptr, W(u"again"));
  ProfAppendStringW(job, again, W(u"a"), W(u"b"));
  const size_t before = job->itemPool.InUse();
  ASSERT_EQ(ProfCopyList(other, nullptr, job, nullptr), PROF_OK);
  EXPECT_EQ(job->itemPool.InUse(), before);
  EXPECT_EQ(other->itemPool.InUse(), before);
  EXPECT_EQ(Get(other, nullptr, u"again/a"), u"b");
}

}  // namespace
