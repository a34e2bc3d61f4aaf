// The profile store by path against std::unordered_map<std::u16string,
// std::u16string> doing the same job: a typed get (find the value, read an
// integer from it) and a string set, on lists of 10 to 10,000 items; and the
// narrow exports against the wide ones. Lookups in a profile list are linear by
// design, so the curve grows with the list while the map's stays flat; the table
// at the end prints both and the ratio. Allocations are counted per operation.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#include "zxUT22.h"

#include "alloc_counter.h"
#include "ratio.h"
using zxbench::g_allocations;

namespace {

LPCWSTR W(const char16_t* s) { return reinterpret_cast<LPCWSTR>(s); }

std::u16string Key(int i) {
  std::string s = "key" + std::to_string(i);
  return std::u16string(s.begin(), s.end());
}

// One profile list and one map with the same N items, and the keys to ask for,
// spread over the whole list.
struct Data {
  HPROFJOB job = nullptr;
  std::unordered_map<std::u16string, std::u16string> map;
  std::vector<std::u16string> keys;
  std::vector<std::string> narrowKeys;
  explicit Data(int n) : job(ProfJobOpenW(nullptr)) {
    for (int i = 0; i < n; ++i) {
      std::u16string k = Key(i);
      std::u16string v = Key(i * 7).substr(3);
      ProfAppendStringW(job, nullptr, W(k.c_str()), W(v.c_str()));
      map.emplace(k, v);
    }
    for (int i = 0; i < 64; ++i) {
      keys.push_back(Key(static_cast<int>((static_cast<int64_t>(i) * 7919 + 13) % n)));
      narrowKeys.emplace_back(keys.back().begin(), keys.back().end());
    }
  }
  ~Data() { ProfJobClose(job); }
};

Data& DataFor(int n) {
  static std::map<int, Data*> all;
  Data*& d = all[n];
  if (!d) d = new Data(n);
  return *d;
}

// The peer's typed get: find the text, read a decimal integer from it.
bool MapGetInt(const std::unordered_map<std::u16string, std::u16string>& m, const std::u16string& key,
               long* out) {
  auto it = m.find(key);
  if (it == m.end()) return false;
  long v = 0;
  bool any = false;
  for (char16_t c : it->second) {
    if (c < u'0' || c > u'9') break;
    v = v * 10 + (c - u'0');
    any = true;
  }
  if (any) *out = v;
  return any;
}

void Allocations(benchmark::State& state, uint64_t before) {
  state.counters["allocs/op"] =
      static_cast<double>(g_allocations.load() - before) / static_cast<double>(state.iterations());
}

void BM_ProfGetInt(benchmark::State& state) {
  Data& d = DataFor(static_cast<int>(state.range(0)));
  size_t i = 0;
  LONG v = 0;
  uint64_t before = g_allocations.load();
  for (auto _ : state) {
    benchmark::DoNotOptimize(ProfGetIntW(d.job, nullptr, W(d.keys[i++ & 63].c_str()), &v, -1));
  }
  Allocations(state, before);
}

void BM_MapGetInt(benchmark::State& state) {
  Data& d = DataFor(static_cast<int>(state.range(0)));
  size_t i = 0;
  long v = 0;
  uint64_t before = g_allocations.load();
  for (auto _ : state) {
    benchmark::DoNotOptimize(MapGetInt(d.map, d.keys[i++ & 63], &v));
  }
  Allocations(state, before);
}

void BM_ProfSetString(benchmark::State& state) {
  Data& d = DataFor(static_cast<int>(state.range(0)));
  size_t i = 0;
  const char16_t* values[2] = {u"first value", u"second value"};
  uint64_t before = g_allocations.load();
  for (auto _ : state) {
    ProfSetStringW(d.job, nullptr, W(d.keys[i & 63].c_str()), W(values[(i >> 6) & 1]));
    ++i;
  }
  Allocations(state, before);
}

void BM_MapSetString(benchmark::State& state) {
  Data& d = DataFor(static_cast<int>(state.range(0)));
  size_t i = 0;
  const char16_t* values[2] = {u"first value", u"second value"};
  uint64_t before = g_allocations.load();
  for (auto _ : state) {
    d.map[d.keys[i & 63]] = values[(i >> 6) & 1];
    ++i;
  }
  Allocations(state, before);
}

// Narrow against wide, short names, on the 100-item list.
void BM_GetStringW(benchmark::State& state) {
  Data& d = DataFor(100);
  size_t i = 0;
  WCHAR buf[64];
  for (auto _ : state)
    benchmark::DoNotOptimize(ProfGetStringW(d.job, nullptr, W(d.keys[i++ & 63].c_str()), buf, 64, W(u"")));
}
void BM_GetStringA(benchmark::State& state) {
  Data& d = DataFor(100);
  size_t i = 0;
  char buf[64];
  uint64_t before = g_allocations.load();
  for (auto _ : state)
    benchmark::DoNotOptimize(ProfGetStringA(d.job, nullptr, d.narrowKeys[i++ & 63].c_str(), buf, 64, ""));
  Allocations(state, before);
}
void BM_GetIntW(benchmark::State& state) {
  Data& d = DataFor(100);
  size_t i = 0;
  LONG v;
  for (auto _ : state) benchmark::DoNotOptimize(ProfGetIntW(d.job, nullptr, W(d.keys[i++ & 63].c_str()), &v, 0));
}
void BM_GetIntA(benchmark::State& state) {
  Data& d = DataFor(100);
  size_t i = 0;
  LONG v;
  uint64_t before = g_allocations.load();
  for (auto _ : state) benchmark::DoNotOptimize(ProfGetIntA(d.job, nullptr, d.narrowKeys[i++ & 63].c_str(), &v, 0));
  Allocations(state, before);
}
void BM_SetStringW(benchmark::State& state) {
  Data& d = DataFor(100);
  size_t i = 0;
  for (auto _ : state) ProfSetStringW(d.job, nullptr, W(d.keys[i++ & 63].c_str()), W(u"short"));
}
void BM_SetStringA(benchmark::State& state) {
  Data& d = DataFor(100);
  size_t i = 0;
  for (auto _ : state) ProfSetStringA(d.job, nullptr, d.narrowKeys[i++ & 63].c_str(), "short");
}

BENCHMARK(BM_ProfGetInt)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(BM_MapGetInt)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(BM_ProfSetString)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(BM_MapSetString)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK(BM_GetStringW);
BENCHMARK(BM_GetStringA);
BENCHMARK(BM_GetIntW);
BENCHMARK(BM_GetIntA);
BENCHMARK(BM_SetStringW);
BENCHMARK(BM_SetStringA);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  // CPU time: on a shared, busy machine the wall clock mostly measures the others.
  auto get = [&](const std::string& n) {
    const zxbench::RunTimes* t = reporter.Find(n);
    return t ? t->cpu : 0.0;
  };
  std::printf("\nCPU time per operation\n");
  std::printf("items   ProfGetInt ns  map ns  ratio   ProfSetString ns  map ns  ratio\n");
  for (int n : {10, 100, 1000, 10000}) {
    std::string s = std::to_string(n);
    double pg = get("BM_ProfGetInt/" + s), mg = get("BM_MapGetInt/" + s);
    double ps = get("BM_ProfSetString/" + s), ms = get("BM_MapSetString/" + s);
    if (pg > 0 && mg > 0 && ps > 0 && ms > 0)
      std::printf("%5d %14.1f %7.1f %6.1fx %17.1f %7.1f %6.1fx\n", n, pg, mg, pg / mg, ps, ms, ps / ms);
  }
  double gw = get("BM_GetStringW"), ga = get("BM_GetStringA");
  double iw = get("BM_GetIntW"), ia = get("BM_GetIntA");
  double sw = get("BM_SetStringW"), sa = get("BM_SetStringA");
  if (gw > 0 && ga > 0) std::printf("A/W GetString %.2fx   ", ga / gw);
  if (iw > 0 && ia > 0) std::printf("A/W GetInt %.2fx   ", ia / iw);
  if (sw > 0 && sa > 0) std::printf("A/W SetString %.2fx", sa / sw);
  std::printf("\ntyped get on 100 items: %.0f ns (goal <= 1000), %.2f allocations per get (goal 0)\n",
              get("BM_ProfGetInt/100"),
              reporter.Find("BM_ProfGetInt/100") ? reporter.Find("BM_ProfGetInt/100")->Counter("allocs/op") : -1.0);
  benchmark::Shutdown();
  return 0;
}
