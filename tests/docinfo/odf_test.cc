// The office-package reader (ODF and OOXML in ZIP) and the XML property reader,
// on files an office suite wrote (tests/docinfo/data/odf, made by
// make_fixtures.py) and on hand-made edge cases and damaged files. The oracle
// test at the end dumps what the readers give for odf_oracle.py, which reads the
// same files with python's zipfile and xml.etree and with exiftool.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "debug/Debug.h"
#include "docinfo/ComInitialize.h"
#include "docinfo/DocReaders.h"
#include "docinfo/OfficePackage.h"
#include "docinfo/OfficePackageZip.h"
#include "docinfo/XmlProperties.h"
#include "platform/codepage.h"
#include "platform/time_zone.h"
#include "support/support_test_util.h"

namespace zx {
namespace {

// The entry reader traces through the debug channel, which takes the diagnostic
// lines over when it is built: built here first, so that captures see them all.
const bool g_channelBuilt = (IsDebugActive(), true);

std::string DataPath(const std::string& leaf) { return std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/data/odf/" + leaf; }

struct scRead {
  clsDocu doc{String(u"doc"), 0, 0, nullptr};
  int result = 99;
  double seconds = 0;
};

scRead ReadWith(DocFileReader reader, const std::string& leaf) {
  scRead r;
  clsDocFile file;
  EXPECT_EQ(0, file.OpenDocument(String(DataPath(leaf).c_str()))) << leaf;
  const auto start = std::chrono::steady_clock::now();
  r.result = reader(r.doc, file);
  r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return r;
}
scRead Package(const std::string& leaf) { return ReadWith(ReadOfficePackage, leaf); }
scRead Xml(const std::string& leaf) { return ReadWith(ReadXmlProperties, leaf); }

std::string Text(const clsVariant& v) { return zxsupport::Ascii(v.Text().View()); }
std::u16string Wide(const clsVariant& v) { return std::u16string(v.Text().View()); }

bool IsSet(const plat::SystemTime& t) { return t.dayOfWeek != kUnsetSystemTime.dayOfWeek; }

// "YYYY-MM-DD hh:mm:ss" of a UTC time.
std::string Stamp(const plat::SystemTime& t) {
  if (!IsSet(t)) return "unset";
  char b[64];
  std::snprintf(b, sizeof b, "%04u-%02u-%02u %02u:%02u:%02u", t.year, t.month, t.day, t.hour, t.minute, t.second);
  return b;
}
// The UTC stamp of a local wall-clock time, through the zone seam the readers use.
std::string LocalStamp(uint16_t y, uint16_t mo, uint16_t d, uint16_t h, uint16_t mi, uint16_t s) {
  plat::SystemTime local{y, mo, 0, d, h, mi, s, 0}, utc{};
  if (!plat::LocalTimeToUtc(&local, &utc)) return "conversion failed";
  return Stamp(utc);
}

TEST(OfficePackage, RealWriterDocuments) {
  const scRead odt = Package("real_writer.odt");
  EXPECT_EQ(0, odt.result);
  EXPECT_EQ("Quarterly Report & Plan", Text(odt.doc.title));
  EXPECT_EQ("Finance", Text(odt.doc.subject));
  EXPECT_EQ("Reviewed by the board", Text(odt.doc.comments));
  EXPECT_EQ("Ann Author", Text(odt.doc.author));      // meta:initial-creator
  EXPECT_EQ("Bob Editor", Text(odt.doc.lastAuthor));  // dc:creator: who saved last
  // Loose keyword elements (no <meta:keywords> around them) come as one capture
  // from the first opening tag to the last closing one.
  EXPECT_EQ("alpha</meta:keyword><meta:keyword>beta</meta:keyword><meta:keyword>gamma", Text(odt.doc.keywords));
  EXPECT_EQ(LocalStamp(2012, 3, 5, 10, 20, 30), Stamp(odt.doc.created));
  EXPECT_EQ(LocalStamp(2013, 4, 6, 11, 21, 31), Stamp(odt.doc.lastSaved));

  const scRead docx = Package("real_writer.docx");  // entries with data descriptors
  EXPECT_EQ(0, docx.result);
  EXPECT_EQ("Quarterly Report & Plan", Text(docx.doc.title));
  EXPECT_EQ("Ann Author", Text(docx.doc.author));
  EXPECT_EQ("Bob Editor", Text(docx.doc.lastAuthor));
  EXPECT_EQ("alpha beta gamma", Text(docx.doc.keywords));
  EXPECT_EQ("Reviewed by the board", Text(docx.doc.comments));
  // A trailing "Z" is not read as a zone: local time.
  EXPECT_EQ(LocalStamp(2012, 3, 5, 10, 20, 30), Stamp(docx.doc.created));
  EXPECT_EQ(LocalStamp(2013, 4, 6, 11, 21, 31), Stamp(docx.doc.lastSaved));
}

TEST(OfficePackage, RealSpreadsheetsAndPresentationsWithUtf8) {
  for (const char* leaf : {"real_calc.ods", "real_calc.xlsx"}) {
    SCOPED_TRACE(leaf);
    const scRead r = Package(leaf);
    EXPECT_EQ(0, r.result);
    EXPECT_EQ(u"Caf\u00e9 \u00dcbersicht \u20ac", Wide(r.doc.title));
    EXPECT_EQ(u"J\u00fcrgen", Wide(r.doc.author));
    EXPECT_EQ(u"Zo\u00eb", Wide(r.doc.lastAuthor));
    EXPECT_EQ("one", Text(r.doc.keywords));
    EXPECT_EQ(LocalStamp(2015, 1, 2, 3, 4, 5), Stamp(r.doc.lastSaved));
  }
  for (const char* leaf : {"real_impress.odp", "real_impress.pptx"}) {
    SCOPED_TRACE(leaf);
    const scRead r = Package(leaf);
    EXPECT_EQ(0, r.result);
    EXPECT_EQ("Slides", Text(r.doc.title));
    EXPECT_EQ("Two <lines>", Text(r.doc.comments));
    EXPECT_EQ(LocalStamp(2016, 2, 29, 23, 59, 58), Stamp(r.doc.created));
  }
}

TEST(OfficePackage, EdgeCases) {
  {
    zxsupport::DiagCapture diag;
    const scRead r = Package("edge_comment.odt");
    EXPECT_EQ(-1, r.result);
    EXPECT_TRUE(diag.Contains(u"WRN: GetZIPFilenames: read error (no finalizer found)"));
    EXPECT_EQ("", Text(r.doc.title));
  }
  for (const char* leaf : {"edge_upper.odt", "edge_stored.odt"}) {
    SCOPED_TRACE(leaf);
    const scRead r = Package(leaf);
    EXPECT_EQ(0, r.result);
    EXPECT_EQ("T", Text(r.doc.title));
    EXPECT_EQ("A", Text(r.doc.author));
    EXPECT_EQ("L", Text(r.doc.lastAuthor));
    EXPECT_EQ("2012-03-05 09:20:30", Stamp(r.doc.created));
  }
  const scRead empty = Package("edge_empty_core.docx");
  EXPECT_EQ(0, empty.result);
  EXPECT_EQ("", Text(empty.doc.title));
  EXPECT_FALSE(IsSet(empty.doc.created));

  const scRead dates = Package("edge_dates.docx");
  EXPECT_EQ("2012-03-05 09:20:30", Stamp(dates.doc.created));
  EXPECT_EQ("2012-03-06 00:00:00", Stamp(dates.doc.lastSaved));  // hour 24: the next day
  EXPECT_EQ(u"Z\u00e9", Wide(dates.doc.author));

  EXPECT_EQ("a, b, c", Text(Package("edge_keywords.odt").doc.keywords));
  EXPECT_EQ(u"Gr\u00fc\u00dfe", Wide(Package("edge_latin1.odt").doc.title));  // the declared encoding
  EXPECT_EQ("core", Text(Package("edge_first_wins.zip").doc.title));       // first in the directory
}

TEST(OfficePackage, DamagedArchivesGiveUpWithTheirMessage) {
  struct {
    const char* leaf;
    int result;
    const char16_t* message;  // null: no line at all
    const char* title;
  } cases[] = {
      {"bad_no_docprops.docx", -1, nullptr, ""},
      {"bad_truncated_cd.odt", -1, u"WRN: GetZIPFilenames: file has bad format", ""},
      {"bad_cd_offset.odt", -1, u"WRN: GetZIPFilenames: file has bad format", ""},
      {"bad_tiny.odt", -1, u"WRN: GetZIPFilenames: file has bad format (no finalizer)", ""},
      {"bad_local_header.odt", 0, u"ERR: bad ZIP FILE ENTRY", ""},
      {"bad_method.odt", 0, u"unknown compression method 12", ""},
      {"bad_descriptor_flag.odt", 0, u"bad finalizer!", "T"},  // the text is kept
      {"bad_deflate_bomb.odt", 0, u"inflates beyond", ""},     // 20 MiB stops at the bound
      {"bad_garbage_deflate.odt", 0, nullptr, ""},
      // The package reader takes text by expression: a DTD is text, never expanded.
      {"bad_dtd_core.docx", 0, nullptr, "&x;"},
      {"bad_bomb_core.docx", 0, nullptr, "&lol9;"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.leaf);
    zxsupport::DiagCapture diag;
    const scRead r = Package(c.leaf);
    EXPECT_EQ(c.result, r.result);
    if (c.message) {
      EXPECT_TRUE(diag.Contains(c.message)) << ::testing::PrintToString(diag.AsciiLines());
    } else {
      EXPECT_EQ(0u, diag.Size());
    }
    EXPECT_EQ(c.title, Text(r.doc.title));
    EXPECT_LT(r.seconds, 5.0);
  }
}

TEST(OfficePackage, EntryReadRestoresThePosition) {
  clsDocFile file;
  ASSERT_EQ(0, file.OpenDocument(String(DataPath("real_writer.docx").c_str())));
  scZipCentralEntry entry;
  ASSERT_EQ(kOfficeOoxml, FindOfficePackageEntry(file, &entry));
  file.SetPos(123);
  const std::string xml = ReadZipEntryBytes(file, entry);
  EXPECT_EQ(123u, file.GetPos());
  EXPECT_EQ(entry.uncompressedSize, xml.size());
  EXPECT_EQ(0u, xml.find("<?xml"));
}

TEST(OfficePackage, XmlReferencesResolveOnce) {
  EXPECT_EQ(u"<a & 'b'> \"c\"", UnescapeXmlText(String(u"&lt;a &amp; &apos;b&apos;&gt; &quot;c&quot;")).View());
  EXPECT_EQ(u"&#65; A A \U0001F600", UnescapeXmlText(String(u"&amp;#65; &#65; &#x41; &#x1F600;")).View());
  EXPECT_EQ(u"&nbsp; &#; &#xZZ; &#99999999; & x", UnescapeXmlText(String(u"&nbsp; &#; &#xZZ; &#99999999; & x")).View());
}

TEST(XmlProperties, ParserPathAndExpressionPath) {
  const scRead flat = Xml("xml_flat_opc.xml");
  EXPECT_EQ(0, flat.result);
  EXPECT_EQ("Flat & packaged", Text(flat.doc.title));
  EXPECT_EQ("Erin", Text(flat.doc.author));
  EXPECT_EQ("Finn", Text(flat.doc.lastAuthor));
  EXPECT_EQ("k1, k2, k3", Text(flat.doc.keywords));   // cp:keywords, then meta:keywords appended
  EXPECT_EQ("a <b> c", Text(flat.doc.comments));       // CDATA is text
  EXPECT_EQ("2012-03-05 09:20:30", Stamp(flat.doc.created));
  EXPECT_EQ("2012-03-06 02:00:00", Stamp(flat.doc.lastSaved));

  // A single-byte code page the parser does not know itself.
  EXPECT_EQ(u"Caf\u00e9 \u20ac", Wide(Xml("xml_cp1252.xml").doc.title));

  // Two levels only: nothing through the parser, so the block expression reads.
  const scRead shallow = Xml("xml_shallow.xml");
  EXPECT_EQ(0, shallow.result);
  EXPECT_EQ("", Text(shallow.doc.title));
  EXPECT_EQ("Gil Hi", Text(shallow.doc.author));  // numeric references resolved
  EXPECT_EQ("2012-03-05 09:20:30", Stamp(shallow.doc.created));

  // The older XML form an office suite writes: the block expression.
  const scRead word = Xml("real_writer.word2003.xml");
  EXPECT_EQ(0, word.result);
  EXPECT_EQ("Ann Author", Text(word.doc.author));
  EXPECT_EQ("Bob Editor", Text(word.doc.lastAuthor));
  EXPECT_EQ("Finance", Text(word.doc.subject));

  EXPECT_EQ("with dtd", Text(Xml("xml_plain_dtd.xml").doc.title));  // a DTD without entities is fine
}

TEST(XmlProperties, HostileAndMalformedDocumentsFail) {
  for (const char* leaf : {"xml_bomb.xml", "xml_external.xml", "xml_malformed.xml"}) {
    SCOPED_TRACE(leaf);
    zxsupport::DiagCapture diag;
    const scRead r = Xml(leaf);
    EXPECT_EQ(-1, r.result);
    EXPECT_TRUE(diag.AnyStartsWith(u"ERR: read() returned "));
    EXPECT_LT(r.seconds, 5.0);
  }
}

TEST(XmlProperties, ElementTable) {
  EXPECT_EQ(kXmlTitle, XmlElementTarget("DC:TITLE"));
  EXPECT_EQ(kXmlAuthor, XmlElementTarget("meta:initial-creator"));
  EXPECT_EQ(kXmlModified, XmlElementTarget("dc:date"));
  EXPECT_EQ(kXmlKeywords, XmlElementTarget("meta:keyword"));
  EXPECT_EQ(kXmlNone, XmlElementTarget("dc:language"));
}

TEST(XmlProperties, ComInitialisationFollowsTheSetting) {
  zxsupport::DiagCapture diag;
  {
    clsCOMInitialize com;
#if defined(_WIN32)
    if (clsCOMInitialize::ForcedModel() == 2) {
      EXPECT_TRUE(com.Initialized());
    }
#else
    EXPECT_FALSE(com.Initialized());  // no COM here
#endif
  }
  if (clsCOMInitialize::ForcedModel() == 2) {
    EXPECT_EQ(0u, diag.Size());
  }
}

// For odf_oracle.py: one line per file, "leaf|field|value", in UTF-8.
TEST(OdfOracle, Dump) {
  const char* out = std::getenv("ZXUT_ODF_DUMP");
  if (!out) GTEST_SKIP() << "run by odf_oracle.py";
  std::ofstream f(out, std::ios::binary);
  for (const char* leaf : {"real_writer.odt", "real_writer.docx", "real_calc.ods", "real_calc.xlsx",
                           "real_impress.odp", "real_impress.pptx"}) {
    const scRead r = Package(leaf);
    auto put = [&](const char* field, const std::string& value) { f << leaf << '|' << field << '|' << value << '\n'; };
    auto utf8 = [](const clsVariant& v) {
      const String t = v.Text();
      std::string bytes(static_cast<size_t>(t.Length()) * 3, '\0');
      bytes.resize(plat::WideToMultiByte(plat::kCpUtf8, 0, t.wchar(), static_cast<int>(t.Length()),
                                         bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr));
      return bytes;
    };
    put("result", std::to_string(r.result));
    put("title", utf8(r.doc.title));
    put("subject", utf8(r.doc.subject));
    put("author", utf8(r.doc.author));
    put("lastAuthor", utf8(r.doc.lastAuthor));
    put("keywords", utf8(r.doc.keywords));
    put("comments", utf8(r.doc.comments));
    put("created", Stamp(r.doc.created));
    put("lastSaved", Stamp(r.doc.lastSaved));
  }
}

}  // namespace
}  // namespace zx
