// The PDF information reader: files of real producers and hand-made damaged
// ones against what pdfinfo and exiftool read from them (data/pdf/oracle.tsv,
// written by make_pdfs.py), and the format's own readings one by one.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"
#include "docinfo/PdfText.h"
#include "platform/codepage.h"
#include "support/support_test_util.h"
#include "text/Date.h"

namespace zx {
namespace {

const std::string kDataDir = std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/data/pdf/";

String Utf8(const std::string& s) { return StringFromNarrow(s.data(), static_cast<int64_t>(s.size()), plat::kCpUtf8); }
// UTF-8 of any text, zero characters and lone surrogates included.
std::string ToUtf8(const String& s) {
  std::string out;
  const std::u16string_view v = s.View();
  for (size_t i = 0; i < v.size(); ++i) {
    uint32_t c = v[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < v.size() && v[i + 1] >= 0xDC00 && v[i + 1] < 0xE000)
      c = 0x10000 + ((c - 0xD800) << 10) + (v[++i] - 0xDC00);
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | c >> 6);
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | c >> 12);
      out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | c >> 18);
      out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
      out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

std::string Unescape(const std::string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '\\' || i + 1 == s.size()) {
      out += s[i];
      continue;
    }
    const char e = s[++i];
    out += e == 'n' ? '\n' : e == 't' ? '\t' : e == 'r' ? '\r' : e == '0' ? '\0' : e;
  }
  return out;
}

struct OracleRow {
  std::string file, property, pdfinfo, exiftool, rule;
};

std::vector<OracleRow> ReadOracle() {
  std::vector<OracleRow> rows;
  std::istringstream in(zxsupport::ReadBytes(kDataDir + "oracle.tsv"));
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::vector<std::string> cols;
    std::string col;
    std::istringstream l(line);
    while (std::getline(l, col, '\t')) cols.push_back(Unescape(col));
    cols.resize(5);
    rows.push_back({cols[0], cols[1], cols[2], cols[3], cols[4]});
  }
  return rows;
}

// What the reader made of one file.
struct Read {
  std::map<std::string, std::string> text;
  plat::SystemTime created = kUnsetSystemTime, lastSaved = kUnsetSystemTime;
};

Read Summary(const clsDocu& doc) {
  Read r;
  r.text["Title"] = ToUtf8(doc.title.Text());
  r.text["Author"] = ToUtf8(doc.author.Text());
  r.text["Subject"] = ToUtf8(doc.subject.Text());
  r.text["Keywords"] = ToUtf8(doc.keywords.Text());
  r.created = doc.created;
  r.lastSaved = doc.lastSaved;
  return r;
}

Read ReadFile(const std::string& path, clsDocu* out = nullptr) {
  clsDocu doc(Utf8(path), 0, 0, nullptr);
  clsDocFile file;
  EXPECT_EQ(0, file.OpenDocument(Utf8(path))) << path;
  EXPECT_EQ(0, ReadPdfInfo(doc, file));
  if (out) *out = doc;
  return Summary(doc);
}

Read ReadBytes(const std::string& bytes) {
  clsFileRWTempStream file;
  file.SetDeleteOnRelease(false);
  file.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
  clsDocu doc(String(u"mem.pdf"), 0, 0, nullptr);
  EXPECT_EQ(0, ReadPdfInfo(doc, file));
  return Summary(doc);
}

std::string TimeText(const plat::SystemTime& t) {
  if (IsUnsetTime(t)) return "unset";
  char b[40];
  std::snprintf(b, sizeof b, "%04u-%02u-%02uT%02u:%02u:%02u", t.year, t.month, t.day, t.hour, t.minute, t.second);
  return b;
}

