// The file layer itself, the same tables on Linux and on Windows: the Windows
// build runs them against the system's own calls, so the Linux emulation of
// dispositions, share modes, range locks and error numbers is checked against
// the real thing.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/support_test_util.h"
#include "platform/errors.h"
#include "platform/file.h"

namespace {

namespace fs = std::filesystem;
using namespace plat;

constexpr uint32_t kRW = kGenericRead | kGenericWrite;
constexpr uint32_t kShareRW = kShareRead | kShareWrite;

// A folder of the test's own, its entries named as the file layer takes them.
struct Scratch : zxsupport::ScratchDir {
  Scratch() : ScratchDir("platfile") {}
  std::u16string operator/(const std::string& leaf) const { return (path() / leaf).u16string(); }
};

void Put(const std::u16string& path, const std::string& bytes) { zxsupport::WriteBytes(path, bytes); }
std::string Get(const std::u16string& path) { return zxsupport::ReadBytes(path); }

// An open handle closed at the end of the scope.
class Open {
 public:
  Open(const std::u16string& name, uint32_t access, uint32_t share, uint32_t disposition, uint32_t flags = kAttrNormal)
      : h_(FileOpen(name.c_str(), access, share, disposition, flags)), error_(LastError()) {}
  ~Open() {
    if (IsValidFile(h_)) FileClose(h_);
  }
  Open(const Open&) = delete;
  Open& operator=(const Open&) = delete;
  bool ok() const { return IsValidFile(h_); }
  uint32_t error() const { return error_; }
  FileHandle h() const { return h_; }

 private:
  FileHandle h_;
  uint32_t error_;
};

using zxsupport::UnderWine;

uint64_t SizeOf(FileHandle h) {
  uint64_t n = ~uint64_t{0};
  EXPECT_TRUE(FileSize(h, &n));
  return n;
}

}  // namespace

// Every disposition on a file that exists and on one that does not: whether the
// open succeeds, the error number it leaves, and what becomes of the old bytes.
TEST(PlatFile, DispositionsOnExistingAndMissingFiles) {
  struct Row {
    uint32_t disposition;
    bool exists;
    bool opens;
    uint32_t error;
    const char* bytesAfter;   // nullptr: the file is not there
  };
  static const Row kRows[] = {
      {kCreateNew, true, false, kErrFileExists, "old"},
      {kCreateNew, false, true, 0, ""},
      {kCreateAlways, true, true, kErrAlreadyExists, ""},
      {kCreateAlways, false, true, 0, ""},
      {kOpenExisting, true, true, 0, "old"},
      {kOpenExisting, false, false, kErrFileNotFound, nullptr},
      {kOpenAlways, true, true, kErrAlreadyExists, "old"},
      {kOpenAlways, false, true, 0, ""},
      {kTruncateExisting, true, true, 0, ""},
      {kTruncateExisting, false, false, kErrFileNotFound, nullptr},
  };
  for (const Row& r : kRows) {
    SCOPED_TRACE("disposition " + std::to_string(r.disposition) + (r.exists ? " existing" : " missing"));
    Scratch dir;
    const auto name = dir / "f.dat";
    if (r.exists) Put(name, "old");
    {
      plat::SetLastError(12345);
      Open f(name, kRW, 0, r.disposition);
      EXPECT_EQ(r.opens, f.ok());
      EXPECT_EQ(r.error, f.error());
      if (f.ok()) {
        EXPECT_EQ(std::string(r.bytesAfter).size(), SizeOf(f.h()));
      }
    }
    EXPECT_EQ(r.bytesAfter != nullptr, fs::exists(fs::path(name)));
    if (r.bytesAfter) {
      EXPECT_EQ(r.bytesAfter, Get(name));
    }
  }
}

// Names that cannot be opened, whatever the disposition.
TEST(PlatFile, BadNamesAndArguments) {
  Scratch dir;
  const auto missingFolder = dir / "no/such/f.dat";
  const auto folder = dir / "";
  for (uint32_t disposition : {kCreateNew, kCreateAlways, kOpenExisting, kOpenAlways, kTruncateExisting}) {
    SCOPED_TRACE("disposition " + std::to_string(disposition));
    Open inMissing(missingFolder, kRW, 0, disposition);
    EXPECT_FALSE(inMissing.ok());
    EXPECT_EQ(kErrPathNotFound, inMissing.error());
    Open empty(u"", kRW, 0, disposition);
    EXPECT_FALSE(empty.ok());
    EXPECT_EQ(kErrPathNotFound, empty.error());
  }
  for (uint32_t disposition : {0u, 6u}) {
    Open bad(dir / "f.dat", kRW, 0, disposition);
    EXPECT_FALSE(bad.ok());
    EXPECT_EQ(kErrInvalidParameter, bad.error());
  }
  EXPECT_FALSE(fs::exists(fs::path(dir / "f.dat")));
  Open aFolder(dir / "", kGenericRead, kShareRW, kOpenExisting);
  EXPECT_FALSE(aFolder.ok());
  EXPECT_EQ(kErrAccessDenied, aFolder.error());
  (void)folder;

  uint32_t done = 7;
  char c;
  plat::SetLastError(0);
  EXPECT_FALSE(FileRead(InvalidFile(), &c, 1, &done));
  EXPECT_EQ(kErrInvalidHandle, LastError());
  EXPECT_EQ(0u, done);
  plat::SetLastError(0);
  EXPECT_FALSE(FileWrite(InvalidFile(), &c, 1, &done));
  EXPECT_EQ(kErrInvalidHandle, LastError());
}

