// Linked lists, vector and stack of the WC family: index clamping, tail and
// count, link memory, iterators and defaults on misuse.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/containers/WCSkipList.h"

namespace {

// Views of the protected list fields.
template <class List>
struct Peek : List {
  const WCSLink* Tail() const { return this->tail; }
  int Count() const { return this->count; }
};

template <class List>
std::vector<int> Contents(const List& list) {
  std::vector<int> out;
  for (int i = 0; i < list.entries(); ++i) out.push_back(list.find(i));
  return out;
}

template <class List>
class ListTest : public ::testing::Test {};
using ListTypes = ::testing::Types<WCValSList<int>, WCValDList<int>>;
TYPED_TEST_SUITE(ListTest, ListTypes);

// Append, insert, get and find with clamped indexes, index, tail and link memory
// (also when it fails) run against std::vector in the differential test.
TYPED_TEST(ListTest, TailAndCountFollowTheLinks) {
  Peek<TypeParam> list;
  EXPECT_EQ(list.Tail(), nullptr);
  EXPECT_TRUE(list.insert(2));  // into an empty list: becomes the tail
  EXPECT_TRUE(list.insert(1));  // front; the tail stays
  EXPECT_EQ(list.findLast(), 2);
  EXPECT_EQ(list.Count(), 2);
  EXPECT_EQ(list.get(1), 2);
  EXPECT_EQ(list.get(0), 1);
  EXPECT_EQ(list.Tail(), nullptr);
  EXPECT_EQ(list.Count(), 0);
  EXPECT_TRUE(list.isEmpty());
  for (int v : {4, 7, 4, 9}) list.append(v);
  EXPECT_TRUE(list.contains(7));
  EXPECT_FALSE(list.contains(5));
  EXPECT_EQ(list.occurrencesOf(4), 2u);
}

TYPED_TEST(ListTest, CopyAndMove) {
  TypeParam a;
  for (int i = 0; i < 5; ++i) a.append(i);
  TypeParam b(a);
  EXPECT_EQ(Contents(b), Contents(a));
  b.get(0);
  EXPECT_EQ(a.entries(), 5);
  TypeParam c(std::move(a));
  EXPECT_EQ(c.entries(), 5);
  EXPECT_TRUE(a.isEmpty());  // NOLINT(bugprone-use-after-move)
  a = c;
  EXPECT_EQ(Contents(a), Contents(c));
  a = a;
  EXPECT_EQ(a.entries(), 5);
  b = std::move(c);
  EXPECT_EQ(b.entries(), 5);
}

TEST(WCValSList, ElementsAreDestroyedOnClear) {
  WCValSList<std::u16string> list;
  list.append(std::u16string(100, u'x'));  // heap-owned text: the leak checker sees a missed destructor
  list.insert(u"front");
  EXPECT_EQ(list.find(0), u"front");
  EXPECT_EQ(list.get(5), std::u16string(100, u'x'));
  list.append(u"more");
  list.clear();
  EXPECT_TRUE(list.isEmpty());
}

TEST(WCPtrSList, ComparesPointeesAndDestroysOnRequest) {
  WCPtrSList<int> list;
  int* a = new int(1);
  int* b = new int(2);
  list.append(a);
  list.append(b);
  list.append(nullptr);
  int probe = 2;
  EXPECT_EQ(list.index(&probe), 1);
  EXPECT_EQ(list.index(nullptr), 2);
  EXPECT_EQ(list.get(5), nullptr);
  EXPECT_EQ(list.find(0), a);
  WCPtrConstSListIter<int> it(list);
  ASSERT_TRUE(++it);
  EXPECT_EQ(*it.current(), 1);
  list.clearAndDestroy();
  EXPECT_TRUE(list.isEmpty());
  WCPtrSList<int> empty;
  EXPECT_EQ(empty.get(0), nullptr);
}

// ---- iterators

TEST(WCListIter, StateMachine) {
  WCValSList<int> list;
  WCValSListIter<int> none;
  EXPECT_FALSE(++none);
  EXPECT_EQ(none.current(), 0);
  EXPECT_EQ(none.container(), nullptr);

  WCValSListIter<int> it(list);
  EXPECT_FALSE(++it);  // empty
  EXPECT_FALSE(it());
  list.append(1);
  list.append(2);
  list.append(3);
  it.reset();
  EXPECT_EQ(it.current(), 0);  // state 1: no element yet
  std::vector<int> seen;
  while (++it) seen.push_back(it.current());
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));  // the circle is not followed past the tail
  EXPECT_EQ(it.current(), 0);
  EXPECT_FALSE(++it);
  EXPECT_FALSE(it());
  it.reset();
  ASSERT_TRUE(++it);
  it.current() = 10;  // the mutable iterator writes in place
  EXPECT_EQ(list.find(0), 10);
  EXPECT_EQ(it.container(), &list);

  // Writing through a misused iterator touches no element.
  WCValSListIter<int> past(list);
  while (++past) {
  }
  past.current() = 99;
  EXPECT_EQ(Contents(list), (std::vector<int>{10, 2, 3}));
}

