// The Word 2 and WordPerfect readers on arbitrary bytes: -1 or 0 only.
#include "docinfo/DocReaders.h"
#include "docinfo_fuzz_util.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto file = fuzzutil::InputFile(data, size);
  if (!file) return 0;
  zx::clsDocu doc = fuzzutil::NewDocument();
  const int word2 = zx::ReadWord2Info(doc, *file);
  FUZZ_CHECK(word2 == 0 || word2 == -1);
  const int wp = zx::ReadWordPerfectInfo(doc, *file);
  FUZZ_CHECK(wp == 0 || wp == -1);
  return 0;
}
