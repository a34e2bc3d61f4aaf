// Opening: share modes (threads racing too), error kinds and texts, names, retries,
// delete-on-close, writes, the line of a failed open in developer mode.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "debug/DebugChannel.h"
#include "file/File.h"
#include "file_test_util.h"
#include "platform/clock.h"
#include "platform/errors.h"
#ifndef _WIN32
#include <unistd.h>
#endif

using namespace zx;
using ftest::Str;

namespace {

// Developer mode ("user" is "zrk") is read once: set before any test runs.
const bool kDeveloperModeSet = [] {
#ifdef _WIN32
  SetEnvironmentVariableW(L"user", L"zrk");
#else
  setenv("user", "zrk", 1);
#endif
  return true;
}();

struct Opening {
  uint32_t access, create, share;
};

struct ShareCase {
  Opening first, second;
  bool secondOpens;
};

// The same table holds on Windows, where the system's own share modes judge it.
const ShareCase kShareCases[] = {
    {{0, 0, 2}, {0, 0, 2}, true},    // two readers sharing reading
    {{0, 0, 2}, {1, 0, 2}, false},   // a writer against a reader that shares only reading
    {{0, 0, 3}, {1, 0, 3}, true},    // both share everything
    {{1, 1, 2}, {0, 0, 3}, true},    // read while others write
    {{1, 1, 2}, {0, 0, 2}, false},   // ... but not while denying them writing
    {{2, 0, 0}, {0, 0, 3}, false},   // exclusive writer
    {{0, 0, 0}, {0, 0, 3}, false},   // share value 0 is no sharing
    {{0, 0, 1}, {0, 0, 3}, false},   // and so is 1
    {{0, 0, 3}, {2, 0, 0}, false},   // the second one denies what the first has
    {{0, 0, 2}, {2, 2, 0}, false},   // create-always of a file in use keeps its data
};

// Counts the system opens; can fail them with a chosen error.
class CountingFile : public clsFileRW {
 public:
  int calls = 0;
  uint32_t failWith = 0;
  plat::FileHandle CreateHandle(const String& name, uint32_t access, uint32_t share, uint32_t disposition,
                                uint32_t flags) override {
    ++calls;
    lastFlags = flags;
    if (failWith) {
      plat::SetLastError(failWith);
      return plat::InvalidFile();
    }
    return clsFileRW::CreateHandle(name, access, share, disposition, flags);
  }
  uint32_t lastFlags = 0;
};

}  // namespace

TEST(FileOpen, ShareModesOfTwoOpensConflictAsOnWindows) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "shared.dat";
  for (const ShareCase& c : kShareCases) {
    zxsupport::WriteBytes(path, "0123456789");
    SCOPED_TRACE(testing::Message() << c.first.access << c.first.create << c.first.share << " then "
                                    << c.second.access << c.second.create << c.second.share);
    clsFile a(Str(path), c.first.access, c.first.create, c.first.share, 0x100);
    ASSERT_TRUE(a.IsOpen()) << a.GetLastErrorKind();
    clsFile b(Str(path), c.second.access, c.second.create, c.second.share, 0x100);
    EXPECT_EQ(c.secondOpens, b.IsOpen());
    if (!c.secondOpens) {
      EXPECT_EQ(32u, plat::LastError());
      EXPECT_EQ(kFileErrInUse, b.GetLastErrorKind());
      EXPECT_FALSE(b.GetLastErrorText().IsEmpty());
    }
    a.Close();   // frees the file for reading here (Windows) and for the second
    EXPECT_EQ("0123456789", zxsupport::ReadBytes(path));   // no open changed the file
    EXPECT_EQ(0, b.Open(Str(path), c.second.access, c.second.create, c.second.share, 0x100));
  }
}

TEST(FileShareThreads, RacingExclusiveOpensNeverBothSucceed) {
  zxsupport::ScratchDir dir;
  const String name = Str(dir / "race.dat");
  zxsupport::WriteBytes(dir / "race.dat", "x");
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> start{0};
    bool got[2] = {false, false};
    clsFile files[2];
    auto racer = [&](int i) {
      start.fetch_add(1);
      while (start.load() < 2) {
      }
      got[i] = files[i].Open(name, 2, 0, 0, 0x100) == 0;
    };
    std::thread a(racer, 0), b(racer, 1);
    a.join();
    b.join();
    ASSERT_FALSE(got[0] && got[1]) << "round " << round;
    for (int i = 0; i < 2; ++i) {
      if (!got[i]) {
        EXPECT_EQ(kFileErrInUse, files[i].GetLastErrorKind());
      }
    }
  }
}

