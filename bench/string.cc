// String against std::u16string: copying a 64-character text (with an allocation
// count), appending in a loop, and String::Format against snprintf. The last lines
// print the ratios of the peer's time to ours.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "core/strings/String.h"

#include "alloc_counter.h"
#include "ratio.h"
using zxbench::g_allocations;

namespace {

const char16_t kText64[] = u"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-_";
static_assert(sizeof(kText64) / sizeof(char16_t) == 65, "64 characters");

void AllocationsPerIteration(benchmark::State& state, uint64_t before) {
  state.counters["allocs/iter"] = benchmark::Counter(
      static_cast<double>(g_allocations.load() - before) / static_cast<double>(state.iterations()));
}

void BM_Copy64_String(benchmark::State& state) {
  const String source(kText64);
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    String copy(source);
    benchmark::DoNotOptimize(copy);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_Copy64_String);

void BM_Copy64_U16String(benchmark::State& state) {
  const std::u16string source(kText64);
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    std::u16string copy(source);
    benchmark::DoNotOptimize(copy);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_Copy64_U16String);

void BM_Append1000_String(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    String s;
    for (int i = 0; i < 1000; ++i) s.Append(static_cast<char16_t>(u'a' + i % 26));
    benchmark::DoNotOptimize(s);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_Append1000_String);

// The same with the room made first: what the capacity rule costs.
void BM_Append1000_StringReserved(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    String s;
    s.Reserve(1000);
    for (int i = 0; i < 1000; ++i) s.Append(static_cast<char16_t>(u'a' + i % 26));
    benchmark::DoNotOptimize(s);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_Append1000_StringReserved);

void BM_Append1000_U16String(benchmark::State& state) {
  const uint64_t before = g_allocations.load();
  for (auto _ : state) {
    std::u16string s;
    for (int i = 0; i < 1000; ++i) s.push_back(static_cast<char16_t>(u'a' + i % 26));
    benchmark::DoNotOptimize(s);
  }
  AllocationsPerIteration(state, before);
}
BENCHMARK(BM_Append1000_U16String);

void BM_AppendWords_String(benchmark::State& state) {
  for (auto _ : state) {
    String s;
    for (int i = 0; i < 200; ++i) s.Append(u"word, ");
    benchmark::DoNotOptimize(s);
  }
}
BENCHMARK(BM_AppendWords_String);

void BM_AppendWords_U16String(benchmark::State& state) {
  for (auto _ : state) {
    std::u16string s;
    for (int i = 0; i < 200; ++i) s.append(u"word, ");
    benchmark::DoNotOptimize(s);
  }
}
BENCHMARK(BM_AppendWords_U16String);

void BM_Format_String(benchmark::State& state) {
  String s;
  for (auto _ : state) {
    s.Format(u"%d items of %s at %08X", 42, u"profile", 0xBEEFu);
    benchmark::DoNotOptimize(s);
  }
}
BENCHMARK(BM_Format_String);

void BM_Format_Snprintf(benchmark::State& state) {
  char buf[100];
  for (auto _ : state) {
    int n = std::snprintf(buf, sizeof buf, "%d items of %s at %08X", 42, "profile", 0xBEEFu);
    benchmark::DoNotOptimize(n);
    benchmark::DoNotOptimize(buf);
  }
}
BENCHMARK(BM_Format_Snprintf);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSpeed("copy 64 characters", "BM_Copy64_String", "BM_Copy64_U16String");
  reporter.PrintSpeed("append 1000 characters", "BM_Append1000_String", "BM_Append1000_U16String");
  reporter.PrintSpeed("append 1000, reserved", "BM_Append1000_StringReserved", "BM_Append1000_U16String");
  reporter.PrintSpeed("append 200 words", "BM_AppendWords_String", "BM_AppendWords_U16String");
  reporter.PrintSpeed("format vs snprintf", "BM_Format_String", "BM_Format_Snprintf");
  benchmark::Shutdown();
  return 0;
}
