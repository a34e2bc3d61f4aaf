// Region locks: conflicts (33), the 10-second retry on a test clock, the lock list.
#include <gtest/gtest.h>

#include <atomic>

#include "file/File.h"
#include "file_test_util.h"
#include "platform/clock.h"
#include "platform/errors.h"

using namespace zx;
using ftest::Str;

namespace {

// Every sleep, a yield included, takes at least 1 ms: retry loops end in a few thousand steps.
class SteppingClock {
 public:
  SteppingClock() {
    plat::ClockHooks h{&Tick, &Sleep, this};
    plat::SetClockHooks(&h);
  }
  ~SteppingClock() { plat::SetClockHooks(nullptr); }
  uint64_t Now() const { return now_; }
  uint64_t Sleeps() const { return sleeps_; }

 private:
  static uint64_t Tick(void* ctx) { return static_cast<SteppingClock*>(ctx)->now_; }
  static void Sleep(uint32_t ms, void* ctx) {
    auto* c = static_cast<SteppingClock*>(ctx);
    c->now_ += ms ? ms : 1;
    ++c->sleeps_;
  }
  std::atomic<uint64_t> now_{5000000};
  std::atomic<uint64_t> sleeps_{0};
};

// A scratch file of 100 bytes.
class FileLock : public ::testing::Test {
 protected:
  void SetUp() override { zxsupport::WriteBytes(path, std::string(100, 'x')); }
  zxsupport::ScratchDir dir;
  const ftest::fs::path path = dir / "locked.dat";
};

}  // namespace

TEST_F(FileLock, OverlappingRangesOfTwoOpensConflictWith33) {
  clsFile a(Str(path), 2, 0, 3, 0x100);
  clsFile b(Str(path), 0, 0, 3, 0x100);
  ASSERT_TRUE(a.IsOpen() && b.IsOpen());
  const struct {
    bool onA, unlock;
    uint64_t at, len;
    bool ok;
  } steps[] = {
      {true, false, 10, 20, true},   {false, false, 25, 10, false}, {false, false, 0, 11, false},
      {false, false, 30, 10, true},  {false, false, 0, 10, true},   // adjacent is free
      {true, false, 15, 1, false},                                  // the same handle cannot lock twice either
      {true, true, 10, 5, false},                                   // only whole ranges unlock
      {true, true, 10, 20, true},    {false, false, 10, 20, true},
      {true, false, 0x100000000ull, 0x10, true},                    // past 4 GB: 64-bit offsets
      {false, false, 0x100000008ull, 1, false},  {false, false, 0x0FFFFFFF0ull, 0x10, true},
  };
  for (const auto& s : steps) {
    SCOPED_TRACE(testing::Message() << (s.onA ? "a " : "b ") << (s.unlock ? "unlock " : "lock ") << s.at);
    const plat::FileHandle h = s.onA ? a.Handle() : b.Handle();
    EXPECT_EQ(s.ok, s.unlock ? plat::FileUnlockRange(h, s.at, s.len) : plat::FileLockRange(h, s.at, s.len));
    if (!s.ok && !s.unlock) {
      EXPECT_EQ(33u, plat::LastError());
    }
  }
}

