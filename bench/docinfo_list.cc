// The document list: a cached hit (goal at most 2 µs, with and without the result
// block) against a plain stat of the file, and a cold read of a file of unknown
// kind (open, time query, the first four bytes) against stat + open + read of the
// same file. The peers do less than the list (no cache, no properties): the
// ratios say what the list's bookkeeping costs on top of the system calls.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "docinfo/DocuList.h"
#include "ratio.h"

namespace {

const std::string& File() {
  static const std::string path = [] {
    const std::string p = (std::filesystem::temp_directory_path() / ("zxut_bench_docinfo_" + std::to_string(getpid()) + ".dat")).string();
    std::ofstream(p) << "a file of no kind a reader knows\n";
    return p;
  }();
  return path;
}

zx::String Name() { return zx::String(File().c_str()); }

void CachedHit(benchmark::State& state) {
  zx::clsDocuList list(3600);
  const zx::String name = Name();
  list.Get(name, nullptr, 5);
  for (auto _ : state) benchmark::DoNotOptimize(list.Get(name, nullptr, 5));
}

void CachedHitWithBlock(benchmark::State& state) {
  zx::clsDocuList list(3600);
  const zx::String name = Name();
  VARIANT v[9];
  for (VARIANT& x : v) plat::VariantInit(&x);
  zx::scDocInfoData data{zx::kDocInfoSizeWithPath, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6], &v[7], &v[8]};
  list.Get(name, &data, 5);
  for (auto _ : state) benchmark::DoNotOptimize(list.Get(name, &data, 5));
  for (VARIANT& x : v) plat::VariantClear(&x);
}

void PeerStat(benchmark::State& state) {
  const std::string& p = File();
  struct stat st;
  for (auto _ : state) benchmark::DoNotOptimize(::stat(p.c_str(), &st));
}

void ColdRead(benchmark::State& state) {
  zx::clsDocuList list(0);
  const zx::String name = Name();
  for (auto _ : state) benchmark::DoNotOptimize(list.Get(name, nullptr, 5));
}

void PeerStatOpenRead(benchmark::State& state) {
  const std::string& p = File();
  for (auto _ : state) {
    struct stat st;
    ::stat(p.c_str(), &st);
    const int fd = ::open(p.c_str(), O_RDONLY);
    char head[4];
    benchmark::DoNotOptimize(::read(fd, head, 4));
    ::close(fd);
  }
}

BENCHMARK(CachedHit)->Unit(benchmark::kNanosecond);
BENCHMARK(CachedHitWithBlock)->Unit(benchmark::kNanosecond);
BENCHMARK(PeerStat)->Unit(benchmark::kNanosecond);
BENCHMARK(ColdRead)->Unit(benchmark::kMicrosecond);
BENCHMARK(PeerStatOpenRead)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatio("cached hit vs stat", "CachedHit", "PeerStat");
  reporter.PrintRatio("cached hit with the block vs stat", "CachedHitWithBlock", "PeerStat");
  reporter.PrintRatio("cold read vs stat+open+read", "ColdRead", "PeerStatOpenRead");
  for (const char* hit : {"CachedHit", "CachedHitWithBlock"})
    if (const zxbench::RunTimes* t = reporter.Find(hit))
      std::printf("goal %s <= 2 us: %.3f us (cpu) %s\n", hit, t->cpu / 1000.0, t->cpu <= 2000.0 ? "met" : "MISSED");
  std::remove(File().c_str());
  benchmark::Shutdown();
  return 0;
}
