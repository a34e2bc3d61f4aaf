// Opening profile files: shared and exclusive modes, missing, empty and reserved
// names, the wait for a file somebody else holds (on the fake clock), the hold of
// an exclusive job, and the codes of failed loads.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "prof_test_util.h"
#include "file/File.h"
#include "platform/clock.h"
#include "prof/Prof.h"
#include "support/support_test_util.h"

using namespace proftest;

namespace {

// A job of the internal open (so that the fake clock of this program applies).
class Opened {
 public:
  Opened(const std::u16string& name, int mode) : job_(zx::prof::JobOpen(name.c_str(), mode)) {}
  ~Opened() { zx::prof::JobClose(job_); }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  operator HPROFJOB() const { return reinterpret_cast<HPROFJOB>(job_); }  // NOLINT
  zx::clsProfJob* operator->() const { return job_; }

 private:
  zx::clsProfJob* job_;
};

const std::string kSmall = Utf16File(u"[/]\r\n{\r\na=1\r\n}\r\n");

}  // namespace

TEST(ProfOpenFile, ModesOnMissingEmptyAndReservedNames) {
  zxsupport::ScratchDir dir("prof_open");
  const std::u16string missing = (dir / "missing.prf").u16string();
  {
    Opened job(missing, 0);
    EXPECT_EQ(ProfGetError(job), PROF_ERR_OPEN);
    EXPECT_EQ(job->file, nullptr);
    EXPECT_EQ(std::u16string(job->fileName.Get()), missing);
    Set(job, nullptr, u"v", u"1");  // still a working profile
    EXPECT_EQ(Get(job, nullptr, u"v"), u"1");
    EXPECT_FALSE(std::filesystem::exists(dir / "missing.prf"));
  }
  {
    Opened job(missing, 1);  // exclusive creates the file
    EXPECT_EQ(ProfGetError(job), 0);
    EXPECT_NE(job->file, nullptr);
    EXPECT_TRUE(std::filesystem::exists(dir / "missing.prf"));
  }
  {
    Opened job(missing, 0);  // now an existing empty file: an empty profile
    EXPECT_EQ(ProfGetError(job), 0);
    EXPECT_EQ(job->file, nullptr);
    EXPECT_EQ(Dump(job, nullptr), u"");
  }
  for (int mode : {0, 1}) {
    Opened job((dir / "CON").u16string(), mode);
    EXPECT_EQ(ProfGetError(job), PROF_ERR_OPEN) << "mode " << mode;
    EXPECT_EQ(job->openMode, mode);
  }
  {
    Opened job((dir / "no-such-dir" / "x.prf").u16string(), 1);
    EXPECT_EQ(ProfGetError(job), PROF_ERR_SAVE);
  }
  EXPECT_EQ(ProfGetError(nullptr), PROF_ERR_HANDLE);
}

TEST(ProfOpenFile, LoadsInBothModesThroughTheExports) {
  TempFile file(kSmall);
  for (HPROFJOB h : {ProfJobOpenW(file.WName()), ProfJobOpenExclusiveW(file.WName())}) {
    Job job(h);
    EXPECT_EQ(ProfGetError(job), 0);
    EXPECT_EQ(Dump(job, nullptr), u"a=1");
  }
}

TEST(ProfOpenFile, SharedJobsCoexistAndLetGo) {
  TempFile file(kSmall);
  Opened a(file.Name(), 0), b(file.Name(), 0);
  EXPECT_EQ(ProfGetError(a), 0);
  EXPECT_EQ(ProfGetError(b), 0);
  // A shared job does not hold the file: an exclusive open goes through.
  Opened c(file.Name(), 1);
  EXPECT_EQ(ProfGetError(c), 0);
  EXPECT_EQ(Dump(c, nullptr), u"a=1");
}

TEST(ProfOpenFile, ExclusiveJobKeepsOthersOutForTheRetryWindow) {
  TempFile file(kSmall);
  plat::FakeClock clock;
  auto* holder = new Opened(file.Name(), 1);
  ASSERT_EQ(ProfGetError(*holder), 0);
  {
    const uint64_t start = clock.Now();
    Opened other(file.Name(), 1);
    EXPECT_EQ(ProfGetError(other), PROF_ERR_LOCKED);
    EXPECT_EQ(Dump(other, nullptr), u"");
    // It waited the whole window on the library clock, in 100 ms steps.
    EXPECT_GE(clock.Now() - start, 10000u);
    EXPECT_LT(clock.Now() - start, 11000u);
  }
  {
    // The holder lets others read: a shared open only reads.
    const uint64_t start = clock.Now();
    Opened reader(file.Name(), 0);
    EXPECT_EQ(ProfGetError(reader), 0);
    EXPECT_EQ(Dump(reader, nullptr), u"a=1");
    EXPECT_EQ(clock.Now(), start);
  }
  delete holder;  // closing the job lets the file go
  const uint64_t start = clock.Now();
  Opened after(file.Name(), 0);
  EXPECT_EQ(ProfGetError(after), 0);
  EXPECT_EQ(Dump(after, nullptr), u"a=1");
  EXPECT_EQ(clock.Now(), start);
}

TEST(ProfOpenFile, FailedLoadsSetTheirCodesAndLetTheFileGo) {
  plat::FakeClock clock;
  {
    // Too short to load: no code of its own, so the open reports -10.
    TempFile file("ab");
    Opened job(file.Name(), 1);
    EXPECT_EQ(ProfGetError(job), PROF_ERR_LOCKED);
    EXPECT_EQ(job->file, nullptr);
  }
  {
    // A parse error keeps what was read, and the exclusive job lets go of the file.
    TempFile file(Utf16File(u"<?xml\r\n<profile>\r\n<item name=\"a\">1</item>\r\n<item name=\"b\">2\r\n"));
    Opened job(file.Name(), 1);
    EXPECT_EQ(ProfGetError(job), PROF_ERR_PARSE);
    EXPECT_EQ(job->file, nullptr);
    EXPECT_EQ(Dump(job, nullptr), u"a=1");
    Opened again(file.Name(), 1);
    EXPECT_EQ(ProfGetError(again), PROF_ERR_PARSE);
  }
}

TEST(ProfOpenFile, ALockedFirstByteFailsTheLoadAfterTheLockWait) {
  TempFile file(kSmall);
  plat::FakeClock clock;
  zx::clsFileRW other(zx::String(file.Name().c_str()), 2, 0, 3, zx::kFileNormal);
  ASSERT_TRUE(other.IsOpen());
  zx::scFileLock* lock = other.Lock(0, 1);
  ASSERT_NE(lock, nullptr);
  const uint64_t start = clock.Now();
  {
    // The lock's wait idles without sleeping within a 100 ms block of the tick,
    // so time is moved from outside while the open waits.
    std::atomic<bool> done{false};
    std::thread ticker([&] {
      while (!done) {
        clock.Advance(20);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
      }
    });
    Opened job(file.Name(), 0);
    done = true;
    ticker.join();
    EXPECT_EQ(ProfGetError(job), PROF_ERR_LOCKED);
    EXPECT_GE(clock.Now() - start, 10000u);
  }
  other.Unlock(lock);
  Opened job(file.Name(), 0);
  EXPECT_EQ(ProfGetError(job), 0);
  EXPECT_EQ(Dump(job, nullptr), u"a=1");
}
