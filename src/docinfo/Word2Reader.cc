// Word 2 documents: the information block whose offset stands at byte 280, a
// series of strings with a length byte each.
#include <string>

#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"

namespace zx {

int ReadWord2Info(clsDocu& doc, clsFile& file) {
  uint8_t b[4];
  if (file.SetPos(280) != 280 || file.Read(b, 4) != 4) return -1;
  const uint64_t at = uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
  if (file.SetPos(at) != at || file.Read(b, 2) != 2) return -1;
  const uint32_t length = uint32_t(b[0]) | uint32_t(b[1]) << 8;
  std::string block(length > 2 ? length - 2 : 0, '\0');
  if (!block.empty() && file.Read(block.data(), uint32_t(block.size())) != block.size()) return -1;
  // Two strings are skipped, then the properties in their order; further ones are not read.
  clsVariant* const properties[] = {nullptr,       nullptr,      &doc.title,  &doc.subject,
                                    &doc.keywords, &doc.comments, &doc.author, &doc.lastAuthor};
  size_t pos = 0;
  for (clsVariant* property : properties) {
    if (pos >= block.size()) break;
    const size_t n = static_cast<uint8_t>(block[pos++]);
    if (n > block.size() - pos) break;   // a string past the block's end
    if (property) *property = StringFromNarrow(block.data() + pos, static_cast<int64_t>(n), String::DefaultCodePage());
    pos += n;
  }
  return 0;
}

}  // namespace zx
