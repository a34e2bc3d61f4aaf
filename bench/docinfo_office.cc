// 1,000 office documents (copies of a few compound-file fixtures) read cold: a
// new document record each, the summary information read through the file
// (open, signature test, storage, property set), against exiftool -fast reading
// the same 1,000 files in one process. Goal: at most 0.3 ms a file.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "docinfo/PropertySet.h"
#include "ratio.h"

namespace {

namespace fs = std::filesystem;
constexpr int kFiles = 1000;

fs::path Work() { return fs::temp_directory_path() / ("zxut_bench_office_" + std::to_string(getpid())); }

const std::vector<fs::path>& Files() {
  static std::vector<fs::path> files = [] {
    const char* fixtures[] = {"report.doc", "umlauts.doc", "budget.xls", "plain.doc"};
    const fs::path data = fs::path(ZXUT_SOURCE_DIR) / "tests" / "docinfo" / "data" / "ole";
    fs::create_directories(Work());
    std::vector<fs::path> out;
    for (int i = 0; i < kFiles; ++i) {
      const char* f = fixtures[i % 4];
      const fs::path to = Work() / (std::to_string(i) + "_" + f);
      fs::copy_file(data / f, to, fs::copy_options::overwrite_existing);
      out.push_back(to);
    }
    return out;
  }();
  return files;
}

void BM_Office_Ours(benchmark::State& state) {
  std::vector<zx::String> names;
  for (const fs::path& p : Files()) names.emplace_back(std::u16string_view(p.u16string()));
  int read = 0;
  for (auto _ : state) {
    read = 0;
    for (const zx::String& name : names) {
      zx::clsDocu doc(name, 0, 0, nullptr);
      read += zx::ReadPropertySetInfo(doc, name) == 0;
    }
  }
  if (read != kFiles) state.SkipWithError("a document was not read");
  state.counters["files"] = kFiles;
}
BENCHMARK(BM_Office_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Office_Exiftool(benchmark::State& state) {
  Files();
  if (std::system("command -v exiftool >/dev/null") != 0) {
    state.SkipWithError("exiftool is not installed");
    return;
  }
  const std::string line = "exiftool -fast -q -j -Title -Author -Subject -Keywords -Comments -LastModifiedBy "
                           "-CreateDate -ModifyDate '" + Work().string() + "' >/dev/null 2>&1";
  for (auto _ : state)
    if (std::system(line.c_str()) != 0) state.SkipWithError("exiftool failed");
  state.counters["files"] = kFiles;
}
BENCHMARK(BM_Office_Exiftool)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const zxbench::RunTimes* ours = reporter.Find("BM_Office_Ours/real_time");
  const zxbench::RunTimes* peer = reporter.Find("BM_Office_Exiftool/real_time");
  if (ours && ours->real > 0) {
    const double perFile = ours->real / kFiles;   // ms
    std::printf("ours: %.4f ms a file  goal <= 0.3 ms: %s\n", perFile, perFile <= 0.3 ? "met" : "not met");
    if (peer && peer->real > 0)
      std::printf("ratio %-40s ours/peer = %.3fx (real); exiftool %.3f ms a file\n",
                  "1,000 office files vs exiftool -fast", ours->real / peer->real, peer->real / kFiles);
  }
  fs::remove_all(Work());
  benchmark::Shutdown();
  return 0;
}
