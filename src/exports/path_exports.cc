// The path exports: the runtime's split, make and full-path functions, the
// network mapping, folder tokens, target kinds and volume facts.
#include <cstring>
#include <new>

#include "core/strings/CharsetConversion.h"
#include "exports/path_fullpath.h"
#include "module/ModuleUtils.h"
#include "path/PathRuntime.h"
#include "path/PathServices.h"
#include "zxUT22.h"

namespace {

const char16_t* In(LPCWSTR text) { return reinterpret_cast<const char16_t*>(text); }
char16_t* Out(LPWSTR text) { return reinterpret_cast<char16_t*>(text); }
zx::String Text(LPCWSTR text) { return zx::String(In(text)); }

LONG Store(LONG rc, const zx::String& result, BSTR* pResult) {
  if (rc == 0 && pResult) result.CopyToBSTR(reinterpret_cast<plat::Bstr*>(pResult));
  return rc;
}

// A narrow form: the wide service, its text converted back when it fits.
DWORD ForWise(LONG (*wide)(const zx::String&, zx::String&), LPCSTR path, LPSTR out, DWORD outSize) {
  try {
    zx::clsCharsetConversionString in(path);
    zx::String result;
    const LONG rc = wide(zx::String(in.wide()), result);
    if (rc != 0) return static_cast<DWORD>(rc);
    zx::clsCharsetConversionString back(result.wchar());
    const char* narrow = back.narrow();
    const size_t length = std::strlen(narrow);
    if (!out || length >= outSize) return outSize;
    std::memcpy(out, narrow, length + 1);
    return 0;
  } catch (const std::bad_alloc&) {
    return static_cast<DWORD>(-1);
  }
}

LONG UncService(const zx::String& path, zx::String& out) { return zx::EnsureUNCPath(path, out); }
LONG LocalService(const zx::String& path, zx::String& out) { return zx::EnsureLocalPath(path, out); }

}  // namespace

ZXUT_EXPORT LONG ZXUT_API UtilSplitpath(LPCWSTR path, LPWSTR drive, LPWSTR dir, LPWSTR name, LPWSTR ext) {
  return zx::SplitPath(In(path), Out(drive), drive ? ZXUT_MAX_DRIVE : 0, Out(dir), dir ? ZXUT_MAX_DIR : 0, Out(name),
                       name ? ZXUT_MAX_FNAME : 0, Out(ext), ext ? ZXUT_MAX_EXT : 0);
}

ZXUT_EXPORT LONG ZXUT_API UtilMergepath(LPWSTR out, LPCWSTR drive, LPCWSTR dir, LPCWSTR name, LPCWSTR ext) {
  return zx::MakePath(Out(out), ZXUT_MAX_PATH, In(drive), In(dir), In(name), In(ext));
}

ZXUT_EXPORT void ZXUT_API UtilFullpath(LPWSTR out, LPCWSTR path, DWORD size) {
  zx::FullPathForExport(Out(out), In(path), size);
}

ZXUT_EXPORT DWORD ZXUT_API UtilGetFSInfo(LPCWSTR root, UTIL_FSINFO* pInfo) {
  static_assert(sizeof(UTIL_FSINFO) == sizeof(zx::scFSInfo), "UTIL_FSINFO is five u32");
  return zx::GetFSInfo(Text(root), reinterpret_cast<zx::scFSInfo*>(pInfo));
}

ZXUT_EXPORT LONG ZXUT_API UtilExpandDefaultTokensOfFolderPath(LPCWSTR text, BSTR* pResult) {
  if (!text) return 0;
  try {
    Store(0, zx::ExpandDefaultTokensOfFolderPath(Text(text)), pResult);
  } catch (const std::bad_alloc&) {
  }
  return 1;
}

ZXUT_EXPORT LONG ZXUT_API UtilEnsureUNCPath(LPCWSTR path, BSTR* pResult) {
  try {
    zx::String out;
    return Store(zx::EnsureUNCPath(Text(path), out), out, pResult);
  } catch (const std::bad_alloc&) {
    return -1;
  }
}

ZXUT_EXPORT LONG ZXUT_API UtilEnsureLocalPath(LPCWSTR path, BSTR* pResult) {
  try {
    zx::String out;
    return Store(zx::EnsureLocalPath(Text(path), out), out, pResult);
  } catch (const std::bad_alloc&) {
    return -1;
  }
}

ZXUT_EXPORT DWORD ZXUT_API UtilEnsureUNCPathForWise(LPCSTR path, LPSTR out, DWORD outSize) {
  return ForWise(&UncService, path, out, outSize);
}

ZXUT_EXPORT DWORD ZXUT_API UtilEnsureLocalPathForWise(LPCSTR path, LPSTR out, DWORD outSize) {
  return ForWise(&LocalService, path, out, outSize);
}

ZXUT_EXPORT LONG ZXUT_API UtilClassifyPath(LPCWSTR target) {
  try {
    return zx::ClassifyPath(Text(target));
  } catch (const std::bad_alloc&) {
    return 0;
  }
}
