// The mail header reader: encoded words, the address tokeniser, RFC 822 dates,
// the header block and its fields, on hand-made headers; and the messages of a
// real mail library's test suite against Python's email package (corpus.json,
// written and checked by mail_oracle.py).
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

#include "docinfo/DocReaders.h"
#include "docinfo/Mail.h"
#include "docinfo/MailAddress.h"
#include "docinfo/Rfc1342Decoder.h"
#include "platform/codepage.h"
#include "bytes_file_test_util.h"
#include "support/support_test_util.h"

namespace zx {
namespace {

namespace fs = std::filesystem;

std::string Utf8(const String& s) { return plat::Utf16ToUtf8(s.View()); }
String FromUtf8(const std::string& s) { return String(std::u16string_view(plat::Utf8ToUtf16(s))); }

std::string Subject(const std::string& value) { return Utf8(DecodeMailField(FromUtf8(value), String(u"Subject"))); }
std::string Address(const std::string& value) { return Utf8(DecodeMailField(FromUtf8(value), String(u"To"))); }

plat::SystemTime Date(const char16_t* text) {
  plat::SystemTime t = kUnsetSystemTime;
  ParseMailDate(String(text), &t);
  return t;
}

using zxtest::DateText;

// What the reader found in a message: a field's UTF-8 text, or none when unset.
struct Read {
  std::optional<std::string> author, lastAuthor, title, created;
};

Read ReadBytes(const std::string& bytes) {
  const clsDocu doc = zxtest::ReadBytesWith(ReadMailInfo, bytes);
  auto text = [](const clsVariant& v) { return v.vt ? std::optional(Utf8(v.Text())) : std::nullopt; };
  return {text(doc.author), text(doc.lastAuthor), text(doc.title),
          IsUnsetTime(doc.created) ? std::nullopt : std::optional(DateText(doc.created))};
}

// ---- encoded words

TEST(MailEncodedWords, QAndBInSeveralCharsets) {
  EXPECT_EQ("a b", Subject("=?iso-8859-1?Q?a=20b?="));
  EXPECT_EQ("\xC3\xA4", Subject("=?utf-8?B?w6Q=?="));
  EXPECT_EQ("\xC3\xA4", Subject("=?UTF-8?Q?=C3=A4?="));            // charset without case
  EXPECT_EQ("Gr\xC3\xBC\xC3\x9F" "e x", Subject("=?iso-8859-1?Q?Gr=FC=DFe_x?="));
  EXPECT_EQ("\xC5\xA0kola", Subject("=?iso-8859-2?Q?=A9kola?="));   // Latin-2 0xA9: S caron
  EXPECT_EQ("\xD0\x9C\xD0\xB8\xD1\x80", Subject("=?windows-1251?B?zOjw?="));
  EXPECT_EQ("\xC5\x81\xC3\xB3" "d\xC5\xBA", Subject("=?windows-1250?Q?=A3=F3d=9F?="));
  EXPECT_EQ("\xCE\xB1\xCE\xB2", Subject("=?iso-8859-7?Q?=E1=E2?="));
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC", Subject("=?shift-jis?B?k/qWew==?="));   // Shift-JIS
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC", Subject("=?Shift-JIS?Q?=93=FA=96=7B?="));
  // RFC 2231 language suffix.
  EXPECT_EQ("x y", Subject("=?us-ascii*en?Q?x_y?="));
}

TEST(MailEncodedWords, UnknownCharsetTakesTheAnsiCodePage) {
  // "shift_jis" and "windows-1252" are not in the charset table: the system's ANSI
  // code page (1252 here) reads the bytes.
  ASSERT_EQ(1252u, plat::AnsiCodePage());
  EXPECT_EQ(1252u, CodePageOfMailCharset(String(u"x-unknown")));
  EXPECT_EQ(1252u, CodePageOfMailCharset(String(u"ISO-8859-1")));
  EXPECT_EQ(932u, CodePageOfMailCharset(String(u"SHIFT-JIS")));
  EXPECT_EQ("\xC3\xA9\xE2\x82\xAC", Subject("=?x-unknown?Q?=E9=80?="));
  EXPECT_EQ("\xE2\x80\x9C\xC3\xBA", Subject("=?shift_jis?Q?=93=FA?="));   // read as 1252
}

TEST(MailEncodedWords, TextBetweenWordsStaysAndLowerCaseEncodingIsNoWord) {
  EXPECT_EQ("a b", Subject("=?utf-8?Q?a?= =?utf-8?Q?b?="));         // the blank between stays
  EXPECT_EQ("x: a!", Subject("x: =?utf-8?Q?a?=!"));
  EXPECT_EQ("=?utf-8?q?x?=", Subject("=?utf-8?q?x?="));              // lower-case q: no word
  EXPECT_EQ("=?utf-8?b?eA==?=", Subject("=?utf-8?b?eA==?="));
}

TEST(MailEncodedWords, MalformedWords) {
  EXPECT_EQ("=?utf-8?X?abc?=", Subject("=?utf-8?X?abc?="));          // no such encoding
  EXPECT_EQ("=?utf 8?Q?abc?=", Subject("=?utf 8?Q?abc?="));          // blank in the charset
  EXPECT_EQ("=?utf-8?Q?abc", Subject("=?utf-8?Q?abc"));              // unterminated
  EXPECT_EQ("ab", Subject("=?utf-8?Q?ab=?="));                       // "=" at the end ends the text
  EXPECT_EQ("ab", Subject("=?utf-8?Q?ab=4?="));                      // "=" with one digit, too
  // Q digits are not checked: "=G1" is (0x47 - 0x37) * 16 + 1 = 0x101 -> 0x01.
  EXPECT_EQ(std::string("\x01", 1), Subject("=?utf-8?Q?=G1?="));
  EXPECT_EQ("", Subject("=?utf-8?B?!!!?="));                         // nothing of the alphabet
  EXPECT_EQ("", Subject("=?utf-8?B?YWI?="));                         // an incomplete quad counts for nothing
  EXPECT_EQ("ab", Subject("=?utf-8?B?Y W I=?="));                    // blanks inside are skipped
  EXPECT_EQ("=?utf-8?B?YW\r\nI=?=", Subject("=?utf-8?B?YW\r\nI=?="));     // no word across a line feed
}

TEST(MailEncodedWords, DecoderGuardsItsEncoding) {
  clsRegExMatchList m;
  for (const char16_t* t : {u"=?utf-8?X?a?=", u"utf-8", u"X", u"a"}) {
    scRegExMatch e;
    e.offset = 0;
    e.text = String(t);
    m.append(e);
  }
  clsRFC1342Decoder d(String(u"=?utf-8?X?a?="));
  try {
    d.Decode(m);
    FAIL() << "no exception";
  } catch (const clsException& e) {
    EXPECT_EQ("Bad encoding 'X' in word '=?utf-8?X?a?='", Utf8(e.Message()));
  }
  // A group that is absent: the last one present stands in (charset and
  // encoding both "Q", no text).
  clsRegExMatchList two;
  for (const char16_t* t : {u"=?Q?", u"Q"}) {
    scRegExMatch e;
    e.text = String(t);
    two.append(e);
  }
  EXPECT_EQ("Q", Utf8(d.Decode(two)));
}

// ---- the address tokeniser

TEST(MailAddress, PlainQuotedAngleAndBlanks) {
  EXPECT_EQ("\"Ann Lee\" <ann@example.com>", Address("\"Ann Lee\"   <ann@example.com>"));
  EXPECT_EQ("ann@example.com", Address("ann@example.com"));
  EXPECT_EQ("Ann <a@b.c>, Bob <d@e.f>", Address("Ann <a@b.c>,\tBob <d@e.f>"));
  EXPECT_EQ("J\xC3\xB6rg <j@x.de>", Address("=?iso-8859-1?Q?J=F6rg?= <j@x.de>"));
  EXPECT_EQ("x y", Address("=?utf-8?Q?x?= =?utf-8?Q?y?="));           // the blank between stays
  EXPECT_EQ("a\"b", Address("a\\\"b"));                               // backslash escapes
  EXPECT_EQ("Ann (the boss) <a@b.c>", Address("Ann (the boss) <a@b.c>"));
}

TEST(MailAddress, ItemsCarryTypeOffsetAndText) {
  clsParseItemList items;
  TokeniseAddressField(String(u"\"A\" (c) <a@b.c> =?utf-8?Q?_x_?="), items);
  std::vector<std::tuple<int, int, std::string>> got;
  WCValDListIter<clsParseItem> it(items);
  while (++it) got.emplace_back(it.current().type, it.current().offset, Utf8(it.current().text));
  const std::vector<std::tuple<int, int, std::string>> want = {
      {1, 0, "\"A\""}, {5, 3, " "}, {3, 4, "(c)"}, {5, 7, " "}, {4, 8, "<a@b.c>"}, {5, 15, " "}, {1, 16, "x"}};
  EXPECT_EQ(want, got);
}

TEST(MailAddress, CommentsDecodeWordsButNotRightBehindTheParenthesis) {
  // The character before a word in a comment is dropped, the blanks behind it too.
  EXPECT_EQ("(axb)", Address("(a =?utf-8?Q?x?= b)"));
  EXPECT_EQ("(=?utf-8?Q?x?=)", Address("(=?utf-8?Q?x?=)"));
}

TEST(MailAddress, ExchangeAddressesVanish) {
  EXPECT_EQ("Ann ", Address("Ann <EX:/O=ORG/CN=ANN>"));
  EXPECT_EQ("Ann <ex:/o=org>", Address("Ann <ex:/o=org>"));           // exact case only
}

TEST(MailAddress, ControlCharactersAndUnterminatedPieces) {
  // A folded field stops at the carriage return: the items so far are lost, and
  // the buffer at that point is all that is left.
  EXPECT_EQ(",", Address("Ann <a@b.c>,\r\n Bob <d@e.f>"));
  EXPECT_EQ("a@b.c", Address("a@b.c,\r\n d@e.f"));   // the buffer holds an address
  EXPECT_EQ("", Address("Ann <a@b.c>\r\n"));
  EXPECT_EQ("\"Ann", Address("\"Ann"));              // unterminated quote: the buffer as a word
  EXPECT_EQ("(x", Address("(x"));
  EXPECT_EQ("a@b.c", Address("<a@b.c"));             // no items: the address inside
  EXPECT_EQ("Ann <a", Address("Ann <a"));
  EXPECT_EQ("", Address(""));
}

// ---- dates

TEST(MailDate, NumericZonesShiftToUtc) {
  EXPECT_EQ("2012-03-05 09:20:30", DateText(Date(u"Mon, 5 Mar 2012 10:20:30 +0100")));
  EXPECT_EQ("2012-03-05 15:50:30", DateText(Date(u"5 Mar 2012 10:20:30 -0530")));
  EXPECT_EQ("2013-01-01 00:30:00", DateText(Date(u"Mon, 31 Dec 2012 23:30:00 -0100")));
  EXPECT_EQ("2012-02-29 23:00:00", DateText(Date(u"1 mar 2012 01:00:00 +0200")));
  plat::SystemTime t = Date(u"Mon, 5 Mar 2012 10:20:30 +0100");
  EXPECT_EQ(1, t.dayOfWeek);   // file-time arithmetic sets the day of the week
}

TEST(MailDate, NamedZonesLeaveTheTimeAsWritten) {
  for (const char16_t* z : {u"EST", u"PDT", u"GMT", u"UT"}) {
    String text(u"Mon, 5 Mar 2012 10:20:30 ");
    text.Append(z);
    const plat::SystemTime t = Date(text.wchar());
    EXPECT_EQ("2012-03-05 10:20:30", DateText(t));
    EXPECT_EQ(0xFFFF, t.dayOfWeek);
  }
  EXPECT_EQ("2012-03-05 10:20:30", DateText(Date(u"5 Mar 2012 10:20:30")));
  EXPECT_EQ("2012-03-05 10:20:30", DateText(Date(u"Date was 5 Mar 2012 10:20:30 (CET)")));
}

TEST(MailDate, RangeCheck) {
  EXPECT_FALSE(MailDateInRange(Date(u"5 Xyz 2012 10:20:30 +0000")));   // month 0
  EXPECT_TRUE(MailDateInRange(Date(u"5 Mar 2012 24:00:00")));          // hour 24 passes
  EXPECT_FALSE(MailDateInRange(Date(u"5 Mar 2012 24:00:00 +0000")));   // but no file time has it
  EXPECT_FALSE(MailDateInRange(Date(u"31 Feb 2012 10:00:00 +0100")));
  EXPECT_TRUE(MailDateInRange(Date(u"31 Feb 2012 10:00:00")));         // unchecked without a zone
  EXPECT_FALSE(MailDateInRange(Date(u"5 Mar 2012 10:60:00")));
  EXPECT_FALSE(MailDateInRange(Date(u"0 Mar 2012 10:00:00")));
  EXPECT_FALSE(MailDateInRange(Date(u"65537 Mar 2012 10:00:00")));     // no wrap into range
  EXPECT_FALSE(MailDateInRange(Date(u"1 Jan 1600 10:00:00 +0000")));   // before file times
  EXPECT_TRUE(IsUnsetTime(Date(u"yesterday")));
  EXPECT_TRUE(IsUnsetTime(Date(u"5 Mar 12 10:20:30")));                // two-digit year
}

// ---- the reader

// A message and the four fields the reader takes from it ("-": none).
TEST(MailReader, FieldsOfHandMadeHeaders) {
  const std::string big = "X: " + std::string(70000, 'x') + "\r\nSubject: late\r\n\r\n";
  const struct {
    const char* what;
    std::string bytes;
    const char *author, *lastAuthor, *title, *created;
  } cases[] = {
      {"the four fields as mapped",
       "Received: from x\r\n\tby y\r\nFrom: =?utf-8?Q?J=C3=B6rg?= <j@x.de>\r\nTo: Ann <a@b.c>\r\n"
       "Subject: =?iso-8859-1?Q?Gr=FC=DFe?=\r\n aus Bonn\r\nDate: Mon, 5 Mar 2012 10:20:30 +0100\r\n"
       "Cc: c@d.e\r\n\r\nbody\r\nSubject: not a header\r\n",
       "J\xC3\xB6rg <j@x.de>", "Ann <a@b.c>",
       "Gr\xC3\xBC\xC3\x9F" "eaus Bonn",   // unfolding takes the blank too
       "2012-03-05 09:20:30"},
      {"names match exactly", "FROM: a@b.c\r\nsubject: s\r\nDate: 5 Xyz 2012 10:20:30 +0000\r\nX: y\r\n\r\n",
       "-", "-", "-", "-"},
      {"the last field before the empty line", "From: a@b.c\r\nSubject: last\r\n\r\nbody", "a@b.c", "-", "last", "-"},
      {"the only field", "Subject: last\r\n\r\n", "-", "-", "last", "-"},
      {"line feeds only: a header block without fields", "From: a@b.c\nSubject: s\n\nbody\n", "-", "-", "-", "-"},
      {"no empty line", "Subject: no empty line\r\n", "-", "-", "-", "-"},
      {"empty", "", "-", "-", "-", "-"},
      {"the field pattern wants \": \"", "Subject:no blank\r\nTo:  two  blanks\r\n\r\n", "-", " two blanks", "-",
       "-"},
      {"only the first 64 KiB are read", big, "-", "-", "-", "-"},
      // A zero byte ends the text: behind the header it does no harm, inside it
      // the empty line is cut off.
      {"zero byte in the body", std::string("Subject: a\r\n\r\nb\0dy", 18), "-", "-", "a", "-"},
      {"zero byte in the header", std::string("Subject: a\r\nFrom: b@c.d\0\r\n\r\n", 28), "-", "-", "-", "-"},
  };
  auto field = [](const std::optional<std::string>& v) { return v.value_or("-"); };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Read r = ReadBytes(c.bytes);
    EXPECT_EQ(c.author, field(r.author));
    EXPECT_EQ(c.lastAuthor, field(r.lastAuthor));
    EXPECT_EQ(c.title, field(r.title));
    EXPECT_EQ(c.created, field(r.created));
  }
}

TEST(MailReader, NullAndUnreadableFiles) {
  clsDocu doc(String(u"x.eml"), 0, 0, nullptr);
  clsDocFile none;   // never opened: the read falls short
  EXPECT_EQ(0, ReadMailInfo(doc, none));
  EXPECT_EQ(0, doc.title.vt);
}

}  // namespace
}  // namespace zx

