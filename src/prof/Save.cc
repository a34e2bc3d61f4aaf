// ProfSave: the new image in memory, then a rewrite in place that never leaves a
// half-written file.
#include "prof/Save.h"

#include <algorithm>
#include <new>
#include <string>

#include "core/diag/Diag.h"
#include "core/timing/TickCount.h"
#include "file/File.h"
#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "prof/Compressed.h"
#include "prof/Prof.h"
#include "prof/ProfJob.h"
#include "prof/ProfWriter.h"

namespace zx::prof {
namespace {

constexpr uint64_t kOpenWaitMs = 10000;
constexpr uint32_t kOpenRetryMs = 100;
constexpr uint64_t kPiece = 0x6400000;   // 100 MiB per system call

bool WriteAt(clsFile& f, uint64_t offset, const char* data, uint64_t n) {
  if (n == 0) return true;
  if (f.SetPos(offset) != offset) return false;
  for (uint64_t done = 0; done < n;) {
    const uint32_t piece = static_cast<uint32_t>(std::min(n - done, kPiece));
    if (f.Write(data + done, piece) != piece) return false;
    done += piece;
  }
  return true;
}

bool ReadAt(clsFile& f, uint64_t offset, char* data, uint64_t n) {
  if (n == 0) return true;
  if (f.SetPos(offset) != offset) return false;
  for (uint64_t done = 0; done < n;) {
    const uint32_t piece = static_cast<uint32_t>(std::min(n - done, kPiece));
    if (f.Read(data + done, piece) != piece) return false;
    done += piece;
  }
  return true;
}

bool SetEndAt(clsFile& f, uint64_t size) {
  if (f.SetPos(size) != size) return false;
  f.SetEOF();
  return f.GetSize() == size;
}

// Replaces the file's content by `image` so that a failure at any step leaves the
// old content: growth first (where a full disk shows), then the overwrite of the
// old bytes, then the end. The caller holds the byte lock.
bool Rewrite(clsFile& f, const std::string& image) {
  const uint64_t oldSize = f.GetSize();
  if (oldSize == kAllOnes64) return false;
  const uint64_t newSize = image.size();
  const uint64_t common = std::min(oldSize, newSize);
  std::string old;
  try {
    old.resize(static_cast<size_t>(common));
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (!ReadAt(f, 0, old.data(), common)) return false;

  if (newSize > oldSize && !WriteAt(f, oldSize, image.data() + oldSize, newSize - oldSize)) {
    if (!SetEndAt(f, oldSize)) DiagFormat(u"ProfSave(%s): the old length could not be restored", f.Name().wchar());
    return false;
  }
  if (WriteAt(f, 0, image.data(), common) && (newSize >= oldSize || SetEndAt(f, newSize))) {
    f.SetPos(newSize);
    return true;
  }
  // A write failed half-way over the old bytes: put them back.
  if (!WriteAt(f, 0, old.data(), common) || !SetEndAt(f, oldSize))
    DiagFormat(u"ProfSave(%s): the old profile could not be restored", f.Name().wchar());
  return false;
}

// Opens the target for reading and writing, without sharing and without
// truncating. A sharing violation fails at once, other errors are retried every
// 100 ms for 10 s. A file that existed when the save began and is gone at the
// open has been removed by someone else meanwhile: it is not made anew.
clsFile* OpenTarget(const String& name) {
  if (name.IsEmpty() || !IsValidFileName(name)) {
    DiagFormat(u"ProfSave('%s'): not a usable file name", name.wchar());
    return nullptr;
  }
  plat::FileInfo info;
  const bool existed = plat::FileInfoByName(name.wchar(), &info);
  clsFile* f = new (std::nothrow) clsFileRW();
  if (!f) return nullptr;
  const uint64_t start = UtilTickCount64();
  for (;;) {
    if (f->Open(name, 2, existed ? 0 : 1, 0, kFileSequentialScan | kFileNormal) == 0) return f;
    const uint32_t error = plat::LastError();
    if (error == plat::kErrSharingViolation) break;
    if (existed && (error == plat::kErrFileNotFound || error == plat::kErrPathNotFound)) break;
    if (UtilTickCount64() - start >= kOpenWaitMs) break;
    plat::SleepMs(kOpenRetryMs);
  }
  DiagFormat(u"ProfSave('%s'): the file could not be opened for writing: '%s'", name.wchar(),
             f->GetLastErrorText().wchar());
  delete f;
  return nullptr;
}

bool IsJobsOwnFile(const clsProfJob& job, const char16_t* name) {
  if (job.openMode != 1 || job.file == nullptr) return false;
  if (name == nullptr) return true;
  const char16_t* own = job.file->Stream() ? u"(Stream)" : job.file->Name().wchar();
  return CompareText(name, own, -1, false, false) == 0;
}

// The image replaced by its compressed form.
bool CompressImage(std::string& image) {
  std::string packed;
  try {
    packed.reserve(image.size() / 4 + 64);
    const bool ok = DeflateProfile(image.data(), image.size(), [&](const uint8_t* p, uint32_t n) {
      packed.append(reinterpret_cast<const char*>(p), n);
      return true;
    });
    if (!ok) return false;
  } catch (const std::bad_alloc&) {
    return false;
  }
  image.swap(packed);
  return true;
}

}  // namespace

bool WantsCompressed(const clsProfJob& job, uint32_t flags) {
  return (flags & kSaveCompressed) || ((flags & kSaveKeepCompressed) && job.wasCompressed);
}

int32_t ProfSave(clsProfJob* job, const char16_t* name, uint32_t flags) {
  if (job == nullptr) return kOk;
  const int format = FormatOfFlags(flags);
  std::string image;
  if (!SerializeProfile(*job, format, image) || (WantsCompressed(*job, flags) && !CompressImage(image))) {
    DiagLine(u"ProfSave: no memory for the profile's image; nothing was saved");
    return kErrSave;
  }

  const bool own = IsJobsOwnFile(*job, name);
  clsFile* target = own ? job->file : OpenTarget(String(name ? name : job->fileName.Get()));
  if (target == nullptr) return kErrSave;
  int32_t rc = kErrSave;
  if (scFileLock* lock = target->Lock(0, 1)) {
    if (Rewrite(*target, image)) rc = kOk;
    else DiagFormat(u"ProfSave(%s): the save did not complete; the old content is kept", target->Name().wchar());
    target->Unlock(lock);
  } else {
    DiagFormat(u"ProfSave(%s): the file stayed locked", target->Name().wchar());
  }
  if (!own) delete target;
  return rc;
}

}  // namespace zx::prof
