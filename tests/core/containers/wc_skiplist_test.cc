// Skip-list containers: order, duplicates, dictionary rules, levels, the shared
// level chooser and the node memory callbacks.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "core/containers/WCSkipList.h"
#include "containers_test_util.h"

namespace {

using wcdiff::Tagged;  // ordered and compared by key only; tag tells equal ones apart

std::vector<int> Contents(const WCSkipListBase<int>& list) {
  std::vector<int> out;
  WCValSkipListSetIter<int> it(list);
  while (++it) out.push_back(it.current());
  return out;
}

// ---- node memory callbacks that log what they see

struct NodeLog {
  std::map<void*, size_t> live;  // block -> bytes
  std::vector<std::pair<size_t, int>> freed;  // bytes at allocation, level told on free
  bool fail = false;
};
NodeLog g_log;

void* LogAlloc(size_t bytes) {
  if (g_log.fail) return nullptr;
  void* p = ::operator new(bytes);
  g_log.live[p] = bytes;
  return p;
}
void LogFree(void* block, int level) {
  auto it = g_log.live.find(block);
  ASSERT_NE(it, g_log.live.end()) << "freed a block that was not allocated";
  g_log.freed.emplace_back(it->second, level);
  g_log.live.erase(it);
  ::operator delete(block);
}
// The level of a node of an int set, from its allocation size.
int LevelOfIntNode(size_t bytes) {
  return static_cast<int>((bytes - WCSkipPayloadSpace<int>) / sizeof(void*)) - 1;
}

class SkipListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    g_log = NodeLog{};
    WCSkipNonTempBase::SeedForTests(1);
  }
  void TearDown() override { EXPECT_TRUE(g_log.live.empty()) << "leaked nodes"; }
};

// ---- construction parameters

TEST_F(SkipListTest, LevelCountIsClampedAndMaskFollowsProbability) {
  EXPECT_EQ(WCValSkipListSet<int>().levels(), 8);
  EXPECT_EQ(WCValSkipListSet<int>().probabilityMask(), 3u);
  // {probability, levels asked, levels, mask}
  for (auto [p, asked, levels, mask] : {std::tuple{3, 0, 1, 3u}, {3, -7, 1, 3u}, {3, 20, 20, 3u}, {3, 25, 20, 3u},
                                        {1, 8, 8, 1u}, {2, 8, 8, 3u}, {0, 8, 8, 3u}, {7, 8, 8, 3u}}) {
    WCValSkipListSet<int> set(p, asked);
    EXPECT_EQ(set.levels(), levels) << p << " " << asked;
    EXPECT_EQ(set.probabilityMask(), mask) << p << " " << asked;
  }

  // One level: every node has level 0 and the list still works.
  WCValSkipListSet<int> flat(3, 0, LogAlloc, LogFree);
  for (int i = 0; i < 300; ++i) ASSERT_TRUE(flat.insert((i * 37) % 300));
  EXPECT_EQ(flat.levelInUse(), 0);
  for (auto& [block, bytes] : g_log.live) EXPECT_EQ(LevelOfIntNode(bytes), 0);
  std::vector<int> all = Contents(flat);
  ASSERT_EQ(all.size(), 300u);
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));

  // Twenty-five asked: never a level above 19.
  WCValSkipListSet<int> tall(1, 25, LogAlloc, LogFree);
  for (int i = 0; i < 5000; ++i) ASSERT_TRUE(tall.insert(i));
  EXPECT_LE(tall.levelInUse(), 19);
  for (auto& [block, bytes] : g_log.live) EXPECT_LE(LevelOfIntNode(bytes), 19);
}

// ---- the level chooser against the stated algorithm on the same random draws

int ModelLevel(uint32_t mask, int maxLevels, uint32_t& bits, int& left,
               const std::vector<unsigned>& draws, size_t& next) {
  int level = 0;
  for (;;) {
    uint32_t toss = mask & bits;
    if (toss == 0) ++level;
    bits >>= 2;
    if (--left == 0) {
      bits = draws.at(next++);
      left = 7;
    }
    if (toss != 0) break;
  }
  return std::min(level, maxLevels - 1);
}