// A second open of a file that one open holds: it fails with 32 exactly when
// either one wants an access the other does not share. An open without data
// access takes part in no share test.
TEST(PlatFile, ShareModeConflictsBetweenTwoOpens) {
  static const uint32_t kAccesses[] = {0, kGenericRead, kGenericWrite, kRW};
  static const uint32_t kShares[] = {0, kShareRead, kShareWrite, kShareRW};
  Scratch dir;
  const auto name = dir / "shared.dat";
  Put(name, "data");
  int conflicts = 0;
  for (uint32_t a1 : kAccesses)
    for (uint32_t s1 : kShares)
      for (uint32_t a2 : kAccesses)
        for (uint32_t s2 : kShares) {
          auto reads = [](uint32_t a) { return (a & kGenericRead) != 0; };
          auto writes = [](uint32_t a) { return (a & kGenericWrite) != 0; };
          auto data = [](uint32_t a) { return a != 0; };
          const bool conflict =
              data(a1) && data(a2) &&
              ((reads(a2) && !(s1 & kShareRead)) || (writes(a2) && !(s1 & kShareWrite)) ||
               (reads(a1) && !(s2 & kShareRead)) || (writes(a1) && !(s2 & kShareWrite)));
          conflicts += conflict;
          SCOPED_TRACE("first " + std::to_string(a1 >> 30) + "/" + std::to_string(s1) + ", second " +
                       std::to_string(a2 >> 30) + "/" + std::to_string(s2));
          Open first(name, a1, s1, kOpenExisting);
          ASSERT_TRUE(first.ok());
          Open second(name, a2, s2, kOpenExisting);
          EXPECT_EQ(!conflict, second.ok());
          if (conflict) {
            EXPECT_EQ(kErrSharingViolation, second.error());
          }
        }
  EXPECT_GT(conflicts, 50);
  // A refused CREATE_ALWAYS or TRUNCATE_EXISTING leaves the bytes alone.
  Open holder(name, kGenericRead, kShareRead, kOpenExisting);
  for (uint32_t disposition : {kCreateAlways, kTruncateExisting}) {
    Open again(name, kGenericWrite, kShareRW, disposition);
    EXPECT_FALSE(again.ok());
    EXPECT_EQ(kErrSharingViolation, again.error());
  }
  EXPECT_EQ(4u, SizeOf(holder.h()));
}

TEST(PlatFile, AccessChecksOfReadAndWrite) {
  Scratch dir;
  const auto name = dir / "a.dat";
  Put(name, "abcdef");
  char buf[4];
  uint32_t done = 9;
  {
    Open readOnly(name, kGenericRead, kShareRW, kOpenExisting);
    plat::SetLastError(0);
    EXPECT_FALSE(FileWrite(readOnly.h(), "x", 1, &done));
    EXPECT_EQ(kErrAccessDenied, LastError());
    EXPECT_EQ(0u, done);
    plat::SetLastError(0);
    EXPECT_FALSE(FileSetEnd(readOnly.h()));
    // Windows refuses with 5; wine answers 87.
    EXPECT_EQ(UnderWine() ? kErrInvalidParameter : kErrAccessDenied, LastError());
  }
  {
    Open writeOnly(name, kGenericWrite, kShareRW, kOpenExisting);
    plat::SetLastError(0);
    EXPECT_FALSE(FileRead(writeOnly.h(), buf, 4, &done));
    EXPECT_EQ(kErrAccessDenied, LastError());
    EXPECT_EQ(0u, done);
  }
  EXPECT_EQ("abcdef", Get(name));
}