TEST(FileOpen, MissingFileAndMissingFolderAreDifferentKindsAndWriteTheirLine) {
  ASSERT_TRUE(kDeveloperModeSet);
  ASSERT_TRUE(DeveloperMode());
  zxsupport::ScratchDir dir;
  zxsupport::DiagCapture diag;
  const String missing = Str(dir / "absent.txt");
  clsFile f(missing, 0, 0, 2, 0x102);
  EXPECT_FALSE(f.IsOpen());
  EXPECT_EQ(kFileErrOther, f.GetLastErrorKind());
  EXPECT_EQ(2u, plat::LastError());
  EXPECT_EQ(ftest::ErrorText(2), std::u16string(f.GetLastErrorText().View()));
  String expected(kFormat, u"clsFile::Open('%s') failed: '%s'", missing.wchar(), ftest::ErrorText(2).c_str());
  EXPECT_TRUE(diag.Contains(std::u16string(expected.View()))) << expected.narrow();

  EXPECT_EQ(-1, f.Open(Str(dir / "no" / "such" / "folder.txt"), 2, 2, 0, 0x102));
  EXPECT_EQ(kFileErrPath, f.GetLastErrorKind());
  EXPECT_EQ(3u, plat::LastError());
  EXPECT_FALSE(ftest::fs::exists(dir / "no"));
  // The kind survives Close until the next Open.
  f.Close();
  EXPECT_EQ(kFileErrPath, f.GetLastErrorKind());

  clsFile reserved(String(u"NUL"), 0, 0, 2, 0x100);
  EXPECT_TRUE(diag.Contains(u"clsFile::Open('NUL') failed: 'file name is reserved by Windows'"));
  const size_t before = diag.Lines().size();
  clsFile good(Str(dir / "made.txt"), 2, 2, 0, 0x100);
  EXPECT_TRUE(good.IsOpen());
  EXPECT_EQ(before, diag.Lines().size());   // a good open is silent

  clsFile c(Str(dir / "new.txt"), 0, 1, 2, 0x100);   // without write access: a warning, no failure
  EXPECT_TRUE(c.IsOpen());
  EXPECT_TRUE(diag.Contains(u"creating a file without write access does not make much sense"));
  EXPECT_TRUE(ftest::fs::exists(dir / "new.txt"));
}

TEST(FileOpen, AFolderOrAReadOnlyFileGivesNoAccess) {
  zxsupport::ScratchDir dir;
  ftest::fs::create_directory(dir / "folder");
  clsFile f(Str(dir / "folder"), 0, 0, 2, 0x100);
  EXPECT_FALSE(f.IsOpen());
  EXPECT_EQ(kFileErrAccess, f.GetLastErrorKind());
  EXPECT_EQ(5u, plat::LastError());

  const auto ro = dir / "readonly.txt";
  {
    clsFile make(Str(ro), 2, 2, 0, 0x400);
    ASSERT_TRUE(make.IsOpen());
    EXPECT_EQ(4u, make.WriteString("data"));
  }
  if (zxsupport::UnderWine()) GTEST_SKIP() << "wine runs as root, who writes into read-only files";
  clsFile w(Str(ro), 1, 0, 2, 0x100);
  EXPECT_FALSE(w.IsOpen());
  EXPECT_EQ(kFileErrAccess, w.GetLastErrorKind());
  EXPECT_EQ("data", zxsupport::ReadBytes(ro));
#ifdef _WIN32
  SetFileAttributesW(ro.wstring().c_str(), FILE_ATTRIBUTE_NORMAL);
#endif
}

