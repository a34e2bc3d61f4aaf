// The HTML reader on arbitrary bytes (charset declarations and byte-order marks
// included): always 0.
#include "docinfo/DocReaders.h"
#include "docinfo_fuzz_util.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto file = fuzzutil::InputFile(data, size);
  if (!file) return 0;
  zx::clsDocu doc = fuzzutil::NewDocument();
  FUZZ_CHECK(zx::ReadHtmlInfo(doc, *file) == 0);
  return 0;
}
