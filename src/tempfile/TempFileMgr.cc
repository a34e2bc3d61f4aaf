#include "tempfile/TempFileMgr.h"

#include <new>

#include "file/TempName.h"
#include "platform/lock.h"

namespace zx {
namespace {

plat::CriticalSection& GlobalLock() {
  static plat::CriticalSection* lock = new plat::CriticalSection(4000);   // lives for the process
  return *lock;
}
clsTempFileRemover* g_pRemover = nullptr;
scTempFileRemoverSeams g_seams;

}  // namespace

void TempFileMgrOpen() {
  plat::Lock guard(GlobalLock());
  if (g_pRemover) g_pRemover->AddRef();
  else g_pRemover = new (std::nothrow) clsTempFileRemover(g_seams);
}

void TempFileMgrClose() {
  plat::Lock guard(GlobalLock());
  if (g_pRemover && g_pRemover->ReleaseRef() == 0) {
    delete g_pRemover;
    g_pRemover = nullptr;
  }
}

void TempFileMgrAdd(const String& name) {
  plat::Lock guard(GlobalLock());
  if (g_pRemover) g_pRemover->Add(name);
  else clsTempFileRemover::DeleteTempFile(name, g_seams);
}

String TempFileMgrCreateFile(const String& base, const String& extension, bool bLong) {
  return UtilCreateTempName(String(u"zarnik"), base, extension, bLong ? uint32_t{kTempLongFolder} : 0u, nullptr);
}

void SetTempFileMgrSeamsForTests(const scTempFileRemoverSeams* seams) {
  plat::Lock guard(GlobalLock());
  g_seams = seams ? *seams : scTempFileRemoverSeams{};
}

clsTempFileRemover* TempFileMgrInstanceForTests() {
  plat::Lock guard(GlobalLock());
  return g_pRemover;
}

}  // namespace zx
