// Saving in the text format: byte for byte against golden files, the maskings,
// the empty profile, and the choice of the target file.
#include <gtest/gtest.h>

#include "file/File.h"
#include "prof/ItemList.h"
#include "platform/internal/file_faults.h"
#include "prof/ProfWriter.h"
#include "prof/Save.h"
#include "prof_test_util.h"
#include "support/support_test_util.h"

using namespace proftest;

namespace {

// The tree of the golden text_masking.prf.
void BuildMaskingTree(HPROFJOB job) {
  Set(job, nullptr, u"k=ey", u"v=1");
  Set(job, nullptr, u"[sec]", u"x");
  ProfAppendStringW(job, nullptr, W(u"dup"), W(u"1"));
  ProfAppendStringW(job, nullptr, W(u"dup"), W(u"2"));
  Set(job, nullptr, u"ctl", u"a\r\nb\tc\x01");
  Set(job, nullptr, u"tail", u"1 ");
  Set(job, nullptr, u"l1/l2/l3/l4/deep", u"\u2400");
}

}  // namespace

TEST(ProfSaveText, MatchesTheGoldenFiles) {
  Job example;
  Set(example, nullptr, u"a", u"1");
  Set(example, nullptr, u"b/c", u"2");
  Job masking;
  BuildMaskingTree(masking);
  struct Row {
    HPROFJOB job;
    const char* golden;
  };
  const Row rows[] = {{example, "text_example.prf"}, {masking, "text_masking.prf"}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.golden);
    EXPECT_EQ(Golden(r.golden), SavedBytes(r.job, PROF_FMT_TEXT));
  }
}

// The selector's low 4 bits choose the format; the other bits (but the
// compressed ones) are ignored.
TEST(ProfSaveText, TheSelectorPicksTheFormat) {
  Job job;
  Set(job, nullptr, u"a", u"1");
  struct Row {
    DWORD flags;
    const char* opening;   // the first bytes of the file
    size_t length;
  };
  static const Row kRows[] = {{0x00, "\xFF\xFE[\0/\0]\0", 8},    {0x100, "\xFF\xFE[\0/\0]\0", 8},
                              {0x20, "\xFF\xFE[\0/\0]\0", 8},    {0x01, "\xFF\xFE<\0?\0x\0", 8},
                              {0x03, "\xFF\xFE<\0?\0x\0", 8},     {0x0F, "\xFF\xFE<\0?\0x\0", 8},
                              {0x12, "<?xml version=\"1.0\" encoding=\"UTF-8\"", 36}};
  for (const Row& r : kRows) {
    SCOPED_TRACE(r.flags);
    EXPECT_EQ(std::string(r.opening, r.length), SavedBytes(job, r.flags).substr(0, r.length));
  }
}

// A nested list named "/" is an ordinary list in the text format.
TEST(ProfSaveText, ANestedListNamedSlashKeepsItsSection) {
  Job job;
  zx::clsItemList* inner = job->rootList.AppendNewList(u"/", 1);
  ASSERT_NE(nullptr, inner);
  Set(job, reinterpret_cast<HPROFLIST>(inner), u"v", u"1");
  EXPECT_EQ(zxsupport::Utf16LeBytes(u"\uFEFF[/]\r\n {\r\n [/]\r\n  {\r\n  v=1\r\n  }\r\n }\r\n"), SavedBytes(job, PROF_FMT_TEXT));
}

// An empty profile saves as an empty file in every format, also over an
// existing file; a profile that shrinks leaves no old tail behind.
TEST(ProfSaveText, AnEmptyProfileEmptiesTheFile) {
  for (DWORD flags : {PROF_FMT_TEXT, PROF_FMT_XML, PROF_FMT_XFDF}) {
    SCOPED_TRACE(flags);
    zxsupport::ScratchDir dir("prof_save");
    const auto path = dir / "old.prf";
    zxsupport::WriteBytes(path, std::string(5000, 'o'));
    Job job;
    EXPECT_EQ(PROF_OK, SaveTo(job, path, flags));
    EXPECT_EQ(0u, std::filesystem::file_size(path));
  }
  zxsupport::ScratchDir dir("prof_save");
  const auto path = dir / "shrink.prf";
  zxsupport::WriteBytes(path, std::string(5000, 'o'));
  Job job;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"b/c", u"2");
  EXPECT_EQ(PROF_OK, SaveTo(job, path, PROF_FMT_TEXT));
  EXPECT_EQ(Golden("text_example.prf"), zxsupport::ReadBytes(path));
}