// An oracle's "2012-03-05T10:20:30+01:00" as the reader takes it: the wall time
// moved by the zone's minutes x 24 seconds.
std::string ReaderUtcOf(const std::string& iso) {
  if (iso.empty()) return "unset";
  int y, mo, d, h, mi, s;
  if (std::sscanf(iso.c_str(), "%d-%d-%dT%d:%d:%d", &y, &mo, &d, &h, &mi, &s) != 6) return "bad oracle " + iso;
  int64_t shift = 0;
  if (iso.size() >= 25) {
    const int zh = std::stoi(iso.substr(20, 2)), zm = std::stoi(iso.substr(23, 2));
    shift = (zh * 60 + zm) * 24 * (iso[19] == '-' ? -1 : 1);
  }
  int64_t total = ((clsDate(y, mo, d).DayNumber() * 24 + h) * 60 + mi) * 60 + s - shift;
  int64_t days = total / 86400, rest = total % 86400;
  if (rest < 0) {
    rest += 86400;
    --days;
  }
  const clsDate date(days);
  plat::SystemTime t{static_cast<uint16_t>(date.Year()), static_cast<uint16_t>(date.Month()), 0,
                     static_cast<uint16_t>(date.Day()), static_cast<uint16_t>(rest / 3600),
                     static_cast<uint16_t>(rest / 60 % 60), static_cast<uint16_t>(rest % 60), 0};
  return TimeText(t);
}

