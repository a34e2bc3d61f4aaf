// The document-information exports: a handle is a clsDocuList from open to close.
#include <cstddef>
#include <new>

#include "docinfo/DocuList.h"
#include "zxUT22.h"

// The public block and the list's are the same bytes.
static_assert(sizeof(scDocInfoData) == sizeof(zx::scDocInfoData), "scDocInfoData size");
static_assert(offsetof(scDocInfoData, Comments) == offsetof(zx::scDocInfoData, Comments), "scDocInfoData layout");
static_assert(offsetof(scDocInfoData, ResolvedPath) == offsetof(zx::scDocInfoData, ResolvedPath),
              "scDocInfoData layout");
#if UINTPTR_MAX > 0xFFFFFFFFu
static_assert(zx::kDocInfoSizeBase == 72 && zx::kDocInfoSizeWithPath == 80, "the sizes callers give");
#endif

namespace {

zx::clsDocuList* List(HDOCINFO handle) { return reinterpret_cast<zx::clsDocuList*>(handle); }

}  // namespace

ZXUT_EXPORT HDOCINFO ZXUT_API UtilDocInfoOpen(DWORD refreshSeconds) {
  return reinterpret_cast<HDOCINFO>(new (std::nothrow) zx::clsDocuList(refreshSeconds));
}

ZXUT_EXPORT LONG ZXUT_API UtilDocInfoGet(HDOCINFO list, LPCWSTR name, scDocInfoData* pData, DWORD shareTimeoutSeconds) {
  if (!list || !name) return 0;
  try {
    return List(list)->Get(zx::String(reinterpret_cast<const char16_t*>(name)),
                           reinterpret_cast<zx::scDocInfoData*>(pData), shareTimeoutSeconds);
  } catch (...) {
    return 0;
  }
}

ZXUT_EXPORT void ZXUT_API UtilDocInfoClose(HDOCINFO list) { delete List(list); }

ZXUT_EXPORT LONG ZXUT_API UtilDocInfoShareAccessibility(LPCWSTR path) {
  try {
    return zx::clsDocuList::ShareAccessibility(reinterpret_cast<const char16_t*>(path));
  } catch (...) {
    return -1;
  }
}
