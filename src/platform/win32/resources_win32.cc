// String resources on Windows. The library's own strings come from the compiled
// string tables (string_table.cc), the same as on Linux; other modules' strings
// are their real RT_STRING resources.
#include <windows.h>

#include "platform/errors.h"
#include "platform/locale.h"
#include "platform/resources.h"
#include "platform/internal/string_table.h"

namespace plat {
namespace {

HMODULE Self() {
  static const HMODULE self = [] {
    HMODULE h = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                             GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&LibraryModule), &h);
    return h;
  }();
  return self;
}

bool Ours(const void* module) { return !module || module == Self(); }

}  // namespace

const void* LibraryModule() { return Self(); }

bool FindStringResource(const void* module, uint32_t id, uint16_t langId, std::u16string& out) {
  if (Ours(module)) return detail::FindInStringTable(id, langId, out);
  auto h = static_cast<HMODULE>(const_cast<void*>(module));
  HRSRC res = ::FindResourceExW(h, MAKEINTRESOURCEW(6) /* RT_STRING */,
                                MAKEINTRESOURCEW(id / 16 + 1), langId);
  if (!res) return false;
  HGLOBAL mem = ::LoadResource(h, res);
  const auto* p = mem ? static_cast<const WCHAR*>(::LockResource(mem)) : nullptr;
  if (!p) return false;
  const DWORD bytes = ::SizeofResource(h, res);
  const WCHAR* end = p + bytes / sizeof(WCHAR);
  // 16 counted strings; empty ones are a single zero count.
  for (uint32_t i = 0; i < (id & 15) && p < end; ++i) p += 1 + *p;
  out.clear();
  if (p < end && p + 1 + *p <= end) out.assign(reinterpret_cast<const char16_t*>(p + 1), *p);
  return true;
}

bool LoadStringResource(const void* module, uint32_t id, std::u16string& out) {
  if (Ours(module)) return detail::LoadFromStringTable(id, UserDefaultUILanguage(), out);
  const WCHAR* text = nullptr;
  // A zero buffer size asks for a pointer to the resource itself.
  int n = ::LoadStringW(static_cast<HMODULE>(const_cast<void*>(module)), id,
                        reinterpret_cast<LPWSTR>(&text), 0);
  if (n <= 0 || !text) return false;
  out.assign(reinterpret_cast<const char16_t*>(text), static_cast<size_t>(n));
  return true;
}

}  // namespace plat
