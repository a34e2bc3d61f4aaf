#include <windows.h>

#include <cstdlib>

#include "platform/startup.h"

namespace plat {
namespace {

InvalidParameterFn g_invalidParameter = nullptr;

void __cdecl OnInvalidParameter(const wchar_t* expression, const wchar_t* function,
                                const wchar_t* file, unsigned int line, uintptr_t) {
  if (InvalidParameterFn fn = g_invalidParameter)
    fn(reinterpret_cast<const char16_t*>(expression), reinterpret_cast<const char16_t*>(function),
       reinterpret_cast<const char16_t*>(file), line);
}

}  // namespace

MathGuardFacts QueryMathGuardFacts() {
  MathGuardFacts f{false, false, false, 0};
  HMODULE k = ::GetModuleHandleW(L"kernel32.dll");
  if (!k) return f;
  f.kernelFound = true;
  f.xsaveEnabled = ::IsProcessorFeaturePresent(PF_XSAVE_ENABLED) != FALSE;
  using XStateFn = DWORD64(WINAPI*)();
  auto fn = reinterpret_cast<XStateFn>(reinterpret_cast<void*>(::GetProcAddress(k, "GetEnabledXStateFeatures")));
  if (fn) {
    f.xstateQueryPresent = true;
    f.xstateFeatures = fn();
  }
  return f;
}

// The switch exists in the universal runtime only; the older runtime has no FMA path.
void DisableRuntimeFma() {
  for (const wchar_t* crt : {L"ucrtbase.dll", L"msvcrt.dll"}) {
    HMODULE m = ::GetModuleHandleW(crt);
    if (!m) continue;
    using SetFn = int(__cdecl*)(int);
    if (auto fn = reinterpret_cast<SetFn>(reinterpret_cast<void*>(::GetProcAddress(m, "_set_FMA3_enable")))) {
      fn(0);
      return;
    }
  }
}

bool InstallInvalidParameterHandler(InvalidParameterFn fn) {
  g_invalidParameter = fn;
  _set_invalid_parameter_handler(&OnInvalidParameter);
  return true;
}

bool ActivateLibraryManifest(void* moduleHandle) {
  ACTCTXW ctx{};
  ctx.cbSize = sizeof ctx;
  ctx.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
  ctx.hModule = static_cast<HMODULE>(moduleHandle);
  ctx.lpResourceName = MAKEINTRESOURCEW(2);
  HANDLE h = ::CreateActCtxW(&ctx);
  // The context keeps its one reference until the process ends.
  return h != INVALID_HANDLE_VALUE && h != nullptr;
}

uint32_t RemoteSessionId() {
  if (!::GetSystemMetrics(SM_REMOTESESSION)) return 0;
  DWORD session = 0;
  return ::ProcessIdToSessionId(::GetCurrentProcessId(), &session) ? session : 0;
}

bool IsModuleLoaded(const char16_t* pathOrName) {
  return pathOrName && ::GetModuleHandleW(reinterpret_cast<const wchar_t*>(pathOrName)) != nullptr;
}

void* LibraryModuleHandle() {
  HMODULE m = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&LibraryModuleHandle), &m);
  return m;
}

}  // namespace plat
