// The library's own strict UTF-8 decoder. It works on the basic plane only and
// answers with an error text in place of the result when the input is bad; its
// callers use that text as data.
// Threads: any thread; no state.
#pragma once
#include <cstddef>

namespace zx {

class String;

inline constexpr char16_t kUtf8InvalidSequence[] = u"invalid UTF-8 sequence found!";
inline constexpr char16_t kUtf8InvalidEncoding[] = u"invalid UTF-8 encoding!";
inline constexpr char16_t kUtf8Ucs4NotSupported[] = u"UCS-4 not supported!";

// `bytes` holds one byte per character. Bytes below 0x80 are copied; a lead byte
// with n leading 1 bits (2..8) starts a sequence of n bytes whose continuation bytes
// must be 10xxxxxx, else "invalid UTF-8 sequence found!" (also for a lone
// continuation byte, for a sequence cut off by the end of the text, and for a
// character above 0xFF, which is no byte). A value that a shorter sequence could
// hold is "invalid UTF-8 encoding!"; a value above 0xFFFF is "UCS-4 not
// supported!". Encoded surrogates are stored as they are.
String DecodeUtf8(const String& bytes);
String DecodeUtf8(const char16_t* bytes, size_t length);

}  // namespace zx
