// clsBlowfish: 16-round Blowfish in ECB mode over whole buffers, the cipher of the
// packed strings. Blocks are two 32-bit words loaded in little-endian order.
// Errors: a buffer shorter than one block is left as it is, with a line on the
// diagnostic channel.
// Threads: one object per call; it holds the key schedule only.
//
//   clsBlowfish bf; bf.SetPassword(password.narrow()); bf.Encode(data, size);
#pragma once
#include <cstddef>
#include <cstdint>

namespace zx {

class clsBlowfish {
 public:
  static constexpr size_t kKeyBytes = 72;

  // The packed strings' key: the password cut at 72 bytes and, when shorter,
  // extended so that no key byte is zero; then the key schedule over 72 bytes.
  void SetPassword(const char* password);
  // The standard key schedule over `size` key bytes taken cyclically (1 to 72).
  void SetKey(const uint8_t* key, size_t size);

  // Whole buffers of at least 8 bytes. An odd tail is covered by one block over
  // the last 8 bytes: enciphered before the full blocks, deciphered after them.
  void Encode(uint8_t* data, size_t size) const;
  void Decode(uint8_t* data, size_t size) const;

  void EncipherBlock(uint8_t* block) const;
  void DecipherBlock(uint8_t* block) const;

 private:
  void Encipher(uint32_t& l, uint32_t& r) const;
  void Decipher(uint32_t& l, uint32_t& r) const;
  uint32_t F(uint32_t x) const {
    return ((s_[0][x >> 24] + s_[1][(x >> 16) & 0xFF]) ^ s_[2][(x >> 8) & 0xFF]) + s_[3][x & 0xFF];
  }

  uint8_t key_[kKeyBytes + 1] = {};
  uint32_t p_[18] = {};
  uint32_t s_[4][256] = {};
};

// The initial P array and S-boxes: the hexadecimal digits of pi's fraction.
extern const uint32_t kBlowfishInitP[18];
extern const uint32_t kBlowfishInitS[4][256];

}  // namespace zx