// exiftool splits keywords into a list ("k1, k2" for "k1 k2").
std::string Words(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == ',' || c == ' ') {
      if (!out.empty() && out.back() != ' ') out += ' ';
    } else {
      out += c;
    }
  }
  while (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

TEST(PdfOracle, EveryPropertyAgreesWithPdfinfoAndExiftool) {
  const std::vector<OracleRow> rows = ReadOracle();
  ASSERT_GT(rows.size(), 100u) << "data/pdf/oracle.tsv is missing; run make_pdfs.py";
  std::map<std::string, Read> reads;
  int compared = 0, byRule = 0;
  for (const OracleRow& row : rows) {
    SCOPED_TRACE(row.file + " " + row.property + (row.rule.empty() ? "" : " (rule " + row.rule + ")"));
    if (!reads.count(row.file)) reads[row.file] = ReadFile(kDataDir + row.file);
    const Read& r = reads[row.file];
    if (row.property == "status") continue;
    const bool isDate = row.property == "CreationDate" || row.property == "ModDate";
    const std::string ours = isDate ? TimeText(row.property == "CreationDate" ? r.created : r.lastSaved)
                                    : r.text.at(row.property);
    const std::string rule = row.rule.substr(0, row.rule.find('='));
    if (rule == "gives-up" || rule == "bad-xref-count" || rule == "info-highest" || rule == "tail-50") {
      // The oracles may read what the reader does not repair or reach.
      EXPECT_EQ(isDate ? "unset" : "", ours);
      ++byRule;
      continue;
    }
    if (rule == "no-D-prefix") {
      EXPECT_EQ("unset", ours);
      EXPECT_NE("", row.pdfinfo) << "the oracles read the date";
      ++byRule;
      continue;
    }
    if (row.rule.find('=') != std::string::npos) {
      EXPECT_EQ(row.rule.substr(row.rule.find('=') + 1), ours);
      ++byRule;
      continue;
    }
    if (isDate) {
      EXPECT_EQ(ReaderUtcOf(row.pdfinfo), ours) << "pdfinfo: " << row.pdfinfo;
      EXPECT_EQ(ReaderUtcOf(row.exiftool), ours) << "exiftool: " << row.exiftool;
    } else {
      // pdfinfo prints a value up to its first line break; exiftool writes "?"
      // for characters beyond the basic plane.
      EXPECT_EQ(row.pdfinfo, ours.substr(0, ours.find('\n')));
      const size_t q = row.exiftool.find('?');
      const std::string exif = row.property == "Keywords" ? Words(row.exiftool) : row.exiftool;
      const std::string mine = row.property == "Keywords" ? Words(ours) : ours;
      if (q == std::string::npos)
        EXPECT_EQ(exif, mine);
      else
        EXPECT_EQ(exif.substr(0, q), mine.substr(0, q));
    }
    ++compared;
  }
  EXPECT_GT(compared, 80);
  EXPECT_GT(byRule, 30);
}

// ---- the format's own readings

std::string Pdf(const std::string& info, int infoNumber = 4) {
  std::string out = "%PDF-1.4\n";
  std::vector<size_t> offsets;
  auto obj = [&](int n, const std::string& body) {
    offsets.resize(static_cast<size_t>(n) + 1);
    offsets[static_cast<size_t>(n)] = out.size();
    out += std::to_string(n) + " 0 obj\n" + body + "\nendobj\n";
  };
  obj(1, "<< /Type /Catalog >>");
  obj(2, "<< >>");
  obj(3, "<< >>");
  obj(infoNumber, info);
  obj(infoNumber + 1, "<< >>");
  const size_t xref = out.size();
  out += "xref\n0 " + std::to_string(offsets.size()) + "\n0000000000 65535 f \n";
  for (size_t n = 1; n < offsets.size(); ++n) {
    char line[24];
    std::snprintf(line, sizeof line, "%010zu 00000 n \n", offsets[n]);
    out += line;
  }
  out += "trailer\n<< /Size " + std::to_string(offsets.size()) + " /Info " + std::to_string(infoNumber) +
         " 0 R /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
  return out;
}

TEST(PdfReader, StringsAndNames) {
  EXPECT_EQ("Ab(c)", ReadBytes(Pdf("<< /Title (Ab\\(c\\)) >>")).text["Title"]);
  EXPECT_EQ("AB", ReadBytes(Pdf("<< /Title <FEFF00410042> >>")).text["Title"]);
  EXPECT_EQ("AB", ReadBytes(Pdf("<< /Title <FFFE41004200> >>")).text["Title"]);
  EXPECT_EQ("\xC3\xA9t\xC3\xA9", ReadBytes(Pdf("<< /Title <EFBBBFC3A974C3A9> >>")).text["Title"]);
  EXPECT_EQ("One Two", ReadBytes(Pdf("<< /Title /One#20Two >>")).text["Title"]);
  // "#" reads all hexadecimal digits behind it, keeps the low byte and moves by three.
  EXPECT_EQ("a\vb", ReadBytes(Pdf("<< /Title /a#20b >>")).text["Title"]);
  // A raw mark (not octal escapes) makes pairs of first x 16 + second.
  static const char kRaw[] = "<< /Title (\xFE\xFF\x00\x41\x03\xA9) >>";
  EXPECT_EQ("A\xC3\x99", ReadBytes(Pdf(std::string(kRaw, sizeof kRaw - 1))).text["Title"]);
  EXPECT_EQ("\xC3\xBE\xC3\xBF", ReadBytes(Pdf("<< /Title (\\376\\377\\000A) >>")).text["Title"]);
  // Nested parentheses, octal and control escapes, an odd hex digit, PDFDocEncoding.
  EXPECT_EQ("(x)y\tA", ReadBytes(Pdf("<< /Title ((x)y\\t\\101) >>")).text["Title"]);
  EXPECT_EQ("p", ReadBytes(Pdf("<< /Title <7> >>")).text["Title"]);
  EXPECT_EQ("\xE2\x80\x94\xE2\x82\xAC", ReadBytes(Pdf("<< /Title (\\204\\240) >>")).text["Title"]);
  // Numbers and booleans through the variant's text; a reference has no text.
  const Read r = ReadBytes(Pdf("<< /Title 42 /Author true /Subject 12 0 R /Keywords (k) >>"));
  EXPECT_EQ("42", r.text.at("Title"));
  EXPECT_NE("", r.text.at("Author"));
  EXPECT_EQ("", r.text.at("Subject"));
  EXPECT_EQ("k", r.text.at("Keywords"));
}

TEST(PdfReader, Dates) {
  Read r = ReadBytes(Pdf("<< /CreationDate (D:201203) /ModDate (D:20120305102030+01'00') >>"));
  EXPECT_EQ("2012-03-01T00:00:00", TimeText(r.created));
  EXPECT_EQ("2012-03-05T09:56:30", TimeText(r.lastSaved));
  r = ReadBytes(Pdf("<< /CreationDate (D:20121231235959-01'30') /ModDate (2012) /Title (t) >>"));
  EXPECT_EQ("2013-01-01T00:35:59", TimeText(r.created));
  EXPECT_EQ("unset", TimeText(r.lastSaved));
  // A date that is no calendar date is stored unset; an absent key keeps the old one.
  clsFileRWTempStream file;
  file.SetDeleteOnRelease(false);
  const std::string bytes = Pdf("<< /CreationDate (D:20121301000000Z) >>");
  file.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
  clsDocu doc(String(u"m.pdf"), 0, 0, nullptr);
  doc.created = plat::SystemTime{2000, 1, 6, 1, 0, 0, 0, 0};
  doc.lastSaved = plat::SystemTime{2001, 1, 1, 1, 0, 0, 0, 0};
  ReadPdfInfo(doc, file);
  EXPECT_TRUE(IsUnsetTime(doc.created));
  EXPECT_EQ(2001, doc.lastSaved.year);
}

TEST(PdfReader, InfoReferenceAndItsEnd) {
  // "/Info 12 0 R": element 0 of the values 12 and 0.
  EXPECT_EQ("twelve", ReadBytes(Pdf("<< /Title (twelve) >>", 12)).text["Title"]);
  // A broken value ends the dictionary; what came before it stays.
  EXPECT_EQ("kept", ReadBytes(Pdf("<< /Title (kept) /Author tru /Subject (lost) >>")).text["Title"]);
  // No dictionary behind "obj", or text ending inside one: nothing.
  EXPECT_EQ("", ReadBytes(Pdf("(just a string)")).text["Title"]);
  EXPECT_EQ("", ReadBytes(Pdf("<< /Title <414")).text["Title"]);
}

TEST(PdfReader, DamagedInputGivesNothingAndNoCrash) {
  const std::string good = Pdf("<< /Title (T) >>");
  for (const std::string& bytes : {std::string(), std::string("%PDF"), good.substr(0, good.size() / 2),
                                   std::string("startxref\n999999999999999999999\n"),
                                   std::string("xref\n0 1\nstartxref\n0\n"), std::string("startxref 5\nxref"),
                                   std::string(100000, '\0') + "startxref\n1\n"}) {
    const Read r = ReadBytes(bytes);
    EXPECT_EQ("", r.text.at("Title"));
  }
  // A cross-reference stream with a filter the reader does not know.
  std::string s = "%PDF-1.5\n";
  const size_t at = s.size();
  s += "1 0 obj\n<< /Type /XRef /Size 2 /W [1 2 1] /Info 1 0 R /Filter /LZWDecode /Length 4 >>\nstream\nabcd\n"
       "endstream\nendobj\nstartxref\n" + std::to_string(at) + "\n%%EOF\n";
  EXPECT_EQ("", ReadBytes(s).text.at("Title"));
}

TEST(PdfReader, PrevChainThatLoopsEnds) {
  // Two tables whose "Prev" entries point at each other.
  std::string s = "%PDF-1.4\n";
  const size_t o1 = s.size();
  s += "1 0 obj\n<< /Title (Loop) >>\nendobj\n";
  const size_t o2 = s.size();
  s += "2 0 obj\n<< >>\nendobj\n";
  const size_t a = s.size();
  const size_t b = a + 200;
  char t[200];
  std::snprintf(t, sizeof t, "xref\n1 2\n%010zu 00000 n \n%010zu 00000 n \ntrailer\n<< /Prev %zu /Info 1 0 R >>\n", o1, o2, b);
  s += t;
  s.resize(b, ' ');
  std::snprintf(t, sizeof t, "xref\n1 1\n%010zu 00000 n \ntrailer\n<< /Prev %zu >>\n", o1, a);
  s += t;
  s += "startxref\n" + std::to_string(b) + "\n%%EOF\n";
  EXPECT_EQ("Loop", ReadBytes(s).text.at("Title"));
}

}  // namespace
}  // namespace zx

namespace zx {
namespace {

// The README's example file.
TEST(PdfReader, ExampleSample) {
  clsDocu doc(String(u"sample.pdf"), 0, 0, nullptr);
  const Read r = ReadFile(std::string(ZXUT_SOURCE_DIR) + "/examples/docinfo/sample.pdf", &doc);
  EXPECT_EQ("Quarterly report", r.text.at("Title"));
  EXPECT_EQ("Ann Example", r.text.at("Author"));
  EXPECT_EQ("2024-01-15T09:30:00", TimeText(r.created));
  EXPECT_EQ("2024-02-20T17:45:00", TimeText(r.lastSaved));
}

}  // namespace
}  // namespace zx
