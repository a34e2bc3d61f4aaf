// Loading the XML and XFDF forms: the header, entities, comments, every format
// error with its message and line, what stays in the tree after an error, the
// XFDF disagreements kept on purpose, and nesting of any depth.
#include <string>
#include <vector>

#include "prof_test_util.h"
#include "support/support_test_util.h"

using namespace proftest;

namespace {

const char16_t kHeader[] =
    u"<?xml version=\"1.0\" encoding=\"UTF-16\" standalone=\"yes\"?>\r\n"
    u"<!-- DTD -->\r\n"
    u"<!DOCTYPE profile [\r\n"
    u" <!ENTITY cr \"&#x000a;<!--CR-->\">\r\n"
    u" <!ENTITY tab \"&#x0009;<!--TAB-->\">\r\n"
    u" <!ELEMENT profile (list*, item*)*>\r\n"
    u"  <!ELEMENT list (list?, item?)*>\r\n"
    u"  <!ATTLIST list name CDATA #REQUIRED>\r\n"
    u"   <!ELEMENT item (#PCDATA)>\r\n"
    u"   <!ATTLIST item name CDATA #REQUIRED>\r\n"
    u"   <!ATTLIST item xml:space (default|preserve) \"preserve\"> ]>\r\n"
    u"<!-- DATA -->\r\n";

std::string Xml(std::u16string_view body) { return Utf16File(std::u16string(kHeader) + std::u16string(body)); }

struct XmlCase {
  const char* what;
  std::string bytes;
  std::u16string tree;
  LONG error;
  std::u16string message;  // the debug line of the failed load, or empty
};

void ExpectXml(const XmlCase& c) {
  SCOPED_TRACE(c.what);
  zxsupport::DiagCapture diag;
  InternalJob job(c.bytes);
  EXPECT_EQ(ProfGetError(job), c.error);
  EXPECT_EQ(Dump(job, nullptr), c.tree);
  if (!c.message.empty()) EXPECT_EQ(diag.Count(c.message), 1u) << zxsupport::Ascii(c.message);
  else EXPECT_EQ(diag.Count(u"error '"), 0u);
}

}  // namespace

TEST(ProfLoadXml, WellFormedFiles) {
  const XmlCase cases[] = {
      {"header, lists and items",
       Xml(u"<profile>\r\n\t<item name=\"a\">1</item>\r\n\t<list name=\"b\">\r\n\t\t<item name=\"c\">2</item>\r\n"
           u"\t</list>\r\n</profile>\r\n"),
       u"a=1 [b]{c=2}", 0, u""},
      {"entities", Xml(u"<profile>\r\n<item name=\"v\">&lt;&amp;&gt;&apos;&quot;</item>\r\n</profile>\r\n"),
       u"v=<&>'\"", 0, u""},
      {"&cr; gives CR LF, &tab; a tab, numbers their character",
       Xml(u"<profile>\r\n<item name=\"v\">1&cr;2&tab;3&#x0001;&#65;</item>\r\n</profile>\r\n"),
       u"v=1\r\n2\t3\u0001A", 0, u""},
      {"a quote in a name", Xml(u"<profile>\r\n<item name=\"a&quot;b\">1</item>\r\n</profile>\r\n"),
       u"a\"b=1", 0, u""},
      {"tags ignore case", Xml(u"<PROFILE>\r\n<List name=\"l\">\r\n<Item name=\"a\">1</item>\r\n</LIST>\r\n</Profile>"),
       u"[l]{a=1}", 0, u""},
      {"one-line comment", Xml(u"<profile>\r\n<!-- x --> <item name=\"a\">1</item>\r\n</profile>\r\n"), u"a=1", 0, u""},
      {"comment over lines", Xml(u"<profile>\r\n<!-- begin\r\n<item name=\"a\">1</item>\r\n<x -->\r\n"
                                 u"<item name=\"b\">2</item>\r\n</profile>\r\n"),
       u"b=2", 0, u""},
      {"comment ending at the start of a line",
       Xml(u"<profile>\r\n<!-- begin\r\n--> <item name=\"b\">2</item>\r\n</profile>\r\n"), u"b=2", 0, u""},
      // No blank before the dashes: the comment does not end on its line.
      {"<!--x--> opens a comment", Xml(u"<profile>\r\n<!--x-->\r\n<item name=\"a\">1</item>\r\n<y -->\r\n"
                                       u"<item name=\"b\">2</item>\r\n</profile>\r\n"),
       u"b=2", 0, u""},
      {"unknown tags are skipped", Xml(u"<profile>\r\n<other a=\"1\">\r\n<item name=\"a\">1</item>\r\n</profile>"),
       u"a=1", 0, u""},
      {"end of data inside a list", Xml(u"<profile>\r\n<list name=\"l\">\r\n<item name=\"a\">1</item>\r\n"),
       u"[l]{a=1}", 0, u""},
      {"empty name", Xml(u"<profile>\r\n<item name=\"\">1</item>\r\n</profile>"), u"=1", 0, u""},
      // The first line must be the start of the header line: a shorter declaration is text.
      {"other XML declaration", "<?xml version=\"1.0\"?>\n<profile>\n<item name=\"v\">1</item>\n</profile>\n",
       u"", 0, u""},
      {"narrow UTF-8 XML", "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-16\" standalone=\"yes\"?>\n<profile>\n<item name=\"v\">\xC3\xA9</item>\n</profile>\n",
       u"v=\u00e9", 0, u""},
      {"the XML header line cut short", Utf16File(u"<?xml version=\r\n<profile>\r\n<item name=\"a\">1</item>"),
       u"a=1", 0, u""},
  };
  for (const XmlCase& c : cases) ExpectXml(c);
}