// ---- the corpus against Python's email package

namespace zx {
namespace {

// corpus.json as mail_oracle.py writes it: { "file": { "field": "text" or null } }.
class OracleJson {
 public:
  explicit OracleJson(std::string text) : s(std::move(text)) {}
  std::map<std::string, std::map<std::string, std::optional<std::string>>> Parse() {
    std::map<std::string, std::map<std::string, std::optional<std::string>>> out;
    Expect('{');
    while (Peek() == '"') {
      const std::string file = Str();
      Expect(':');
      Expect('{');
      while (Peek() == '"') {
        const std::string key = Str();
        Expect(':');
        if (Peek() == 'n') {
          at += 4;
          out[file][key] = std::nullopt;
        } else {
          out[file][key] = Str();
        }
        if (Peek() == ',') ++at;
      }
      Expect('}');
      if (Peek() == ',') ++at;
    }
    Expect('}');
    return out;
  }

 private:
  char Peek() {
    while (at < s.size() && isspace(static_cast<unsigned char>(s[at]))) ++at;
    return at < s.size() ? s[at] : 0;
  }
  void Expect(char c) {
    if (Peek() != c) throw std::runtime_error("corpus.json: bad syntax");
    ++at;
  }
  std::string Str() {
    Expect('"');
    std::u16string u;
    while (at < s.size() && s[at] != '"') {
      char c = s[at++];
      if (c != '\\') {
        u.push_back(static_cast<char16_t>(c));
        continue;
      }
      c = s[at++];
      switch (c) {
        case 'u': u.push_back(static_cast<char16_t>(std::stoi(s.substr(at, 4), nullptr, 16))); at += 4; break;
        case 'n': u.push_back(u'\n'); break;
        case 'r': u.push_back(u'\r'); break;
        case 't': u.push_back(u'\t'); break;
        default: u.push_back(static_cast<char16_t>(c));
      }
    }
    ++at;
    return plat::Utf16ToUtf8(u);
  }
  std::string s;
  size_t at = 0;
};

// Where the reader's rules and Python's differ, file by file: the field and the
// rule that makes the difference. Every other field must agree.
struct Difference {
  const char* file;
  const char* field;
  const char* rule;
};
const Difference kDifferences[] = {
#include "mail_differences.inc"
};

TEST(MailCorpus, FieldsAgreeWithPythonsEmailPackage) {
  const fs::path folder = fs::path(ZXUT_SOURCE_DIR) / "tests" / "docinfo" / "data" / "mail";
  const std::string json = zxsupport::ReadBytes(folder / "corpus.json");
  ASSERT_FALSE(json.empty()) << "corpus.json is missing";
  const auto oracle = OracleJson(json).Parse();
  ASSERT_GE(oracle.size(), 60u);
  std::set<std::string> used;
  int agreed = 0;
  for (const auto& [file, want] : oracle) {
    const Read r = ReadBytes(zxsupport::ReadBytes(folder / "corpus" / file));
    const std::map<std::string, std::optional<std::string>> got = {
        {"author", r.author}, {"lastAuthor", r.lastAuthor}, {"title", r.title}, {"created", r.created}};
    for (const auto& [field, value] : want) {
      const Difference* rule = nullptr;
      for (const Difference& d : kDifferences)
        if (file == d.file && field == d.field) rule = &d;
      const std::optional<std::string>& mine = got.at(field);
      if (rule) {
        used.insert(file + "/" + field);
        EXPECT_NE(value, mine) << file << " " << field << ": agrees now, although listed for: " << rule->rule;
      } else {
        EXPECT_EQ(value, mine) << file << " " << field << " differs from Python";
        if (value == mine) ++agreed;
      }
    }
  }
  EXPECT_EQ(std::size(kDifferences), used.size()) << "a listed difference names no file of the corpus";
  EXPECT_GT(agreed, 200);
}

}  // namespace
}  // namespace zx

namespace zx {
namespace {

TEST(MailReader, TheExampleMail) {
  const Read r = ReadBytes(zxsupport::ReadBytes(fs::path(ZXUT_SOURCE_DIR) / "examples" / "docinfo" / "sample.eml"));
  EXPECT_EQ("J\xC3\xB6rg M\xC3\xBCller <joerg.mueller@example.de>", r.author);
  EXPECT_EQ("\"Ann Lee\" <ann.lee@example.com>", r.lastAuthor);
  EXPECT_EQ("Quartalsbericht f\xC3\xBCr M\xC3\xA4rz \xE2\x80\x93 Entwurf", r.title);
  EXPECT_EQ("2012-03-05 09:20:30", r.created);
}

}  // namespace
}  // namespace zx
