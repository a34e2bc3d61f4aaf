// The converters: arbitrary bytes through UTF-8, 1252 and an OS code page with and
// without a buffer; sizes agree, and decoded text encodes back to valid UTF-8 that
// decodes to the same units.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/codepage.h"

namespace {

std::u16string Decode(uint32_t cp, uint32_t flags, const char* s, int n) {
  int need = plat::MultiByteToWide(cp, flags, s, n, nullptr, 0);
  if (need <= 0) return {};
  std::u16string out(static_cast<size_t>(need), u'\0');
  int got = plat::MultiByteToWide(cp, flags, s, n, out.data(), need);
  if (got != need) std::abort();
  // One unit short must fail without writing past the end.
  if (need > 1 && plat::MultiByteToWide(cp, flags, s, n, out.data(), need - 1) != 0) std::abort();
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > 4096) return 0;
  const char* s = reinterpret_cast<const char*>(data);
  const int n = static_cast<int>(size);
  for (uint32_t cp : {65001u, 1252u, 932u, 1251u}) {
    std::u16string wide = Decode(cp, 0, s, n);
    Decode(cp, plat::kMbErrInvalidChars, s, n);
    if (wide.empty()) continue;
    int need = plat::WideToMultiByte(65001, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0);
    std::string utf8(static_cast<size_t>(need), '\0');
    if (plat::WideToMultiByte(65001, 0, wide.data(), static_cast<int>(wide.size()), utf8.data(), need) != need)
      std::abort();
    if (Decode(65001, plat::kMbErrInvalidChars, utf8.data(), need) != wide) {
      // Only lone surrogates (from the UTF-16 side) may differ: they became U+FFFD.
      for (size_t i = 0; i < wide.size(); ++i)
        if (wide[i] >= 0xD800 && wide[i] <= 0xDFFF) return 0;
      std::abort();
    }
    bool used = false;
    int narrow = plat::WideToMultiByte(cp == 65001 ? 1252 : cp, 0, wide.data(), static_cast<int>(wide.size()),
                                       nullptr, 0, nullptr, &used);
    if (narrow <= 0) std::abort();
  }
  return 0;
}