TEST(ProfLoadXml, FormatErrorsNameTheirLineAndKeepWhatWasRead) {
  auto msg = [](const char* m, int line) {
    return zxsupport::U16(std::string("error '") + m + "' in line " + std::to_string(line));
  };
  // The header has 12 lines; <profile> is line 13.
  const XmlCase cases[] = {
      {"text outside a tag", Xml(u"<profile>\r\n<item name=\"a\">1</item>\r\n\r\n\r\njunk\r\n"), u"a=1", PROF_ERR_PARSE,
       msg("prof::xml: bad format", 15)},
      {"no name", Xml(u"<profile>\r\n<item x>1</item>"), u"", PROF_ERR_PARSE, msg("prof::xml::item empty name", 14)},
      {"unfinished name", Xml(u"<profile>\r\n<item name=\"a>1</item>"), u"", PROF_ERR_PARSE,
       msg("prof::xml::item no end tag", 14)},
      {"no > behind the name", Xml(u"<profile>\r\n<item name=\"a\"  "), u"", PROF_ERR_PARSE,
       msg("prof::xml::item no end tag (2)", 14)},
      {"end tag in capitals", Xml(u"<profile>\r\n<ITEM name=\"a\">1</ITEM>"), u"", PROF_ERR_PARSE,
       msg("prof::xml::item no '</item>' tag found", 14)},
      {"truncated item", Xml(u"<profile>\r\n<list name=\"l\">\r\n<item name=\"a\">1</item>\r\n<item name=\"b\">2</it"),
       u"[l]{a=1}", PROF_ERR_PARSE, msg("prof::xml::item no '</item>' tag found", 16)},
      {"item outside the profile", Xml(u"<item name=\"a\">1</item>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::item bad nesting level (becomes negative)", 13)},
      {"list outside the profile", Xml(u"<list name=\"a\">\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::list: bad nesting level", 13)},
      {"list without a name", Xml(u"<profile>\r\n<list x>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::list: name is empty", 14)},
      {"list with an unfinished name", Xml(u"<profile>\r\n<list name=\"a>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::list: name is unfinished", 14)},
      {"a stray </list>", Xml(u"</list>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::profile: bad nesting level (becomes negative)", 13)},
      {"<profile> inside the profile", Xml(u"<profile>\r\n<profile>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::profile: bad nesting level (should be -1)", 14)},
      {"</profile> inside a list", Xml(u"<profile>\r\n<list name=\"l\">\r\n<item name=\"a\">1</item>\r\n</profile>"),
       u"[l]{a=1}", PROF_ERR_PARSE, msg("prof::xml::profile: bad nesting level (should be 0)", 16)},
      {"</profile> before <profile>", Xml(u"</profile>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::profile: bad nesting level (should be 0)", 13)},
      {"<xfdf> inside the profile", Xml(u"<profile>\r\n<xfdf a>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::xfdf: bad nesting level (should be -1)", 14)},
      {"</xfdf> first", Xml(u"</xfdf>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::xfdf: bad nesting level (should be 0)", 13)},
      {"a comment line not starting with <", Xml(u"<!-- open\r\nplain\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml: bad format", 14)},
      {"text behind a comment end", Xml(u"<!-- a --> b\r\n"), u"", PROF_ERR_PARSE, msg("prof::xml: bad format", 13)},
  };
  for (const XmlCase& c : cases) ExpectXml(c);
}

