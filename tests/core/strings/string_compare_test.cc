// String comparison (ordinal, case-insensitive, locale), the container operators
// and the 64-bit hash.
#include <gtest/gtest.h>

#include <map>

#include "core/strings/String.h"

using zx::CompareText;
using zx::IString;
using zx::String;

namespace {

TEST(StringCompare, CompareTextRows) {
  const char16_t* p = u"abc";
  const struct {
    const char16_t* a;
    const char16_t* b;
    int64_t count;
    bool locale, caseSensitive;
    int expected;
  } cases[] = {
      // Null and empty: empty equals null.
      {nullptr, nullptr, -1, false, true, 0}, {u"", nullptr, -1, false, true, 0},
      {nullptr, u"", -1, true, false, 0}, {nullptr, u"a", -1, false, true, -1}, {u"", u"a", -1, true, true, -1},
      {u"a", nullptr, -1, false, true, 1}, {u"a", u"", -1, true, true, 1},
      // A count of zero and the same pointer.
      {p, p, -1, false, true, 0}, {u"abc", u"xyz", 0, false, true, 0}, {u"abc", u"xyz", 0, true, true, 0},
      // Ordinal, with and without a count; code unit order, units above 0x7FFF unsigned.
      {u"abc", u"abd", -1, false, true, -1}, {u"abd", u"abc", -1, false, true, 1},
      {u"ab", u"abc", -1, false, true, -1}, {u"abc", u"abd", 2, false, true, 0},
      {u"abc", u"abd", 3, false, true, -1}, {u"abc", u"abc", zx::kWholeString, false, true, 0},
      {u"B", u"a", -1, false, true, -1}, {u"\xFF01", u"a", -1, false, true, 1},
      // Without case, A to Z fold to lower case: '_' (0x5F) sorts before 'A'.
      {u"HELLO", u"hello", -1, false, false, 0}, {u"B", u"a", -1, false, false, 1},
      {u"_", u"A", -1, false, false, -1}, {u"_", u"A", -1, false, true, 1},
      {u"HELLO!", u"helloX", 5, false, false, 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(CompareText(c.a, c.b, c.count, c.locale, c.caseSensitive), c.expected)
        << "row " << (&c - cases);
  }
  // Only A to Z fold in the ordinal form.
  EXPECT_NE(CompareText(u"\u00C4", u"\u00E4", -1, false, false), 0);
  const String empty, none;
  EXPECT_EQ(empty.Compare(none), 0);
  EXPECT_EQ(empty.Compare(static_cast<const char16_t*>(nullptr)), 0);
  EXPECT_EQ(String(u"x").Compare(static_cast<const char16_t*>(nullptr)), 1);
}

TEST(StringCompare, LeftOperandDecides) {
  const String s(u"Alpha");
  const IString i(String(u"ALPHA"));
  EXPECT_TRUE(s.IsCaseSensitive());
  EXPECT_FALSE(i.IsCaseSensitive());
  EXPECT_EQ(i.Compare(s), 0);
  EXPECT_NE(s.Compare(i), 0);
  EXPECT_TRUE(i == s);
  EXPECT_FALSE(s == i);
  EXPECT_TRUE(i == u"alpha");
  EXPECT_FALSE(s == u"alpha");
  EXPECT_TRUE(s != u"alpha");
  // Built from a String, an IString shares its buffer.
  String text(u"shared");
  IString key(text);
  EXPECT_TRUE(key.SharesBufferWith(text));
}

TEST(StringCompare, OperatorsOrderContainers) {
  std::map<IString, int> m;
  m[IString(u"beta")] = 1;
  m[IString(u"ALPHA")] = 2;
  m[IString(u"Beta")] = 3;   // same key
  ASSERT_EQ(m.size(), 2u);
  EXPECT_EQ(m.begin()->first.View(), u"ALPHA");
  EXPECT_EQ(m[IString(u"BETA")], 3);
  std::map<String, int> n;
  n[String(u"b")] = 1;
  n[String(u"B")] = 2;
  EXPECT_EQ(n.size(), 2u);
  EXPECT_EQ(n.begin()->first.View(), u"B");
  EXPECT_TRUE(String(u"a") < String(u"b"));
  EXPECT_FALSE(String(u"b") < String(u"b"));
}

TEST(StringCompare, LocalePath) {
  // The locale path answers -1, 0, 1 and honours case by the left operand.
  const String upper(u"ABC"), lower(u"abc");
  EXPECT_EQ(IString(lower).CompareLocale(upper), 0);
  EXPECT_NE(lower.CompareLocale(upper), 0);
  EXPECT_EQ(String(u"apple").CompareLocale(String(u"Banana")), -1);
  EXPECT_EQ(String(u"banana").CompareLocale(String(u"Apple")), 1);
  // Linguistic order differs from code units: accented letters sort with their base.
  EXPECT_EQ(String(u"\u00E4b").CompareLocale(String(u"az")), -1);
  EXPECT_EQ(CompareText(u"\u00E4b", u"az", -1, false, true), 1);
  EXPECT_EQ(String(u"abcX").CompareLocale(String(u"abcY"), 3), 0);
  // A count longer than the texts reads only the texts.
  EXPECT_EQ(String(u"abc").CompareLocale(String(u"abc"), zx::kWholeString), 0);
  EXPECT_EQ(String().CompareLocale(String(u"a")), -1);
  EXPECT_NE(zx::CachedUILanguage(), 0);
}

// Expected values computed once with python3 from the rule (K = 0x9DDFEA08EB382D69,
// 8/4/2/1-byte little-endian chunks of the UTF-16LE bytes):
//   def h(t):
//     b=t.encode('utf-16-le'); h=0; i=0
//     for w in (8,4,2,1):
//       while len(b)-i>=w:
//         c=int.from_bytes(b[i:i+w],'little'); i+=w
//         a=((c^h)*K)&M; bb=(((a>>47)^a^h)*K)&M; h=(((bb>>47)^bb)*K)&M
//     return h
TEST(StringHash, PinnedValues) {
  struct Case {
    const char16_t* text;
    uint64_t hash;
  } cases[] = {
      {u"", 0x0},
      {u"a", 0x4bb0968272759ull},
      {u"ab", 0x422c2027e69e1c9ull},
      {u"abc", 0xcfbe459268d58923ull},
      {u"abcd", 0x259eb0b862b32ac8ull},
      {u"abcdefg", 0x3205ee3926f2d764ull},
      {u"Hello, World!", 0xdbe1ef0932f3156aull},
      {u"Stra\u00DFe \u20AC", 0x778b75306132e05eull},
      {u"0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF0123456789ABCDEF", 0x3242437152eba071ull},
  };
  for (const Case& c : cases) EXPECT_EQ(String(c.text).Hash(), c.hash) << "text length "
                                                                       << String(c.text).Length();
}

TEST(StringHash, CaseAndSharing) {
  EXPECT_NE(String(u"abc").Hash(), String(u"ABC").Hash());
  String a(u"same");
  String b(a);
  EXPECT_EQ(a.Hash(), b.Hash());
  EXPECT_EQ(zx::HashBytes("\x01\x02\x03", 3), zx::HashBytes("\x01\x02\x03", 3));
  EXPECT_NE(zx::HashBytes("\x01\x02\x03", 3), zx::HashBytes("\x01\x02\x04", 3));
}

}  // namespace
