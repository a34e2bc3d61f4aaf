// Arbitrary bytes as an office package (a whole file): the central-directory
// walk, the entry read (stored or deflated, under its size bound) and the
// property expressions. The answer is 0 or -1, and the file's position is where
// it was after an entry read.
#include <filesystem>
#include <fstream>
#include <string>

#include "docinfo/DocReaders.h"
#include "fuzz_util.h"
#include "platform/process.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const fs::path path =
      fs::temp_directory_path() / ("zxut_fuzz_office_" + std::to_string(plat::ProcessId()) + ".odt");
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  zx::clsDocFile file;
  FUZZ_CHECK(file.OpenDocument(zx::String(std::u16string_view(path.u16string()))) == 0);
  zx::clsDocu doc(zx::String(u"fuzz.odt"), 0, 0, nullptr);
  const int result = zx::ReadOfficePackage(doc, file);
  FUZZ_CHECK(result == 0 || result == -1);
  return 0;
}