TEST(FileOpen, ReservedNamesFailWithoutTouchingTheSystem) {
  zxsupport::ScratchDir dir;
  const struct {
    const char16_t* name;
    bool reserved;
  } cases[] = {{u"CON", true},   {u"NUL", true},   {u"COM1.txt", true}, {u"LPT9", true},   {u"AUX.log", true},
               {u"PRN.dat", true}, {u"name.", true}, {u"name ", true},    {u"a<b", true},    {u"what?", true},
               {u"", true},      {u"con.txt", false}, {u"LPT0", false}};   // lower case and LPT0 reach the system
  for (const auto& c : cases) {
#ifdef _WIN32
    if (!c.reserved) continue;   // the system itself maps con and lpt0 to devices
#endif
    SCOPED_TRACE(testing::Message() << String(c.name).narrow());
    CountingFile f;
    String full = Str(dir.path());
    full.Append(c.reserved ? u"\\" : u"/");
    full.Append(c.name);
    EXPECT_EQ(c.reserved ? -1 : 0, f.Open(full, 2, 2, 0, 0x100));
    EXPECT_EQ(c.reserved ? 0 : 1, f.calls);
    if (c.reserved) {
      EXPECT_EQ(kFileErrReserved, f.GetLastErrorKind());
      EXPECT_EQ(String(u"file name is reserved by Windows"), f.GetLastErrorText());
    } else {
      EXPECT_EQ(kFileErrNone, f.GetLastErrorKind());
      f.Close();
      EXPECT_TRUE(ftest::fs::exists(dir / String(c.name).narrow()));
    }
  }
  for (const char16_t* bad : {u"C:\\work\\PRN.dat", u"C:CON"}) EXPECT_FALSE(IsValidFileName(String(bad)));
  // Folders play no part.
  for (const char16_t* good : {u"C:\\CON\\file.txt", u"COM10", u"CONSOLE.txt", u"x.CON"})
    EXPECT_TRUE(IsValidFileName(String(good))) << String(good).narrow();
}

TEST(FileOpen, ThreeAttemptsAndPausesOnlyForTemporaryFiles) {
  zxsupport::ScratchDir dir;
  for (uint32_t error : {32u, 33u, 5u}) {
    for (uint32_t flags : {0x100u, 0x800u}) {
      plat::FakeClock clock;
      CountingFile f;
      f.failWith = error;
      EXPECT_EQ(-1, f.Open(Str(dir / "busy.dat"), 0, 0, 2, flags));
      EXPECT_EQ(3, f.calls);
      const bool pauses = (flags & 0x800) && error != 5;
      EXPECT_EQ(pauses ? 300u : 0u, clock.SleptTotal()) << error << " " << flags;
      EXPECT_EQ(error == 5 ? kFileErrAccess : kFileErrInUse, f.GetLastErrorKind());
      EXPECT_EQ(error, plat::LastError());   // left as the failure left it
    }
  }
  // A real conflict behaves the same.
  const auto path = dir / "held.dat";
  zxsupport::WriteBytes(path, "x");
  clsFile holder(Str(path), 2, 0, 0, 0x100);
  ASSERT_TRUE(holder.IsOpen());
  plat::FakeClock clock;
  CountingFile f;
  EXPECT_EQ(-1, f.Open(Str(path), 0, 0, 2, 0x800));
  EXPECT_EQ(3, f.calls);
  EXPECT_EQ(300u, clock.SleptTotal());
  EXPECT_EQ(plat::kAttrTemporary, f.lastFlags & plat::kAttrTemporary);
}

TEST(FileOpen, ErrorKindsOfTheClassification) {
  const struct {
    uint32_t error, kind;
  } cases[] = {{3, 1}, {15, 1}, {53, 1}, {55, 1}, {32, 2}, {33, 2}, {183, 3},
               {5, 4}, {19, 4}, {2, 5}, {0, 5}, {87, 5}, {184, 5}, {1117, 5}};
  for (const auto& c : cases) {
    CountingFile f;
    f.failWith = c.error;
    f.Open(String(u"anything.txt"), 0, 0, 2, 0);
    EXPECT_EQ(c.kind, f.GetLastErrorKind()) << c.error;
  }
}

