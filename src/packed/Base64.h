// Base64 of the packed strings: the standard alphabet with "=" padding and no
// line breaks on encoding; a forgiving decoder.
// Threads: any thread; no state.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zx {

// Appends the base64 of `size` bytes to `out`.
void Base64Encode(const uint8_t* data, size_t size, std::u16string& out);

// Decodes into `buffer` of `capacity` bytes. Characters below U+0021 and those
// outside the alphabet are skipped; "=" counts as 0. A quad adds one byte, one
// more unless its third character is "=", one more unless its fourth is;
// `wholeQuads` counts 3 for every quad. An incomplete last quad is ignored.
// Returns the decoded length, or -1 when the buffer fills while quads remain.
int64_t Base64Decode(std::u16string_view text, uint8_t* buffer, size_t capacity, bool wholeQuads);

// The buffer size the packed-string reader gives a text of `length` characters.
inline size_t Base64DecodeCapacity(size_t length) { return (length / 4 + 1) * 3; }

}  // namespace zx
