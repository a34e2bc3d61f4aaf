// Loading the text format: encodings by byte-order mark, line ends, the line
// reader's trimming, the maskings undone, the INI path, the format detection,
// short and broken files, and nesting of any depth.
#include <random>
#include <string>

#include "prof_test_util.h"
#include "support/support_test_util.h"

using namespace proftest;

namespace {

struct LoadCase {
  const char* what;
  std::string bytes;
  std::u16string tree;  // Dump of the root
  LONG error;
};

std::string U8(std::u16string_view s) { return ToUtf8(std::u16string(s)); }

void ExpectLoads(const LoadCase& c) {
  SCOPED_TRACE(c.what);
  Job job(OpenBytes(c.bytes));
  EXPECT_EQ(ProfGetError(job), c.error);
  EXPECT_EQ(Dump(job, nullptr), c.tree);
}

const char16_t kExample[] = u"[/]\r\n {\r\n a=1\r\n [b]\r\n  {\r\n  c=2\r\n  }\r\n }\r\n";

}  // namespace

TEST(ProfLoadText, EncodingsAndLineEnds) {
  std::string be = "\xFE\xFF";
  for (char16_t c : std::u16string_view(kExample)) {
    be += static_cast<char>(c >> 8);
    be += static_cast<char>(c & 0xFF);
  }
  const LoadCase cases[] = {
      {"UTF-16LE with mark, CR LF", Utf16File(kExample), u"a=1 [b]{c=2}", 0},
      {"UTF-16LE with mark, LF only", Utf16File(u"[/]\n{\na=1\n[b]\n{\nc=2\n}\n}\n"), u"a=1 [b]{c=2}", 0},
      {"UTF-16LE, lone CR", Utf16File(u"[/]\r{\ra=1\r}\r"), u"a=1", 0},
      {"UTF-8 without mark, LF", "[/]\n{\na=1\n[b]\n{\nc=2\n}\n}\n", u"a=1 [b]{c=2}", 0},
      {"UTF-8 with mark", "\xEF\xBB\xBF[/]\r\n{\r\nv=" + U8(u"\u00e9\u20ac\u4e2d") + "\r\n}\r\n",
       u"v=\u00e9\u20ac\u4e2d", 0},
      // Big-endian input is taken unit by unit as it comes: no line is "[/]".
      {"UTF-16BE with mark", be, u"", 0},
      // An odd last byte is no part of the text.
      {"UTF-16LE of odd length", Utf16File(u"[/]\r\n{\r\na=1\r\n}\r\n") + "x", u"a=1", 0},
      {"UTF-16LE of odd length, no line end", Utf16File(u"[/]\r\n{\r\na=12") + "\x33", u"a=12", 0},
  };
  for (const LoadCase& c : cases) ExpectLoads(c);
}

TEST(ProfLoadText, NarrowFileWithoutMarkUsesTheDefaultCodePage) {
  CodePageGuard guard;
  ProfSetOption(PROF_OPTION_CODEPAGE, 1252);
  ExpectLoads({"1252", "[/]\r\n{\r\nv=caf\xE9 \x80\r\n}\r\n", u"v=caf\u00e9 \u20ac", 0});
  ProfSetOption(PROF_OPTION_CODEPAGE, 65001);
  ExpectLoads({"default 65001", "[/]\r\n{\r\nv=caf\xC3\xA9\r\n}\r\n", u"v=caf\u00e9", 0});
}

TEST(ProfLoadText, LinesAndValues) {
  const LoadCase cases[] = {
      {"only the first = splits", Utf16File(u"[/]\r\n{\r\na=b=c\r\n}\r\n"), u"a=b=c", 0},
      {"no = gives an empty value", Utf16File(u"[/]\r\n{\r\nflag\r\n}\r\n"), u"flag=", 0},
      {"masked name", Utf16File(u"[/]\r\n{\r\nx\u301Ay\u301B\u2338z=v\r\n}\r\n"), u"x[y]=z=v", 0},
      {"control pictures in a value", Utf16File(u"[/]\r\n{\r\nv=1\u240D\u240A2\u2409\u2400\r\n}\r\n"),
       u"v=1\r\n2\t\u2400", 0},
      {"control pictures stay in a name", Utf16File(u"[/]\r\n{\r\nn\u2409=1\r\n}\r\n"), u"n\u2409=1", 0},
      {"tail blanks stay, leading blanks go", Utf16File(u"[/]\r\n{\r\n \t a=1 \t\r\n}\r\n"), u"a=1 \t", 0},
      {"blank lines vanish", Utf16File(u"\r\n\r\n[/]\r\n\r\n{\r\n\r\n\r\na=1\r\n}"), u"a=1", 0},
      // The reader drops empty lines only; a line of blanks is an empty line then.
      {"a line of blanks is an empty item", Utf16File(u"[/]\r\n{\r\n \t \r\na=1\r\n}"), u"= a=1", 0},
      {"two values of one name", Utf16File(u"[/]\r\n{\r\na=1\r\na=2\r\n}\r\n"), u"a=1 a=2", 0},
      {"comments", Utf16File(u"[/]\r\n{\r\n#a=1\r\n;b=2\r\nc=3\r\n}\r\n"), u"c=3", 0},
      {"{ and } take the rest of their line", Utf16File(u"[/]\r\n{ x=1\r\n[l]\r\n{ y\r\nv=1\r\n} z\r\nw=2\r\n}"),
       u"[l]{v=1} w=2", 0},
      {"list name loses its first and last character", Utf16File(u"[/]\r\n{\r\n[ab] \r\n{\r\n}\r\n}\r\n"),
       u"[ab]]{}", 0},
      {"missing } is not noticed", Utf16File(u"[/]\r\n{\r\na=1\r\n[b]\r\n{\r\nc=2"), u"a=1 [b]{c=2}", 0},
      {"a stray } ends the root", Utf16File(u"[/]\r\n{\r\na=1\r\n}\r\n}\r\nb=2\r\n"), u"a=1", 0},
      {"lines before [/] are skipped", Utf16File(u"x=1\r\n[/] \r\n[/]\r\n{\r\na=1\r\n}"), u"a=1", 0},
      {"no section and no [/]: nothing, success", Utf16File(u"a=1\r\nb=2\r\n"), u"", 0},
      {"only blank lines", Utf16File(u"\r\n  \r\n\t\r\n"), u"", 0},
      {"a zero unit ends the data", Utf16File(std::u16string(u"[/]\r\n{\r\na=1\r\n", 13) + u'\0' + u"b=2\r\n"),
       u"a=1", 0},
      {"a zero byte ends narrow data", std::string("[/]\n{\na=1\n\0b=2\n", 15), u"a=1", 0},
  };
  for (const LoadCase& c : cases) ExpectLoads(c);
}

