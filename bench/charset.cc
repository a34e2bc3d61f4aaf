// The conversion objects as a narrow export uses them, against a plain copy of the
// same text: a short name in (narrow to wide), a short result out (wide back into
// the caller's narrow buffer), and a 64-character name that needs the heap. Every
// allocation is counted; the last lines print the time ratios ours / plain copy.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "core/strings/CharsetConversion.h"
#include "core/strings/String.h"

#include "alloc_counter.h"
#include "ratio.h"
using zxbench::g_allocations;

namespace {

using zx::clsCharsetConversionString;
using zx::clsCharsetConversionStringCP;

const char kName[] = "Settings/Printer/DefaultTray";           // 28 bytes
const char16_t kWideName[] = u"Settings/Printer/DefaultTray";
const char kName64[] = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_";
static_assert(sizeof(kName64) == 65, "64 characters");

void AllocationsPerIteration(benchmark::State& state, uint64_t before) {
  state.counters["allocs/iter"] = benchmark::Counter(
      static_cast<double>(g_allocations.load() - before) / static_cast<double>(state.iterations()));
}

// The floor: widening the bytes into a stack buffer by hand.
template <size_t N>
void WidenInto(char16_t (&dst)[N], const char* src) {
  size_t i = 0;
  for (; i + 1 < N && src[i]; ++i) dst[i] = static_cast<unsigned char>(src[i]);
  dst[i] = 0;
}

void BM_NameIn_Conversion(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    clsCharsetConversionString name(kName);
    benchmark::DoNotOptimize(name.wideOrNull());
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_NameIn_Conversion);

void BM_NameIn_Utf8Conversion(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    clsCharsetConversionStringCP name(65001, kName);
    benchmark::DoNotOptimize(name.wideOrNull());
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_NameIn_Utf8Conversion);

void BM_NameIn_PlainCopy(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    char16_t wide[64];
    WidenInto(wide, kName);
    benchmark::DoNotOptimize(wide);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_NameIn_PlainCopy);

void BM_ResultOut_Conversion(benchmark::State& state) {
  char out[64];
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    {
      clsCharsetConversionString result(out, sizeof out);
      std::memcpy(result.wideBuffer(), kWideName, sizeof kWideName);  // what the W export writes
    }
    benchmark::DoNotOptimize(out);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_ResultOut_Conversion);

void BM_ResultOut_PlainCopy(benchmark::State& state) {
  char out[64];
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    char16_t wide[64];
    std::memcpy(wide, kWideName, sizeof kWideName);
    benchmark::DoNotOptimize(wide);
    size_t i = 0;
    for (; i + 1 < sizeof out && wide[i]; ++i) out[i] = static_cast<char>(wide[i]);
    out[i] = 0;
    benchmark::DoNotOptimize(out);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_ResultOut_PlainCopy);

void BM_Name64In_Conversion(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    clsCharsetConversionString name(kName64);
    benchmark::DoNotOptimize(name.wideOrNull());
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_Name64In_Conversion);

void BM_Name64In_PlainCopy(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    char16_t wide[65];
    WidenInto(wide, kName64);
    benchmark::DoNotOptimize(wide);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_Name64In_PlainCopy);

}  // namespace

int main(int argc, char** argv) {
  zx::String::SetDefaultCodePage(1252);
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const auto ratio = [&](const char* what, const std::string& ours, const std::string& copy) {
    reporter.PrintRatio(std::string(what) + " vs plain copy", ours, copy);
    if (const zxbench::RunTimes* t = reporter.Find(ours))
      std::printf("      allocations per call: %.0f\n", t->Counter("allocs/iter"));
  };
  ratio("name in, 28 chars, 1252", "BM_NameIn_Conversion", "BM_NameIn_PlainCopy");
  ratio("name in, 28 chars, UTF-8", "BM_NameIn_Utf8Conversion", "BM_NameIn_PlainCopy");
  ratio("result out, 28 chars, 1252", "BM_ResultOut_Conversion", "BM_ResultOut_PlainCopy");
  ratio("name in, 64 chars (heap), 1252", "BM_Name64In_Conversion", "BM_Name64In_PlainCopy");
  benchmark::Shutdown();
  return 0;
}
