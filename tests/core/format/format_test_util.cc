#include "format_test_util.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace fmt_test {

std::string Narrow(const std::u16string& s) {
  std::string r;
  for (char16_t c : s) {
    if (c >= 0x20 && c < 0x7F) {
      r += static_cast<char>(c);
    } else {
      static const char* hex = "0123456789ABCDEF";
      r += "\\u";
      for (int i = 12; i >= 0; i -= 4) r += hex[(c >> i) & 0xF];
    }
  }
  return r;
}

#ifdef _WIN32
namespace {

// The options a program built with the current SDK passes: wide %s, the C99
// snprintf return, IEEE rounding of exact ties (0x20).
constexpr unsigned long long kPrintOptions = 0x0004 | 0x0002 | 0x0020;
constexpr unsigned long long kScanOptions = 0x0002;

using CommonPrint = int(__cdecl*)(unsigned long long, wchar_t*, size_t, const wchar_t*, void*, va_list);
using CommonScan = int(__cdecl*)(unsigned long long, const wchar_t*, size_t, const wchar_t*, void*, va_list);
using InvalidParameterHandler = void(__cdecl*)(const wchar_t*, const wchar_t*, const wchar_t*, unsigned,
                                              uintptr_t);
using SetHandler = InvalidParameterHandler(__cdecl*)(InvalidParameterHandler);

template <typename F>
F Entry(HMODULE m, const char* name) {
  return reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(m, name)));
}

void __cdecl IgnoreInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, uintptr_t) {}

using Wcstod = double(__cdecl*)(const wchar_t*, wchar_t**);

struct Ucrt {
  CommonPrint print = nullptr;
  CommonScan scan = nullptr;
  Wcstod wcstod = nullptr;
  Ucrt() {
    HMODULE m = LoadLibraryW(L"ucrtbase.dll");
    if (!m) return;
    print = Entry<CommonPrint>(m, "__stdio_common_vswprintf");
    scan = Entry<CommonScan>(m, "__stdio_common_vswscanf");
    wcstod = Entry<Wcstod>(m, "wcstod");
    // Bad formats return -1 instead of ending the process.
    if (auto set = Entry<SetHandler>(m, "_set_invalid_parameter_handler"))
      set(&IgnoreInvalidParameter);
  }
};

const Ucrt& Runtime() {
  static const Ucrt u;
  return u;
}

int Print(char16_t* dst, size_t cap, const char16_t* format, va_list ap) {
  return Runtime().print(kPrintOptions, reinterpret_cast<wchar_t*>(dst), cap,
                         reinterpret_cast<const wchar_t*>(format), nullptr, ap);
}

int ScanText(const char16_t* text, const char16_t* format, va_list ap) {
  return Runtime().scan(kScanOptions, reinterpret_cast<const wchar_t*>(text), static_cast<size_t>(-1),
                        reinterpret_cast<const wchar_t*>(format), nullptr, ap);
}

double ToDouble(const char16_t* text, char16_t** end) {
  return Runtime().wcstod(reinterpret_cast<const wchar_t*>(text), reinterpret_cast<wchar_t**>(end));
}

}  // namespace

SystemPrintFn SystemPrint() { return Runtime().print ? &Print : nullptr; }
SystemScanFn SystemScan() { return Runtime().scan ? &ScanText : nullptr; }
SystemToDoubleFn SystemToDouble() { return Runtime().wcstod ? &ToDouble : nullptr; }
#endif

}  // namespace fmt_test
