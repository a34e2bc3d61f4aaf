#include "packed/Blowfish.h"

#include <cstring>

#include "core/diag/Diag.h"

namespace zx {

namespace {

uint32_t LoadLe(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

void StoreLe(uint8_t* p, uint32_t v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
  p[2] = uint8_t(v >> 16);
  p[3] = uint8_t(v >> 24);
}

}  // namespace

void clsBlowfish::SetPassword(const char* password) {
  size_t n = password ? std::strlen(password) : 0;
  if (n > kKeyBytes) n = kKeyBytes;
  std::memset(key_, 0, sizeof key_);
  if (n) std::memcpy(key_, password, n);
  // Extending with non-zero bytes; the empty password starts from a zero byte 0.
  for (size_t i = n ? n : 1; i < kKeyBytes; ++i)
    key_[i] = static_cast<uint8_t>((uint32_t(key_[i - 1]) * uint32_t(i) * 97u) % 255u + 1u);
  SetKey(key_, kKeyBytes);
}

void clsBlowfish::SetKey(const uint8_t* key, size_t size) {
  std::memcpy(p_, kBlowfishInitP, sizeof p_);
  std::memcpy(s_, kBlowfishInitS, sizeof s_);
  if (!key || size == 0) return;
  size_t k = 0;
  for (uint32_t& word : p_) {
    uint32_t data = 0;
    for (int b = 0; b < 4; ++b) {
      data = data << 8 | key[k];
      k = (k + 1) % size;
    }
    word ^= data;
  }
  uint32_t l = 0, r = 0;
  for (size_t i = 0; i < 18; i += 2) {
    Encipher(l, r);
    p_[i] = l;
    p_[i + 1] = r;
  }
  for (auto& box : s_) {
    for (size_t i = 0; i < 256; i += 2) {
      Encipher(l, r);
      box[i] = l;
      box[i + 1] = r;
    }
  }
}

void clsBlowfish::Encipher(uint32_t& l, uint32_t& r) const {
  uint32_t xl = l, xr = r;
  for (int i = 0; i < 16; ++i) {
    xl ^= p_[i];
    xr ^= F(xl);
    const uint32_t t = xl;
    xl = xr;
    xr = t;
  }
  const uint32_t t = xl;
  xl = xr;
  xr = t;
  xr ^= p_[16];
  xl ^= p_[17];
  l = xl;
  r = xr;
}

void clsBlowfish::Decipher(uint32_t& l, uint32_t& r) const {
  uint32_t xl = l, xr = r;
  for (int i = 17; i > 1; --i) {
    xl ^= p_[i];
    xr ^= F(xl);
    const uint32_t t = xl;
    xl = xr;
    xr = t;
  }
  const uint32_t t = xl;
  xl = xr;
  xr = t;
  xr ^= p_[1];
  xl ^= p_[0];
  l = xl;
  r = xr;
}

void clsBlowfish::EncipherBlock(uint8_t* block) const {
  uint32_t l = LoadLe(block), r = LoadLe(block + 4);
  Encipher(l, r);
  StoreLe(block, l);
  StoreLe(block + 4, r);
}

void clsBlowfish::DecipherBlock(uint8_t* block) const {
  uint32_t l = LoadLe(block), r = LoadLe(block + 4);
  Decipher(l, r);
  StoreLe(block, l);
  StoreLe(block + 4, r);
}

void clsBlowfish::Encode(uint8_t* data, size_t size) const {
  if (!data || size < 8) {
    DiagLine(u"clsBlowfish::Encode: buffer too small!!!");
    return;
  }
  if (size % 8) EncipherBlock(data + size - 8);
  for (size_t i = 0; i + 8 <= size; i += 8) EncipherBlock(data + i);
}

void clsBlowfish::Decode(uint8_t* data, size_t size) const {
  if (!data || size < 8) {
    DiagLine(u"clsBlowfish::Decode: buffer too small!!!");
    return;
  }
  for (size_t i = 0; i + 8 <= size; i += 8) DecipherBlock(data + i);
  if (size % 8) DecipherBlock(data + size - 8);
}

}  // namespace zx