TEST_F(FileLock, ALockedRangeRefusesTheReadsAndWritesOfOtherOpens) {
  clsFileRW owner(Str(path), 2, 0, 3, 0x100);
  clsFileRW other(Str(path), 2, 0, 3, 0x100);
  ASSERT_TRUE(owner.IsOpen() && other.IsOpen());
  ASSERT_TRUE(plat::FileLockRange(owner.Handle(), 40, 20));
  char buf[16] = {};
  uint32_t done = 99;
#ifndef _WIN32   // wine does not enforce these locks reliably
  other.SetPos(30);
  EXPECT_FALSE(plat::FileRead(other.Handle(), buf, 16, &done)) << "30..45 reaches into 40..59";
  EXPECT_EQ(33u, plat::LastError());
  EXPECT_EQ(done, 0u);
  other.SetPos(55);
  EXPECT_FALSE(plat::FileWrite(other.Handle(), "yy", 2, &done));
  EXPECT_EQ(33u, plat::LastError());
#endif
  other.SetPos(60);   // right behind the range
  EXPECT_TRUE(plat::FileWrite(other.Handle(), "zz", 2, &done));
  other.SetPos(0);
  EXPECT_TRUE(plat::FileRead(other.Handle(), buf, 16, &done));
  EXPECT_EQ(done, 16u);
  // The owner itself reads and writes its range.
  owner.SetPos(45);
  EXPECT_TRUE(plat::FileWrite(owner.Handle(), "ok", 2, &done));
  ASSERT_TRUE(plat::FileUnlockRange(owner.Handle(), 40, 20));
  other.SetPos(30);
  EXPECT_TRUE(plat::FileRead(other.Handle(), buf, 16, &done));
  EXPECT_EQ(std::string(buf, 16), std::string(15, 'x') + "o");
}

TEST_F(FileLock, LockRetriesForTenSecondsThenGivesUp) {
  clsFile a(Str(path), 2, 0, 3, 0x100);
  clsFile b(Str(path), 2, 0, 3, 0x100);
  scFileLock* held = a.Lock(0, 50);
  ASSERT_NE(nullptr, held);
  {
    SteppingClock clock;
    const uint64_t start = clock.Now();
    EXPECT_EQ(nullptr, b.Lock(40, 20));
    const uint64_t waited = clock.Now() - start;
    EXPECT_GE(waited, 10000u);
    EXPECT_LT(waited, 10200u);
    EXPECT_EQ(nullptr, b.LockListHead());
  }
  {
    // A free range is taken at the first attempt, without idling.
    SteppingClock clock;
    scFileLock* got = b.Lock(50, 10);
    ASSERT_NE(nullptr, got);
    EXPECT_EQ(0u, clock.Sleeps());
    b.Unlock(got);
  }
  a.Unlock(held);
  EXPECT_EQ(nullptr, a.LockListHead());
  scFileLock* now = b.Lock(40, 20);
  ASSERT_NE(nullptr, now);
  b.Unlock(now);
}

TEST_F(FileLock, TheListKeepsOrderAndReportsDoubleUnlocks) {
  zxsupport::DiagCapture diag;
  {
    clsFile f(Str(path), 2, 0, 0, 0x100);
    scFileLock* l1 = f.Lock(0, 10);
    scFileLock* l2 = f.Lock(10, 10);
    scFileLock* l3 = f.Lock(20, 10);
    ASSERT_TRUE(l1 && l2 && l3);
    EXPECT_EQ(l1, f.LockListHead());
    EXPECT_EQ(l2, l1->next);
    EXPECT_EQ(l3, l2->next);
    EXPECT_EQ(l2, l3->prev);
    f.Unlock(l2);
    EXPECT_EQ(l3, l1->next);
    EXPECT_EQ(l1, l3->prev);
    EXPECT_EQ(0u, diag.Count(u"tried to unlock"));
    f.Unlock(l2);
    EXPECT_EQ(1u, diag.Count(u"tried to unlock a lock that has already been removed (or has never existed)"));
    EXPECT_TRUE(diag.Contains(u"\nFile '"));
    f.Unlock(nullptr);
  }   // l1 and l3 remain: the destructor reports and releases them
  EXPECT_EQ(1u, diag.Count(u"are still locked. they will be unlocked automatically..."));
  clsFile g(Str(path), 2, 0, 0, 0x100);
  scFileLock* all = g.Lock(0, 100);
  EXPECT_NE(nullptr, all);
  g.Unlock(all);
  clsFile closed;
  EXPECT_EQ(nullptr, closed.Lock(0, 1));
}
