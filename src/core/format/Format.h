// The one formatter and the one scanner of the library, with the Windows C
// runtime's wide-printf meaning on every OS: %s/%ls/%ws wide and %hs/%S narrow,
// l always 32 bits, %I64d/%I32d/%Id, %p as 16 upper-case hex digits, %#p as 0X +
// 16 digits, "(null)" for a null string, floating point as the universal CRT
// prints it. Narrow arguments are widened in the default code page of String.
//
// Where the runtime is lenient the formatter is too: an unknown conversion
// character is printed as text ("%y" gives "y") and a "%" at the end of the
// format is dropped. The result is -1 for what the runtime rejects: two size
// prefixes ("%hld"), "N", an integer conversion with L, w or T, %n (the runtime
// keeps %n disabled), and a width or precision above INT_MAX. Widths and
// precisions are honoured up to INT_MAX without allocating: padding and zeros are
// counted, not stored, once the output buffer is full. A result longer than
// INT_MAX units is -1. %f, %e, %g take a double also with L (long double is a
// double on Windows).
// Threads: any thread; the formatter and scanner keep no state.
#pragma once
#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace zx {

// Formats into dst (capacity in units, including the terminator). Returns the
// length the whole output needs, not counting the terminator, or -1 when the
// format is invalid. dst is always terminated when cap > 0; output is cut at
// cap - 1 units; on -1 dst is empty. dst may be null when cap is 0 (a measuring
// call).
int VFormatTo(char16_t* dst, size_t cap, const char16_t* format, va_list args);
int FormatTo(char16_t* dst, size_t cap, const char16_t* format, ...);

// Receives the output of VFormatToSink in pieces, in order. Pieces are not
// terminated.
using FormatSinkFn = void (*)(void* context, const char16_t* text, size_t count);

// Formats through a sink (for growing buffers). At most `limit` units (and never
// more than INT_MAX) reach the sink: longer output gives -1, as does an invalid
// format; the sink may then have received the output up to the fault.
int VFormatToSink(FormatSinkFn sink, void* context, size_t limit, const char16_t* format,
                  va_list args);

// The code page that %hs, %S, %hc, %C and %Z widen in (and %hs, %S, %hc, %C,
// %h[ narrow in when scanning): String's default code page; 0 widens byte by
// byte. String installs its getter here; until then the system's ANSI code page
// is used. Returns the previous source; null restores the system's.
using CodePageSource = uint32_t (*)();
CodePageSource SetFormatCodePageSource(CodePageSource source);
uint32_t FormatCodePage();

// swscanf with the same conventions (%d %i %u %x %X %o %I64d %ld %hd %s %c %[ %n
// %f %lf %e %g, widths, '*'). Returns the number of fields assigned, or -1 (EOF)
// when the input ends before the first conversion. As in the runtime: a field
// that fails after consuming characters keeps them consumed (one character of
// look-back), integers are read in 64 bits (saturating there) and cut to the
// target ("%d" of 3000000000 stores -1294967296), "%f" stores a float and "%lf"
// and "%Lf" a double, %c wants its whole width, and a malformed directive (width
// 0, unknown conversion, a size the conversion does not take, an open "[") ends
// the scan. Narrow targets (%hs %S %hc %C) get the format code page's bytes.
int VScan(const char16_t* text, const char16_t* format, va_list args);
int Scan(const char16_t* text, const char16_t* format, ...);

// wcstod of the runtime: leading white space, sign, decimal or 0x hexadecimal
// digits with exponent, "inf", "infinity", "nan", "nan(...)"; correctly rounded,
// +-inf past the range and 0 below it. Unlike "%lf" it can back up to the last
// complete number ("1.5e" reads 1.5 and ends at the e). *end (when given) is
// where the number ended, or text when there was none (then the result is 0).
double TextToDouble(const char16_t* text, const char16_t** end = nullptr);

}  // namespace zx
