// The RTF reader on arbitrary bytes: always 0, and the escapes alone never grow
// a text (each escape stands for at most one character).
#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"
#include "docinfo/RtfText.h"
#include "docinfo_fuzz_util.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto file = fuzzutil::InputFile(data, size);
  if (!file) return 0;
  zx::clsDocu doc = fuzzutil::NewDocument();
  FUZZ_CHECK(zx::ReadRtfInfo(doc, *file) == 0);
  const zx::String text = zx::StringFromNarrow(reinterpret_cast<const char*>(data), static_cast<int64_t>(size), 1252);
  FUZZ_CHECK(zx::UnescapeRtf(text, 0).Length() <= text.Length());
  return 0;
}