// Where a save goes and when it refuses.
TEST(ProfSaveText, TheTargetAndTheRefusals) {
  zxsupport::ScratchDir dir("prof_save");
  Job job;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"b/c", u"2");
  EXPECT_EQ(PROF_OK, ProfSaveW(nullptr, W(u"x.prf"), 0));    // a null job reports success
  EXPECT_EQ(PROF_ERR_SAVE, ProfSaveW(job, nullptr, 0));        // no name anywhere
  EXPECT_EQ(PROF_ERR_SAVE, ProfSaveW(job, W(u"CON"), 0));      // a reserved device name

  // The job's own file name serves when no name is given.
  const auto named = dir / "named.prf";
  const std::u16string namedText = named.u16string();
  Job byName(ProfJobOpenW(W(namedText.c_str())));
  Set(byName, nullptr, u"a", u"1");
  Set(byName, nullptr, u"b/c", u"2");
  EXPECT_EQ(PROF_OK, ProfSaveW(byName, nullptr, PROF_FMT_TEXT));
  EXPECT_EQ(Golden("text_example.prf"), zxsupport::ReadBytes(named));

  // The narrow export converts the name.
  const auto narrow = dir / "narrow.prf";
  EXPECT_EQ(PROF_OK, ProfSaveA(job, narrow.string().c_str(), PROF_FMT_TEXT));
  EXPECT_EQ(Golden("text_example.prf"), zxsupport::ReadBytes(narrow));

  // The compressed form: 0x40 always, 0x80 only for a job that was loaded from it.
  const auto packed = dir / "packed.prf";
  EXPECT_EQ(PROF_OK, SaveTo(job, packed, PROF_FMT_TEXT | PROF_SAVE_COMPRESSED));
  EXPECT_EQ("PRZB", zxsupport::ReadBytes(packed).substr(0, 4));
  job->wasCompressed = false;
  EXPECT_EQ(PROF_OK, SaveTo(job, packed, PROF_FMT_TEXT | PROF_SAVE_KEEP_COMPRESSED));
  EXPECT_EQ(Golden("text_example.prf"), zxsupport::ReadBytes(packed));
  job->wasCompressed = true;
  EXPECT_EQ(PROF_OK, SaveTo(job, packed, PROF_FMT_TEXT | PROF_SAVE_KEEP_COMPRESSED));
  EXPECT_EQ("PRZB", zxsupport::ReadBytes(packed).substr(0, 4));
  job->wasCompressed = false;
}

// An exclusive job rewrites the file it holds open, for a null name or its own
// name in any case, and keeps holding it; another name is a file of its own.
TEST(ProfSaveText, AnExclusiveJobRewritesItsOwnFile) {
  zxsupport::ScratchDir dir("prof_save");
  const auto path = dir / "own.prf";
  zxsupport::WriteBytes(path, std::string(300, 'o'));
  Job job(ProfJobOpenExclusiveW(nullptr));
  auto* file = new zx::clsFileRW(zx::String(std::u16string_view(path.u16string())), 2, 1, 2, zx::kFileNormal);
  ASSERT_TRUE(file->IsOpen());
  job->file = file;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"b/c", u"2");
  EXPECT_EQ(PROF_OK, ProfSaveW(job, nullptr, PROF_FMT_TEXT));
  EXPECT_EQ(Golden("text_example.prf"), zxsupport::ReadBytes(path));
  EXPECT_TRUE(file->IsOpen());

  const std::u16string upper = (dir / "OWN.PRF").u16string();
  ProfDeleteItemW(job, nullptr, W(u"a"));
  EXPECT_EQ(PROF_OK, ProfSaveW(job, W(upper.c_str()), PROF_FMT_TEXT));
  EXPECT_EQ(zxsupport::Utf16LeBytes(u"\uFEFF[/]\r\n {\r\n [b]\r\n  {\r\n  c=2\r\n  }\r\n }\r\n"), zxsupport::ReadBytes(path));
  EXPECT_TRUE(file->IsOpen());

  const auto other = dir / "other.prf";
  EXPECT_EQ(PROF_OK, SaveTo(job, other, PROF_FMT_TEXT));
  EXPECT_EQ(zxsupport::ReadBytes(path), zxsupport::ReadBytes(other));
  job->file = nullptr;   // given back before the job ends
  delete file;
}

// The writer on a clsFile: the exact bytes over longer old content, -4 when the
// disk fills; a base level other than 0 writes no mark, header or trailer and
// starts the lines at that level.
TEST(ProfSaveText, WritingToAFile) {
  zxsupport::ScratchDir dir("prof_save");
  const auto path = dir / "w.prf";
  zxsupport::WriteBytes(path, std::string(4000, 'o'));
  Job job;
  Set(job, nullptr, u"a", u"1");
  Set(job, nullptr, u"b/c", u"2");
  {
    zx::clsFileRW f(zx::String(std::u16string_view(path.u16string())), 2, 1, 0, zx::kFileNormal);
    ASSERT_TRUE(f.IsOpen());
    EXPECT_EQ(0, zx::prof::WriteProfile(*job.operator->(), f, zx::prof::kFormatText));
    EXPECT_EQ(zx::prof::ProfileSize(*job.operator->(), zx::prof::kFormatText), f.GetSize());
    zxsupport::DiagCapture diag;
    plat::FileFaultPlan plan(10);
    EXPECT_EQ(-4, zx::prof::WriteProfile(*job.operator->(), f, zx::prof::kFormatXml));
  }
  job->baseLevel = 2;
  struct Row {
    int format;
    std::u16string text;
  };
  const Row rows[] = {
      {zx::prof::kFormatText, u"  [/]\r\n   {\r\n   a=1\r\n   [b]\r\n\t{\r\n\tc=2\r\n\t}\r\n   }\r\n"},
      {zx::prof::kFormatXml, u"  <item name=\"a\">1</item>\r\n  <list name=\"b\">\r\n"
                             u"   <item name=\"c\">2</item>\r\n  </list>\r\n"},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.format);
    std::string image;
    ASSERT_TRUE(zx::prof::SerializeProfile(*job.operator->(), r.format, image));
    EXPECT_EQ(zxsupport::Utf16LeBytes(r.text), image);
  }
  job->baseLevel = 0;
}
