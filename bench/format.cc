// The library's formatter against the C library's swprintf (wide, the natural
// peer) and snprintf (narrow) for typical formats; prints peer/ours per format.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "core/format/Format.h"
#include "ratio.h"

namespace {

template <typename F>
void Loop(benchmark::State& state, F f) {
  for (auto _ : state) {
    int n = f();
    benchmark::DoNotOptimize(n);
    benchmark::ClobberMemory();
  }
}

char16_t g_ours[256];
wchar_t g_wide[256];
char g_narrow[256];

// "%s=%d"
void BM_KeyValue_Ours(benchmark::State& s) {
  Loop(s, [] { return zx::FormatTo(g_ours, 256, u"%s=%d", u"Registry.ImpersonationAware", 42); });
}
void BM_KeyValue_Swprintf(benchmark::State& s) {
  Loop(s, [] { return std::swprintf(g_wide, 256, L"%ls=%d", L"Registry.ImpersonationAware", 42); });
}
void BM_KeyValue_Snprintf(benchmark::State& s) {
  Loop(s, [] { return std::snprintf(g_narrow, 256, "%s=%d", "Registry.ImpersonationAware", 42); });
}

// "%08X"
void BM_Hex_Ours(benchmark::State& s) { Loop(s, [] { return zx::FormatTo(g_ours, 256, u"x%08X", 0xBEEFu); }); }
void BM_Hex_Swprintf(benchmark::State& s) { Loop(s, [] { return std::swprintf(g_wide, 256, L"x%08X", 0xBEEFu); }); }
void BM_Hex_Snprintf(benchmark::State& s) { Loop(s, [] { return std::snprintf(g_narrow, 256, "x%08X", 0xBEEFu); }); }

// "%.3f"
void BM_Fixed_Ours(benchmark::State& s) { Loop(s, [] { return zx::FormatTo(g_ours, 256, u"%.3f", 3.14159265); }); }
void BM_Fixed_Swprintf(benchmark::State& s) {
  Loop(s, [] { return std::swprintf(g_wide, 256, L"%.3f", 3.14159265); });
}
void BM_Fixed_Snprintf(benchmark::State& s) {
  Loop(s, [] { return std::snprintf(g_narrow, 256, "%.3f", 3.14159265); });
}

// A 60-character diagnostic line with four inserts.
void BM_Line_Ours(benchmark::State& s) {
  Loop(s, [] {
    return zx::FormatTo(g_ours, 256, u"Warning: profile '%s' line %d: value '%s' replaced by x%08X", u"report",
                        1234, u"Colorref", 0xFF00FFu);
  });
}
void BM_Line_Swprintf(benchmark::State& s) {
  Loop(s, [] {
    return std::swprintf(g_wide, 256, L"Warning: profile '%ls' line %d: value '%ls' replaced by x%08X", L"report",
                         1234, L"Colorref", 0xFF00FFu);
  });
}
void BM_Line_Snprintf(benchmark::State& s) {
  Loop(s, [] {
    return std::snprintf(g_narrow, 256, "Warning: profile '%s' line %d: value '%s' replaced by x%08X", "report",
                         1234, "Colorref", 0xFF00FFu);
  });
}

// The scanner's typed-value read: "(%d,%d,%d,%d)".
void BM_ScanRect_Ours(benchmark::State& s) {
  int a, b, c, d;
  Loop(s, [&] { return zx::Scan(u"(10,-20,300,4000)", u"(%d,%d,%d,%d)", &a, &b, &c, &d); });
}
void BM_ScanRect_Swscanf(benchmark::State& s) {
  int a, b, c, d;
  Loop(s, [&] { return std::swscanf(L"(10,-20,300,4000)", L"(%d,%d,%d,%d)", &a, &b, &c, &d); });
}
void BM_ScanRect_Sscanf(benchmark::State& s) {
  int a, b, c, d;
  Loop(s, [&] { return std::sscanf("(10,-20,300,4000)", "(%d,%d,%d,%d)", &a, &b, &c, &d); });
}

BENCHMARK(BM_KeyValue_Ours);
BENCHMARK(BM_KeyValue_Swprintf);
BENCHMARK(BM_KeyValue_Snprintf);
BENCHMARK(BM_Hex_Ours);
BENCHMARK(BM_Hex_Swprintf);
BENCHMARK(BM_Hex_Snprintf);
BENCHMARK(BM_Fixed_Ours);
BENCHMARK(BM_Fixed_Swprintf);
BENCHMARK(BM_Fixed_Snprintf);
BENCHMARK(BM_Line_Ours);
BENCHMARK(BM_Line_Swprintf);
BENCHMARK(BM_Line_Snprintf);
BENCHMARK(BM_ScanRect_Ours);
BENCHMARK(BM_ScanRect_Swscanf);
BENCHMARK(BM_ScanRect_Sscanf);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  // As speeds: the C library's time over ours.
  const auto ratios = [&](const char* what, const std::string& stem, const char* wide, const char* narrow) {
    reporter.PrintSpeed(std::string(what) + " vs " + wide, "BM_" + stem + "_Ours", "BM_" + stem + "_" + wide);
    reporter.PrintSpeed(std::string(what) + " vs " + narrow, "BM_" + stem + "_Ours", "BM_" + stem + "_" + narrow);
  };
  ratios("\"%s=%d\"", "KeyValue", "Swprintf", "Snprintf");
  ratios("\"x%08X\"", "Hex", "Swprintf", "Snprintf");
  ratios("\"%.3f\"", "Fixed", "Swprintf", "Snprintf");
  ratios("60-char line, 4 inserts", "Line", "Swprintf", "Snprintf");
  ratios("scan \"(%d,%d,%d,%d)\"", "ScanRect", "Swscanf", "Sscanf");
  benchmark::Shutdown();
  return 0;
}
