// HTML to plain text over real HTML pages (ZXUT_BENCH_HTML_MB megabytes, 50 by
// default), side by side with `lynx -dump` and `html2text` on the same file. The
// pages come from ZXUT_BENCH_HTML_DIR, else from the HTML documentation on this
// machine (/usr/share/doc, the Windows dependencies' sources), else the test
// pages; they are repeated until the size is reached. Ours converts one page a
// call, as the library is used (a comment runs from the first "<!--" to the last
// "-->" of a text, so one call over all pages would keep little), from text
// already decoded to UTF-16; the peers run as programs on the file of all pages,
// so the ratios are judged by wall time. Speeds count the input's UTF-8 bytes.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ratio.h"
#include "zxUT22.h"
#include "platform/bstr.h"
#include "platform/codepage.h"

namespace {

namespace fs = std::filesystem;

size_t WantedBytes() {
  const char* mb = std::getenv("ZXUT_BENCH_HTML_MB");
  return static_cast<size_t>(mb ? std::atoi(mb) : 50) << 20;
}

std::vector<fs::path> Roots() {
  std::vector<fs::path> roots;
  if (const char* dir = std::getenv("ZXUT_BENCH_HTML_DIR")) roots.emplace_back(dir);
  roots.emplace_back("/usr/share/doc");
  const char* cache = std::getenv("ZXUT_DEPS_CACHE");
  const char* home = std::getenv("HOME");
  if (cache) roots.emplace_back(cache);
  else if (home) roots.emplace_back(fs::path(home) / ".cache/zxut22-win-deps");
  roots.emplace_back(fs::path(ZXUT_SOURCE_DIR) / "tests/text/pages");
  return roots;
}

// The pages of the first root that has any, at most 2,000 of them.
std::vector<std::string> Pages() {
  for (const fs::path& root : Roots()) {
    std::vector<std::string> pages;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(root, fs::directory_options::skip_permission_denied, ec);
         !ec && it != fs::recursive_directory_iterator() && pages.size() < 2000; it.increment(ec)) {
      if (!it->is_regular_file(ec) || it->path().extension() != ".html") continue;
      std::ifstream in(it->path(), std::ios::binary);
      std::stringstream s;
      s << in.rdbuf();
      if (s.str().size() > 256) pages.push_back(s.str());
    }
    if (!pages.empty()) return pages;
  }
  return {};
}

// The pages in the order of the input file.
std::vector<std::string>& InputPages() {
  static std::vector<std::string> pages;
  return pages;
}

const fs::path& InputFile() {
  static const fs::path file = [] {
    const fs::path p = fs::temp_directory_path() / ("zxut_bench_html_" + std::to_string(getpid()) + ".html");
    const std::vector<std::string> pages = Pages();
    std::ofstream out(p, std::ios::binary);
    size_t written = 0;
    for (size_t i = 0; !pages.empty() && written < WantedBytes(); ++i) {
      const std::string& page = pages[i % pages.size()];
      out.write(page.data(), static_cast<std::streamsize>(page.size()));
      written += page.size();
      InputPages().push_back(page);
    }
    std::printf("input: %zu bytes of real HTML, %zu different pages\n", written, pages.size());
    return p;
  }();
  return file;
}

size_t InputBytes() { return static_cast<size_t>(fs::file_size(InputFile())); }

// UTF-8 to UTF-16 by the library's own conversion; NUL characters are dropped.
std::u16string Decoded(const std::string& bytes) {
  std::u16string out = plat::Utf8ToUtf16(bytes);
  out.erase(std::remove(out.begin(), out.end(), u'\0'), out.end());
  return out;
}

void BM_Ours(benchmark::State& state) {
  std::vector<std::u16string> pages;
  for (const std::string& page : InputPages()) pages.push_back(Decoded(page));
  BSTR result = nullptr;
  double outChars = 0;
  for (auto _ : state) {
    outChars = 0;
    for (const std::u16string& page : pages) {
      UtilConvertHtml2PlainText(reinterpret_cast<LPCWSTR>(page.c_str()), &result, 0);
      outChars += plat::SysLen(reinterpret_cast<plat::Bstr>(result));
    }
  }
  state.counters["out_chars"] = outChars;
  plat::SysFree(reinterpret_cast<plat::Bstr>(result));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * InputBytes()));
}
BENCHMARK(BM_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

void Run(benchmark::State& state, const std::string& command) {
  const std::string line = command + " '" + InputFile().string() + "' >/dev/null 2>&1";
  const std::string program = command.substr(0, command.find(' '));
  if (std::system(("command -v " + program + " >/dev/null").c_str()) != 0) {
    state.SkipWithError(("not installed: " + command).c_str());
    return;
  }
  for (auto _ : state)
    if (std::system(line.c_str()) != 0) state.SkipWithError(("failed: " + line).c_str());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * InputBytes()));
}

void BM_Lynx(benchmark::State& state) {
  Run(state, "lynx -dump -nolist -force_html -width=1000 -assume_charset=utf-8 -display_charset=utf-8");
}
BENCHMARK(BM_Lynx)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Html2text(benchmark::State& state) { Run(state, "html2text -nobs -utf8"); }
BENCHMARK(BM_Html2text)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  InputFile();
  benchmark::RunSpecifiedBenchmarks(&reporter);
  if (const zxbench::RunTimes* ours = reporter.Find("BM_Ours/real_time")) {
    const double mbs = InputBytes() / (ours->real / 1000.0) / 1e6;
    std::printf("ours: %.1f MB/s (wall)  goal >= 18 MB/s: %s\n", mbs, mbs >= 18 ? "met" : "not met");
  }
  reporter.PrintSpeedWall("HTML to text: ours vs lynx -dump", "BM_Ours/real_time", "BM_Lynx/real_time", 1.0);
  reporter.PrintSpeedWall("HTML to text: ours vs html2text", "BM_Ours/real_time", "BM_Html2text/real_time", 5.0);
  benchmark::Shutdown();
  std::error_code ec;
  fs::remove(InputFile(), ec);
  return 0;
}
