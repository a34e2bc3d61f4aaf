// Shared helpers of the formatter and scanner tests. On the Windows build the
// tables are also run through the system's own runtime (ucrtbase's
// __stdio_common_vswprintf / __stdio_common_vswscanf, found at run time).
#pragma once
#include <cstdarg>
#include <cstdint>
#include <string>

namespace fmt_test {

std::string Narrow(const std::u16string& s);

#ifdef _WIN32
// Null when ucrtbase.dll or the entry is missing.
using SystemPrintFn = int (*)(char16_t* dst, size_t cap, const char16_t* format, va_list ap);
using SystemScanFn = int (*)(const char16_t* text, const char16_t* format, va_list ap);
using SystemToDoubleFn = double (*)(const char16_t* text, char16_t** end);
SystemPrintFn SystemPrint();
SystemScanFn SystemScan();
SystemToDoubleFn SystemToDouble();
#endif

}  // namespace fmt_test