TEST(ProfLoadXml, ErrorDebugLinesCarryFileNameAndLoadErrorLine) {
  zxsupport::DiagCapture diag;
  InternalJob job(Xml(u"<profile>\r\njunk\r\n"));
  EXPECT_EQ(ProfGetError(job), PROF_ERR_PARSE);
  EXPECT_EQ(diag.CountEqual(u"PROF load error line 14: 'prof::xml: bad format'"), 1u);
  EXPECT_TRUE(diag.Contains(u": error 'prof::xml: bad format' in line 14"));
  EXPECT_TRUE(diag.Contains(u"prof_load_"));  // the file's name leads the line
}

TEST(ProfLoadXml, XfdfAsTheWriterLaysItOut) {
  const std::string writerForm =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
      "<xfdf xmlns=\"http://ns.adobe.com/xfdf/\" xml:space=\"preserve\">\r\n"
      "<fields>\r\n"
      "\t<field name=\"a\">\r\n"
      "\t <value>1</value>\r\n"
      "\t</field>\r\n"
      "</fields>\r\n"
      "</xfdf>\r\n";
  auto msg = [](const char* m, int line) {
    return zxsupport::U16(std::string("error '") + m + "' in line " + std::to_string(line));
  };
  const XmlCase cases[] = {
      // Detected as XFDF at the top level: its first value is at a negative level.
      {"writer's own form", writerForm, u"", PROF_ERR_PARSE,
       msg("prof::xml::value: bad format (negative level)", 5)},
      {"<field> at the top level", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<field> name=\"x\"\n", u"",
       PROF_ERR_PARSE, msg("prof::xml::field: bad format (negative level)", 2)},
      {"</field> at the top level", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n</field>\n", u"", PROF_ERR_PARSE,
       msg("prof::xml::field: bad format (negative level)", 2)},
      {"a line without <", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n  text\n", u"", PROF_ERR_PARSE,
       msg("prof::xml::xfdf: bad format ('<' expected)", 2)},
      // Inside an XML file, under <xfdf ...>, the body runs at level 0.
      {"value without a field has an empty name", Xml(u"<xfdf a>\r\n<value>1</value>\r\n"), u"=1", 0, u""},
      {"field names join with dots",
       Xml(u"<xfdf a>\r\n<field> name=\"f\"\r\n<field> name=\"g\"\r\n<value>a&amp;b</value>\r\n<value>2</value>\r\n"
           u"</field>\r\n<value>3</value>\r\n"),
       u"f.g=a&b f.g=2", 0, u""},
      {"a value over lines", Xml(u"<xfdf a>\r\n<field> name=\"m\"\r\n<value>one\r\n\r\n  two\r\nthree</value>\r\n"),
       u"m=one\r\ntwo\r\nthree", 0, u""},
      {"</xfdf> is not seen in the body",
       Xml(u"<xfdf a>\r\n<field> name=\"f\"\r\n<value>1</value>\r\n</xfdf>\r\n<value>2</value>"), u"f=1 f=2", 0, u""},
      {"value without its end", Xml(u"<xfdf a>\r\n<field> name=\"f\"\r\n<value>1</value>\r\n<value>open\r\nmore"),
       u"f=1", PROF_ERR_PARSE, msg("prof::xml::value: bad format (missing next line)", 16)},
      {"field without a name", Xml(u"<xfdf a>\r\n<field>\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::field: no name found", 14)},
      {"field with an unfinished name", Xml(u"<xfdf a>\r\n<field> name=\"f\r\n"), u"", PROF_ERR_PARSE,
       msg("prof::xml::field: name unfinished", 14)},
  };
  for (const XmlCase& c : cases) ExpectXml(c);
}

TEST(ProfLoadXml, TenThousandNestedLists) {
  constexpr int kDepth = 10000;
  std::u16string body = u"<profile>\r\n";
  for (int i = 0; i < kDepth; ++i) body += u"<list name=\"l\">\r\n";
  body += u"<item name=\"x\">deep</item>\r\n";
  for (int i = 0; i < kDepth; ++i) body += u"</list>\r\n";
  body += u"<item name=\"y\">top</item>\r\n</profile>\r\n";
  Job job(OpenBytes(Xml(body)));
  ASSERT_EQ(ProfGetError(job), 0);
  HPROFLIST l = nullptr;
  for (int i = 0; i < kDepth; ++i) {
    l = ProfGetListW(job, l, W(u"l"));
    ASSERT_NE(l, nullptr) << "depth " << i;
  }
  EXPECT_EQ(Get(job, l, u"x"), u"deep");
  EXPECT_EQ(Get(job, nullptr, u"y"), u"top");
}
