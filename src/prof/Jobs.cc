// Job lifetime and opening a profile file.
#include "core/timing/TickCount.h"
#include "file/File.h"
#include "platform/clock.h"
#include "platform/errors.h"
#include "prof/Load.h"
#include "prof/Prof.h"

namespace zx::prof {
namespace {

constexpr uint64_t kOpenRetryMs = 10000;
constexpr uint32_t kOpenRetryStepMs = 100;

bool IsInUse(uint32_t error) { return error == plat::kErrSharingViolation || error == plat::kErrLockViolation; }

// The profile's file: each of the three tries of one open waits 100 ms first when
// the try before it met a sharing or lock violation.
class clsProfFile final : public clsFileRW {
 public:
  explicit clsProfFile(bool writable) : writable_(writable) {}
  plat::FileHandle CreateHandle(const String& name, uint32_t access, uint32_t share, uint32_t disposition,
                                uint32_t flags) override {
    if (IsInUse(lastFailure_)) plat::SleepMs(kOpenRetryStepMs);
    plat::FileHandle h = clsFile::CreateHandle(name, access, share, disposition, flags);
    lastFailure_ = plat::IsValidFile(h) ? 0 : plat::LastError();
    if (lastFailure_) plat::SetLastError(lastFailure_);
    return h;
  }
  // One open with the job's modes: shared reads and lets others read and write, the
  // file must exist; exclusive reads and writes, lets others only read, and creates.
  bool OpenFor(const String& name, int32_t openMode) {
    lastFailure_ = 0;
    const uint32_t flags = kFileSequentialScan | kFileNormal;
    return openMode == 0 ? Open(name, 0, 0, 3, flags) == 0 : Open(name, 2, 1, 2, flags) == 0;
  }
  bool IsWritable() const override { return writable_; }

 private:
  bool writable_;
  uint32_t lastFailure_ = 0;
};

}  // namespace

clsProfJob* JobOpen(const char16_t* fileName, int32_t openMode) {
  clsProfJob* job = clsProfJob::Create(openMode);
  if (job == nullptr || fileName == nullptr) return job;
  job->fileName.Assign(fileName);
  const String name(fileName);
  if (!IsValidFileName(name)) {
    job->lastError = kErrOpen;  // a reserved device name, in both modes
    return job;
  }

  clsProfFile* file = new (std::nothrow) clsProfFile(openMode != 0);
  if (file == nullptr) {
    job->lastError = openMode == 0 ? kErrOpen : kErrSave;
    return job;
  }
  const uint64_t start = UtilTickCount64();
  bool open = file->OpenFor(name, openMode);
  uint32_t error = open ? 0 : plat::LastError();
  // Somebody else has the file: wait for it, up to 10 s in all.
  while (!open && error == plat::kErrSharingViolation && UtilTickCount64() - start < kOpenRetryMs) {
    plat::SleepMs(kOpenRetryStepMs);
    open = file->OpenFor(name, openMode);
    error = open ? 0 : plat::LastError();
  }
  if (!open) {
    job->lastError = error == plat::kErrSharingViolation ? kErrLocked : openMode == 0 ? kErrOpen : kErrSave;
    delete file;
    return job;
  }

  const uint64_t size = file->GetSize();
  if (size != 0 && !LoadProfile(*job, *file)) {
    if (job->lastError == kOk) job->lastError = kErrLocked;
    delete file;
    return job;
  }
  if (openMode == 0) {
    delete file;
    return job;
  }
  job->file = file;  // keeps the other users out until the job ends
  return job;
}

void JobAddRef(clsProfJob* job) {
  if (job) job->AddRef();
}

void JobClose(clsProfJob* job) {
  if (job) job->Release();
}

int32_t GetError(clsProfJob* job) { return job ? job->lastError : kErrHandle; }

}  // namespace zx::prof
