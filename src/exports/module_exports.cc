// The module frame's exports: jobs, flags, error and assertion lines, stack and
// module listings, client module attach and detach, and the pointer tests.
#include "module/Lifecycle.h"
#include "module/ModuleList.h"
#include "module/ModuleUtils.h"
#include "module/StackRecord.h"
#include "platform/compiler.h"
#include "platform/library_entry.h"
#include "platform/startup.h"
#include "zxUT22.h"

namespace {

const char16_t* Wide(LPCWSTR text) { return reinterpret_cast<const char16_t*>(text); }
zx::clsModuleNode* Node(HUTILMODULE module) { return reinterpret_cast<zx::clsModuleNode*>(module); }

// The library's entry point (DllMain, or the load and unload functions) is linked
// into the shared library through the first reference; the others pull in, ahead
// of it, everything it calls.
[[maybe_unused]] ZX_USED const void* const g_entry[] = {
    reinterpret_cast<const void*>(&plat::LibraryEntryAnchor),
    reinterpret_cast<const void*>(&zx::LibraryProcessAttach),
    reinterpret_cast<const void*>(&zx::LibraryProcessDetach),
    reinterpret_cast<const void*>(&plat::LibraryModuleHandle)};

}  // namespace

ZXUT_EXPORT HUTILMODULE ZXUT_API UtilJobOpen(LPCWSTR name, DWORD flags) {
  return reinterpret_cast<HUTILMODULE>(zx::JobOpen(Wide(name), flags));
}

ZXUT_EXPORT LONG ZXUT_API UtilJobClose(HUTILMODULE module) { return zx::JobClose(Node(module)); }

ZXUT_EXPORT LONG ZXUT_API UtilGetFlags(void) { return zx::ModuleFlags(); }

ZXUT_EXPORT void ZXUT_API UtilError(LPCWSTR function, LPCWSTR reason, const void*, const void*,
                                    LPCWSTR detail) {
  zx::ErrorLine(Wide(function), Wide(reason), Wide(detail));
}

ZXUT_EXPORT void ZXUT_API UtilAssert(LPCWSTR expression, LPCWSTR file, UINT line) {
  zx::Assertion(Wide(expression), Wide(file), line);
}

ZXUT_EXPORT void ZXUT_API UtilStackTrace(void*, LONG skip) { zx::PrintStackTrace(skip); }

ZXUT_EXPORT void ZXUT_API UtilListModules(void) { zx::ListModules(); }

ZXUT_EXPORT void ZXUT_API UtilModuleOnAttach(LPCWSTR modulePath) { zx::ModuleOnAttach(Wide(modulePath)); }

ZXUT_EXPORT void ZXUT_API UtilModuleOnDetach(LPCWSTR modulePath) { zx::ModuleOnDetach(Wide(modulePath)); }

ZXUT_EXPORT size_t ZXUT_API UtilSafeStrlen(void*, LPCWSTR text) {
  return static_cast<size_t>(zx::SafeStrlen(Wide(text)));
}

ZXUT_EXPORT BOOL ZXUT_API UtilIsRPtr(const void*, size_t) { return zx::AnyPointerIsValid(); }
ZXUT_EXPORT BOOL ZXUT_API UtilIsWPtr(void*, size_t) { return zx::AnyPointerIsValid(); }
ZXUT_EXPORT BOOL ZXUT_API UtilIsString(LPCWSTR) { return zx::AnyPointerIsValid(); }

ZXUT_EXPORT BOOL ZXUT_API UtilSetCBTHook(UTILCBTCALLBACK callback) {
  return zx::SetCbtHook(reinterpret_cast<plat::CbtCallback>(callback));
}
