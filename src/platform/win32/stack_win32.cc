// Return addresses through RtlCaptureStackBackTrace (looked up at run time), module
// look-up and the image walk through VirtualQuery and GetModuleFileNameW.
#include <windows.h>

#include <string>

#include "platform/locale.h"
#include "platform/stack.h"

namespace plat {
namespace {

using CaptureFn = USHORT(WINAPI*)(ULONG, ULONG, PVOID*, PULONG);

CaptureFn Capture() {
  static const CaptureFn fn = [] {
    HMODULE k = ::GetModuleHandleW(L"kernel32.dll");
    FARPROC p = k ? ::GetProcAddress(k, "RtlCaptureStackBackTrace") : nullptr;
    if (!p) {
      HMODULE nt = ::GetModuleHandleW(L"ntdll.dll");
      p = nt ? ::GetProcAddress(nt, "RtlCaptureStackBackTrace") : nullptr;
    }
    return reinterpret_cast<CaptureFn>(reinterpret_cast<void*>(p));
  }();
  return fn;
}

std::u16string ModuleFileName(HMODULE module) {
  wchar_t buf[MAX_PATH * 4];
  DWORD n = ::GetModuleFileNameW(module, buf, static_cast<DWORD>(sizeof buf / sizeof buf[0]));
  if (n == 0 || n >= sizeof buf / sizeof buf[0]) return {};
  return std::u16string(reinterpret_cast<const char16_t*>(buf), n);
}

}  // namespace

bool CanCaptureStack() { return Capture() != nullptr && SystemVersion() >= 0x0501; }

__declspec(noinline) int CaptureStack(int skip, int count, void** frames) {
  if (count <= 0 || skip < 0 || !CanCaptureStack()) return 0;
  // The system takes at most 62 frames before 6.0 in one request.
  const int limit = SystemVersion() < 0x0600 ? 61 : 200;
  void* raw[200];
  int want = skip + count;
  if (want > limit) want = limit;
  int got = Capture()(static_cast<ULONG>(1), static_cast<ULONG>(want), raw, nullptr);
  int n = 0;
  for (int i = skip; i < got && n < count; ++i) frames[n++] = raw[i];
  return n;
}

std::u16string ModulePathOfAddress(const void* address) {
  MEMORY_BASIC_INFORMATION mbi{};
  if (!address || ::VirtualQuery(address, &mbi, sizeof mbi) == 0 || mbi.State == MEM_FREE) return {};
  return ModuleFileName(static_cast<HMODULE>(mbi.AllocationBase));
}

void WalkModuleImages(ImageFn fn, void* context) {
  MEMORY_BASIC_INFORMATION mbi{};
  const char* at = nullptr;
  while (::VirtualQuery(at, &mbi, sizeof mbi) != 0) {
    if (mbi.State != MEM_FREE && mbi.BaseAddress == mbi.AllocationBase) {
      std::u16string path = ModuleFileName(static_cast<HMODULE>(mbi.AllocationBase));
      if (!path.empty() && !fn(context, reinterpret_cast<uintptr_t>(mbi.BaseAddress),
                               mbi.RegionSize, path.c_str()))
        return;
    }
    const char* next = static_cast<const char*>(mbi.BaseAddress) + mbi.RegionSize;
    if (next <= at) return;
    at = next;
  }
}

}  // namespace plat
