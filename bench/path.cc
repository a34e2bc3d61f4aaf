// Path split and merge against std::filesystem::path, 1e6 paths an iteration
// (a pool of 1,000 distinct paths, cycled). Ours splits into fixed rooms and makes
// the path into a fixed buffer: no allocation; the peer's parts are paths of their
// own. Goal: at least twice as fast.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <vector>

#include "path/PathRuntime.h"
#include "ratio.h"

namespace {

constexpr int kPaths = 1000000;

const std::vector<std::u16string>& Pool() {
  static const std::vector<std::u16string> pool = [] {
    std::vector<std::u16string> p;
    for (int i = 0; i < 1000; ++i) {
      std::string s = "/home/user" + std::to_string(i % 7) + "/documents/project_" + std::to_string(i) +
                      "/report." + std::to_string(i % 13) + ".txt";
      p.emplace_back(s.begin(), s.end());
    }
    return p;
  }();
  return pool;
}

void OursSplit(benchmark::State& state) {
  const auto& pool = Pool();
  char16_t drive[3], dir[256], name[256], ext[256];
  for (auto _ : state) {
    size_t sum = 0;
    for (int i = 0; i < kPaths; ++i) {
      zx::SplitPath(pool[i % 1000].c_str(), drive, 3, dir, 256, name, 256, ext, 256);
      sum += name[0] + ext[1];
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPaths);
}

void FilesystemSplit(benchmark::State& state) {
  const auto& pool = Pool();
  for (auto _ : state) {
    size_t sum = 0;
    for (int i = 0; i < kPaths; ++i) {
      const std::filesystem::path p(pool[i % 1000]);
      const std::filesystem::path root = p.root_name(), dir = p.parent_path(), name = p.stem(), ext = p.extension();
      sum += name.native().size() + ext.native().size() + dir.native().size() + root.native().size();
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPaths);
}

struct Parts {
  std::u16string dir, name, ext;
};
const std::vector<Parts>& PartsPool() {
  static const std::vector<Parts> parts = [] {
    std::vector<Parts> out;
    for (const auto& p : Pool()) {
      char16_t drive[3], dir[256], name[256], ext[256];
      zx::SplitPath(p.c_str(), drive, 3, dir, 256, name, 256, ext, 256);
      out.push_back({dir, name, ext});
    }
    return out;
  }();
  return parts;
}

void OursMerge(benchmark::State& state) {
  const auto& parts = PartsPool();
  char16_t out[260];
  for (auto _ : state) {
    size_t sum = 0;
    for (int i = 0; i < kPaths; ++i) {
      const Parts& p = parts[i % 1000];
      zx::MakePath(out, 260, nullptr, p.dir.c_str(), p.name.c_str(), p.ext.c_str());
      sum += out[20];
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPaths);
}

void FilesystemMerge(benchmark::State& state) {
  const auto& parts = PartsPool();
  for (auto _ : state) {
    size_t sum = 0;
    for (int i = 0; i < kPaths; ++i) {
      const Parts& p = parts[i % 1000];
      std::filesystem::path out(p.dir);
      out /= p.name;
      out += p.ext;
      sum += out.native().size();
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPaths);
}

BENCHMARK(OursSplit)->Unit(benchmark::kMillisecond);
BENCHMARK(FilesystemSplit)->Unit(benchmark::kMillisecond);
BENCHMARK(OursMerge)->Unit(benchmark::kMillisecond);
BENCHMARK(FilesystemMerge)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSpeed("split vs std::filesystem::path", "OursSplit", "FilesystemSplit", 2.0);
  reporter.PrintSpeed("merge vs std::filesystem::path", "OursMerge", "FilesystemMerge", 2.0);
  benchmark::Shutdown();
  return 0;
}
