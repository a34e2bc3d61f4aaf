// The ZIP writer's exports: a handle is a clsZIPFile from create to close.
#include <new>

#include "zip/ZipFile.h"
#include "zxUT22.h"

namespace {

zx::String Text(LPCWSTR text) { return zx::String(reinterpret_cast<const char16_t*>(text)); }
zx::clsZIPFile* Zip(HZIPFILE handle) { return reinterpret_cast<zx::clsZIPFile*>(handle); }

}  // namespace

ZXUT_EXPORT HZIPFILE ZXUT_API UtilZIPCreate(LPCWSTR archivePath, LPCWSTR comment) {
  auto* zip = new (std::nothrow) zx::clsZIPFile;
  if (!zip) return nullptr;
  if (!zip->Create(Text(archivePath), Text(comment))) {
    delete zip;
    return nullptr;
  }
  return reinterpret_cast<HZIPFILE>(zip);
}

ZXUT_EXPORT LONG ZXUT_API UtilZIPAppend(HZIPFILE zip, LPCWSTR sourcePath, LPCWSTR entryComment, LPCWSTR entryName) {
  if (!zip) return 0;
  try {
    return Zip(zip)->Append(Text(sourcePath), Text(entryComment), Text(entryName));
  } catch (const std::bad_alloc&) {
    return -2;
  }
}

ZXUT_EXPORT LONG ZXUT_API UtilZIPAppendList(HZIPFILE zip, LPCWSTR folder, LPCWSTR mask, DWORD flags) {
  if (!zip) return 0;
  try {
    Zip(zip)->AppendList(Text(folder), Text(mask), flags);
  } catch (const std::bad_alloc&) {
  }
  return 0;
}

ZXUT_EXPORT LONG ZXUT_API UtilZIPClose(HZIPFILE zip) {
  if (!zip) return 0;
  LONG rc = -3;
  try {
    rc = Zip(zip)->Close();
  } catch (const std::bad_alloc&) {
  }
  delete Zip(zip);
  return rc;
}
