// Entity demasking on arbitrary UTF-16: never longer than its input, and the
// identity behind masking for every text whose codes masking keeps.
#include <string>

#include "fuzz_util.h"
#include "text/HtmlConvert.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::u16string text;
  for (size_t i = 0; i + 1 < size; i += 2) {
    const char16_t c = static_cast<char16_t>(data[i] | data[i + 1] << 8);
    if (c) text.push_back(c);
  }
  const zx::String plain = zx::DemaskAllHtmlCharacters(text);
  FUZZ_CHECK(plain.Length() <= static_cast<int64_t>(text.size()));

  std::u16string keepable;
  for (char16_t c : text)
    if (c < 256 && (c < 129 || c > 159)) keepable.push_back(c);
  const zx::String masked = zx::MaskAllHtmlCharacters(keepable);
  FUZZ_CHECK(zx::DemaskAllHtmlCharacters(masked.View()).View() == std::u16string_view(keepable));
  return 0;
}