// Seeks: a negative result fails with 131 and leaves the position; past the end
// is allowed and a write there fills the gap with zeros; SetEnd cuts or grows.
TEST(PlatFile, SeekBeyondEndAndSetEnd) {
  Scratch dir;
  const auto name = dir / "s.dat";
  {
    Open f(name, kRW, 0, kCreateNew);
    ASSERT_TRUE(f.ok());
    uint32_t done = 0;
    ASSERT_TRUE(FileWrite(f.h(), "0123456789", 10, &done));
    EXPECT_EQ(10u, done);
    struct Row {
      int64_t distance;
      uint32_t method;
      bool ok;
      uint64_t position;   // afterwards
      uint32_t error;
    };
    static const Row kRows[] = {
        {4, kSeekBegin, true, 4, 0},          {-5, kSeekCurrent, false, 4, 131u}, {-4, kSeekCurrent, true, 0, 0},
        {-1, kSeekBegin, false, 0, 131u},      {-11, kSeekEnd, false, 0, 131u},    {-10, kSeekEnd, true, 0, 0},
        {5, kSeekEnd, true, 15, 0},           {3, 3, false, 15, kErrInvalidParameter},             {0, kSeekCurrent, true, 15, 0},
    };
    for (const Row& r : kRows) {
      SCOPED_TRACE(std::to_string(r.distance) + " from " + std::to_string(r.method));
      uint64_t at = 777;
      plat::SetLastError(0);
      EXPECT_EQ(r.ok, FileSeek(f.h(), r.distance, r.method, &at));
      if (r.ok) {
        EXPECT_EQ(r.position, at);
      }
      EXPECT_EQ(r.error, LastError());
      uint64_t now = 0;
      EXPECT_TRUE(FileSeek(f.h(), 0, kSeekCurrent, &now));
      EXPECT_EQ(r.position, now);
    }
    EXPECT_EQ(10u, SizeOf(f.h()));   // seeking alone does not grow the file
    ASSERT_TRUE(FileWrite(f.h(), "x", 1, &done));
    EXPECT_EQ(16u, SizeOf(f.h()));
    EXPECT_TRUE(FileSeek(f.h(), 3, kSeekBegin, nullptr));
    EXPECT_TRUE(FileSetEnd(f.h()));
    EXPECT_EQ(3u, SizeOf(f.h()));
    EXPECT_TRUE(FileSeek(f.h(), 8, kSeekBegin, nullptr));
    EXPECT_TRUE(FileSetEnd(f.h()));
    EXPECT_EQ(8u, SizeOf(f.h()));
    EXPECT_TRUE(FileFlush(f.h()));
  }   // no other reader while the open denies reading
  EXPECT_EQ(std::string("012\0\0\0\0\0", 8), Get(name));
}

// Range locks: another open's locked range refuses this one's locks (33) and its
// reads and writes (33); an unlock must name exactly a locked range (else 158).
TEST(PlatFile, RangeLocksAndUnlocks) {
  Scratch dir;
  const auto name = dir / "l.dat";
  Put(name, std::string(100, 'a'));
  Open one(name, kRW, kShareRW, kOpenExisting);
  Open two(name, kRW, kShareRW, kOpenExisting);
  ASSERT_TRUE(one.ok() && two.ok());
  ASSERT_TRUE(FileLockRange(one.h(), 10, 10));
  struct Row {
    bool byOne;   // else by the second open
    uint64_t offset, length;
    bool ok;
  };
  static const Row kLocks[] = {
      {false, 10, 10, false}, {false, 19, 5, false}, {false, 0, 11, false}, {false, 0, 10, true},
      {false, 20, 5, true},   {true, 15, 2, false},  {true, 50, 200, true},
  };
  for (const Row& r : kLocks) {
    SCOPED_TRACE(std::to_string(r.offset) + "+" + std::to_string(r.length) + (r.byOne ? " one" : " two"));
    plat::SetLastError(0);
    EXPECT_EQ(r.ok, FileLockRange((r.byOne ? one : two).h(), r.offset, r.length));
    EXPECT_EQ(r.ok ? 0u : kErrLockViolation, LastError());
  }
  // The locked bytes refuse the other open's reads and writes, not the holder's
  // (wine does not hold reads and writes to range locks: not asked there).
  char buf[5];
  uint32_t done = 9;
  if (!UnderWine()) {
    ASSERT_TRUE(FileSeek(two.h(), 12, kSeekBegin, nullptr));
    plat::SetLastError(0);
    EXPECT_FALSE(FileRead(two.h(), buf, 5, &done));
    EXPECT_EQ(kErrLockViolation, LastError());
    ASSERT_TRUE(FileSeek(two.h(), 12, kSeekBegin, nullptr));
    plat::SetLastError(0);
    EXPECT_FALSE(FileWrite(two.h(), "zz", 2, &done));
    EXPECT_EQ(kErrLockViolation, LastError());
  }
  ASSERT_TRUE(FileSeek(one.h(), 12, kSeekBegin, nullptr));
  EXPECT_TRUE(FileWrite(one.h(), "zz", 2, &done));

  struct Unlock {
    bool byOne;
    uint64_t offset, length;
    bool ok;
  };
  static const Unlock kUnlocks[] = {
      {true, 10, 5, false},  {true, 11, 9, false}, {true, 10, 11, false}, {false, 10, 10, false},
      {true, 30, 10, false}, {true, 10, 10, true}, {true, 10, 10, false}, {false, 0, 10, true},
  };
  for (const Unlock& u : kUnlocks) {
    SCOPED_TRACE("unlock " + std::to_string(u.offset) + "+" + std::to_string(u.length));
    plat::SetLastError(0);
    EXPECT_EQ(u.ok, FileUnlockRange((u.byOne ? one : two).h(), u.offset, u.length));
    // Windows answers 158 for a range that is not locked; wine answers 33.
    EXPECT_EQ(u.ok ? 0u : UnderWine() ? kErrLockViolation : 158u, LastError());
  }
  // Unlocked, the range is the second open's to take.
  EXPECT_TRUE(FileLockRange(two.h(), 10, 10));
  EXPECT_TRUE(FileUnlockRange(two.h(), 10, 10));
}

