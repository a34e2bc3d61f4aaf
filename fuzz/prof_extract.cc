// Embedded-file extraction from a fuzzed profile: the input is loaded as a
// profile (any format), then ProfExtractFiles writes its "File.Entry" lists into
// a folder. Checks: nothing appears beside the folder and nothing below it but
// plain files; the folder is emptied after each run.
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "fuzz_util.h"

#include "file/File.h"
#include "prof/Load.h"
#include "prof/Prof.h"
#include "profdata/ProfData.h"

namespace fs = std::filesystem;

namespace {

const fs::path& Root() {
  static const fs::path root = [] {
    const fs::path r = fs::temp_directory_path() / ("zxut_fuzz_extract_" + std::to_string(getpid()));
    fs::create_directories(r / "target");
    return r;
  }();
  return root;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4 || size > 1 << 15) return 0;
  zx::clsProfJob* job = zx::clsProfJob::Create(0);
  if (job == nullptr) return 0;
  {
    zx::clsFileRWTempStream file;
    file.Write(data, static_cast<uint32_t>(size));
    file.SetPos(0);
    zx::LoadProfile(*job, file);
  }
  const fs::path target = Root() / "target";
  zx::prof::ExtractFiles(job, nullptr, target.u16string().c_str(), (data[0] & 1) ? u"pw" : nullptr);
  job->Release();
  for (const auto& e : fs::directory_iterator(Root())) FUZZ_CHECK(e.path().filename() == "target");
  for (const auto& e : fs::directory_iterator(target)) {
    FUZZ_CHECK(e.is_regular_file());
    fs::remove(e.path());
  }
  return 0;
}
