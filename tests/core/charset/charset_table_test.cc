#include <gtest/gtest.h>

#include <string>

#include "core/charset/CharsetTable.h"
#include "core/strings/String.h"
#include "platform/codepage.h"

using zx::CodePageFromCharsetName;

TEST(CharsetTable, RowsInSearchOrder) {
  auto rows = zx::CharsetNameTable();
  ASSERT_EQ(rows.size(), 43u);
  const struct { size_t index; const char16_t* name; uint32_t codePage; } pinned[] = {
      {0, u"windows-1250", 1250}, {8, u"iso-8859-1", 1252},   {9, u"iso-8859-1", 28591},
      {21, u"iso-2022-jp", 50220}, {22, u"iso-2022-jp", 50222}, {42, u"x-user-defined", 50000}};
  for (const auto& p : pinned) {
    EXPECT_EQ(std::u16string(rows[p.index].name), p.name) << p.index;
    EXPECT_EQ(rows[p.index].codePage, p.codePage) << p.index;
  }
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
