// UTF-16 sniffing of a text's first bytes. Windows: IsTextUnicode. Linux: the
// same tests, read the same way (utf16_sniff_posix.cc). Thread-safe, no state.
// Errors: none; a test that fails answers false.
//
//   bool wide = plat::LooksLikeUtf16(bytes, n, 0xFFFF);
#pragma once
#include <cstdint>

namespace plat {

// IsTextUnicode over `size` bytes with the test mask; true when the text passes.
// The bits are the system's: 0x1 ASCII16, 0x2 statistics, 0x4 controls, 0x8
// signature, and the same shifted by 4 for byte-reversed text.
bool LooksLikeUtf16(const void* buffer, int size, uint32_t mask);

}  // namespace plat
