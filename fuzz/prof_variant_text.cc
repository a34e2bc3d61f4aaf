// "var://" value text read as a variant: the input, widened byte by byte, behind
// the prefix (first byte odd) or as it stands. Whatever reads as a variant is
// written as text again and must read back as the same variant.
#include <cstdint>
#include <string>

#include "fuzz_util.h"

#include "profdata/ProfData.h"
#include "variant/Variant.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1 || size > 1 << 14) return 0;
  std::u16string text = (data[0] & 1) ? u"var://" : u"";
  if (data[0] & 2) text += u"@2@";
  for (size_t i = 1; i < size; ++i) text += static_cast<char16_t>(data[i]);
  zx::clsVariant v;
  FUZZ_CHECK(zx::prof::VariantFromContents(text.c_str(), &v) == 0);
  if (v.vt == VT_EMPTY) return 0;
  zx::String again;
  FUZZ_CHECK(zx::prof::VariantToContents(v, again));
  zx::clsVariant w;
  FUZZ_CHECK(zx::prof::VariantFromContents(again.wchar(), &w) == 0);
  FUZZ_CHECK(w.vt == v.vt);
  FUZZ_CHECK(zx::clsVariant::Compare(v, w) || v.vt == VT_R4 || v.vt == VT_R8);  // NaN is not equal to itself
  return 0;
}
