// A save that fails half-way keeps the old profile: the disk fills at the start
// or in the middle, a write fails in the middle, or the file is taken away. The
// store's own ProfSave is called, so that the file-fault seam of this program
// applies.
#include <gtest/gtest.h>

#include <string>

#include "file/File.h"
#include "platform/errors.h"
#include "platform/internal/file_faults.h"
#include "prof/Save.h"
#include "prof_test_util.h"
#include "support/support_test_util.h"

using namespace proftest;

namespace {

// A profile of `count` values, distinct from any other count's.
void Fill(HPROFJOB job, int count) {
  for (int i = 0; i < count; ++i) {
    const std::u16string name = u"list" + zxsupport::U16(std::to_string(i % 3)) + u"/value" +
                                zxsupport::U16(std::to_string(i));
    Set(job, nullptr, name.c_str(), (u"text " + zxsupport::U16(std::to_string(count))).c_str());
  }
}

int32_t Save(HPROFJOB job, const std::filesystem::path& path, uint32_t flags = PROF_FMT_TEXT) {
  const std::u16string name = path.u16string();
  return zx::prof::ProfSave(Internal(job), name.c_str(), flags);
}

// Fails the write call number `failAt` (from 1) after `keep` of its bytes reached
// the file, with error 31; every other write goes through. A transient fault, as a
// failing device or a network file gives.
struct FailOneWrite {
  int failAt;
  uint32_t keep;
  int calls = 0;
  plat::FileFaults table{nullptr, &Write, this};
  static bool Write(void* ctx, plat::FileHandle h, const void* buffer, uint32_t count, uint32_t* done,
                    plat::RealFileWrite real) {
    auto* self = static_cast<FailOneWrite*>(ctx);
    if (++self->calls != self->failAt) return real(h, buffer, count, done);
    *done = 0;
    if (self->keep && !real(h, buffer, self->keep < count ? self->keep : count, done)) return false;
    plat::SetLastError(plat::kErrGenFailure);
    return false;
  }
};

}  // namespace

// Each fault leaves the old bytes exactly and gives PROF_ERR_SAVE; the same save
// without the fault then writes the new profile whole.
TEST(ProfSaveFault, AFailedSaveKeepsTheOldProfile) {
  enum Fault { kDiskFull, kWriteFails };
  struct Row {
    const char* what;
    int oldValues, newValues;
    Fault fault;
    uint64_t room;   // kDiskFull: bytes that still fit
    int failAt;      // kWriteFails: the failing write call and the bytes it writes
    uint32_t keep;
  };
  static const Row kRows[] = {
      {"disk full at the start, growing", 10, 60, kDiskFull, 0, 0, 0},
      {"disk full at the start, shrinking", 60, 10, kDiskFull, 0, 0, 0},
      {"disk full in the middle of the growth", 10, 60, kDiskFull, 900, 0, 0},
      {"disk full one byte short", 10, 60, kDiskFull, ~uint64_t{0}, 0, 0},
      {"write fails in the middle of the overwrite", 60, 10, kWriteFails, 0, 1, 101},
      {"write fails at once on the overwrite", 12, 11, kWriteFails, 0, 1, 0},
      {"growth written, overwrite fails half-way", 10, 60, kWriteFails, 0, 2, 333},
  };
  for (const Row& r : kRows) {
    SCOPED_TRACE(r.what);
    zxsupport::ScratchDir dir("prof_fault");
    const auto path = dir / "profile.prf";
    Job oldJob, newJob;
    Fill(oldJob, r.oldValues);
    Fill(newJob, r.newValues);
    ASSERT_EQ(PROF_OK, Save(oldJob, path));
    const std::string oldBytes = zxsupport::ReadBytes(path);
    const std::string newBytes = SavedBytes(newJob, PROF_FMT_TEXT);
    ASSERT_NE(oldBytes, newBytes);
    {
      zxsupport::DiagCapture diag;
      if (r.fault == kDiskFull) {
        const uint64_t growth = newBytes.size() > oldBytes.size() ? newBytes.size() - oldBytes.size() : 0;
        plat::FileFaultPlan plan(r.room == ~uint64_t{0} ? growth - 1 : r.room);
        EXPECT_EQ(PROF_ERR_SAVE, Save(newJob, path));
      } else {
        FailOneWrite fail{r.failAt, r.keep};
        plat::SetFileFaults(&fail.table);
        EXPECT_EQ(PROF_ERR_SAVE, Save(newJob, path));
        plat::SetFileFaults(nullptr);
        EXPECT_GE(fail.calls, r.failAt);
      }
      EXPECT_TRUE(diag.Contains(u"the old content is kept"));
    }
    EXPECT_EQ(oldBytes, zxsupport::ReadBytes(path));
    EXPECT_EQ(PROF_OK, Save(newJob, path));
    EXPECT_EQ(newBytes, zxsupport::ReadBytes(path));
  }
}

// A file removed by someone else between the start of the save and its open is
// not made anew with the new profile; a file that never existed is created.
TEST(ProfSaveFault, AFileRemovedMeanwhileIsNotRecreated) {
  zxsupport::ScratchDir dir("prof_fault");
  const auto path = dir / "gone.prf";
  zxsupport::WriteBytes(path, "old bytes");
  Job job;
  Fill(job, 5);
  {
    plat::FileFaultPlan plan;
    plan.RemoveOnNextOpen();
    EXPECT_EQ(PROF_ERR_SAVE, Save(job, path));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(PROF_OK, Save(job, path));
  EXPECT_EQ(SavedBytes(job, PROF_FMT_TEXT), zxsupport::ReadBytes(path));
}

// An exclusive job's own open file: a failed rewrite keeps the old bytes, and
// the job keeps holding the file and saves into it afterwards.
TEST(ProfSaveFault, AnExclusiveJobKeepsItsFileThroughAFailedSave) {
  zxsupport::ScratchDir dir("prof_fault");
  const auto path = dir / "own.prf";
  Job oldJob;
  Fill(oldJob, 40);
  ASSERT_EQ(PROF_OK, Save(oldJob, path));
  const std::string oldBytes = zxsupport::ReadBytes(path);

  Job job(ProfJobOpenExclusiveW(nullptr));
  auto* file = new zx::clsFileRW(zx::String(std::u16string_view(path.u16string())), 2, 1, 2, zx::kFileNormal);
  ASSERT_TRUE(file->IsOpen());
  job->file = file;
  struct Row {
    int values;   // fewer: one overwrite; more: the growth first, then the overwrite
    int failAt;
  };
  for (const Row& r : {Row{7, 1}, Row{80, 2}}) {
    const int failAt = r.failAt;
    ProfEmptyList(job, nullptr);
    Fill(job, r.values);
    FailOneWrite fail{failAt, 17};
    plat::SetFileFaults(&fail.table);
    EXPECT_EQ(PROF_ERR_SAVE, zx::prof::ProfSave(Internal(job), nullptr, PROF_FMT_XML));
    plat::SetFileFaults(nullptr);
    EXPECT_GE(fail.calls, failAt);
    EXPECT_EQ(oldBytes, zxsupport::ReadBytes(path));
    EXPECT_TRUE(file->IsOpen());
  }
  EXPECT_EQ(PROF_OK, zx::prof::ProfSave(Internal(job), nullptr, PROF_FMT_XML));
  EXPECT_EQ(SavedBytes(job, PROF_FMT_XML), zxsupport::ReadBytes(path));
  job->file = nullptr;   // given back before the job ends
  delete file;
}
