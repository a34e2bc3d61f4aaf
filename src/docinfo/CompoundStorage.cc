#include "docinfo/CompoundStorage.h"

#include <atomic>

#include "core/diag/Diag.h"
#include "file/TempName.h"
#include "platform/errors.h"
#include "platform/file.h"

namespace zx {
namespace {

std::atomic<bool> g_modesRefused{false};

// The file's share code (File.h) of a storage share mode: deny write lets others
// read, exclusive lets nobody in, deny none lets others read and write.
uint32_t ShareOfMode(uint32_t mode) {
  switch (mode & 0x70) {
    case 0x20: return 2;
    case 0x10: return 0;
    default: return 3;
  }
}

int32_t OpenWithModes(const String& path, clsCompoundFile* storage, bool mayRefuse) {
  const int32_t test = TestCompoundFile(path);
  if (test != 0) return test == 1 ? kStgNotStorage : test;
  int32_t status = kStgShareViolation;
  for (uint32_t mode : kStorageOpenModes) {
    if (mayRefuse && g_modesRefused.load(std::memory_order_relaxed)) {
      status = kStgShareViolation;
      continue;
    }
    auto file = std::make_unique<clsFileRO>();
    if (file->Open(path, 0, 0, ShareOfMode(mode), kFileNormal) != 0) {
      const uint32_t kind = file->GetLastErrorKind();
      status = kind == kFileErrInUse ? kStgShareViolation
               : kind == kFileErrAccess ? kStgAccessDenied
               : kind == kFileErrPath   ? kStgPathNotFound
                                        : kStgFileNotFound;
      if (status == kStgShareViolation) continue;
      return status;
    }
    return storage->Open(std::make_unique<clsFileSource>(std::move(file)));
  }
  return status;
}

}  // namespace

int32_t OpenCompoundStorage(const String& path, clsCompoundFile* storage, String* copyName) {
  const int32_t status = OpenWithModes(path, storage, true);
  if (status != kStgShareViolation && status != kStgLockViolation && status != kStgInvalidFlag) return status;
  if (!copyName) return status;
  // Another program holds the file: read a copy of its bytes instead.
  clsFileRO source;
  if (source.Open(path, 0, 0, 3, kFileNormal) != 0) return status;
  const String copy = UtilCreateTempName(String(u"zarnik"), String(u"doc"), String(u"tmp"), kTempLongFolder, nullptr);
  if (copy.IsEmpty()) return status;
  *copyName = copy;
  {
    clsFileRW target;
    if (target.Open(copy, 1, 2, 0, kFileNormal) != 0 || !target.CopyFrom(source)) return status;
  }
  source.Close();
  return OpenWithModes(copy, storage, false);
}

void DeleteStorageCopy(const String& copyName) {
  if (copyName.IsEmpty()) return;
  if (!plat::RemoveFile(copyName.wchar()))
    DiagFormat(u"DeleteFile(%s) returned error '%s'", copyName.wchar(),
               String::SystemMessage(plat::LastError()).wchar());
}

void SetStorageModesRefusedForTests(bool refused) { g_modesRefused.store(refused); }

}  // namespace zx
