// Linux: OLE strings with the system's layout: a 16-byte aligned block holding the 4-byte
// byte length right before the text, then the text and a terminator.
#include <cstdlib>
#include <cstring>

#include "platform/bstr.h"

namespace plat {
namespace {

// The block is 16-byte aligned and the text starts 16 bytes in; the byte length
// occupies the 4 bytes right before the text.
constexpr size_t kHeader = 16;
constexpr uint32_t kMaxBytes = 0x7FFFFFFA;

unsigned char* Block(Bstr b) { return reinterpret_cast<unsigned char*>(b) - kHeader; }

}  // namespace

Bstr SysAllocLen(const char16_t* text, uint32_t len) {
  if (len > kMaxBytes / 2) return nullptr;
  uint32_t bytes = len * 2;
  size_t size = (kHeader + bytes + 2 + 15) & ~size_t(15);
  auto* block = static_cast<unsigned char*>(std::aligned_alloc(16, size));
  if (!block) return nullptr;
  std::memcpy(block + kHeader - 4, &bytes, 4);
  auto* chars = reinterpret_cast<char16_t*>(block + kHeader);
  if (text) std::memcpy(chars, text, bytes);
  chars[len] = 0;
  return chars;
}

Bstr SysAlloc(const char16_t* text) {
  if (!text) return nullptr;
  uint32_t n = 0;
  while (text[n] && n < kMaxBytes / 2) ++n;
  return SysAllocLen(text, n);
}

bool SysReAllocLen(Bstr* bstr, const char16_t* text, uint32_t len) {
  if (!bstr) return false;
  Bstr fresh = SysAllocLen(text, len);   // copies before the old block goes
  if (!fresh) return false;
  SysFree(*bstr);
  *bstr = fresh;
  return true;
}

void SysFree(Bstr bstr) {
  if (bstr) std::free(Block(bstr));
}

uint32_t SysByteLen(Bstr bstr) {
  if (!bstr) return 0;
  uint32_t bytes;
  std::memcpy(&bytes, reinterpret_cast<unsigned char*>(bstr) - 4, 4);
  return bytes;
}

uint32_t SysLen(Bstr bstr) { return SysByteLen(bstr) / 2; }

}  // namespace plat
