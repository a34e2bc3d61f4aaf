// Two processes opening one profile file: shared opens both load; an exclusive
// job holds the file until it closes (another exclusive open waits out the retry
// window, on this process's fake clock, and fails; a shared open still reads);
// saves of the holder and loads of the other process never meet a half-written
// file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "platform/clock.h"
#include "prof/Prof.h"
#include "prof/Save.h"
#include "prof_test_util.h"

using namespace proftest;

namespace {

std::u16string Num(int n) {
  const std::string s = std::to_string(n);
  return std::u16string(s.begin(), s.end());
}

const std::string kSmall = Utf16File(u"[/]\r\n{\r\na=1\r\n}\r\n");

// A job of the internal open, so that this process's fake clock applies.
class Opened {
 public:
  Opened(const std::u16string& name, int mode) : job_(zx::prof::JobOpen(name.c_str(), mode)) {}
  ~Opened() { zx::prof::JobClose(job_); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  operator HPROFJOB() const { return reinterpret_cast<HPROFJOB>(job_); }  // NOLINT
  zx::clsProfJob* get() const { return job_; }

 private:
  zx::clsProfJob* job_;
};

// A child process that opens a job on the file, reports the open's code and
// its dump, and holds the job until Finish().
class Child {
 public:
  Child(const std::u16string& name, int mode) {
    int ready[2], go[2];
    EXPECT_EQ(0, pipe(ready));
    EXPECT_EQ(0, pipe(go));
    pid_ = fork();
    if (pid_ == 0) {
      close(ready[0]);
      close(go[1]);
      {
        Opened job(name, mode);
        const std::string report = std::to_string(ProfGetError(job)) + " " + ToUtf8(Dump(job, nullptr));
        (void)!write(ready[1], report.data(), report.size());
        close(ready[1]);
        char c;
        (void)!read(go[0], &c, 1);
      }
      _exit(0);
    }
    close(ready[1]);
    close(go[0]);
    goFd_ = go[1];
    char buf[256];
    ssize_t n;
    while ((n = read(ready[0], buf, sizeof buf)) > 0) report_.append(buf, static_cast<size_t>(n));
    close(ready[0]);
  }
  ~Child() { Finish(); }
  // Lets the child close its job and end; its exit status.
  int Finish() {
    if (pid_ <= 0) return status_;
    close(goFd_);
    waitpid(pid_, &status_, 0);
    pid_ = -1;
    return status_;
  }
  // "<code> <dump>" of the child's open.
  const std::string& report() const { return report_; }

 private:
  pid_t pid_ = -1;
  int goFd_ = -1;
  int status_ = -1;
  std::string report_;
};

}  // namespace

TEST(ProfOpenProcess, SharedOpensInTwoProcessesBothLoad) {
  TempFile file(kSmall, "prof_proc");
  Child child(file.Name(), 0);
  EXPECT_EQ("0 a=1", child.report());
  Opened mine(file.Name(), 0);
  EXPECT_EQ(0, ProfGetError(mine));
  EXPECT_EQ(u"a=1", Dump(mine, nullptr));
  EXPECT_EQ(0, child.Finish());
}

TEST(ProfOpenProcess, AnExclusiveJobHoldsTheFileUntilItCloses) {
  TempFile file(kSmall, "prof_proc");
  Child holder(file.Name(), 1);
  ASSERT_EQ("0 a=1", holder.report());
  {
    plat::FakeClock clock;
    const uint64_t start = clock.Now();
    Opened other(file.Name(), 1);
    EXPECT_EQ(PROF_ERR_LOCKED, ProfGetError(other));
    EXPECT_EQ(u"", Dump(other, nullptr));
    EXPECT_GE(clock.Now() - start, 10000u);
    EXPECT_LT(clock.Now() - start, 11000u);
  }
  {
    Opened reader(file.Name(), 0);  // reading is shared
    EXPECT_EQ(0, ProfGetError(reader));
    EXPECT_EQ(u"a=1", Dump(reader, nullptr));
  }
  EXPECT_EQ(0, holder.Finish());
  plat::FakeClock clock;
  const uint64_t start = clock.Now();
  Opened after(file.Name(), 1);
  EXPECT_EQ(0, ProfGetError(after));
  EXPECT_EQ(u"a=1", Dump(after, nullptr));
  EXPECT_EQ(start, clock.Now());
}

// The holder rewrites its file in rounds that grow and shrink it, in both
// formats; the other process loads all the while. Every load sees one whole
// round: a count item and that many values, all of the same round.
TEST(ProfOpenProcess, LoadsNeverSeeAHalfWrittenSave) {
  TempFile file(kSmall, "prof_proc");
  constexpr int kRounds = 40;
  int done[2];
  ASSERT_EQ(0, pipe(done));
  const pid_t pid = fork();
  if (pid == 0) {
    close(done[0]);
    int bad = 0;
    {
      Opened job(file.Name(), 1);
      bad += ProfGetError(job) != 0;
      if (bad) fprintf(stderr, "child: exclusive open %d\n", (int)ProfGetError(job));
      for (int r = 0; r < kRounds && !bad; ++r) {
        job.get()->rootList.DeleteAll();
        const int n = 100 + (r % 3) * 700;
        std::u16string value = u"round ";
        value += static_cast<char16_t>(u'A' + r);
        value.append(r % 2 ? 40 : 5, u'.');
        for (int i = 0; i < n; ++i) Set(job, nullptr, (u"k" + Num(i)).c_str(), value.c_str());
        Set(job, nullptr, u"count", Num(n).c_str());
        const int rc = zx::prof::ProfSave(job.get(), nullptr, r % 2 ? PROF_FMT_XML : PROF_FMT_TEXT);
        if (rc) fprintf(stderr, "child: save %d gave %d\n", r, rc);
        bad += rc != 0;
      }
    }
    (void)!write(done[1], "x", 1);
    _exit(bad ? 1 : 0);
  }
  close(done[1]);
  // Loads until the holder is done; a broken load stops the loop, so that the
  // child is always waited for.
  int loads = 0, whole = 0;
  for (bool finished = false; !finished;) {
    pollfd p{done[0], POLLIN, 0};
    finished = poll(&p, 1, 0) > 0;
    Opened job(file.Name(), 0);
    ++loads;
    const std::vector<Entry> items = Items(job, nullptr);
    if (ProfGetError(job) == 0 && items.size() == 1 && items[0].name == u"a") continue;  // before the first save
    bool same = !items.empty();
    for (size_t i = 0; same && i + 1 < items.size(); ++i) same = items[i].value == items[0].value;
    const bool ok = ProfGetError(job) == 0 && same && items.back().name == u"count" &&
                    ToUtf8(items.back().value) == std::to_string(items.size() - 1);
    EXPECT_TRUE(ok) << "load " << loads << ": code " << ProfGetError(job) << ", " << items.size() << " items";
    if (!ok) break;
    ++whole;
  }
  close(done[0]);
  int status = -1;
  waitpid(pid, &status, 0);
  EXPECT_EQ(0, status);
  EXPECT_GE(whole, 2);
}
