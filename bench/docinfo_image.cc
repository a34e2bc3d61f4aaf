// The JPEG reader over 1,000 camera files against exiftool -fast reading the
// same files in one batch run; the goal is at least ten times faster per file.
// Each file is opened and read afresh in every pass (nothing of a file is kept
// between passes); both sides find the files in the system's cache.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"
#include "ratio.h"

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 1000;

// Camera samples of the goexif package when installed, else the test images,
// copied round-robin into a folder of 1,000 files.
const fs::path& Folder() {
  static const fs::path folder = [] {
    std::vector<fs::path> sources;
    for (const char* dir : {"/usr/share/gocode/src/github.com/rwcarlsen/goexif/exif/samples",
                            ZXUT_SOURCE_DIR "/tests/docinfo/data/image"})
      if (fs::is_directory(dir))
        for (const auto& e : fs::directory_iterator(dir))
          if (e.path().extension() == ".jpg") sources.push_back(e.path());
    const fs::path out = fs::temp_directory_path() / ("zxut_bench_jpeg_" + std::to_string(getpid()));
    fs::create_directories(out);
    for (int i = 0; i < kFiles && !sources.empty(); ++i)
      fs::copy_file(sources[i % sources.size()], out / ("image" + std::to_string(i) + ".jpg"),
                    fs::copy_options::overwrite_existing);
    return out;
  }();
  return folder;
}

std::vector<std::string> Paths() {
  std::vector<std::string> paths;
  for (int i = 0; i < kFiles; ++i) paths.push_back((Folder() / ("image" + std::to_string(i) + ".jpg")).string());
  return paths;
}

void BM_Ours(benchmark::State& state) {
  std::vector<zx::String> names;
  for (const std::string& p : Paths()) names.push_back(zx::StringFromNarrow(p.c_str(), -1, plat::kCpUtf8));
  int64_t withExif = 0;
  for (auto _ : state) {
    withExif = 0;
    for (const zx::String& name : names) {
      zx::clsDocu doc(name, 0, 0, nullptr);
      zx::clsDocFile file;
      if (file.OpenDocument(name) != 0) continue;
      withExif += zx::ReadJpegInfo(doc, file) == 0;
      benchmark::DoNotOptimize(doc.comments);
    }
  }
  state.counters["with_exif"] = static_cast<double>(withExif);
  state.SetItemsProcessed(state.iterations() * kFiles);
}
BENCHMARK(BM_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ExiftoolFast(benchmark::State& state) {
  if (std::system("command -v exiftool >/dev/null") != 0) {
    state.SkipWithError("not installed: exiftool (libimage-exiftool-perl)");
    return;
  }
  const fs::path list = Folder() / "list.txt";
  {
    std::ofstream out(list);
    for (const std::string& p : Paths()) out << p << "\n";
  }
  const std::string line = "exiftool -fast -j -q -q -@ '" + list.string() + "' >/dev/null 2>&1";
  for (auto _ : state) std::system(line.c_str());
  state.SetItemsProcessed(state.iterations() * kFiles);
}
BENCHMARK(BM_ExiftoolFast)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  Folder();
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSpeedWall("1,000 JPEGs: ours vs exiftool -fast batch", "BM_Ours/real_time",
                          "BM_ExiftoolFast/iterations:3/real_time", 10.0);
  benchmark::Shutdown();
  std::error_code ec;
  fs::remove_all(Folder(), ec);
  return 0;
}