TEST(PlatFile, AttributesAndNames) {
  Scratch dir;
  const auto name = dir / "attr.dat";
  Put(name, "12345");
  FileInfo info;
  ASSERT_TRUE(FileInfoByName(name.c_str(), &info));
  EXPECT_EQ(5u, info.size);
  EXPECT_EQ(0u, info.attributes & (kAttrDirectory | kAttrReadOnly));
  EXPECT_NE(0u, info.lastWrite);
  const uint64_t now = FileTimeNow();
  EXPECT_LT(info.lastWrite, now + 10'000'000u);
  EXPECT_GT(info.lastWrite, now - 3600 * 10'000'000ull);
  ASSERT_TRUE(FileInfoByName((dir / "").c_str(), &info));
  EXPECT_NE(0u, info.attributes & kAttrDirectory);
  ASSERT_TRUE(FileInfoByFind((dir / "at*.dat").c_str(), &info));
  EXPECT_EQ(5u, info.size);

  struct Missing {
    std::u16string name;
    uint32_t byName;
  };
  const Missing kMissing[] = {{dir / "none.dat", kErrFileNotFound}, {dir / "no/none.dat", kErrPathNotFound}};
  for (const Missing& m : kMissing) {
    plat::SetLastError(0);
    EXPECT_FALSE(FileInfoByName(m.name.c_str(), &info));
    EXPECT_EQ(m.byName, LastError());
    plat::SetLastError(0);
    EXPECT_FALSE(RemoveFile(m.name.c_str()));
    EXPECT_EQ(m.byName, LastError());
  }
  plat::SetLastError(0);
  EXPECT_FALSE(FileInfoByFind((dir / "zz*.dat").c_str(), &info));
  EXPECT_EQ(kErrFileNotFound, LastError());

  {
    Open ro(dir / "ro.dat", kRW, 0, kCreateNew, kAttrReadOnly);
    ASSERT_TRUE(ro.ok());
    uint32_t done = 0;
    EXPECT_TRUE(FileWrite(ro.h(), "x", 1, &done));   // the creator may still write
  }
  ASSERT_TRUE(FileInfoByName((dir / "ro.dat").c_str(), &info));
  EXPECT_NE(0u, info.attributes & kAttrReadOnly);
  // The read-only attribute refuses writers, a privileged user too (wine, run as
  // root, lets root write: it is not asked there).
  if (!UnderWine()) {
    Open again(dir / "ro.dat", kGenericWrite, kShareRW, kOpenExisting);
    EXPECT_FALSE(again.ok());
    EXPECT_EQ(kErrAccessDenied, again.error());
  }

  plat::SetLastError(0);
  EXPECT_FALSE(MakeFolder((dir / "").c_str()));
  EXPECT_EQ(kErrAlreadyExists, LastError());
  EXPECT_TRUE(MakeFolder((dir / "sub").c_str()));
  plat::SetLastError(0);
  EXPECT_FALSE(RemoveFile((dir / "sub").c_str()));
  EXPECT_EQ(kErrAccessDenied, LastError());
  EXPECT_TRUE(RemoveFile(name.c_str()));
  EXPECT_FALSE(fs::exists(fs::path(name)));
}

TEST(PlatFile, DeleteOnCloseRemovesTheFile) {
  Scratch dir;
  const auto name = dir / "gone.dat";
  {
    Open f(name, kRW, kShareRW | kShareDelete, kCreateNew, kAttrNormal | kFlagDeleteOnClose);
    ASSERT_TRUE(f.ok());
    EXPECT_TRUE(fs::exists(fs::path(name)));
  }
  EXPECT_FALSE(fs::exists(fs::path(name)));
}
