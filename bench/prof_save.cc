// Saving a profile of 100,000 values (2,000 lists of 50) in the text and the XML
// format with ProfSaveW, against the natural peer: the same bytes built by hand in
// a std::u16string and written with fwrite. MB/s of the file's bytes; the goal
// is 200 MB/s for our save, and the ratio shows what the tree walk, the
// maskings and the safe rewrite cost.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "zxUT22.h"

#include "ratio.h"

namespace {

LPCWSTR W(const char16_t* s) { return reinterpret_cast<LPCWSTR>(s); }

std::u16string Num(int i) {
  const std::string s = std::to_string(i);
  return std::u16string(s.begin(), s.end());
}

constexpr int kLists = 2000, kValues = 50;

std::u16string ListName(int l) { return u"section" + Num(l); }
std::u16string ValueName(int v) { return u"value" + Num(v); }
std::u16string ValueText(int l, int v) { return u"text of " + Num(l) + u" & " + Num(v) + u" <x>"; }

struct Data {
  HPROFJOB job = ProfJobOpenW(nullptr);
  std::filesystem::path dir = std::filesystem::temp_directory_path() / "zxut_bench_prof_save";
  Data() {
    std::filesystem::create_directories(dir);
    for (int l = 0; l < kLists; ++l) {
      HPROFLIST list = ProfAppendListW(job, nullptr, W(ListName(l).c_str()));
      for (int v = 0; v < kValues; ++v)
        ProfAppendStringW(job, list, W(ValueName(v).c_str()), W(ValueText(l, v).c_str()));
    }
  }
  ~Data() {
    ProfJobClose(job);
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
  }
};

Data& TheData() {
  static Data d;
  return d;
}

void Ours(benchmark::State& state, DWORD format) {
  Data& d = TheData();
  const std::u16string path = (d.dir / (format == PROF_FMT_TEXT ? "ours.prf" : "ours.xml")).u16string();
  for (auto _ : state)
    if (ProfSaveW(d.job, W(path.c_str()), format) != PROF_OK) state.SkipWithError("save failed");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(std::filesystem::file_size(path)));
}

void AppendXmlEscaped(std::u16string& out, const std::u16string& s) {
  for (char16_t c : s) {
    switch (c) {
      case u'<': out += u"&lt;"; break;
      case u'>': out += u"&gt;"; break;
      case u'&': out += u"&amp;"; break;
      case u'\'': out += u"&apos;"; break;
      case u'"': out += u"&quot;"; break;
      default: out += c;
    }
  }
}

// The same bytes by hand: text lines or XML lines, the header of ours copied from
// its own output so that the sizes agree.
void Peer(benchmark::State& state, DWORD format) {
  Data& d = TheData();
  const auto ourPath = d.dir / (format == PROF_FMT_TEXT ? "ours.prf" : "ours.xml");
  ProfSaveW(d.job, W(ourPath.u16string().c_str()), format);
  std::string header;
  if (format != PROF_FMT_TEXT) {
    FILE* f = std::fopen(ourPath.string().c_str(), "rb");
    header.resize(2 + 852 + 22);
    if (!f || std::fread(header.data(), 1, header.size(), f) != header.size()) state.SkipWithError("no header");
    if (f) std::fclose(f);
  }
  const std::string path = (d.dir / "peer.out").string();
  size_t bytes = 0;
  for (auto _ : state) {
    std::u16string out;
    if (format == PROF_FMT_TEXT) {
      out += u"\uFEFF[/]\r\n {\r\n";
      for (int l = 0; l < kLists; ++l) {
        out += u" [" + ListName(l) + u"]\r\n  {\r\n";
        for (int v = 0; v < kValues; ++v) out += u"  " + ValueName(v) + u"=" + ValueText(l, v) + u"\r\n";
        out += u"  }\r\n";
      }
      out += u" }\r\n";
    } else {
      out.append(reinterpret_cast<const char16_t*>(header.data()), header.size() / 2);
      for (int l = 0; l < kLists; ++l) {
        out += u" <list name=\"" + ListName(l) + u"\">\r\n";
        for (int v = 0; v < kValues; ++v) {
          out += u"  <item name=\"" + ValueName(v) + u"\">";
          AppendXmlEscaped(out, ValueText(l, v));
          out += u"</item>\r\n";
        }
        out += u" </list>\r\n";
      }
      out += u"</profile>\r\n";
    }
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) {
      state.SkipWithError("cannot write");
      break;
    }
    bytes = std::fwrite(out.data(), 2, out.size(), f) * 2;
    std::fclose(f);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
  if (std::filesystem::file_size(ourPath) != bytes) state.SkipWithError("the peer wrote other bytes");
}

void BM_SaveText(benchmark::State& s) { Ours(s, PROF_FMT_TEXT); }
void BM_PeerText(benchmark::State& s) { Peer(s, PROF_FMT_TEXT); }
void BM_SaveXml(benchmark::State& s) { Ours(s, PROF_FMT_XML); }
void BM_PeerXml(benchmark::State& s) { Peer(s, PROF_FMT_XML); }

BENCHMARK(BM_SaveText)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerText)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PeerXml)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n");
  for (const char* n : {"BM_SaveText", "BM_PeerText", "BM_SaveXml", "BM_PeerXml"}) {
    const zxbench::RunTimes* t = reporter.Find(n);
    const double bps = t ? t->Counter("bytes_per_second") : -1;   // per CPU second
    if (bps > 0 && t->real > 0)
      std::printf("%-12s %8.1f MB/s (cpu) %8.1f MB/s (real)\n", n, bps / 1e6, bps * t->cpu / t->real / 1e6);
  }
  reporter.PrintSpeed("prof save text", "BM_SaveText", "BM_PeerText");
  reporter.PrintSpeed("prof save xml", "BM_SaveXml", "BM_PeerXml");
  benchmark::Shutdown();
  return 0;
}
