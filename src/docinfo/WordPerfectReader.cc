// WordPerfect documents: the packets of the index blocks of a major version 2
// file. Texts are 16-bit characters in the OEM code page (437); characters of
// the word processor's own sets are dropped, but for its line break.
#include <string>

#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"

namespace zx {
namespace {

constexpr uint32_t kOemCodePage = 437;
// Packet heads read for one file at most: block entries may point at the same
// packets again and again.
constexpr uint32_t kPacketLimit = 1u << 20;

uint16_t U16(const uint8_t* p) { return uint16_t(p[0] | p[1] << 8); }
uint32_t U32(const uint8_t* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24; }

bool ReadAt(clsFile& file, uint64_t at, void* buffer, uint32_t count) {
  return file.SetPos(at) == at && file.Read(buffer, count) == count;
}

String PacketText(const std::string& body) {
  std::string bytes;
  for (size_t i = 0; i + 1 < body.size(); i += 2) {
    const uint16_t c = U16(reinterpret_cast<const uint8_t*>(body.data() + i));
    if (c == 0) break;
    if (c < 256) bytes.push_back(static_cast<char>(c));
    else if (c == 0xF90A) bytes.append("\r\n");
    // Other characters belong to the word processor's own sets: dropped.
  }
  return StringFromNarrow(bytes.data(), static_cast<int64_t>(bytes.size()), kOemCodePage);
}

clsVariant* PropertyOfTag(clsDocu& doc, uint16_t tag) {
  switch (tag) {
    case 1: return &doc.comments;
    case 5: return &doc.author;
    case 17: return &doc.title;
    case 26: return &doc.keywords;
    case 46: return &doc.subject;
    case 48: return &doc.lastAuthor;
    default: return nullptr;
  }
}

}  // namespace

int ReadWordPerfectInfo(clsDocu& doc, clsFile& file) {
  uint8_t head[512];
  if (!ReadAt(file, 0, head, sizeof head)) return -1;
  if (head[1] != 'W' || head[2] != 'P' || head[3] != 'C') return -1;
  if (head[12] != 0) return -1;   // encrypted
  // Major version 0 delivers no property (its index records hold none of them);
  // every version but 2 is refused.
  if (head[10] != 2) return -1;
  const uint32_t index = U16(head + 14);
  if (index < 16) return -1;
  uint8_t entry[14];
  if (!ReadAt(file, index, entry, sizeof entry) || U16(entry) != 2) return -1;
  const uint32_t blocks = U16(entry + 2);
  if (blocks == 0) return -1;
  uint32_t packets = 0;
  for (uint32_t n = 0; n < blocks; ++n) {
    if (!ReadAt(file, index + uint64_t(n) * 14, entry, sizeof entry)) break;
    if (entry[1] != 18) continue;
    uint64_t left = U32(entry + 6);
    uint64_t at = U32(entry + 10);
    while (left > 0 && packets++ < kPacketLimit) {
      uint8_t p[6];
      if (!ReadAt(file, at, p, sizeof p)) break;
      const uint32_t total = U16(p);
      if (total < 6) break;   // a packet must hold its own head, or the walk stands still
      clsVariant* property = PropertyOfTag(doc, U16(p + 2));
      if (property) {
        std::string body(total - 6, '\0');
        body.resize(file.Read(body.data(), uint32_t(body.size())));
        *property = PacketText(body);
      }
      at += total;
      left = total >= left ? 0 : left - total;
    }
  }
  return 0;
}

}  // namespace zx
