// Profile jobs over a stream, and saving to one (plain or compressed).
#include <new>

#include "file/File.h"
#include "prof/Compressed.h"
#include "prof/Load.h"
#include "prof/Prof.h"
#include "prof/ProfWriter.h"
#include "prof/Save.h"
#include "profdata/ProfData.h"

namespace zx::prof {

clsProfJob* JobOpenStream(IStream* stream, const char16_t* rootName, int32_t baseLevel) {
  clsProfJob* job = clsProfJob::Create(1);
  if (job == nullptr) return nullptr;
  if (rootName != nullptr) job->rootList.Rename(rootName);
  job->baseLevel = baseLevel;
  if (stream == nullptr) return job;
  clsFile* file = new (std::nothrow) clsFileRW(stream);
  // A stream that cannot tell its size (or seek) is no usable wrapper.
  if (file == nullptr || !file->IsOpen() || file->GetSize() == kAllOnes64) {
    delete file;
    job->lastError = kErrOpen;
    return job;
  }
  job->file = file;  // holds a reference on the stream for the job's life
  if (file->GetSize() != 0 && !LoadProfile(*job, *file) && job->lastError == kOk)
    job->lastError = kErrOpen;  // the stream was too short or refused its lock
  return job;
}

int32_t SaveToStream(clsProfJob* job, IStream* stream, uint32_t flags) {
  if (job == nullptr) return kOk;
  const bool own = job->openMode == 1 && job->file != nullptr &&
                   (stream == nullptr || stream == job->file->Stream() || stream == job->file);
  clsFile* target = own ? job->file : nullptr;
  clsFileRW wrapper(own ? nullptr : stream);
  if (!own) {
    // A stream that cannot tell its size cannot be positioned or ended either.
    if (stream == nullptr || !wrapper.IsOpen() || wrapper.GetSize() == kAllOnes64) return kErrWrite;
    target = &wrapper;
  }
  const int format = FormatOfFlags(flags);
  if (!WantsCompressed(*job, flags)) return WriteProfile(*job, *target, format);

  std::string image;
  if (!SerializeProfile(*job, format, image)) return kErrWrite;
  target->SetPos(0);
  const bool ok = DeflateProfile(image.data(), image.size(),
                                 [&](const uint8_t* p, uint32_t n) { return target->Write(p, n) == n; });
  if (!ok) return kErrWrite;
  target->SetEOF();
  return kOk;
}

}  // namespace zx::prof
