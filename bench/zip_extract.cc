// Extraction of one archive of mixed files (3,000 small files in 60 folders, 3 MB
// of text, 2 MB of random bytes; made with `zip` at start) by UtilExtractZip against
// `unzip -q -o` and Python's zipfile.extractall. The peers run as child processes,
// so the times compared are wall time and CPU time of this process and its
// children together; the last lines print ours / peer.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "ratio.h"
#include "zxUT22.h"

namespace fs = std::filesystem;

namespace {

const fs::path& Work() {
  static const fs::path dir = fs::temp_directory_path() / ("zxut_bench_zip_" + std::to_string(getpid()));
  return dir;
}

// The archive, made once.
const fs::path& Archive() {
  static const fs::path archive = [] {
    const fs::path tree = Work() / "tree", out = Work() / "mixed.zip";
    std::mt19937 rng(2207);
    static const char* const kWords[] = {"report ", "page ", "total ", "1234 ", "customer ", "\n", "amount "};
    auto text = [&](size_t size) {
      std::string s;
      while (s.size() < size) s += kWords[rng() % 7];
      return s;
    };
    for (int i = 0; i < 3000; ++i) {
      const fs::path dir = tree / ("folder" + std::to_string(i % 60));
      fs::create_directories(dir);
      std::ofstream(dir / ("file" + std::to_string(i) + ".txt")) << text(rng() % 4000);
    }
    std::ofstream(tree / "big.txt") << text(3 << 20);
    std::string bytes(2 << 20, '\0');
    for (char& c : bytes) c = static_cast<char>(rng());
    std::ofstream(tree / "big.bin", std::ios::binary) << bytes;
    if (std::system(("cd '" + tree.string() + "' && zip -q -r '" + out.string() + "' .").c_str()) != 0) std::abort();
    return out;
  }();
  return archive;
}

double CpuSeconds() {
  double total = 0;
  for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage u{};
    getrusage(who, &u);
    total += u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
  }
  return total;
}

// Runs `extract` into a fresh folder each iteration; the clean-up is not timed.
template <typename F>
void Measure(benchmark::State& state, F extract) {
  const fs::path archive = Archive(), dest = Work() / "out";
  double cpu = 0;
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove_all(dest);
    const double before = CpuSeconds();
    state.ResumeTiming();
    if (!extract(archive, dest)) state.SkipWithError("extraction failed");
    state.PauseTiming();
    cpu += CpuSeconds() - before;
    state.ResumeTiming();
  }
  state.counters["cpu_ms"] = benchmark::Counter(cpu * 1000, benchmark::Counter::kAvgIterations);
}

bool Shell(const std::string& command) { return std::system(command.c_str()) == 0; }

void BM_Extract_Ours(benchmark::State& state) {
  Measure(state, [](const fs::path& archive, const fs::path& dest) {
    const std::u16string a = archive.u16string(), d = dest.u16string();
    return UtilExtractZip(reinterpret_cast<LPCWSTR>(a.c_str()), reinterpret_cast<LPCWSTR>(d.c_str())) == 1;
  });
}
BENCHMARK(BM_Extract_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Extract_Unzip(benchmark::State& state) {
  Measure(state, [](const fs::path& archive, const fs::path& dest) {
    return Shell("unzip -q -o '" + archive.string() + "' -d '" + dest.string() + "'");
  });
}
BENCHMARK(BM_Extract_Unzip)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Extract_Python(benchmark::State& state) {
  Measure(state, [](const fs::path& archive, const fs::path& dest) {
    return Shell("python3 -c 'import sys, zipfile; zipfile.ZipFile(sys.argv[1]).extractall(sys.argv[2])' '" +
                 archive.string() + "' '" + dest.string() + "'");
  });
}
BENCHMARK(BM_Extract_Python)->Unit(benchmark::kMillisecond)->UseRealTime();

void PrintRatio(const zxbench::RatioReporter& r, const char* what, const char* peer, double goal) {
  const zxbench::RunTimes* a = r.Find("BM_Extract_Ours/real_time");
  const zxbench::RunTimes* b = r.Find(std::string("BM_Extract_") + peer + "/real_time");
  if (!a || !b || a->real <= 0 || b->real <= 0 || a->Counter("cpu_ms") <= 0 || b->Counter("cpu_ms") <= 0) {
    std::printf("ratio %-40s not measured\n", what);
    return;
  }
  const double cpu = a->Counter("cpu_ms") / b->Counter("cpu_ms"), real = a->real / b->real;
  std::printf("ratio %-40s ours/peer = %.2fx (cpu), %.2fx (real)", what, cpu, real);
  if (goal > 0) std::printf("  goal <= %.2f: %s", goal, real <= goal ? "met" : "not met");
  std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  PrintRatio(reporter, "extract 3,000 files + 5 MB vs unzip -q -o", "Unzip", 1.0);
  PrintRatio(reporter, "extract 3,000 files + 5 MB vs Python", "Python", 0);
  fs::remove_all(Work());
  benchmark::Shutdown();
  return 0;
}
