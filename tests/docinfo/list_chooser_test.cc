// Which reader reads a document: the shell properties first, compound files next,
// then the extension, and for any other extension the first four bytes; which
// readers may fail the document, and what a file of unknown kind gives.
#include <gtest/gtest.h>

#include "list_test_util.h"

using namespace zx;
using listtest::FakeReaders;
using listtest::Result;
using listtest::Str;
using Calls = std::vector<std::string>;

namespace {

class Chooser : public ::testing::Test {
 protected:
  // Reads `name` (written with `bytes`) through a list without cache; 1 or 0.
  int32_t Read(const std::string& name, const std::string& bytes, Result* result = nullptr) {
    zxsupport::WriteBytes(dir / name, bytes);
    clsDocuList list(0);
    return list.Get(Str(dir / name), result ? &result->data : nullptr, 5);
  }
  // The reader calls after the shell-properties try and the compound test.
  Calls FileReaders() {
    Calls c = readers.Calls();
    Calls out;
    for (const std::string& s : c)
      if (s != "shell" && s != "compound?") out.push_back(s);
    return out;
  }
  zxsupport::ScratchDir dir{"doclist_chooser"};
  FakeReaders readers;
};

TEST_F(Chooser, ShellPropertiesFirstThenCompoundFilesThenTheExtension) {
  readers.Answer("shell", 0);
  EXPECT_EQ(Read("a.pdf", "%PDF-1.4"), 1);
  EXPECT_EQ(readers.Calls(), (Calls{"shell"}));   // it succeeded: nothing else runs

  readers.Answer("shell", -1);
  readers.CompoundFile(true);
  readers.ClearCalls();
  EXPECT_EQ(Read("b.msg", "x"), 1);
  EXPECT_EQ(readers.Calls(), (Calls{"shell", "compound?", "compoundMail"}));
  readers.ClearCalls();
  EXPECT_EQ(Read("c.DOC", "x"), 1);
  EXPECT_EQ(readers.Calls(), (Calls{"shell", "compound?", "propertySet"}));

  // A compound reader that fails hands over to the extension (".msg": the mail reader).
  readers.Answer("compoundMail", -3);
  readers.ClearCalls();
  EXPECT_EQ(Read("d.msg", "x"), 1);
  EXPECT_EQ(readers.Calls(), (Calls{"shell", "compound?", "compoundMail", "mail"}));

  // Not a compound file: ".msg" goes to the mail reader as text.
  readers.CompoundFile(false);
  readers.ClearCalls();
  EXPECT_EQ(Read("e.msg", "From: x"), 1);
  EXPECT_EQ(readers.Calls(), (Calls{"shell", "compound?", "mail"}));
}

TEST_F(Chooser, ExtensionsInAnyCase) {
  const struct {
    const char* name;
    const char* reader;
  } cases[] = {{"a.tif", "tiff"},  {"a.JPG", "jpeg"}, {"a.jpeg", "jpeg"}, {"a.Pdf", "pdf"},  {"a.htm", "html"},
               {"a.HTML", "html"}, {"a.mht", "html"}, {"a.xml", "xml"},   {"a.rtf", "rtf"},  {"a.eml", "mail"},
               {"a.MSG", "mail"}};
  for (const auto& c : cases) {
    readers.ClearCalls();
    Result r;
    EXPECT_EQ(Read(c.name, "%PDF and anything"), 1) << c.name;
    EXPECT_EQ(FileReaders(), (Calls{c.reader})) << c.name;
    EXPECT_EQ(r.Text(listtest::kTitle), u"<vt 0>");   // r wasn't passed
  }
}

TEST_F(Chooser, OnlyTiffAndXmlMayFailTheDocument) {
  for (const char* reader : {"tiff", "jpeg", "pdf", "html", "xml", "rtf", "mail", "word2", "office", "wordPerfect"})
    readers.Answer(reader, -1);
  const struct {
    const char* name;
    int32_t want;
  } cases[] = {{"a.tif", 0}, {"a.xml", 0}, {"a.jpg", 1}, {"a.pdf", 1}, {"a.html", 1}, {"a.rtf", 1}, {"a.eml", 1}};
  for (const auto& c : cases) EXPECT_EQ(Read(c.name, "II*\0 not really"), c.want) << c.name;
  // Chosen by content, no reader fails the document: ".dat" with TIFF bytes.
  readers.ClearCalls();
  EXPECT_EQ(Read("x.dat", std::string("II*\0rest", 8)), 1);
  EXPECT_EQ(FileReaders(), (Calls{"tiff"}));
}

TEST_F(Chooser, ContentDecidesForOtherExtensions) {
  const struct {
    std::string bytes;
    const char* reader;   // null: none
  } cases[] = {
      {std::string("II*\0", 4), "tiff"},
      {std::string("\xDB\xA5\x2D\x00", 4), "word2"},
      {std::string("PK\x03\x04", 4), "office"},
      {std::string("\xFFWPC", 4), "wordPerfect"},
      {"%PDF-1.7", "pdf"},
      {std::string("\xFF\xD8\xFF\xE0", 4), "jpeg"},
      {std::string("\xFF\xD8\x00\x00", 4), "jpeg"},   // only the low 16 bits count
      {std::string("MM\0*", 4), nullptr},             // big-endian TIFF isn't in the table
      {"PK\x05\x06", nullptr},
      {"plain text", nullptr},
      {"", nullptr},
      {"%", nullptr},
      {"%P", nullptr},
      {"%PD", nullptr},   // three bytes: no reader, and still read
  };
  int i = 0;
  for (const auto& c : cases) {
    readers.ClearCalls();
    Result r;
    const std::string name = "doc" + std::to_string(i++) + ".bin";
    ASSERT_EQ(Read(name, c.bytes, &r), 1) << name;
    EXPECT_EQ(FileReaders(), c.reader ? Calls{c.reader} : Calls{}) << name;
    if (!c.reader) {
      // A file of unknown kind: exists, with its last-write time and nothing else.
      EXPECT_EQ(r.v[listtest::kLastSaved].vt, VT_DATE);
      EXPECT_GT(r.v[listtest::kLastSaved].date, 40000.0);
      EXPECT_EQ(r.v[listtest::kTitle].vt, VT_EMPTY);
      EXPECT_EQ(r.v[listtest::kCreated].vt, VT_DATE);
      EXPECT_EQ(r.v[listtest::kCreated].date, -109205.0);   // never set: file time 0, 1601-01-01
    }
  }
}

TEST_F(Chooser, NullEntriesCountAsRead) {
  readers.set() = scDocReaderSet{};   // a build without any reader
  readers.Install();
  EXPECT_EQ(Read("a.tif", "not a TIFF"), 1);
  EXPECT_EQ(Read("a.xml", "<x/>"), 1);
  EXPECT_EQ(Read("a.pdf", "%PDF"), 1);
  EXPECT_EQ(Read("a.bin", "II*"), 1);
}

// Every format of the build has its reader in its own entry.
TEST(DocReaderTable, EveryEntryHoldsItsReader) {
  const scDocReaderSet& r = DocReaders();
  EXPECT_EQ(r.shellProperties, &ReadShellProperties);
  EXPECT_EQ(r.isCompoundFile, &IsCompoundFile);
  EXPECT_EQ(r.compoundMail, &ReadCompoundMailInfo);
  EXPECT_EQ(r.propertySet, &ReadPropertySetInfo);
  EXPECT_EQ(r.tiff, &ReadTiffInfo);
  EXPECT_EQ(r.jpeg, &ReadJpegInfo);
  EXPECT_EQ(r.pdf, &ReadPdfInfo);
  EXPECT_EQ(r.html, &ReadHtmlInfo);
  EXPECT_EQ(r.xmlProperties, &ReadXmlProperties);
  EXPECT_EQ(r.rtf, &ReadRtfInfo);
  EXPECT_EQ(r.mail, &ReadMailInfo);
  EXPECT_EQ(r.word2, &ReadWord2Info);
  EXPECT_EQ(r.officePackage, &ReadOfficePackage);
  EXPECT_EQ(r.wordPerfect, &ReadWordPerfectInfo);
}

TEST_F(Chooser, TheBuildsReadersTreatUnknownBytesAsTheTableSays) {
  readers.set() = scDocReaderSet{};
  zx::SetDocReadersForTests(nullptr);   // the build's own table
  // Whatever this build has: a ".dat" of plain text is read and has no properties.
  Result r;
  EXPECT_EQ(Read("x.dat", "nothing to see", &r), 1);
  EXPECT_EQ(r.v[listtest::kTitle].vt, VT_EMPTY);
}

TEST_F(Chooser, MissingAndLockedFiles) {
  clsDocuList list(0);
  EXPECT_EQ(list.Get(Str(dir / "not there.pdf"), nullptr, 5), 0);
  EXPECT_EQ(list.Get(Str(dir / "no folder" / "x.pdf"), nullptr, 5), 0);
  EXPECT_EQ(list.Get(String(u""), nullptr, 5), 0);
  // A folder isn't a document.
  EXPECT_EQ(list.Get(Str(dir.path()), nullptr, 5), 0);
  EXPECT_TRUE(readers.Calls().empty());
}

}  // namespace
