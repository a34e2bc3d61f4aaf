// The dispatcher's intrusive job list: order, removal from any place, membership
// by the job's own mark, and the search by address that never reads through it.
#include <gtest/gtest.h>

#include <vector>

#include "thread/JobList.h"

using namespace zx;

namespace {

std::vector<clsUTThreadedJob*> Walk(const JobList& list) {
  std::vector<clsUTThreadedJob*> out;
  for (clsUTThreadedJob* job = list.first(); job; job = JobList::next(job)) out.push_back(job);
  return out;
}

TEST(JobList, KeepsOrderAndRemovesFromAnyPlace) {
  clsUTThreadedJob a(String(u"a"), nullptr, nullptr), b(String(u"b"), nullptr, nullptr),
      c(String(u"c"), nullptr, nullptr);
  JobList list;
  EXPECT_TRUE(list.empty());
  for (auto* job : {&a, &b, &c}) EXPECT_TRUE(list.append(job));
  EXPECT_EQ(list.entries(), 3);
  EXPECT_EQ(Walk(list), (std::vector<clsUTThreadedJob*>{&a, &b, &c}));

  EXPECT_TRUE(list.remove(&b));   // the middle
  EXPECT_FALSE(list.remove(&b));  // not twice
  EXPECT_EQ(Walk(list), (std::vector<clsUTThreadedJob*>{&a, &c}));
  EXPECT_TRUE(list.remove(&c));   // the tail: a later append goes after a
  EXPECT_TRUE(list.append(&b));
  EXPECT_EQ(Walk(list), (std::vector<clsUTThreadedJob*>{&a, &b}));
  EXPECT_EQ(list.pop(), &a);
  EXPECT_EQ(list.pop(), &b);
  EXPECT_EQ(list.pop(), nullptr);
  EXPECT_EQ(list.entries(), 0);
}

TEST(JobList, AJobIsOnOneListAtATime) {
  clsUTThreadedJob a(String(u"a"), nullptr, nullptr);
  JobList pending, running;
  ASSERT_TRUE(pending.append(&a));
  EXPECT_FALSE(running.append(&a));
  EXPECT_FALSE(running.remove(&a));
  EXPECT_TRUE(pending.contains(&a));
  EXPECT_FALSE(running.contains(&a));
  ASSERT_TRUE(pending.remove(&a));
  EXPECT_TRUE(running.append(&a));
  EXPECT_TRUE(running.contains(&a));
  running.pop();
}

TEST(JobList, TakeByAddressComparesOnly) {
  clsUTThreadedJob a(String(u"a"), nullptr, nullptr), b(String(u"b"), nullptr, nullptr);
  JobList list;
  list.append(&a);
  list.append(&b);
  // An address that is no job on the list (a dropped job's packet, its memory
  // perhaps reused) is not found.
  alignas(clsUTThreadedJob) unsigned char notAJob[sizeof(clsUTThreadedJob)] = {};
  EXPECT_FALSE(list.take(notAJob));
  EXPECT_FALSE(list.take(nullptr));
  EXPECT_TRUE(list.take(&b));
  EXPECT_FALSE(list.take(&b));
  EXPECT_EQ(Walk(list), (std::vector<clsUTThreadedJob*>{&a}));
  list.pop();
}

}  // namespace
