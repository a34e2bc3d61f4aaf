// The one formatter and the one scanner of the library, with the Windows C
// runtime's wide-printf meaning on every OS: %s/%ls/%ws wide and %hs/%S narrow,
// l always 32 bits, %I64d/%I32d/%Id, %p as 16 upper-case hex digits, %#p as 0X +
// 16 digits, "(null)" for a null string, floating point as the universal CRT
// prints it. Narrow arguments are widened in the default code page of String.
#pragma once
#include <cstdarg>
#include <cstddef>

namespace zx {

// Formats into dst (capacity in units, including the terminator). Returns the
// length the whole output needs, not counting the terminator, or -1 when the
// format is invalid. dst is always terminated when cap > 0; output is cut at
// cap - 1 units.
int VFormatTo(char16_t* dst, size_t cap, const char16_t* format, va_list args);
int FormatTo(char16_t* dst, size_t cap, const char16_t* format, ...);

// swscanf with the same conventions (%d %i %u %x %X %o %I64d %ld %hd %s %c %[ %n
// %f %lf %e %g, widths, '*'). Returns the number of fields assigned, or -1 (EOF)
// when the input ends before the first conversion.
int VScan(const char16_t* text, const char16_t* format, va_list args);
int Scan(const char16_t* text, const char16_t* format, ...);

}  // namespace zx
