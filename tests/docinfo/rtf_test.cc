// The RTF reader: the "{\info}" group with its escapes in several code pages,
// Unicode escapes, groups nested around and inside it, and its bounds.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "bytes_file_test_util.h"
#include "docinfo/DocReaders.h"
#include "docinfo/RtfText.h"

namespace zx {
namespace {

using zxtest::DateText;
using zxtest::Utf8Of;

clsDocu ReadRtf(const std::string& bytes) { return zxtest::ReadBytesWith(ReadRtfInfo, bytes); }

std::string Doc(const std::string& info, const std::string& header = "\\ansi\\ansicpg1252") {
  return "{\\rtf1" + header + "{\\fonttbl{\\f0 Arial;}}\r\n{\\info" + info + "}\r\n\\pard Body text.\\par}";
}

TEST(RtfReader, InfoGroupProperties) {
  clsDocu doc = ReadRtf(Doc("{\\title The title}{\\subject Sub}{\\author Ann Author}{\\keywords a, b}"
                            "{\\doccomm A comment}{\\operator Op}"
                            "{\\creatim\\yr2012\\mo3\\dy5\\hr10\\min20}{\\revtim\\yr2013\\mo12\\dy31\\hr23\\min59\\sec7}"));
  EXPECT_EQ("The title", Utf8Of(doc.title));
  EXPECT_EQ("Sub", Utf8Of(doc.subject));
  EXPECT_EQ("Ann Author", Utf8Of(doc.author));
  EXPECT_EQ("a, b", Utf8Of(doc.keywords));
  EXPECT_EQ("A comment", Utf8Of(doc.comments));   // doccomm goes to comments
  EXPECT_EQ("", Utf8Of(doc.lastAuthor));           // operator is not read
  EXPECT_EQ("2012-03-05 10:20:00", DateText(doc.created));
  EXPECT_EQ(0xFFFF, doc.created.dayOfWeek);
  EXPECT_EQ("2013-12-31 23:59:00", DateText(doc.lastSaved));   // seconds are not read
}

TEST(RtfReader, CodePageEscapes) {
  struct {
    const char* header;
    const char* title;
    const char* want;
  } cases[] = {
      {"\\ansi\\ansicpg1252", "Caf\\'e9 \\'80 \\'93q\\'94", "Caf\xC3\xA9 \xE2\x82\xAC \xE2\x80\x9Cq\xE2\x80\x9D"},
      {"\\ansi\\ansicpg1251", "\\'cf\\'f0\\'e8\\'e2\\'e5\\'f2", "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82"},
      {"\\ansi\\ansicpg1253", "\\'c1\\'e8\\'DE\\'ed\\'e1", "\xCE\x91\xCE\xB8\xCE\xAE\xCE\xBD\xCE\xB1"},
      {"\\ansi\\ansicpg932", "\\'93\\'fa\\'96\\'7b", "\xE6\x97\xA5\xE6\x9C\xAC"},   // two bytes a character
      // Without a code page each byte is the character of its value.
      {"\\ansi", "Caf\\'e9 \\'80", "Caf\xC3\xA9 \xC2\x80"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.header);
    EXPECT_EQ(c.want, Utf8Of(ReadRtf(Doc(std::string("{\\title ") + c.title + "}", c.header)).title));
  }
}

TEST(RtfReader, UnicodeEscapes) {
  EXPECT_EQ("\xE2\x82\xAC 5", Utf8Of(ReadRtf(Doc("{\\title \\u8364? 5}")).title));            // \uc1 by default
  EXPECT_EQ("\xE2\x82\xAC 5", Utf8Of(ReadRtf(Doc("{\\title \\uc2\\u8364\\'80\\'80 5}")).title)); // two escaped bytes
  EXPECT_EQ("\xE2\x82\xAC" "5", Utf8Of(ReadRtf(Doc("{\\title \\uc0 \\u8364 5}")).title));   // the space ends the word
  EXPECT_EQ("\xEF\x82\xB7x", Utf8Of(ReadRtf(Doc("{\\title \\u-3913?x}")).title));                // negative: + 65536
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC", Utf8Of(ReadRtf(Doc("{\\author \\u26085?\\u26412?}")).author));
  // Escaped backslashes stay as written with what they escape.
  EXPECT_EQ("a\\\\'e9", Utf8Of(ReadRtf(Doc("{\\title a\\\\'e9}")).title));
}

TEST(RtfReader, WhereTheInfoGroupStands) {
  // Lines broken anywhere, the group at the end of the document.
  std::string late = "{\\rtf1\\ansi\\ansicpg1252 \\pard Body.\\par\r\n{\\info\r\n{\\title Late\r\n title}}}";
  EXPECT_EQ("Late title", Utf8Of(ReadRtf(late).title));
  // Groups around it, nested deep.
  std::string deep = "{\\rtf1" + std::string(200, '{') + "{\\info{\\title Deep}}" + std::string(200, '}') + "}";
  EXPECT_EQ("Deep", Utf8Of(ReadRtf(deep).title));
  // Beyond the first 64 KiB it is not found; no group at all gives nothing.
  std::string beyond = "{\\rtf1\\ansi " + std::string(70000, 'x') + "{\\info{\\title Far}}}";
  EXPECT_EQ("", Utf8Of(ReadRtf(beyond).title));
  EXPECT_EQ("", Utf8Of(ReadRtf("{\\rtf1 no info}").title));
  EXPECT_EQ("", Utf8Of(ReadRtf("").title));
}

TEST(RtfReader, TenThousandNestedGroupsAreBounded) {
  const auto start = std::chrono::steady_clock::now();
  // Around the group.
  std::string around = std::string(10000, '{') + "{\\info{\\title Inside}}" + std::string(10000, '}');
  EXPECT_EQ("Inside", Utf8Of(ReadRtf(around).title));
  // Inside a property: the expressions take the text up to the first "}".
  std::string inside = "{\\rtf1{\\info{\\title T" + std::string(10000, '{') + std::string(10000, '}') + "}}}";
  EXPECT_EQ("T" + std::string(10000, '{'), Utf8Of(ReadRtf(inside).title));
  // Opened and never closed, and an info group that never ends: no match.
  EXPECT_EQ("", Utf8Of(ReadRtf("{\\info" + std::string(10000, '{') + "{\\title X").title));
  std::string open;
  for (int i = 0; i < 10000; ++i) open += "{\\b ";
  EXPECT_EQ("", Utf8Of(ReadRtf("{\\info{\\title A}" + open).title));
  // 7,000 small groups (56 KB), each found and removed in turn.
  std::string many;
  for (int i = 0; i < 7000; ++i) many += "{\\ab 1}";
  EXPECT_EQ("Last", Utf8Of(ReadRtf("{\\info" + many + "{\\title Last}}").title));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

TEST(RtfText, EscapesAndCodePage) {
  EXPECT_EQ(1251u, RtfCodePage(String(u"{\\rtf1\\ansi\\ansicpg1251\\deff0")));
  EXPECT_EQ(0u, RtfCodePage(String(u"{\\rtf1\\ansi")));
  EXPECT_EQ(0u, RtfCodePage(String(u"\\ansicpg")));
  EXPECT_EQ(String(u"ab\u00e9"), UnescapeRtf(String(u"a\r\nb\\'E9"), 0));
  EXPECT_EQ(String(u"\\'g1\\'"), UnescapeRtf(String(u"\\'g1\\'"), 1252));   // not an escape
  EXPECT_EQ(String(u"\\u"), UnescapeRtf(String(u"\\u"), 1252));
  EXPECT_EQ(String(u"x"), RtfPlainValue(String(u" x")));
}

// Hand-made files: a whole document of a word processor's usual form.
TEST(RtfReader, CommittedDocuments) {
  const std::string dir = std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/data/rtf/";
  clsDocu doc = zxtest::ReadFileWith(ReadRtfInfo, dir + "letter_1252.rtf");
  EXPECT_EQ("Gr\xC3\xBC\xC3\x9F" "e aus K\xC3\xB6ln \xE2\x80\x93 Brief", Utf8Of(doc.title));
  EXPECT_EQ("Ren\xC3\xA9\x65 \xC5\x81ukasz", Utf8Of(doc.author));
  EXPECT_EQ("Stichwort; \xE2\x82\xAC", Utf8Of(doc.keywords));
  EXPECT_EQ("2021-04-30 17:45:00", DateText(doc.created));
}

// Files written by a real word processor (make_lo_rtf.sh); every property is
// what that program itself reads back from the file. Its last \author is the one
// it keeps, as here.
TEST(RtfReader, WordProcessorDocumentsAgreeWithItsOwnReading) {
  const std::string dir = std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/data/rtf/";
  struct {
    const char* file;
    const char* title;
    const char* subject;
    const char* keywords;
    const char* comments;
    const char* author;
    const char* created;
    const char* saved;
  } cases[] = {
      {"lo_nonascii.rtf", "Gr\xC3\xBC\xC3\x9F" "e aus K\xC3\xB6ln \xE2\x80\x93 \xC3\x84rger \xE2\x82\xAC",
       "\xC3\x9C" "bersicht \xD0\x96\xD0\xB6", "Stra\xC3\x9F" "e", "Zeile \xC2\xAB" "eins\xC2\xBB",
       "S\xC3\xB8ren", "2019-07-08 09:10:00", "2020-12-31 23:59:00"},
      {"lo_writer.rtf", "Quarterly Report & Plan", "Finance", "alpha, beta, gamma", "Reviewed by the board",
       "Bob Editor", "2012-03-05 10:20:00", "2013-04-06 11:21:00"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    clsDocu doc = zxtest::ReadFileWith(ReadRtfInfo, dir + c.file);
    EXPECT_EQ(c.title, Utf8Of(doc.title));
    EXPECT_EQ(c.subject, Utf8Of(doc.subject));
    EXPECT_EQ(c.keywords, Utf8Of(doc.keywords));
    EXPECT_EQ(c.comments, Utf8Of(doc.comments));
    EXPECT_EQ(c.author, Utf8Of(doc.author));
    EXPECT_EQ(c.created, DateText(doc.created));
    EXPECT_EQ(c.saved, DateText(doc.lastSaved));
  }
}

}  // namespace
}  // namespace zx