TEST_F(SkipListTest, LevelChooserFollowsTheReservoirExactly) {
  for (uint32_t mask : {3u, 1u}) {
    for (int maxLevels : {1, 3, 20}) {
      // Record the draws that follow the seed's own reset.
      WCSkipNonTempBase::SeedForTests(4242);
      std::vector<unsigned> draws;
      for (int i = 0; i < 4000; ++i) draws.push_back(WCSkipNonTempBase::RandomBits());
      // Same seed; a construction resets the reservoir with the first draw.
      WCSkipNonTempBase::SeedForTests(4242);
      WCValSkipListSet<int> list;
      uint32_t bits = draws[0];
      int left = 7;
      size_t next = 1;
      std::vector<int> histogram(20);
      for (int i = 0; i < 5000; ++i) {
        int expected = ModelLevel(mask, maxLevels, bits, left, draws, next);
        int got = WCSkipNonTempBase::ChooseLevel(mask, maxLevels);
        ASSERT_EQ(got, expected) << "mask " << mask << " maxLevels " << maxLevels << " call " << i;
        ++histogram[got];
      }
      if (maxLevels == 20) {
        // A toss succeeds three times in four with mask 3, once in two with mask 1.
        double zero = histogram[0] / 5000.0;
        EXPECT_NEAR(zero, mask == 3 ? 0.75 : 0.5, 0.03);
      }
    }
  }
}

TEST_F(SkipListTest, RandomDrawsHaveFifteenBits) {
  unsigned seen = 0;
  for (int i = 0; i < 10000; ++i) {
    unsigned r = WCSkipNonTempBase::RandomBits();
    ASSERT_LT(r, 0x8000u);
    seen |= r;
  }
  EXPECT_EQ(seen, 0x7FFFu);
}

TEST_F(SkipListTest, LevelChooserIsSafeFromSeveralThreads) {
  auto work = [](int base) {
    WCValSkipListDict<int, int> d;
    for (int i = 0; i < 20000; ++i) d.insert(base + i, i);
    return d.entries();
  };
  unsigned a = 0, b = 0;
  std::thread t1([&] { a = work(0); });
  std::thread t2([&] { b = work(1000000); });
  t1.join();
  t2.join();
  EXPECT_EQ(a, 20000u);
  EXPECT_EQ(b, 20000u);
}

// ---- order, duplicates and set rules

TEST_F(SkipListTest, SetRefusesEqualElementAndKeepsTheOld) {
  WCValSkipListSet<Tagged> set;
  EXPECT_TRUE(set.insert({1, 10}));
  EXPECT_FALSE(set.insert({1, 11}));
  EXPECT_EQ(set.entries(), 1u);
  Tagged found;
  ASSERT_TRUE(set.find({1, 0}, found));
  EXPECT_EQ(found.tag, 10);
  EXPECT_TRUE(set.remove({1, 0}));
  EXPECT_FALSE(set.remove({1, 0}));
  EXPECT_TRUE(set.isEmpty());
}

// Insert, find, operator[], remove and clear of ints run against std::map in the
// differential test; here: a non-trivial value and the calls it does not make.
TEST_F(SkipListTest, DictionaryWithTextValues) {
  WCValSkipListDict<int, std::u16string> d;
  EXPECT_TRUE(d.insert(2, u"two"));
  EXPECT_FALSE(d.insert(2, u"zwei"));  // the old value stays
  std::u16string v;
  ASSERT_TRUE(d.find(2, v));
  EXPECT_FALSE(d.find(3, v));
  EXPECT_EQ(v, u"two");  // untouched on a miss
  EXPECT_EQ(d[5], u"");  // operator[] inserts a default value
  d[5] = u"five";
  d[2] += u"!";
  int k = 0;
  ASSERT_TRUE(d.findKeyAndValue(5, k, v));
  EXPECT_EQ(k, 5);
  EXPECT_EQ(v, u"five");
  const auto& cd = d;
  EXPECT_EQ(cd[2], u"two!");
  EXPECT_EQ(cd[9], u"");  // the const form never inserts
  EXPECT_EQ(d.entries(), 2u);
  WCValSkipListDictIter<int, std::u16string> it(d);
  EXPECT_EQ(it.container(), &d);
}

