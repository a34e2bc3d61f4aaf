// The temporary-file manager's exports.
#include <new>

#include "tempfile/TempFileMgr.h"
#include "zxUT22.h"

ZXUT_EXPORT void ZXUT_API UtilTempFileMgrOpen(void) { zx::TempFileMgrOpen(); }

ZXUT_EXPORT void ZXUT_API UtilTempFileMgrClose(void) { zx::TempFileMgrClose(); }

ZXUT_EXPORT void ZXUT_API UtilTempFileMgrAdd(LPCWSTR name) {
  try {
    zx::TempFileMgrAdd(zx::String(reinterpret_cast<const char16_t*>(name)));
  } catch (const std::bad_alloc&) {
  }
}

ZXUT_EXPORT LONG ZXUT_API UtilTempFileMgrCreateFile(LPCWSTR base, LPCWSTR extension, BYTE bLong, BSTR* pResult) {
  if (!base || !extension || !pResult) return 0;
  try {
    const zx::String name = zx::TempFileMgrCreateFile(zx::String(reinterpret_cast<const char16_t*>(base)),
                                                      zx::String(reinterpret_cast<const char16_t*>(extension)),
                                                      (bLong & 1) != 0);
    name.CopyToBSTR(reinterpret_cast<plat::Bstr*>(pResult));
  } catch (const std::bad_alloc&) {
  }
  return 1;
}
