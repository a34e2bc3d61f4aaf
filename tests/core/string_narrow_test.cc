// String's narrow text: the cached narrow copy, narrow assignment in a code page
// and clsCHARString. iconv judges the bytes where it can run.
#include <gtest/gtest.h>

#include <string>

#include "charset_test_util.h"
#include "core/String.h"

using zx::String;

namespace {

struct PageCase {
  uint32_t codePage;
  const char* iconvName;
  const char16_t* text;
  std::string bytes;   // taken from iconv once; checked again below where it runs
};

const PageCase kPages[] = {
    {1252, "CP1252", u"Gr\u00FC\u00DFe \u20AC \u2013 \u201Ex\u201C",
     "\x47\x72\xfc\xdf\x65\x20\x80\x20\x96\x20\x84\x78\x93"},
    {65001, "UTF-8", u"Gr\u00FC\u00DFe \u20AC \U0001F600",
     "Gr\xc3\xbc\xc3\x9f" "e \xe2\x82\xac \xf0\x9f\x98\x80"},
    {1251, "CP1251", u"\u041F\u0440\u0438\u0432\u0435\u0442, \u043C\u0438\u0440 \u2116 \u0451",
     "\xcf\xf0\xe8\xe2\xe5\xf2\x2c\x20\xec\xe8\xf0\x20\xb9\x20\xb8"},
};

TEST(StringNarrow, CopyInEachCodePageMatchesIconv) {
  for (const PageCase& c : kPages) {
    String s(c.text);
    s.SetCodePage(c.codePage);
    EXPECT_EQ(std::string(s.narrow()), c.bytes) << "code page " << c.codePage;
    if (auto judged = charset_test::Iconv("UTF-16LE", c.iconvName,
                                          charset_test::Utf16LeBytes(s.View()))) {
      EXPECT_EQ(*judged, c.bytes) << "iconv disagrees for " << c.iconvName;
    }
  }
}

TEST(StringNarrow, AssignInEachCodePageMatchesIconv) {
  for (const PageCase& c : kPages) {
    String s;
    s.SetCodePage(c.codePage);
    s.Assign(c.bytes.c_str());
    EXPECT_EQ(s.View(), std::u16string_view(c.text)) << "code page " << c.codePage;
    if (auto judged = charset_test::Iconv(c.iconvName, "UTF-16LE", c.bytes)) {
      EXPECT_EQ(charset_test::FromUtf16LeBytes(*judged), std::u16string(c.text));
    }
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
  charset_test::DefaultCodePageGuard guard(1251);
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