TEST(WCListIter, DoublyLinkedAndConstIterators) {
  WCValDList<std::u16string> list;
  list.append(u"b");
  list.insert(u"a");
  list.append(u"c");
  WCValConstDListIter<std::u16string> it(list);
  std::u16string all;
  while (it()) all += it.current();
  EXPECT_EQ(all, u"abc");
  WCValDListIter<std::u16string> m(list);
  ++m;
  ++m;
  m.current() = u"B";
  EXPECT_EQ(list.find(1), u"B");
  WCValConstSListIter<int> empty;
  EXPECT_FALSE(empty());
  EXPECT_EQ(empty.current(), 0);
}

// ---- vector and stack

// Growth by writing an index runs against std::vector in the differential test.
TEST(WCValVector, IndexGrowsTheVector) {
  WCValVector<int> v;
  EXPECT_TRUE(v.isEmpty());
  v[10] = 7;
  EXPECT_EQ(v.entries(), 11);
  const WCValVector<int>& cv = v;
  EXPECT_EQ(cv[50], 0);  // the const form never grows
  EXPECT_EQ(v.entries(), 11);
  // A negative index gives a stand-in.
  v[-1] = 5;
  EXPECT_EQ(v.entries(), 11);
  EXPECT_EQ(v[-1], 0);
  // A wild index is refused rather than exhausting memory.
  v[0x7FFFFFFF] = 1;
  v[0x40000000] = 1;
  EXPECT_EQ(v.entries(), 11);
  EXPECT_TRUE(v.append(12));
  EXPECT_EQ(v.entries(), 12);
  EXPECT_EQ(v[11], 12);
}

TEST(WCValVector, ElementsSurviveGrowthCopyAndMove) {
  WCValVector<std::u16string> v;
  for (int i = 0; i < 100; ++i) v[i] = std::u16string(20, static_cast<char16_t>(u'a' + i % 26));
  EXPECT_GE(v.capacity(), 100);
  WCValVector<std::u16string> c(v);
  EXPECT_EQ(c.entries(), 100);
  EXPECT_EQ(c[25], std::u16string(20, u'z'));
  WCValVector<std::u16string> m(std::move(c));
  EXPECT_EQ(m.entries(), 100);
  EXPECT_TRUE(c.isEmpty());  // NOLINT(bugprone-use-after-move)
  c = m;
  EXPECT_EQ(c[99], m[99]);
  c.clear();
  EXPECT_EQ(c.entries(), 0);
  c[2] = u"x";
  EXPECT_EQ(c.entries(), 3);
}

// push, pop and top run against std::vector in the differential test.
TEST(WCStack, ClearAndExceptions) {
  WCStack<int> s;
  s.push(1);
  s.clear();
  EXPECT_TRUE(s.isEmpty());
  EXPECT_EQ(s.pop(), 0);
  EXPECT_EQ(s.exceptions(), 0);
}

}  // namespace
