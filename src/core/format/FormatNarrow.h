// Narrow text at the edges of the formatter and the scanner: %hs, %S, %hc, %C and
// %Z arguments are widened, and %hs, %S, %hc, %C, %h[ fields narrowed, in the code
// page that FormatCodePage() names (0: byte by byte, as String does it).
// Threads: any thread; the code-page source is an atomic pointer.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zx::fmt {

// Bytes that make up at most maxChars characters of s, stopping at a terminator;
// s need not be terminated when maxChars ends it first. UTF-8 counts a sequence
// as one character; other code pages count bytes.
size_t NarrowPrefix(const char* s, size_t maxChars, uint32_t codePage);

// Widens count bytes into dst (capacity cap units); dst null asks for the size.
// Returns the units written or needed, 0 for empty input, -1 on failure.
long Widen(const char* s, size_t count, uint32_t codePage, char16_t* dst, size_t cap);

// Narrows n (1, or 2 for a surrogate pair) units into dst (at least 8 bytes).
// Returns the bytes written; 0 when the character has no narrow form (code page 0
// and a unit above 0xFF).
int NarrowChar(const char16_t* units, int n, uint32_t codePage, char* dst);

}  // namespace zx::fmt