TEST_F(SkipListTest, PointerSetComparesPointeesAndOwnsNothing) {
  WCPtrSkipListSet<int> set;
  int* a = new int(5);
  int* b = new int(5);
  int* c = new int(1);
  EXPECT_TRUE(set.insert(a));
  EXPECT_TRUE(set.insert(c));
  EXPECT_FALSE(set.insert(nullptr));
  int probe = 5;
  EXPECT_EQ(set.find(&probe), a);
  EXPECT_EQ(set.find(nullptr), nullptr);
  EXPECT_TRUE(set.contains(&probe));
  WCValSkipListSetIter<int*> it(set);
  ASSERT_TRUE(++it);
  EXPECT_EQ(it.current(), c);
  EXPECT_EQ(set.remove(&probe), a);
  EXPECT_EQ(set.remove(&probe), nullptr);
  EXPECT_EQ(set.remove(nullptr), nullptr);
  delete a;
  ASSERT_TRUE(set.insert(b));
  set.clearAndDestroy();  // deletes b and c (checked by the leak sanitizer)
  EXPECT_TRUE(set.isEmpty());
}

// ---- levels in use

// The differential test checks after every step that the level in use is the
// highest node level and that each node is freed with the level it was made with.
TEST_F(SkipListTest, LevelInUseRisesByOneAtMost) {
  for (unsigned seed = 1; seed < 40; ++seed) {
    WCSkipNonTempBase::SeedForTests(seed);
    WCValSkipListSet<int> list(3, 8, LogAlloc, LogFree);
    for (int i = 0, previousTop = 0; i < 40; ++i) {
      ASSERT_TRUE(list.insert(i));
      ASSERT_LE(list.levelInUse(), previousTop + 1) << "seed " << seed;
      previousTop = list.levelInUse();
    }
  }
}

TEST_F(SkipListTest, CallbacksSeeNodeSizesAndLevels) {
  WCValSkipListSet<int> list(3, 8, LogAlloc, LogFree);
  for (int i = 0; i < 2000; ++i) ASSERT_TRUE(list.insert(i * 7 % 2000));
  ASSERT_GT(list.levelInUse(), 1);
  for (auto& [block, bytes] : g_log.live) {
    // Payload space plus 8 bytes per forward pointer.
    EXPECT_EQ((bytes - WCSkipPayloadSpace<int>) % 8, 0u);
    EXPECT_GE(bytes, WCSkipPayloadSpace<int> + 8);
  }
  for (int i = 0; i < 2000; i += 3) ASSERT_TRUE(list.remove(i));
  for (auto& [bytes, level] : g_log.freed) EXPECT_EQ(level, LevelOfIntNode(bytes));
}

TEST_F(SkipListTest, FailedAllocationLeavesTheListUnchanged) {
  WCValSkipListDict<int, int> d(3, 8, LogAlloc, LogFree);
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(d.insert(i, i * i));
  int level = d.levelInUse();
  g_log.fail = true;
  for (int i = 100; i < 400; ++i) EXPECT_FALSE(d.insert(i, 0));
  EXPECT_EQ(d.entries(), 100u);
  EXPECT_EQ(d.levelInUse(), level);
  // An assignment that cannot allocate keeps the target.
  g_log.fail = false;
  WCValSkipListDict<int, int> other;
  other.insert(-1, -1);
  g_log.fail = true;
  other = d;
  EXPECT_EQ(other.entries(), 1u);
  EXPECT_TRUE(other.contains(-1));
  g_log.fail = false;
}

struct Fragile {
  static inline bool throwOnCopy = false;
  int v = 0;
  Fragile() = default;
  explicit Fragile(int x) : v(x) {}
  Fragile(const Fragile& o) : v(o.v) {
    if (throwOnCopy) throw std::runtime_error("copy");
  }
  Fragile& operator=(const Fragile&) = default;
  bool operator<(const Fragile& o) const { return v < o.v; }
  bool operator==(const Fragile& o) const { return v == o.v; }
};

TEST_F(SkipListTest, ThrowingElementCopyIsReportedNotThrown) {
  WCValSkipListSet<Fragile> set(3, 8, LogAlloc, LogFree);
  ASSERT_TRUE(set.insert(Fragile(1)));
  Fragile::throwOnCopy = true;
  EXPECT_FALSE(set.insert(Fragile(2)));
  Fragile::throwOnCopy = false;
  EXPECT_EQ(set.entries(), 1u);
  EXPECT_EQ(g_log.live.size(), 1u);  // the block of the failed node was returned
}

// ---- copies and moves

