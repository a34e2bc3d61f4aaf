#include "debug/TravuePacket.h"

#include <cstring>

namespace zx {

void SetPacketTag(scTRAVUE4DataPacket* packet, const char16_t* tag) {
  std::memset(packet->tag, 0, sizeof packet->tag);
  for (uint32_t i = 0; tag && i < kPacketTagChars - 1 && tag[i]; ++i) packet->tag[i] = tag[i];
}

bool DecodePacket(const void* data, size_t size, DecodedPacket* out) {
  if (!data || size < kPacketHeaderSize) return false;
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::memcpy(&out->header, bytes, kPacketHeaderSize);
  if (out->header.headerSize != kPacketHeaderSize || (size - kPacketHeaderSize) % 2 != 0) return false;
  out->text = bytes + kPacketHeaderSize;
  out->textChars = (size - kPacketHeaderSize) / 2;
  out->tagChars = 0;
  while (out->tagChars < kPacketTagChars && out->header.tag[out->tagChars]) ++out->tagChars;
  if (out->tagChars == kPacketTagChars) out->tagChars = kPacketTagChars - 1;   // unterminated
  return true;
}

char16_t ReadPacketChar(const DecodedPacket& p, size_t index) {
  if (index >= p.textChars) return 0;
  return static_cast<char16_t>(p.text[2 * index] | (p.text[2 * index + 1] << 8));
}

}  // namespace zx
