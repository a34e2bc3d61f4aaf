// Extraction of arbitrary bytes as a ZIP archive into a scratch folder: no crash,
// and nothing written beside the destination, whatever the names say.
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "fuzz_util.h"
#include "platform/process.h"
#include "zip/Extract.h"

namespace fs = std::filesystem;

namespace {

// root/in.zip is the archive, root/box/dest the destination: an entry that got out
// of dest would show in box (or in root).
struct Scratch {
  fs::path root = fs::temp_directory_path() / ("zxut_fuzz_zip_" + std::to_string(plat::ProcessId()));
  fs::path archive = root / "in.zip";
  fs::path box = root / "box";
  fs::path dest = box / "dest";
  Scratch() {
    fs::remove_all(root);
    fs::create_directories(box);
  }
};

std::set<fs::path> Contents(const fs::path& folder) {
  std::set<fs::path> out;
  for (const fs::directory_entry& e : fs::directory_iterator(folder)) out.insert(e.path());
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Scratch s;
  {
    std::ofstream out(s.archive, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  const zx::String archive(std::u16string_view(s.archive.u16string()));
  const zx::String dest(std::u16string_view(s.dest.u16string()));
  const int result = zx::ExtractZipReporting(archive, dest);
  FUZZ_CHECK(result == 0 || result == 1);
  const std::set<fs::path> inBox = Contents(s.box);
  FUZZ_CHECK(inBox.empty() || inBox == std::set<fs::path>{s.dest});
  FUZZ_CHECK(Contents(s.root) == (std::set<fs::path>{s.archive, s.box}));
  // Every entry lands in dest as a plain file or folder.
  if (fs::exists(s.dest)) {
    for (const fs::directory_entry& e : fs::recursive_directory_iterator(s.dest))
      FUZZ_CHECK(e.is_regular_file() || e.is_directory());
  }
  fs::remove_all(s.dest);
  return 0;
}
