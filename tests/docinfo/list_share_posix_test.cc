// Documents on network shares: a network mount of the mount-table seam stands for
// \\server\share. Reads run on a worker bounded by the share time-out, a share
// that can't be seen is remembered for the process, and the worker list stays
// bounded without the list's thread too.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <thread>
#include <unistd.h>

#include "docinfo/DocuAsync.h"
#include "docinfo/UnreachableShares.h"
#include "list_test_util.h"
#include "platform/clock.h"
#include "platform/internal/mount_table.h"

using namespace zx;
using listtest::FakeReaders;
using listtest::Result;
using listtest::Str;

namespace {

// Workers reading a path with "hang" in it wait here until the gate opens.
std::mutex g_gateLock;
std::condition_variable g_gateChanged;
bool g_gateOpen = true;
int g_blocked = 0;

void Gate(const String& path) {
  if (path.View().find(u"hang") == std::u16string_view::npos) return;
  std::unique_lock<std::mutex> l(g_gateLock);
  ++g_blocked;
  g_gateChanged.notify_all();
  g_gateChanged.wait(l, [] { return g_gateOpen; });
  --g_blocked;
}

void SetGate(bool open) {
  std::lock_guard<std::mutex> l(g_gateLock);
  g_gateOpen = open;
  g_gateChanged.notify_all();
}

// A share \\srv<n>\docs mounted on a scratch folder, the seam's table while it lives.
class Share : public ::testing::Test {
 protected:
  Share() : server("srv" + std::to_string(getpid()) + "x" + std::to_string(++counter)) {
    const std::string table = "36 25 0:50 / " + dir.path().string() + " rw - cifs //" + server + "/docs rw\n";
    plat::internal::SetMountInfoForTests(&table);
    clsDocuAsync::SetBeforeReadHookForTests(&Gate);
  }
  ~Share() override {
    SetGate(true);
    clsDocuAsync::SetBeforeReadHookForTests(nullptr);
    plat::internal::SetMountInfoForTests(nullptr);
  }
  std::u16string Unc() const { return listtest::U16("\\\\" + server + "\\docs"); }
  int32_t UtilShare() const { return clsDocuList::ShareAccessibility((Unc() + u"\\a.pdf").c_str()); }
  // Waits (real time) until every worker of the list has ended and was collected.
  static void DrainWorkers(clsDocuList& list) {
    for (int i = 0; i < 500 && list.WorkerCount() > 0; ++i) {
      list.ReloadPass();
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(list.WorkerCount(), 0);
  }

  static int counter;
  zxsupport::ScratchDir dir{"doclist_share"};
  std::string server;
  FakeReaders readers;
};
int Share::counter = 0;

TEST_F(Share, ADocumentOnAShareIsReadByAWorker) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF");
  clsDocuList list(0);
  Result r;
  ASSERT_EQ(list.Get(Str(dir / "a.pdf"), &r.data, 5), 1);
  EXPECT_EQ(r.Text(listtest::kTitle), u"pdf");
  EXPECT_EQ(r.Text(listtest::kResolvedPath), (dir / "a.pdf").u16string());   // the local path
  EXPECT_EQ(list.WorkerCount(), 1);
  // The share's own name works as well: it maps back to the mount.
  ASSERT_EQ(list.Get(String(std::u16string_view(Unc() + u"\\a.pdf")), &r.data, 5), 1);
  EXPECT_EQ(r.Text(listtest::kResolvedPath), (dir / "a.pdf").u16string());
  EXPECT_EQ(UtilShare(), 1);
  DrainWorkers(list);
}

TEST_F(Share, AShareThatDoesNotAnswerCostsTheTimeOutAndIsThenRemembered) {
  zxsupport::WriteBytes(dir / "hang.pdf", "%PDF");
  zxsupport::WriteBytes(dir / "b.pdf", "%PDF");
  clsDocuList list(60);
  ASSERT_EQ(list.Get(Str(dir / "b.pdf"), nullptr, 1), 1);
  SetGate(false);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(list.Get(Str(dir / "hang.pdf"), nullptr, 1), 0);
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(900));
  EXPECT_LT(waited, std::chrono::seconds(5));
  EXPECT_GE(list.WorkerCount(), 1);   // the one still running is kept (the finished one may be gone)
  {
    std::unique_lock<std::mutex> l(g_gateLock);
    EXPECT_EQ(g_blocked, 1);
  }
  // The share goes away: its folder can't be seen any more.
  const std::filesystem::path away = dir.path().string() + ".away";
  std::filesystem::rename(dir.path(), away);
  EXPECT_EQ(UtilShare(), 0);
  std::filesystem::rename(away, dir.path());
  // Remembered for the process, although it is back.
  EXPECT_EQ(UtilShare(), 0);
  EXPECT_TRUE(ShareIsKnownUnreachable(IString(String(std::u16string_view(Unc())))));
  const auto again = std::chrono::steady_clock::now();
  EXPECT_EQ(list.Get(Str(dir / "hang.pdf"), nullptr, 1), 0);   // no worker, no wait
  EXPECT_LT(std::chrono::steady_clock::now() - again, std::chrono::milliseconds(500));
  // A cached document of the share keeps what it had.
  EXPECT_EQ(list.Get(Str(dir / "b.pdf"), nullptr, 1), 1);
  clsDocuList fresh(60);
  EXPECT_EQ(fresh.Get(Str(dir / "b.pdf"), nullptr, 1), 0);
  SetGate(true);
  DrainWorkers(list);
}

TEST_F(Share, WorkersOfAListWithoutItsThreadAreCollectedByTheCallers) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF");
  clsDocuList list(0);
  for (int i = 0; i < 30; ++i) ASSERT_EQ(list.Get(Str(dir / "a.pdf"), nullptr, 5), 1) << i;
  EXPECT_LE(list.WorkerCount(), 20);
  DrainWorkers(list);
}

TEST_F(Share, TwentyHangingWorkersHoldTheNextCallerForTheWaitLimitOnly) {
  zxsupport::WriteBytes(dir / "hang.pdf", "%PDF");
  plat::FakeClock clock;
  clsDocuList list(0);
  SetGate(false);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(list.Get(Str(dir / "hang.pdf"), nullptr, 0), 0);
  EXPECT_EQ(list.WorkerCount(), 20);
  const uint64_t slept = clock.SleptTotal();
  EXPECT_EQ(list.Get(Str(dir / "hang.pdf"), nullptr, 0), 0);
  EXPECT_GE(clock.SleptTotal() - slept, kWorkerListWaitLimitMs);
  EXPECT_EQ(list.WorkerCount(), 21);
  SetGate(true);
  DrainWorkers(list);
}

TEST(ShareAccessibility, PathsThatAreNotOnAShare) {
  EXPECT_EQ(clsDocuList::ShareAccessibility(nullptr), -1);
  EXPECT_EQ(clsDocuList::ShareAccessibility(u"/tmp/x"), -1);
  EXPECT_EQ(clsDocuList::ShareAccessibility(u"relative.txt"), -1);
  // A share no mount stands for, and that isn't there: unreachable.
  EXPECT_EQ(clsDocuList::ShareAccessibility(u"\\\\no-such-server-here\\docs\\a.pdf"), 0);
  FakeReaders readers;
  clsDocuList list(0);
  EXPECT_EQ(list.Get(String(u"\\\\no-such-server-here\\docs\\a.pdf"), nullptr, 1), 0);
  EXPECT_TRUE(readers.Calls().empty());
}

}  // namespace
