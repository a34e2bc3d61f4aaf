// The TIFF and JPEG readers on a whole file: never a crash, -1 or 0 only.
#include "docinfo/DocReaders.h"
#include "docinfo_fuzz_util.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto file = fuzzutil::InputFile(data, size);
  if (!file) return 0;
  zx::clsDocu doc = fuzzutil::NewDocument();
  const int tiff = zx::ReadTiffInfo(doc, *file);
  FUZZ_CHECK(tiff == 0 || tiff == -1);
  zx::clsDocu jpeg = fuzzutil::NewDocument();
  const int exif = zx::ReadJpegInfo(jpeg, *file);
  FUZZ_CHECK(exif == 0 || exif == -1);
  return 0;
}
