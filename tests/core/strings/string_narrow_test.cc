// String's narrow text: the cached narrow copy, narrow assignment in a code page
// and clsCHARString.
#include <gtest/gtest.h>

#include <string>

#include "core_test_util.h"
#include "core/strings/String.h"

using zx::String;

namespace {

using core_test::kSamples;

// The sample bytes are judged by iconv in the converter's tests.
TEST(StringNarrow, CopyAndAssignInEachCodePage) {
  for (const core_test::CodePageSample& c : kSamples) {
    String s(c.text);
    s.SetCodePage(c.codePage);
    EXPECT_EQ(std::string(s.narrow()), std::string(c.knownBytes)) << "code page " << c.codePage;
    String back;
    back.SetCodePage(c.codePage);
    back.Assign(c.knownBytes);
    EXPECT_EQ(back.View(), std::u16string_view(c.text)) << "code page " << c.codePage;
  }
}

TEST(StringNarrow, AssignRangesAndClears) {
  String s;
  s.SetCodePage(1252);
  s.Assign("abcdef", 2, 3);
  EXPECT_EQ(s.View(), u"cde");
  s.Assign("abcdef", 4);   // whole rest: the byte length is measured
  EXPECT_EQ(s.View(), u"ef");
  s.Assign("abc", 3);
  EXPECT_EQ(s.Length(), 0);
  s.Assign("abc");
  s.Assign("");
  EXPECT_EQ(s.Length(), 0);
  s.Assign("abc");
  s.Assign(static_cast<const char*>(nullptr));
  EXPECT_EQ(s.Length(), 0);
}

TEST(StringNarrow, CodePageZeroWidensBytes) {
  String s;
  s.SetCodePage(0);
  s.Assign("\x80\xff" "A");
  ASSERT_EQ(s.Length(), 3);
  EXPECT_EQ(s[0], 0x80);
  EXPECT_EQ(s[1], 0xFF);
  EXPECT_EQ(s[2], u'A');
}

TEST(StringNarrow, CopyIsCachedUntilTheNextChange) {
  String s(u"abc");
  const char* first = s.narrow();
  EXPECT_STREQ(first, "abc");
  EXPECT_EQ(s.narrow(), first);
  EXPECT_TRUE(s.HasNarrowCopy());
  s.Append(u'd');
  EXPECT_FALSE(s.HasNarrowCopy());   // the old pointer is gone with the change
  EXPECT_STREQ(s.narrow(), "abcd");
  String empty;
  EXPECT_EQ(empty.narrow(), zx::kEmptyNarrow);
  EXPECT_FALSE(empty.HasNarrowCopy());
  // A copy of a string does not share its narrow copy.
  String c(s);
  EXPECT_FALSE(c.HasNarrowCopy());
}

TEST(StringNarrow, UnmappableCharactersFollowTheConverter) {
  String s(u"\u4E2D");   // no such character in 1252
  s.SetCodePage(1252);
  EXPECT_STREQ(s.narrow(), "?");
}

TEST(StringNarrow, DefaultCodePageIsTakenAtConstruction) {
  core_test::DefaultCodePageGuard guard(1251);
  String made(u"x");
  EXPECT_EQ(made.CodePage(), 1251u);
  String fromNarrow("\xcf");   // narrow constructor converts in the default page
  EXPECT_EQ(fromNarrow.View(), u"\u041F");
  String::SetDefaultCodePage(65001);
  EXPECT_EQ(made.CodePage(), 1251u);
  EXPECT_EQ(String().CodePage(), 65001u);
}

TEST(StringNarrow, CharStringConversions) {
  zx::clsCHARString none;
  EXPECT_EQ(none.ToString(1252).wchar(), zx::kEmptyWide);
  zx::clsCHARString empty("");
  EXPECT_EQ(empty.ToString(1252).Length(), 0);
  zx::clsCHARString text("\xfc\xdf");
  EXPECT_EQ(text.Length(), 2);
  EXPECT_EQ(text.ToString(1252).View(), u"\u00FC\u00DF");
  EXPECT_EQ(text.ToString(0).View(), u"\u00FC\u00DF");   // byte by byte happens to agree
  zx::clsCHARString utf8("\xc3\xbc");
  EXPECT_EQ(utf8.ToString(65001).View(), u"\u00FC");
  EXPECT_EQ(utf8.ToString(0).View(), u"\u00C3\u00BC");
  zx::clsCHARString copy(utf8);
  EXPECT_STREQ(copy.Chars(), "\xc3\xbc");
  EXPECT_NE(copy.Chars(), utf8.Chars());
  // The result keeps the default code page, not the conversion's.
  EXPECT_EQ(utf8.ToString(65001).CodePage(), String::DefaultCodePage());
}

}  // namespace
