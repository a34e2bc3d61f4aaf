#include <gtest/gtest.h>

#include <string>

#include "core/CharsetTable.h"
#include "core/String.h"
#include "platform/codepage.h"

using zx::CodePageFromCharsetName;

TEST(CharsetTable, RowsInSearchOrder) {
  auto rows = zx::CharsetNameTable();
  ASSERT_EQ(rows.size(), 43u);
  EXPECT_EQ(std::u16string(rows[0].name), u"windows-1250");
  EXPECT_EQ(rows[0].codePage, 1250u);
  EXPECT_EQ(std::u16string(rows[8].name), u"iso-8859-1");
  EXPECT_EQ(rows[8].codePage, 1252u);
  EXPECT_EQ(std::u16string(rows[9].name), u"iso-8859-1");
  EXPECT_EQ(rows[9].codePage, 28591u);
  EXPECT_EQ(std::u16string(rows[21].name), u"iso-2022-jp");
  EXPECT_EQ(rows[21].codePage, 50220u);
  EXPECT_EQ(std::u16string(rows[22].name), u"iso-2022-jp");
  EXPECT_EQ(rows[22].codePage, 50222u);
  EXPECT_EQ(std::u16string(rows[42].name), u"x-user-defined");
  EXPECT_EQ(rows[42].codePage, 50000u);
}

TEST(CharsetTable, EveryNameFindsItsFirstRow) {
  auto rows = zx::CharsetNameTable();
  for (size_t i = 0; i < rows.size(); ++i) {
    size_t first = 0;
    while (std::u16string(rows[first].name) != rows[i].name) ++first;
    SCOPED_TRACE(i);
    EXPECT_EQ(CodePageFromCharsetName(rows[i].name), rows[first].codePage);
  }
}

TEST(CharsetTable, DuplicateNamesAnswerWithTheirFirstRow) {
  EXPECT_EQ(CodePageFromCharsetName(u"iso-8859-1"), 1252u);
  EXPECT_EQ(CodePageFromCharsetName(zx::String(u"iso-8859-1")), 1252u);
  EXPECT_EQ(CodePageFromCharsetName(u"iso-2022-jp"), 50220u);
}

TEST(CharsetTable, SomeNames) {
  EXPECT_EQ(CodePageFromCharsetName(u"utf-8"), 65001u);
  EXPECT_EQ(CodePageFromCharsetName(u"koi8-r"), 20866u);
  EXPECT_EQ(CodePageFromCharsetName(u"shift-jis"), 932u);
  EXPECT_EQ(CodePageFromCharsetName(u"_autodetect_kr"), 50949u);
  EXPECT_EQ(CodePageFromCharsetName(u"SEN_850200_B"), 20107u);
  EXPECT_EQ(CodePageFromCharsetName(u"unicodeFEFF"), 1201u);
}

TEST(CharsetTable, UnknownNamesGiveTheAnsiCodePage) {
  const uint32_t ansi = plat::AnsiCodePage();
  EXPECT_EQ(CodePageFromCharsetName(u"x-unknown"), ansi);
  EXPECT_EQ(CodePageFromCharsetName(u""), ansi);
  EXPECT_EQ(CodePageFromCharsetName(static_cast<const char16_t*>(nullptr)), ansi);
  EXPECT_EQ(CodePageFromCharsetName(zx::String()), ansi);
  // The comparison is the String one, with case: upper case is unknown.
  EXPECT_EQ(CodePageFromCharsetName(u"UTF-8"), ansi);
  EXPECT_EQ(CodePageFromCharsetName(u"Windows-1251"), ansi);
  // No prefix matches.
  EXPECT_EQ(CodePageFromCharsetName(u"utf-8 "), ansi);
  EXPECT_EQ(CodePageFromCharsetName(u"utf"), ansi);
}
