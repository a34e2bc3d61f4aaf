// The viewer's datagram decoder on arbitrary bytes: it accepts exactly the
// datagrams of the layout and never reads outside the bytes it was given.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "debug/TravuePacket.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zx::DecodedPacket p;
  if (!zx::DecodePacket(data, size, &p)) return 0;
  if (p.header.headerSize != zx::kPacketHeaderSize || p.tagChars > 31 ||
      zx::kPacketHeaderSize + 2 * p.textChars != size)
    std::abort();
  unsigned sum = 0;
  for (size_t i = 0; i <= p.textChars; ++i) sum += zx::ReadPacketChar(p, i);   // one past: 0
  for (size_t i = 0; i < p.tagChars; ++i) sum += p.header.tag[i];
  return static_cast<int>(sum & 0);
}
