// The mail header reader over 1,000 mail files (the test corpus repeated), read
// cold: a fresh document and an open of the file for each, as the document list
// does it for a name it has not cached. The peer is Python's email package in
// one process (message_from_bytes, decode_header and make_header of From, To and
// Subject, parsedate_tz of Date), timed inside that process so that its start
// does not count; the image-metadata tool of the other readers' benchmarks does
// not read mail headers. Goal: at most 0.16 ms a file, judged by CPU time.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "docinfo/DocReaders.h"
#include "docinfo/Docu.h"
#include "ratio.h"

namespace {

namespace fs = std::filesystem;
constexpr int kMails = 1000;

const fs::path& MailDir() {
  static const fs::path dir = [] {
    const fs::path corpus = fs::path(ZXUT_SOURCE_DIR) / "tests/docinfo/data/mail/corpus";
    std::vector<fs::path> sources;
    for (const auto& e : fs::directory_iterator(corpus)) sources.push_back(e.path());
    std::sort(sources.begin(), sources.end());
    const fs::path d = fs::temp_directory_path() / ("zxut_bench_mail_" + std::to_string(getpid()));
    fs::create_directories(d);
    char name[32];
    for (int i = 0; i < kMails; ++i) {
      std::snprintf(name, sizeof name, "mail_%04d.eml", i);
      fs::copy_file(sources[i % sources.size()], d / name, fs::copy_options::overwrite_existing);
    }
    return d;
  }();
  return dir;
}

std::vector<zx::String> MailPaths() {
  std::vector<zx::String> paths;
  for (const auto& e : fs::directory_iterator(MailDir())) paths.emplace_back(std::u16string_view(e.path().u16string()));
  return paths;
}

void BM_Ours(benchmark::State& state) {
  const std::vector<zx::String> paths = MailPaths();
  int titles = 0;
  for (auto _ : state) {
    titles = 0;
    for (const zx::String& p : paths) {
      zx::clsDocu doc(p, 0, 0, nullptr);
      zx::clsDocFile file;
      if (file.OpenDocument(p) != 0) continue;
      zx::ReadMailInfo(doc, file);
      titles += doc.title.vt != 0;
    }
  }
  state.counters["titles"] = titles;
}
BENCHMARK(BM_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PythonEmail(benchmark::State& state) {
  const std::string script =
      "import email, email.header, email.utils, glob, sys, time\n"
      "files = sorted(glob.glob(sys.argv[1] + '/*.eml'))\n"
      "t0 = time.perf_counter()\n"
      "for p in files:\n"
      "    m = email.message_from_bytes(open(p, 'rb').read()[:65536])\n"
      "    for k in ('From', 'To', 'Subject'):\n"
      "        v = m.get(k)\n"
      "        if v is not None:\n"
      "            try: str(email.header.make_header(email.header.decode_header(str(v))))\n"
      "            except Exception: pass\n"
      "    d = m.get('Date')\n"
      "    if d is not None: email.utils.parsedate_tz(str(d))\n"
      "print(time.perf_counter() - t0)\n";
  const fs::path py = MailDir() / "peer.py";
  if (FILE* f = std::fopen(py.c_str(), "w")) {
    std::fputs(script.c_str(), f);
    std::fclose(f);
  }
  const std::string command = "python3 '" + py.string() + "' '" + MailDir().string() + "'";
  for (auto _ : state) {
    FILE* p = popen(command.c_str(), "r");
    double seconds = -1;
    if (!p || std::fscanf(p, "%lf", &seconds) != 1) seconds = -1;
    if (p) pclose(p);
    if (seconds <= 0) {
      state.SkipWithError("python3 failed");
      return;
    }
    state.SetIterationTime(seconds);
  }
}
BENCHMARK(BM_PythonEmail)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  MailDir();
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const zxbench::RunTimes* ours = reporter.Find("BM_Ours/real_time");
  const zxbench::RunTimes* peer = reporter.Find("BM_PythonEmail/manual_time");
  if (ours) {
    // Judged by CPU time: on a machine shared with other work the wall time
    // mostly measures waiting for a core.
    const double ms = ours->cpu / kMails;
    std::printf("ours: %.4f ms a file (cpu), %.4f ms (wall), cold  goal <= 0.16 ms (cpu): %s\n", ms,
                ours->real / kMails, ms <= 0.16 ? "met" : "not met");
  }
  if (peer) std::printf("python email: %.4f ms a file\n", peer->real / kMails);
  if (ours && peer)
    std::printf("ratio mail headers: ours/python = %.2fx (ours cpu vs python's own clock), %.2fx (wall)\n",
                ours->cpu / peer->real, ours->real / peer->real);
  benchmark::Shutdown();
  std::error_code ec;
  fs::remove_all(MailDir(), ec);
  return 0;
}
