// The HTML reader: title and meta elements of the head, the property block of
// Office pages, references, and pages in several charsets.
#include <gtest/gtest.h>

#include <string>

#include "bytes_file_test_util.h"
#include "docinfo/DocReaders.h"

namespace zx {
namespace {

using zxtest::DateText;
using zxtest::Utf8Of;

clsDocu ReadHtml(const std::string& bytes) { return zxtest::ReadBytesWith(ReadHtmlInfo, bytes); }

TEST(HtmlReader, TitleAndMeta) {
  clsDocu doc = ReadHtml(
      "<html><HEAD>\r\n<title>Caf&eacute; &#233;&#xE9; &amp; &#0;</title>\n"
      "<meta name=\"author\" content=\"Ann Author\">\n"
      "<meta name=\"DC.Description\" content=\"About it\">\n"
      "<meta  name=\"DC.Subject\"\tcontent=\"The subject\">\n"
      "<meta name=\"keywords\" content=\"one, two\">\n"
      "</head><body><title>not this</title></body></html>");
  // &amp; is not among the named references of ISO 8859-1; &#0; stays.
  EXPECT_EQ("Caf\xC3\xA9 \xC3\xA9\xC3\xA9 &amp; &#0;", Utf8Of(doc.title));
  EXPECT_EQ("Ann Author", Utf8Of(doc.author));
  EXPECT_EQ("About it", Utf8Of(doc.comments));
  EXPECT_EQ("The subject", Utf8Of(doc.subject));
  EXPECT_EQ("one, two", Utf8Of(doc.keywords));
}

TEST(HtmlReader, NoHeadNoProperties) {
  clsDocu doc = ReadHtml("<html><title>T</title><body>text</body></html>");
  EXPECT_TRUE(doc.title.Text().IsEmpty());
  doc = ReadHtml("");
  EXPECT_TRUE(doc.title.Text().IsEmpty());
}

TEST(HtmlReader, OfficePropertyBlockEndsTheRead) {
  clsDocu doc = ReadHtml(
      "<html><head><title>Office page</title><meta name=\"keywords\" content=\"not read\">"
      "<!--[if gte mso 9]><xml><o:DocumentProperties><o:Author>Bob</o:Author>"
      "<o:Created>2012-03-05T10:20:30Z</o:Created></o:DocumentProperties></xml><![endif]-->"
      "</head></html>");
  EXPECT_EQ("Office page", Utf8Of(doc.title));
  EXPECT_EQ("Bob", Utf8Of(doc.author));
  EXPECT_EQ("", Utf8Of(doc.keywords));
}

TEST(HtmlReader, Charsets) {
  const std::string title = "<title>\xCF\xF0\xE8\xE2\xE5\xF2</title>";
  // A declared charset: windows-1251, in either form of the declaration.
  EXPECT_EQ("\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82",
            Utf8Of(ReadHtml("<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=windows-1251\">" +
                            title + "</head></html>").title));
  EXPECT_EQ("\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82",
            Utf8Of(ReadHtml("<html><head><meta charset=\"Windows-1251\">" + title + "</head></html>").title));
  // UTF-8 declared, and by its byte-order mark.
  const std::string utf8 = "<title>\xE6\x97\xA5\xE6\x9C\xAC \xE2\x82\xAC</title>";
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC \xE2\x82\xAC",
            Utf8Of(ReadHtml("<html><head><meta charset=utf-8>" + utf8 + "</head></html>").title));
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC \xE2\x82\xAC",
            Utf8Of(ReadHtml("\xEF\xBB\xBF<html><head>" + utf8 + "</head></html>").title));
  // UTF-16 in both orders by the mark.
  const std::u16string page = u"<html><head><title>\u65e5\u672c</title></head></html>";
  std::string le = "\xFF\xFE", be = "\xFE\xFF";
  for (char16_t c : page) {
    le += char(c & 0xFF), le += char(c >> 8);
    be += char(c >> 8), be += char(c & 0xFF);
  }
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC", Utf8Of(ReadHtml(le).title));
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC", Utf8Of(ReadHtml(be).title));
  // Undeclared: the default narrow code page (1252 unless changed).
  if (String::DefaultCodePage() == 1252) {
    EXPECT_EQ("Caf\xC3\xA9 \xE2\x82\xAC", Utf8Of(ReadHtml("<html><head><title>Caf\xE9 \x80</title></head></html>").title));
  }
}

TEST(HtmlReader, CommittedPages) {
  const std::string dir = std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/data/html/";
  struct {
    const char* file;
    const char* title;
  } pages[] = {
      {"koi8r.html", "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80"},
      {"latin2.html", "Za\xC5\xBC\xC3\xB3\xC5\x82\xC4\x87 g\xC4\x99\xC5\x9Bl\xC4\x85 ja\xC5\xBA\xC5\x84"},
      {"shift_jis.html", "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE3\x83\x9A\xE3\x83\xBC\xE3\x82\xB8"},
      {"utf8.html", "\xCE\x9A\xCE\xB1\xCE\xBB\xCE\xB7\xCE\xBC\xCE\xAD\xCF\x81\xCE\xB1 \xE2\x80\x94 caf\xC3\xA9"},
  };
  for (const auto& p : pages) {
    SCOPED_TRACE(p.file);
    clsDocu doc = zxtest::ReadFileWith(ReadHtmlInfo, dir + p.file);
    EXPECT_EQ(p.title, Utf8Of(doc.title));
    EXPECT_EQ("Autor", Utf8Of(doc.author));
  }
}

}  // namespace
}  // namespace zx