TEST(FileOpen, FlagTranslationTable) {
  EXPECT_EQ(0u, TranslateFileFlags(0));
  EXPECT_EQ(plat::kFlagWriteThrough | plat::kFlagSequentialScan | plat::kFlagDeleteOnClose | plat::kFlagRandomAccess,
            TranslateFileFlags(0x00F));
  EXPECT_EQ(plat::kAttrNormal | plat::kAttrHidden | plat::kAttrReadOnly | plat::kAttrTemporary,
            TranslateFileFlags(0xF00));
  EXPECT_EQ(0u, TranslateFileFlags(0x0F0 | 0xF000));
}

TEST(FileOpen, DeleteOnCloseRemovesOnlyWhatWasOpen) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "scratch.tmp";
  clsFile f(Str(path), 2, 2, 0, 0x104);
  ASSERT_TRUE(f.IsOpen());
  EXPECT_EQ(3u, f.WriteString("abc"));
  f.Close();
  EXPECT_FALSE(ftest::fs::exists(path));

  // A failed open with the same flag leaves the other owner's file alone.
  zxsupport::WriteBytes(path, "theirs");
  clsFile owner(Str(path), 2, 0, 0, 0x100);
  ASSERT_TRUE(owner.IsOpen());
  clsFile g(Str(path), 2, 0, 0, 0x104);
  EXPECT_FALSE(g.IsOpen());
  g.Close();
  owner.Close();
  EXPECT_EQ("theirs", zxsupport::ReadBytes(path));
}

TEST(FileOpen, AnAdoptedHandleIsOwnedAndClosed) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "adopt.dat";
  plat::FileHandle h = plat::FileOpen(Str(path).wchar(), plat::kGenericRead | plat::kGenericWrite, 0,
                                      plat::kCreateAlways, plat::kAttrNormal);
  ASSERT_TRUE(plat::IsValidFile(h));
  {
    clsFileRW f(h);
    EXPECT_TRUE(f.Owned());
    EXPECT_EQ(5u, f.WriteString("hello"));
  }
  // Closed by the object: an exclusive open now succeeds.
  clsFile again(Str(path), 2, 0, 0, 0x100);
  EXPECT_TRUE(again.IsOpen());
  EXPECT_EQ(5u, again.GetSize());
}

TEST(FileWrite, AFullDiskGivesAShortCountAndTheLine) {
#ifdef _WIN32
  GTEST_SKIP() << "no device that is always full";
#else
  zxsupport::DiagCapture diag;
  clsFileRW f(String(u"/dev/full"), 1, 0, 3, 0x100);
  ASSERT_TRUE(f.IsOpen()) << f.GetLastErrorKind();
  EXPECT_EQ(0u, f.Write("data", 4));
  EXPECT_EQ(112u, plat::LastError());
  EXPECT_TRUE(diag.Contains(u"clsFile(/dev/full)::Write(): write failure... 0/4 (There is not enough space on the disk.)"));
  ULONG written = 7;
  EXPECT_EQ(plat::kS_FALSE, static_cast<IStream&>(f).Write("data", 4, &written));
  EXPECT_EQ(0u, written);
#endif
}

TEST(FileWrite, OffsetsWriteStringAndTheWideCount) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "w.bin";
  clsFileRW f(Str(path), 2, 2, 0, 0x100);
  ASSERT_TRUE(f.IsOpen());
  EXPECT_EQ(10u, f.WriteString("0123456789"));
  const int64_t at = 2;
  EXPECT_EQ(2u, f.Write("ab", 2, &at));
  EXPECT_EQ(4u, f.GetPos());
  const int64_t here = -1;
  EXPECT_EQ(1u, f.Write("Z", 1, &here));
  EXPECT_EQ(2u, f.WriteString(u"\u00e9x"));   // characters, 2 bytes each
  EXPECT_EQ(1u, f.WriteString(u"yz", 1));
  EXPECT_EQ(2u, f.WriteString("pq", 2));
  f.Close();
  EXPECT_EQ(std::string("01abZ\xe9\0x\0y\0pq", 13), zxsupport::ReadBytes(path));
  clsFile closed;
  EXPECT_EQ(0xFFFFFFFFu, closed.WriteString(u"x"));
  EXPECT_EQ(0u, closed.Write("x", 1));
  EXPECT_EQ(kAllOnes64, closed.GetSize());
  EXPECT_EQ(kAllOnes64, closed.GetPos());
  EXPECT_EQ(kAllOnes64, closed.SetPos(3));
}
