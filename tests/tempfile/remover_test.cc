// clsTempFileRemover: deletion with its grace period, held files deleted once
// released, names that are gone, the activity file, and the sweep across runs that
// never leaves the product's folder.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "tempfile_test_util.h"
#include "tempfile/TempFileRemover.h"

using namespace zx;
namespace fs = std::filesystem;

namespace {

String Name(const fs::path& p) { return String(std::u16string_view(zxsupport::U16(p.string()))); }

// Sets a file's last write `age` into the past.
void Age(const fs::path& p, std::chrono::minutes age) {
  fs::last_write_time(p, fs::file_time_type::clock::now() - age);
}

// Waits (really) until `done` holds, at most 10 s.
template <class F>
bool Eventually(F done) {
  for (int i = 0; i < 1000; ++i) {
    if (done()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return done();
}

// Names that refuse deletion with a sharing violation while held, as an open file
// does on Windows.
std::mutex g_heldLock;
std::set<std::u16string> g_held;
std::atomic<int> g_refusals{0};
bool RemoveUnlessHeld(const char16_t* name) {
  {
    std::lock_guard<std::mutex> guard(g_heldLock);
    if (g_held.count(name)) {
      ++g_refusals;
      plat::SetLastError(plat::kErrSharingViolation);
      return false;
    }
  }
  return plat::RemoveFile(name);
}

scTempFileRemoverSeams FastSeams() {
  scTempFileRemoverSeams s;
  s.firstWaitMs = 0;
  s.passWaitUnitMs = 1;
  s.removeFile = &RemoveUnlessHeld;
  return s;
}

class RemoverTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directory(product_); }
  zxsupport::ScratchDir dir_{"remover"};
  zxsupport::ScopedTempFolder temp_{dir_.path()};
  fs::path product_ = dir_.path() / "zarnik";
};

TEST_F(RemoverTest, DeletesOldFilesKeepsYoungOnesForLater) {
  const fs::path old = product_ / "_22_old.tmp", young = product_ / "_22_young.tmp";
  zxsupport::WriteBytes(old, "x");
  zxsupport::WriteBytes(young, "y");
  Age(old, std::chrono::minutes(1));
  clsTempFileRemover remover(FastSeams());
  remover.Add(Name(old));
  remover.Add(Name(young));
  EXPECT_TRUE(Eventually([&] { return !fs::exists(old); }));
  // Written a moment ago: inside the 10 seconds of grace, it stays listed.
  EXPECT_TRUE(fs::exists(young));
  ASSERT_EQ(remover.PendingNames().size(), 1u);
  Age(young, std::chrono::minutes(1));
  EXPECT_TRUE(Eventually([&] { return !fs::exists(young); }));
  EXPECT_TRUE(Eventually([&] { return remover.PendingNames().empty(); }));
}

TEST_F(RemoverTest, AHeldFileGoesOnceReleased) {
  const fs::path held = product_ / "_22_held.tmp";
  zxsupport::WriteBytes(held, "x");
  Age(held, std::chrono::minutes(1));
  {
    std::lock_guard<std::mutex> guard(g_heldLock);
    g_held.insert(zxsupport::U16(held.string()));
  }
  g_refusals = 0;
  clsTempFileRemover remover(FastSeams());
  remover.Add(Name(held));
  ASSERT_TRUE(Eventually([] { return g_refusals >= 3; }));   // tried again and again
  EXPECT_TRUE(fs::exists(held));
  {
    std::lock_guard<std::mutex> guard(g_heldLock);
    g_held.clear();
  }
  EXPECT_TRUE(Eventually([&] { return !fs::exists(held); }));
}

TEST_F(RemoverTest, ReadOnlyFilesAreDeletedAndMissingOnesReportedAtTheEnd) {
  const fs::path ro = product_ / "_22_ro.tmp";
  zxsupport::WriteBytes(ro, "x");
  Age(ro, std::chrono::minutes(1));
  ASSERT_TRUE(plat::SetAttributesByName(zxsupport::U16(ro.string()).c_str(), plat::kAttrReadOnly));
  zxsupport::DiagCapture capture;
  {
    clsTempFileRemover remover(FastSeams());
    remover.Add(Name(ro));
    remover.Add(Name(product_ / "_22_never.tmp"));
    EXPECT_TRUE(Eventually([&] { return !fs::exists(ro); }));
    // A name that isn't there can't be read: it stays until the remover ends.
    EXPECT_EQ(remover.PendingNames().size(), 1u);
  }
  EXPECT_TRUE(capture.Contains(u"_22_never.tmp' is gone!")) << zxsupport::Ascii(capture.Lines().empty() ? u"" : capture.Lines().back());
}

TEST_F(RemoverTest, DeleteTempFileKeepsTheSystemError) {
  scTempFileRemoverSeams seams = FastSeams();
  EXPECT_FALSE(clsTempFileRemover::DeleteTempFile(Name(product_ / "absent"), seams));
  EXPECT_EQ(plat::LastError(), plat::kErrFileNotFound);
  const fs::path f = product_ / "_22_f.tmp";
  zxsupport::WriteBytes(f, "x");
  {
    std::lock_guard<std::mutex> guard(g_heldLock);
    g_held.insert(zxsupport::U16(f.string()));
  }
  EXPECT_FALSE(clsTempFileRemover::DeleteTempFile(Name(f), seams));
  EXPECT_EQ(plat::LastError(), plat::kErrSharingViolation);
  {
    std::lock_guard<std::mutex> guard(g_heldLock);
    g_held.clear();
  }
  EXPECT_TRUE(clsTempFileRemover::DeleteTempFile(Name(f), seams));
  EXPECT_FALSE(fs::exists(f));
}

TEST_F(RemoverTest, ActivityFileIsKeptFresh) {
  const fs::path activity = product_ / "_22_activity.signal";
  clsTempFileRemover remover(FastSeams());
  EXPECT_EQ(std::u16string(remover.ActivityFile().View()), zxsupport::U16((product_.string() + "\\_22_activity.signal")));
  EXPECT_TRUE(remover.ThreadWasStarted());
  ASSERT_TRUE(Eventually([&] { return fs::exists(activity) && fs::file_size(activity) > 0; }));
  Age(activity, std::chrono::minutes(30));
  EXPECT_TRUE(Eventually([&] {
    return fs::last_write_time(activity) > fs::file_time_type::clock::now() - std::chrono::minutes(1);
  }));
  // UTF-16 text without a mark: a weekday name and the year.
  const std::u16string text = zxsupport::FromUtf16LeBytes(zxsupport::ReadBytes(activity));
  EXPECT_NE(text.find(u"day, 2"), std::u16string::npos) << zxsupport::Ascii(text);
}

TEST_F(RemoverTest, WithoutTheProductFolderTheThreadWaitsForTheFirstName) {
  fs::remove(product_);
  zxsupport::DiagCapture capture;
  clsTempFileRemover remover(FastSeams());
  EXPECT_TRUE(remover.ActivityFile().IsEmpty());
  EXPECT_FALSE(remover.ThreadWasStarted());
  EXPECT_TRUE(capture.Contains(u"does not exist"));
  const fs::path f = dir_ / "elsewhere.tmp";
  zxsupport::WriteBytes(f, "x");
  Age(f, std::chrono::minutes(1));
  remover.Add(Name(f));
  EXPECT_TRUE(remover.ThreadWasStarted());
  EXPECT_TRUE(Eventually([&] { return !fs::exists(f); }));
  fs::create_directory(product_);   // made later: still no activity file for this remover
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_FALSE(fs::exists(product_ / "_22_activity.signal"));
}

// Plants files of old runs and files that must survive, in the folder and beside it.
struct Planted {
  explicit Planted(const fs::path& product, const fs::path& beside) {
    for (const char* n : {"_22_old.tmp", "_22_old2.dat"}) Plant(product / n, 120, true);
    Plant(product / "_22_recent.tmp", 30, false);
    Plant(product / "_22_x.SIGNAL", 600, false);
    Plant(product / "_21_other.tmp", 600, false);
    Plant(product / "other.tmp", 600, false);
    Plant(beside / "_22_beside.tmp", 600, false);
  }
  void Plant(const fs::path& p, int minutes, bool goes) {
    zxsupport::WriteBytes(p, "x");
    Age(p, std::chrono::minutes(minutes));
    (goes ? going : staying).push_back(p);
  }
  std::vector<fs::path> going, staying;
};

TEST_F(RemoverTest, SweepTakesOnlyOldFilesOfThisVersionInTheProductFolder) {
  const fs::path activity = product_ / "_22_activity.signal";
  zxsupport::WriteBytes(activity, "x");
  Age(activity, std::chrono::minutes(4 * 60));   // nobody was active for four hours
  Planted planted(product_, dir_.path());
  {
    clsTempFileRemover remover(FastSeams());
    ASSERT_TRUE(Eventually([&] { return !fs::exists(planted.going.back()); }));
  }
  for (const auto& p : planted.going) EXPECT_FALSE(fs::exists(p)) << p;
  for (const auto& p : planted.staying) EXPECT_TRUE(fs::exists(p)) << p;
  EXPECT_TRUE(fs::exists(activity));
}

TEST_F(RemoverTest, NoSweepWhileAnotherRunIsActive) {
  const fs::path activity = product_ / "_22_activity.signal";
  zxsupport::WriteBytes(activity, "x");
  Age(activity, std::chrono::minutes(2 * 60));   // active two hours ago: too recent
  Planted planted(product_, dir_.path());
  {
    clsTempFileRemover remover(FastSeams());
    ASSERT_TRUE(Eventually([&] {
      return fs::last_write_time(activity) > fs::file_time_type::clock::now() - std::chrono::minutes(1);
    }));
  }
  for (const auto& p : planted.going) EXPECT_TRUE(fs::exists(p)) << p;
}

// The wall clock of the remover's seam: the real one plus what a test adds.
std::atomic<uint64_t> g_wallAhead{0};   // FILETIME units
uint64_t WallAhead() { return plat::FileTimeNow() + g_wallAhead.load(); }

TEST_F(RemoverTest, TheSweepComesBackOnlyAfterADay) {
  // The sweep interval runs on the fake tick; the idle test on the seam's wall
  // clock, which the test puts four hours ahead: the activity file, touched with
  // the real time on every pass, then looks stale to every pass without a race
  // against those touches.
  plat::FakeClock clock;
  g_wallAhead = 0;
  scTempFileRemoverSeams seams = FastSeams();
  seams.systemTime = &WallAhead;
  const fs::path activity = product_ / "_22_activity.signal";
  clsTempFileRemover remover(seams);
  // The activity file appears after the first pass's sweep: the next one is a day away.
  ASSERT_TRUE(Eventually([&] { return fs::exists(activity); }));
  g_wallAhead = 4ull * 3600 * 10000000;
  const fs::path old = product_ / "_22_late.tmp";
  zxsupport::WriteBytes(old, "x");
  Age(old, std::chrono::minutes(120));
  // A held name counts the passes: each refuses it once.
  const fs::path held = product_ / "_22_counter.tmp";
  zxsupport::WriteBytes(held, "h");
  {
    std::lock_guard<std::mutex> guard(g_heldLock);
    g_held.insert(zxsupport::U16(held.string()));
  }
  remover.Add(Name(held));
  // Two passes whose sweep test came after the setup, and one more for good
  // measure. The fake tick moves a second before each (far from a day): where
  // the thread's wait runs on that tick (Windows), a pass needs it to end.
  for (int pass = 0; pass < 3; ++pass) {
    const int before = g_refusals;
    clock.Advance(1000);
    ASSERT_TRUE(Eventually([&] { return g_refusals > before; })) << "pass " << pass;
  }
  EXPECT_TRUE(fs::exists(old)) << "swept again before a day had passed";
  clock.Advance(86400000 + 1);
  EXPECT_TRUE(Eventually([&] { return !fs::exists(old); }));
  EXPECT_TRUE(fs::exists(activity));
  {
    std::lock_guard<std::mutex> guard(g_heldLock);
    g_held.clear();
  }
  g_wallAhead = 0;
}

}  // namespace
