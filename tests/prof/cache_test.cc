// The string caches: the registry switch ProfCacheEnabled, interning of names
// and values with the exclusions for numbers and coordinates, case, buckets,
// and that deleting items frees no cached string.
#include <string>
#include <utility>

#include "prof_test_util.h"
#include "prof/Prof.h"

using namespace proftest;

namespace {

// The items of the root, in order.
std::vector<zx::clsItem*> RootItems(HPROFJOB job) {
  std::vector<zx::clsItem*> out;
  Internal(job)->rootList.ForEach([&](int, zx::clsItem* item) {
    out.push_back(item);
    return true;
  });
  return out;
}

class ProfCache : public ::testing::Test {
 protected:
  void TearDown() override { RemoveCacheSetting(); }
};

}  // namespace

TEST_F(ProfCache, TheRegistrySwitchIsReadForEachNewJob) {
  RemoveCacheSetting();
  { Job job; EXPECT_TRUE(job->cacheEnabled); }  // unreadable: on
  SetCacheSetting(u"F");
  Job off;
  EXPECT_FALSE(off->cacheEnabled);
  // Only a leading upper-case "T" counts; the long one passes the stack buffer.
  const std::u16string longT = u"T" + std::u16string(600, u'x');
  for (auto [text, on] : {std::pair{u"T", true}, {u"TRUE", true}, {u"true", false}, {u"", false},
                          {longT.c_str(), true}}) {
    SetCacheSetting(text);
    Job job;
    EXPECT_EQ(job->cacheEnabled, on) << ToUtf8(text).substr(0, 8);
  }
  SetCacheSettingDword(0);  // not a text: unreadable, so on
  { Job job; EXPECT_TRUE(job->cacheEnabled); }
  // A job keeps what it read at its start.
  EXPECT_FALSE(off->cacheEnabled);
}

TEST_F(ProfCache, WithTheCacheOnEqualNamesAndShortValuesShareOneString) {
  RemoveCacheSetting();
  Job job;
  ASSERT_TRUE(job->cacheEnabled);
  ProfAppendStringW(job, nullptr, W(u"name"), W(u"abc"));
  ProfAppendStringW(job, nullptr, W(u"name"), W(u"abc"));
  ProfAppendStringW(job, nullptr, W(u"Name"), W(u"ABC"));
  ProfAppendListW(job, nullptr, W(u"name"));
  std::vector<zx::clsItem*> items = RootItems(job);
  ASSERT_EQ(items.size(), 4u);
  EXPECT_TRUE(items[0]->name.SameAs(items[1]->name));
  EXPECT_TRUE(items[0]->value.SameAs(items[1]->value));
  EXPECT_FALSE(items[0]->name.SameAs(items[2]->name));  // case counts
  EXPECT_FALSE(items[0]->value.SameAs(items[2]->value));
  EXPECT_TRUE(items[0]->name.SameAs(items[3]->name));  // a list's name too
  EXPECT_TRUE(items[3]->name.SameAs(items[3]->sublist->name));
  // A set replaces with the cached string as well.
  ProfSetStringW(job, nullptr, W(u"Name"), W(u"abc"));
  EXPECT_TRUE(RootItems(job)[2]->value.SameAs(items[0]->value));
}

TEST_F(ProfCache, NumbersAndCoordinatesStayOutOfTheValueCache) {
  RemoveCacheSetting();
  Job job;
  const struct {
    const char16_t* value;
    bool cached;
  } cases[] = {
      {u"(1,2)", false}, {u"(", false},     {u"123", true},    {u"1234", false},
      {u"12ab", false},  {u"-123", true},   {u"-1234", false}, {u"-a234", true},
      {u"abcd", true},   {u"", true},       {u"x0000001F", true}, {u"TRUE", true},
  };
  for (const auto& c : cases) {
    ProfAppendStringW(job, nullptr, W(u"a"), W(c.value));
    ProfAppendStringW(job, nullptr, W(u"b"), W(c.value));
    std::vector<zx::clsItem*> items = RootItems(job);
    ASSERT_GE(items.size(), 2u);
    zx::clsItem* first = items[items.size() - 2];
    zx::clsItem* second = items.back();
    EXPECT_EQ(first->value.SameAs(second->value), c.cached) << ToUtf8(c.value);
  }
}

TEST_F(ProfCache, WithTheCacheOffEachItemHoldsItsOwnString) {
  SetCacheSetting(u"F");
  Job job;
  ASSERT_FALSE(job->cacheEnabled);
  ProfAppendStringW(job, nullptr, W(u"name"), W(u"abc"));
  ProfAppendStringW(job, nullptr, W(u"name"), W(u"abc"));
  std::vector<zx::clsItem*> items = RootItems(job);
  EXPECT_FALSE(items[0]->name.SameAs(items[1]->name));
  EXPECT_FALSE(items[0]->value.SameAs(items[1]->value));
  EXPECT_EQ(job->nameCache.Entries(), 0u);
  EXPECT_EQ(job->valueCache.Entries(), 0u);
  // Names still compare by text, with case.
  Set(job, nullptr, u"A", u"upper");
  Set(job, nullptr, u"a", u"lower");
  EXPECT_EQ(Get(job, nullptr, u"A"), u"upper");
  EXPECT_EQ(Get(job, nullptr, u"a"), u"lower");
  EXPECT_EQ(Get(job, nullptr, u"name"), u"abc");
}

TEST_F(ProfCache, DeletingItemsFreesNoCachedString) {
  RemoveCacheSetting();
  Job job;
  Set(job, nullptr, u"gone", u"soon");
  unsigned names = job->nameCache.Entries(), values = job->valueCache.Entries();
  zx::SharedString name = RootItems(job)[0]->name;
  EXPECT_EQ(name.UseCount(), 3u);  // the item, the bucket and this copy
  EXPECT_EQ(ProfDeleteItemW(job, nullptr, W(u"gone")), 1);
  EXPECT_EQ(job->nameCache.Entries(), names);
  EXPECT_EQ(job->valueCache.Entries(), values);
  EXPECT_EQ(name.UseCount(), 2u);  // the bucket keeps it until the job ends
  // Setting the name again takes the same string.
  Set(job, nullptr, u"gone", u"back");
  EXPECT_TRUE(RootItems(job)[0]->name.SameAs(name));
}

TEST_F(ProfCache, NamesSpreadOverTheBucketsAndTheEmptyStringGoesToBucketZero) {
  RemoveCacheSetting();
  Job job;
  EXPECT_EQ(job->nameCache.Entries(), 1u);  // the root's "/"
  Set(job, nullptr, u"", u"v");
  EXPECT_EQ(job->nameCache.BucketEntries(0), 1u + (zx::clsStringCache::BucketOf(zx::String(u"/")) == 0));
  for (int i = 0; i < 2000; ++i) {
    const char16_t suffix[] = {char16_t(u'A' + i % 26), char16_t(u'a' + i / 26 % 26), char16_t(u'0' + i / 676), 0};
    Set(job, nullptr, (u"key" + std::u16string(suffix)).c_str(), u"v");
  }
  int used = 0;
  unsigned fullest = 0;
  for (int b = 0; b < zx::clsStringCache::kBuckets; ++b) {
    used += job->nameCache.BucketEntries(b) > 0;
    fullest = std::max(fullest, job->nameCache.BucketEntries(b));
  }
  EXPECT_EQ(job->nameCache.Entries(), 2002u);
  EXPECT_GE(used, 240);      // 2000 names over 256 buckets: nearly all in use
  EXPECT_LE(fullest, 30u);   // and none crowded
}
