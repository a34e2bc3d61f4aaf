#include "core/regex/RegExTemplate.h"

namespace zx {

namespace {

void AddLiteral(std::vector<RegExTemplatePart>& parts, int64_t start, int64_t length) {
  if (!parts.empty() && parts.back().group < 0 && parts.back().start + parts.back().length == start) {
    parts.back().length += length;  // adjacent runs merge into one copy
    return;
  }
  parts.push_back({-1, start, length});
}

}  // namespace

std::vector<RegExTemplatePart> ParseRegExTemplate(std::u16string_view text) {
  std::vector<RegExTemplatePart> parts;
  const int64_t n = static_cast<int64_t>(text.size());
  int64_t i = 0;
  while (i < n) {
    if (text[i] == u'\\' && i + 1 < n) {
      const char16_t next = text[i + 1];
      if (next == u'\\') {
        AddLiteral(parts, i + 1, 1);
        i += 2;
        continue;
      }
      if (next >= u'0' && next <= u'9') {
        parts.push_back({static_cast<int32_t>(next - u'0'), 0, 0});
        i += 2;
        continue;
      }
    }
    AddLiteral(parts, i, 1);
    ++i;
  }
  return parts;
}

}  // namespace zx
