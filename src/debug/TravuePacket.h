// scTRAVUE4DataPacket: one datagram to the viewer, little-endian, a 112-byte header
// followed by 16-bit text without terminator. Building and the viewer-side decoder.
#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>

#include "platform/timestamp.h"

namespace zx {

static_assert(std::endian::native == std::endian::little, "the datagram is little-endian");

inline constexpr uint32_t kPacketHeaderSize = 112;
inline constexpr uint32_t kPacketTagChars = 32;   // 31 characters and the terminator

struct scTRAVUE4DataPacket {
  uint32_t headerSize;          // 112
  plat::SystemTime time;        // GetLocalTime, once per message
  char16_t tag[kPacketTagChars];
  uint32_t threadId;
  uint32_t processor;
  uint32_t digit;               // '0' + counter modulo 10
  uint32_t zero;
  uint32_t number1;             // always 1 here
  uint32_t number2;             // always 0 here
  uint32_t remainingBytes;      // text bytes of the message from this packet on, without blanks
};
static_assert(sizeof(scTRAVUE4DataPacket) == kPacketHeaderSize);
static_assert(offsetof(scTRAVUE4DataPacket, time) == 4 && offsetof(scTRAVUE4DataPacket, tag) == 20 &&
              offsetof(scTRAVUE4DataPacket, threadId) == 84 &&
              offsetof(scTRAVUE4DataPacket, processor) == 88 &&
              offsetof(scTRAVUE4DataPacket, digit) == 92 && offsetof(scTRAVUE4DataPacket, zero) == 96 &&
              offsetof(scTRAVUE4DataPacket, number1) == 100 &&
              offsetof(scTRAVUE4DataPacket, number2) == 104 &&
              offsetof(scTRAVUE4DataPacket, remainingBytes) == 108);

// Copies at most 31 characters of `tag` and terminates; the rest of the field is zero.
void SetPacketTag(scTRAVUE4DataPacket* packet, const char16_t* tag);

// A received datagram, checked. `text` points into the datagram (may be unaligned:
// read it with ReadPacketChar).
struct DecodedPacket {
  scTRAVUE4DataPacket header;
  const unsigned char* text;
  size_t textChars;
  size_t tagChars;   // characters before the terminator (at most 31)
};
// False when the bytes are not a datagram of this layout (short, wrong header size,
// odd text length).
bool DecodePacket(const void* data, size_t size, DecodedPacket* out);
char16_t ReadPacketChar(const DecodedPacket& p, size_t index);

}  // namespace zx