TEST_F(SkipListTest, CopyKeepsOrderOfEqualsAndMoveEmptiesTheSource) {
  WCValSkipList<Tagged> bag;
  for (int i = 0; i < 50; ++i) bag.insert({i % 7, i});
  auto tagsOf = [](const WCSkipListBase<Tagged>& l) {
    std::vector<int> t;
    WCValSkipListSetIter<Tagged> it(l);
    while (++it) t.push_back(it.current().tag);
    return t;
  };
  WCValSkipList<Tagged> copy(bag);
  EXPECT_EQ(tagsOf(copy), tagsOf(bag));
  Tagged f;
  ASSERT_TRUE(copy.find({3, 0}, f));
  EXPECT_EQ(f.tag, 45);
  copy.insert({3, 99});
  ASSERT_TRUE(copy.find({3, 0}, f));
  EXPECT_EQ(f.tag, 99);  // the copy has working levels

  WCValSkipList<Tagged> moved(std::move(copy));
  EXPECT_EQ(moved.entries(), 51u);
  EXPECT_TRUE(copy.isEmpty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(copy.levelInUse(), 0);
  copy = moved;
  EXPECT_EQ(tagsOf(copy), tagsOf(moved));
  moved = std::move(copy);
  EXPECT_EQ(moved.entries(), 51u);
  moved = moved;
  EXPECT_EQ(moved.entries(), 51u);
}

// ---- the virtual slots work on opaque elements and keys

struct OpaqueSet : WCValSkipListSet<int> {
  bool InsertOpaque(int v) { return insertCopy(&v) != nullptr; }
  bool Less(int nodeIndex, int key) { return less(NodeAt(nodeIndex), &key); }
  bool Equal(int nodeIndex, int key) { return equal(NodeAt(nodeIndex), &key); }
  WCSkipNode* NodeAt(int index) {
    WCSkipNode* n = First();
    while (index-- > 0) n = Next(n, 0);
    return n;
  }
  // A node made and freed through the slots without linking it.
  bool MakeAndFree(int v) {
    WCSkipNode* n = allocNode(&v, 2);
    if (n == nullptr) return false;
    bool ok = Payload(n) == v;
    freeNode(n, 2);
    return ok;
  }
};

TEST_F(SkipListTest, VirtualSlotsOnOpaqueElements) {
  OpaqueSet set;
  EXPECT_TRUE(set.InsertOpaque(20));
  EXPECT_TRUE(set.InsertOpaque(10));
  EXPECT_FALSE(set.InsertOpaque(10));
  EXPECT_EQ(Contents(set), (std::vector<int>{10, 20}));
  EXPECT_TRUE(set.Less(0, 15));
  EXPECT_FALSE(set.Less(1, 15));
  EXPECT_TRUE(set.Equal(1, 20));
  EXPECT_FALSE(set.Equal(0, 20));
  EXPECT_TRUE(set.MakeAndFree(7));
  EXPECT_EQ(set.entries(), 2u);
}

// ---- iterators

TEST_F(SkipListTest, IteratorStatesAndMisuse) {
  WCValSkipListDict<int, int> d;
  WCValSkipListDictIter<int, int> none;
  EXPECT_FALSE(++none);  // no container
  EXPECT_EQ(none.key(), 0);
  EXPECT_EQ(none.container(), nullptr);

  WCValSkipListDictIter<int, int> it(d);
  EXPECT_FALSE(++it);  // empty: straight past the end
  EXPECT_FALSE(it());
  d[3] = 30;
  d[1] = 10;
  it.reset();
  EXPECT_EQ(it.key(), 0);  // before the first step: defaults
  EXPECT_EQ(it.value(), 0);
  ASSERT_TRUE(++it);
  EXPECT_EQ(it.key(), 1);
  EXPECT_EQ(it.value(), 10);
  ASSERT_TRUE(it());
  EXPECT_EQ(it.key(), 3);
  EXPECT_FALSE(++it);
  EXPECT_EQ(it.key(), 0);  // past the end: defaults, and it stays there
  EXPECT_FALSE(++it);
  EXPECT_FALSE(++it);
  it.reset();
  ASSERT_TRUE(++it);
  EXPECT_EQ(it.key(), 1);
  WCValSkipListDict<int, int> other;
  other[7] = 70;
  it.reset(other);
  ASSERT_TRUE(++it);
  EXPECT_EQ(it.value(), 70);
  EXPECT_EQ(it.exceptions(), 0);
}

TEST_F(SkipListTest, ExceptionStateIsAWordThatIsNeverRaised) {
  WCValSkipListSet<int> s;
  EXPECT_EQ(s.exceptions(), 0);
  EXPECT_EQ(s.exceptions(7), 0);
  EXPECT_EQ(s.exceptions(), 7);
  EXPECT_FALSE(s.remove(1));  // still quiet
}

}  // namespace
