// The string cache on its own and behind a job's MakeName/MakeValue: equal texts
// share one string, different texts (case, a zero unit, many in one bucket) do
// not, the bucket counts follow the hash, and numbers stay out of the value cache.
#include <map>
#include <random>
#include <string>

#include "prof_test_util.h"
#include "prof/StringCache.h"

using namespace proftest;

namespace {

using zx::SharedString;
using zx::clsStringCache;

std::u16string Text(const SharedString& s) { return std::u16string(s.View()); }

// Random texts from a small alphabet, so that repeats are common.
std::u16string RandomText(std::mt19937& rng) {
  static const char16_t kAlphabet[] = u"aAb0-(\u00e9\u4e2d";
  std::u16string t(rng() % 5, u' ');
  for (char16_t& c : t) c = kAlphabet[rng() % 8];
  return t;
}

TEST(ProfStringCache, AgreesWithAMapOfTextsOverManyRandomTexts) {
  clsStringCache cache;
  std::map<std::u16string, SharedString> first;
  std::mt19937 rng(7);
  for (int i = 0; i < 20000; ++i) {
    const std::u16string t = RandomText(rng);
    // Both entry points: from characters and from a string made elsewhere.
    const SharedString got = i % 2 ? cache.Intern(std::u16string_view(t))
                                   : cache.Intern(SharedString::Make(t.c_str(), static_cast<int64_t>(t.size())));
    ASSERT_TRUE(got);
    ASSERT_EQ(Text(got), t);
    auto [it, added] = first.emplace(t, got);
    if (!added) ASSERT_TRUE(got.SameAs(it->second)) << i;
  }
  EXPECT_EQ(cache.Entries(), first.size());
  unsigned perBucket[clsStringCache::kBuckets] = {};
  for (const auto& [t, s] : first) ++perBucket[clsStringCache::BucketOf(zx::String(std::u16string_view(t)))];
  for (int b = 0; b < clsStringCache::kBuckets; ++b) EXPECT_EQ(cache.BucketEntries(b), perBucket[b]) << b;
  EXPECT_EQ(cache.BucketEntries(-1), 0u);
  EXPECT_EQ(cache.BucketEntries(clsStringCache::kBuckets), 0u);
}

TEST(ProfStringCache, ManyTextsOfOneBucketStayApartAndAreFoundAgain) {
  // Thousands of texts whose hashes agree in the low 8 bits: one bucket grows
  // many times and its probes run long.
  std::vector<std::u16string> texts;
  for (int i = 0; texts.size() < 3000; ++i) {
    std::u16string t = u"v" + std::u16string(std::u16string_view(zx::String(zx::kFormat, u"%d", i).View()));
    if (clsStringCache::BucketOf(zx::String(std::u16string_view(t))) == 17) texts.push_back(t);
  }
  clsStringCache cache;
  std::vector<SharedString> stored;
  for (const auto& t : texts) stored.push_back(cache.Intern(std::u16string_view(t)));
  EXPECT_EQ(cache.BucketEntries(17), texts.size());
  EXPECT_EQ(cache.Entries(), texts.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    ASSERT_TRUE(cache.Intern(std::u16string_view(texts[i])).SameAs(stored[i])) << i;
    ASSERT_EQ(Text(stored[i]), texts[i]);
  }
  // The cache holds each string once more than the test does.
  EXPECT_EQ(stored[0].UseCount(), 2u);
}

TEST(ProfStringCache, TheEmptyTextLivesInBucketZero) {
  clsStringCache cache;
  const SharedString a = cache.Intern(std::u16string_view());
  EXPECT_TRUE(a.SameAs(cache.Intern(SharedString::Make(u"", 0))));
  EXPECT_EQ(cache.BucketEntries(0), 1u);
  EXPECT_EQ(cache.Entries(), 1u);
  EXPECT_FALSE(cache.Intern(SharedString()));  // an empty pointer passes through uncached
  EXPECT_EQ(cache.Entries(), 1u);
}

TEST(ProfStringCache, CachedStringsOutliveTheirItemsUntilTheJobEnds) {
  RemoveCacheSetting();
  Job job;
  SharedString v = job->MakeValue(u"kept", zx::kWholeString);
  const uint32_t held = v.UseCount();
  EXPECT_EQ(held, 2u);  // ours and the cache's
  v = SharedString();
  EXPECT_TRUE(job->MakeValue(u"kept", 4).UseCount() == 2u);  // still the cache's one
}

TEST(ProfStringCache, AJobInternsWithTheExemptionsAndTheSwitch) {
  RemoveCacheSetting();
  const struct {
    const char16_t* text;
    int64_t length;
    bool valueCached;
  } cases[] = {
      {u"plain", zx::kWholeString, true}, {u"plain", 5, true},       {u"plainer", 5, true},
      {u"(1,2)", zx::kWholeString, false}, {u"123", 3, true},         {u"1234", 4, false},
      {u"-1234", 5, false},                {u"-123", 4, true},        {u"", 0, true},
      {u"", -3, true},
  };
  for (bool on : {true, false}) {
    SetCacheSetting(on ? u"T" : u"F");
    Job job;
    ASSERT_EQ(job->cacheEnabled, on);
    for (const auto& c : cases) {
      const std::u16string stored = Text(job->MakeValue(c.text, c.length));
      const SharedString a = job->MakeValue(c.text, c.length), b = job->MakeValue(c.text, c.length);
      EXPECT_EQ(Text(a), stored);
      EXPECT_EQ(a.SameAs(b), on && c.valueCached) << ToUtf8(c.text) << " on=" << on;
      const SharedString n1 = job->MakeName(c.text, c.length), n2 = job->MakeName(c.text, c.length);
      EXPECT_EQ(Text(n1), stored);
      EXPECT_EQ(n1.SameAs(n2), on) << ToUtf8(c.text);
    }
    // A length that runs past a zero unit keeps the text before it, and shares
    // with that shorter text.
    const char16_t withZero[] = {u'a', u'b', 0, u'c'};
    const SharedString cut = job->MakeName(withZero, 4);
    EXPECT_EQ(Text(cut), u"ab");
    EXPECT_EQ(cut.SameAs(job->MakeName(u"ab", 2)), on);
    // Case counts.
    EXPECT_FALSE(job->MakeName(u"Key", 3).SameAs(job->MakeName(u"key", 3)));
  }
  RemoveCacheSetting();
}

}  // namespace
