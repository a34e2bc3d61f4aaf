// The entry points of the file layer that pass through the fault seam, the same
// on both OSes; the system calls are each OS's RealFileOpen and RealFileWriteCall.
#include "platform/errors.h"
#include "platform/file.h"
#include "platform/internal/file_faults.h"

#include <atomic>

namespace plat {
namespace {
std::atomic<const FileFaults*> g_faults{nullptr};
}  // namespace

const FileFaults* detail::InstalledFileFaults() { return g_faults.load(std::memory_order_acquire); }

void SetFileFaults(const FileFaults* faults) { g_faults.store(faults, std::memory_order_release); }

FileHandle FileOpen(const char16_t* name, uint32_t access, uint32_t share, uint32_t disposition,
                    uint32_t flags) {
  const FileFaults* faults = detail::InstalledFileFaults();
  if (faults && faults->beforeOpen && !faults->beforeOpen(faults->ctx, name, access, disposition))
    return InvalidFile();
  return detail::RealFileOpen(name, access, share, disposition, flags);
}

bool FileWrite(FileHandle h, const void* buffer, uint32_t count, uint32_t* done) {
  const FileFaults* faults = detail::InstalledFileFaults();
  if (faults && faults->write) {
    uint32_t n = 0;
    const bool ok = faults->write(faults->ctx, h, buffer, count, &n, &detail::RealFileWriteCall);
    if (done) *done = n;
    return ok;
  }
  return detail::RealFileWriteCall(h, buffer, count, done);
}

FileFaultPlan::FileFaultPlan(uint64_t room, uint32_t error)
    : table_{&BeforeOpen, &Write, this}, room_(room), error_(error) {
  SetFileFaults(&table_);
}

FileFaultPlan::~FileFaultPlan() { SetFileFaults(nullptr); }

bool FileFaultPlan::BeforeOpen(void* ctx, const char16_t* name, uint32_t, uint32_t) {
  auto* self = static_cast<FileFaultPlan*>(ctx);
  if (self->removeOnOpen_) {
    self->removeOnOpen_ = false;
    RemoveFile(name);
  }
  return true;
}

bool FileFaultPlan::Write(void* ctx, FileHandle h, const void* buffer, uint32_t count, uint32_t* done,
                          RealFileWrite real) {
  auto* self = static_cast<FileFaultPlan*>(ctx);
  const uint64_t fits = self->room_ < count ? self->room_ : count;
  bool ok = true;
  *done = 0;
  if (fits > 0) ok = real(h, buffer, static_cast<uint32_t>(fits), done);
  self->room_ -= *done;
  self->written_ += *done;
  if (!ok) return false;
  if (*done < count) {
    SetLastError(self->error_);
    return false;
  }
  return true;
}

}  // namespace plat

namespace plat {

bool FileInfoByFind(const char16_t* name, FileInfo* info) {
  FileFinder finder(name);
  FindEntry entry;
  if (!finder.Next(&entry)) return false;
  *info = entry.info;
  return true;
}

}  // namespace plat
