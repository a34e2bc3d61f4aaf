// Job lifetime.
#include "prof/Prof.h"

namespace zx::prof {

clsProfJob* JobOpen(const char16_t* fileName, int32_t openMode) {
  clsProfJob* job = clsProfJob::Create(openMode);
  if (job == nullptr || fileName == nullptr) return job;
  job->fileName.Assign(fileName);
  // Reading and writing profile files arrives with the file layer and the text
  // formats; until then the job is the empty, working profile that a failed
  // open leaves, with the code of a file that could not be opened.
  job->lastError = openMode == 0 ? kErrOpen : kErrSave;
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
