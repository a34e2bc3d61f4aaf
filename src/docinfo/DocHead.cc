#include <algorithm>

#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"

namespace zx {

bool ReadDocumentHead(clsFile& file, std::string* bytes) {
  const uint32_t size = static_cast<uint32_t>(file.GetSize());
  const uint32_t want = std::min(size, kDocHeadLimit);
  bytes->assign(want, '\0');
  if (file.SetPos(0) != 0) return false;
  return want == 0 || file.Read(bytes->data(), want) == want;
}

bool ReadDocumentHeadText(clsFile& file, String* text) {
  std::string bytes;
  if (!ReadDocumentHead(file, &bytes)) return false;
  // The text ends at the first zero byte, as a terminated buffer would.
  *text = StringFromNarrow(bytes.c_str(), -1, String::DefaultCodePage());
  return true;
}

}  // namespace zx
