// clsRegEx: compile on demand, the option bits, Match and its list, Escape, the
// compile-failure line and the match limit.
#include <pcre2.h>

#include <chrono>

#include <gtest/gtest.h>

#include "core/regex/RegEx.h"
#include "regex_test_util.h"
#include "support/support_test_util.h"

using regex_test::Offsets;
using regex_test::Pieces;
using regex_test::Texts;
using zxsupport::DiagCapture;

namespace {

// The whole-match text of `pattern` with `options` over `subject`, or "<none>".
std::u16string First(const char16_t* pattern, uint32_t options, const char16_t* subject) {
  clsRegEx re;
  if (!re.Compile(pattern, options)) return u"<bad>";
  clsRegExMatchList list;
  if (!re.Match(String(subject), &list)) return u"<none>";
  return std::u16string(list.find(0).text.View());
}

TEST(RegExCompile, BadPatternReportsOffsetAndEngineText) {
  DiagCapture diag;
  clsRegEx re;
  EXPECT_FALSE(re.Compile(u"ab(c", 0));
  EXPECT_FALSE(re.IsCompiled());
  EXPECT_EQ(re.ErrorText().View(), u"missing closing parenthesis");
  EXPECT_EQ(diag.CountEqual(u"Error in RegEx offset 4: 'missing closing parenthesis'"), 1u);
  EXPECT_EQ(re.VectorSize(), 0);

  // Every later call tries the compile again and fails the same way.
  clsRegExMatchList list;
  EXPECT_FALSE(re.Match(String(u"abc"), &list));
  EXPECT_EQ(re.Substitute(String(u"abc"), String(u"x")).View(), u"abc");
  EXPECT_EQ(Pieces(re.Split(String(u"abc"))), std::vector<std::u16string>{u"abc"});
  EXPECT_EQ(diag.CountEqual(u"Error in RegEx offset 4: 'missing closing parenthesis'"), 4u);

  // A good compile afterwards clears the text.
  EXPECT_TRUE(re.Compile(u"(a)(b)?", 0));
  EXPECT_TRUE(re.ErrorText().IsEmpty());
  EXPECT_EQ(re.VectorSize(), (2 + 2) * 3);
}

TEST(RegExCompile, CompilesOnDemandWithStoredPatternAndOptions) {
  clsRegEx re(u"B+", zx::kRegExCaseless);
  EXPECT_FALSE(re.IsCompiled());
  clsRegExMatchList list;
  ASSERT_TRUE(re.Match(String(u"abbc"), &list));
  EXPECT_TRUE(re.IsCompiled());
  EXPECT_EQ(Texts(list), std::vector<std::u16string>{u"bb"});
  EXPECT_EQ(re.Options(), zx::kRegExCaseless);
}

TEST(RegExOptions, CompileBitsMapToTheEngine) {
  EXPECT_EQ(First(u"abc", 0, u"xABC"), u"<none>");
  EXPECT_EQ(First(u"abc", 1, u"xABC"), u"ABC");                 // caseless
  EXPECT_EQ(First(u"^b$", 0, u"a\nb\nc"), u"<none>");
  EXPECT_EQ(First(u"^b$", 2, u"a\nb\nc"), u"b");                // multi-line
  EXPECT_EQ(First(u"a.b", 0, u"a\nb"), u"<none>");
  EXPECT_EQ(First(u"a.b", 4, u"a\nb"), u"a\nb");               // dot-all
  EXPECT_EQ(First(u"a b # note", 0, u"ab"), u"<none>");
  EXPECT_EQ(First(u"a b # note", 8, u"ab"), u"ab");             // extended
  EXPECT_EQ(First(u"A.B", 1 | 4, u"a\nb"), u"a\nb");           // combined
}

TEST(RegExOptions, UngreedyInvertsGreediness) {
  EXPECT_EQ(First(u"a+", 0, u"aaa"), u"aaa");
  EXPECT_EQ(First(u"a+", 512, u"aaa"), u"a");
  EXPECT_EQ(First(u"a+?", 512, u"aaa"), u"aaa");
  EXPECT_EQ(First(u"<.*>", 512, u"<a><b>"), u"<a>");
  EXPECT_EQ(First(u"<.*>", 0, u"<a><b>"), u"<a><b>");
  EXPECT_EQ(First(u"x{2,4}", 512, u"xxxxx"), u"xx");
}

TEST(RegExOptions, MatchMaskBitsApplyToEachMatch) {
  EXPECT_EQ(First(u"b", zx::kRegExAnchored, u"ab"), u"<none>");
  EXPECT_EQ(First(u"a", zx::kRegExAnchored, u"ab"), u"a");
  EXPECT_EQ(First(u"^a", zx::kRegExNotBol, u"ab"), u"<none>");
  EXPECT_EQ(First(u"b$", zx::kRegExNotEol, u"ab"), u"<none>");
  EXPECT_EQ(First(u"x*", zx::kRegExNotEmpty, u"abc"), u"<none>");
  EXPECT_EQ(First(u"x*", zx::kRegExNotEmpty, u"abxxc"), u"xx");
  EXPECT_EQ(First(u"a$", 0, u"a\n"), u"a");
  EXPECT_EQ(First(u"a$", zx::kRegExDollarEndOnly, u"a\n"), u"<none>");
  EXPECT_EQ(First(u".", 0, u"\U0001F600"), u"\xD83D");          // code units by default
  EXPECT_EQ(First(u".", zx::kRegExUtf, u"\U0001F600"), u"\U0001F600");
}

TEST(RegExMatch, ListHoldsWholeMatchAndGroupsWithOffsets) {
  clsRegEx re(u"(\\d+)-(x)?(\\w+)");
  clsRegExMatchList list;
  ASSERT_TRUE(re.Match(String(u"id 12-ab;"), &list));
  EXPECT_EQ(Texts(list), (std::vector<std::u16string>{u"12-ab", u"12", u"", u"ab"}));
  EXPECT_EQ(Offsets(list), (std::vector<int>{3, 3, -1, 6}));  // an unset group has no offset

  // A miss leaves the list as it was; a new match replaces its contents.
  EXPECT_FALSE(re.Match(String(u"none"), &list));
  EXPECT_EQ(list.entries(), 4);
  ASSERT_TRUE(re.Match(String(u"7-xy"), &list));
  EXPECT_EQ(Texts(list), (std::vector<std::u16string>{u"7-xy", u"7", u"x", u"y"}));
}

TEST(RegExMatch, NullListOnlyReportsAndWideStringForm) {
  clsRegEx re(u"b+");
  EXPECT_TRUE(re.Match(String(u"abbb"), nullptr));
  EXPECT_FALSE(re.Match(String(u"ccc"), nullptr));
  clsRegExMatchList list;
  EXPECT_TRUE(re.Match(u"xbbx", &list));
  EXPECT_EQ(list.find(0).offset, 1);
  EXPECT_FALSE(re.Match(static_cast<const char16_t*>(nullptr), &list));
  // Text past an embedded NUL is part of a String subject.
  const char16_t withNul[] = {u'a', 0, u'b', u'b', 0};
  EXPECT_TRUE(re.Match(String(std::u16string_view(withNul, 4)), &list));
  EXPECT_EQ(list.find(0).offset, 2);
}

TEST(RegExMatch, CatastrophicBacktrackingHitsTheLimitAndFailsClearly) {
  DiagCapture diag;
  clsRegEx re(u"(a+)+$");
  const String subject(std::u16string(40, u'a') + u"b");
  const auto t0 = std::chrono::steady_clock::now();
  EXPECT_FALSE(re.Match(subject, nullptr));
  const auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  EXPECT_LT(seconds, 20.0);
  EXPECT_EQ(re.LastMatchError(), PCRE2_ERROR_MATCHLIMIT);
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_EQ(diag.Lines()[0], u"ERR: clsRegEx: match failed at offset 0 (-47): match limit exceeded");

  // Substitute and Split give the subject back unchanged.
  EXPECT_EQ(re.Substitute(subject, String(u"x")).View(), subject.View());
  EXPECT_EQ(Pieces(re.Split(subject)), std::vector<std::u16string>{std::u16string(subject.View())});
  // The same object still works on a harmless subject.
  EXPECT_TRUE(re.Match(String(u"aaa"), nullptr));
  EXPECT_EQ(re.LastMatchError(), 0);
}

TEST(RegExEscape, BackslashBeforeEachSpecialCharacter) {
  EXPECT_EQ(clsRegEx::Escape(String(u"a.b")).View(), u"a\\.b");
  EXPECT_EQ(clsRegEx::Escape(String(u".|()[^{+$*?\\")).View(), u"\\.\\|\\(\\)\\[\\^\\{\\+\\$\\*\\?\\\\");
  EXPECT_EQ(clsRegEx::Escape(String(u"a]b}c-d")).View(), u"a]b}c-d");
  EXPECT_TRUE(clsRegEx::Escape(String()).IsEmpty());
  const String escaped = clsRegEx::Escape(String(u"**"));
  EXPECT_GE(escaped.Capacity(), 4);

  // An escaped text matches itself literally.
  const String literal(u"1+1=(2)? [yes] {ok} a|b $5 ^_^ c:\\dir.");
  clsRegEx re(clsRegEx::Escape(literal));
  clsRegExMatchList list;
  ASSERT_TRUE(re.Match(String(u"> " + std::u16string(literal.View())), &list));
  EXPECT_EQ(list.find(0).text.View(), literal.View());
  EXPECT_EQ(list.find(0).offset, 2);
}

}  // namespace
