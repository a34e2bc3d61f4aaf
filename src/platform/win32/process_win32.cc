#include <windows.h>

#include <string>

#include "platform/process.h"

namespace plat {
namespace {

std::u16string ModulePath(HMODULE module) {
  std::wstring buf(MAX_PATH, L'\0');
  for (;;) {
    DWORD n = ::GetModuleFileNameW(module, buf.data(), static_cast<DWORD>(buf.size()));
    if (n == 0) return {};
    if (n < buf.size()) {
      buf.resize(n);
      return std::u16string(reinterpret_cast<const char16_t*>(buf.data()), n);
    }
    if (buf.size() >= 32768) return {};
    buf.resize(buf.size() * 2);
  }
}

}  // namespace

uint32_t ProcessId() { return ::GetCurrentProcessId(); }
uint32_t ThreadId() { return ::GetCurrentThreadId(); }

unsigned ProcessorCount() {
  static const unsigned count = [] {
    SYSTEM_INFO si;
    ::GetSystemInfo(&si);
    return si.dwNumberOfProcessors ? static_cast<unsigned>(si.dwNumberOfProcessors) : 1u;
  }();
  return count;
}

unsigned CurrentProcessor() { return ::GetCurrentProcessorNumber(); }

std::u16string ExecutablePath() { return ModulePath(nullptr); }

void* OwnLibraryExport(const char* name) {
  HMODULE lib = ::GetModuleHandleW(L"zxUT22.dll");
  if (!lib) lib = ::LoadLibraryW(L"zxUT22.dll");   // the name "zxut22.dll" of the module prefix and 22
  return lib ? reinterpret_cast<void*>(::GetProcAddress(lib, name)) : nullptr;
}

std::u16string LibraryPath() {
  HMODULE self = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&LibraryPath), &self);
  return ModulePath(self);
}

std::u16string EnvironmentVariable(const char16_t* name, bool* found) {
  if (found) *found = false;
  if (!name) return {};
  auto wname = reinterpret_cast<const wchar_t*>(name);
  std::wstring buf(256, L'\0');
  for (;;) {
    ::SetLastError(0);
    DWORD n = ::GetEnvironmentVariableW(wname, buf.data(), static_cast<DWORD>(buf.size()));
    if (n == 0) {
      if (found) *found = ::GetLastError() != ERROR_ENVVAR_NOT_FOUND;
      return {};
    }
    if (n < buf.size()) {
      if (found) *found = true;
      return std::u16string(reinterpret_cast<const char16_t*>(buf.data()), n);
    }
    buf.resize(n);
  }
}

}  // namespace plat