TEST(ProfLoadText, IniFiles) {
  const LoadCase cases[] = {
      {"sections nest, the first one vanishes", "[a]\r\nx=1\r\n[b]\r\ny=2\r\n[c]\r\nz=3\r\n",
       u"x=1 [b]{y=2 [c]{z=3}}", 0},
      {"comments and blank lines", "[main]\n; comment\n# other\n\nkey = value \n[next]\n;x=1\nk=v\n",
       u"key = value  [next]{k=v}", 0},
      {"a header alone", "[only]\n", u"", 0},
      // A comment before the first section hides the INI form: no [/], nothing read.
      {"comment first", "; top\n[a]\nx=1\n", u"", 0},
      {"[/] is the text form", "[/]\n{\nx=1\n}\n", u"x=1", 0},
  };
  for (const LoadCase& c : cases) ExpectLoads(c);
}

TEST(ProfLoadText, ShortAndOddFiles) {
  const LoadCase cases[] = {
      // Fewer than 4 bytes: the load fails without a code of its own.
      {"1 byte", "a", u"", PROF_ERR_LOCKED},
      {"2 bytes", "\xFF\xFE", u"", PROF_ERR_LOCKED},
      {"3 bytes", "\xEF\xBB\xBF", u"", PROF_ERR_LOCKED},
      {"4 bytes", "a=1\n", u"", 0},
      {"mark and one unit", Utf16File(u"["), u"", 0},
      // The magic and a stream that does not inflate.
      {"compressed form", std::string("PRZB\x01\x00\x00\x00", 8), u"", PROF_ERR_PARSE},
  };
  for (const LoadCase& c : cases) ExpectLoads(c);
  zxsupport::DiagCapture diag;
  InternalJob job(std::string("PRZB\x01\x00\x00\x00", 8));
  EXPECT_EQ(ProfGetError(job), PROF_ERR_PARSE);
  EXPECT_EQ(diag.Count(u"the compressed data does not inflate"), 1u);
}

TEST(ProfLoadText, BinaryJunkNeverCrashes) {
  std::mt19937 rng(2207);
  for (int round = 0; round < 200; ++round) {
    std::string bytes(4 + rng() % 600, '\0');
    for (char& b : bytes) b = static_cast<char>(rng());
    if (round % 4 == 0) bytes.replace(0, 2, "\xFF\xFE");
    if (round % 4 == 1) bytes.replace(0, 6, "[/]\n{\n");
    Job job(OpenBytes(bytes));
    const LONG error = ProfGetError(job);
    EXPECT_TRUE(error == 0 || error == PROF_ERR_PARSE) << "round " << round << " error " << error;
    Dump(job, nullptr);
  }
}

TEST(ProfLoadText, TenThousandNestedLists) {
  constexpr int kDepth = 10000;
  std::string text = "[/]\n{\n";
  for (int i = 0; i < kDepth; ++i) text += "[l]\n{\n";
  text += "x=deep\n";
  for (int i = 0; i < kDepth; ++i) text += "}\n";
  text += "}\ny=top\n";
  Job job(OpenBytes(text));
  ASSERT_EQ(ProfGetError(job), 0);
  HPROFLIST l = nullptr;
  for (int i = 0; i < kDepth; ++i) {
    l = ProfGetListW(job, l, W(u"l"));
    ASSERT_NE(l, nullptr) << "depth " << i;
  }
  EXPECT_EQ(Get(job, l, u"x"), u"deep");
  // The closing lines all counted: "y" stands behind the root's "}" and is not read.
  EXPECT_EQ(Get(job, nullptr, u"y"), u"<missing>");
}

TEST(ProfLoadText, LongLineLoadsWhole) {
  const std::string value(3u << 20, 'v');
  Job job(OpenBytes("[/]\n{\nlong=" + value + " \n}\n"));
  ASSERT_EQ(ProfGetError(job), 0);
  EXPECT_EQ(ProfGetStringLengthW(job, nullptr, W(u"long")), static_cast<LONG>(value.size() + 1));
}
