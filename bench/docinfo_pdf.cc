// The PDF information reader on 1,000 files (copies of the real producers' test
// files), each opened afresh, against exiftool in batch mode (one process over
// the same files) and pdfinfo (one process a file, on a sample of 50). The peers
// run as programs of their own, so wall times are compared, per file.
// Then a sparse PDF of ZXUT_BENCH_PDF_MB megabytes (default 1024) with its Info
// object at the end, beside one of 1 MB: the reader reads only the tail, so the
// bytes read (from /proc/self/io) and the time stay the same.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "docinfo/DocReaders.h"
#include "ratio.h"

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 1000;
constexpr int kPdfinfoSample = 50;

const fs::path& Work() {
  static const fs::path dir = fs::temp_directory_path() / ("zxut_bench_pdf_" + std::to_string(getpid()));
  return dir;
}

// 1,000 copies of the test files that every reader reads, made once.
const std::vector<fs::path>& Files() {
  static const std::vector<fs::path> files = [] {
    const fs::path data = fs::path(ZXUT_SOURCE_DIR) / "tests/docinfo/data/pdf";
    const char* const kSources[] = {"reportlab.pdf", "ghostscript.pdf", "cairo.pdf", "qpdf_objstm.pdf",
                                    "qpdf_linear.pdf", "hand_incremental.pdf", "hand_classic.pdf"};
    std::vector<fs::path> out;
    fs::create_directories(Work() / "many");
    for (int i = 0; i < kFiles; ++i) {
      const fs::path to = Work() / "many" / ("f" + std::to_string(1000 + i) + ".pdf");
      fs::copy_file(data / kSources[i % 7], to, fs::copy_options::overwrite_existing);
      out.push_back(to);
    }
    return out;
  }();
  return files;
}

int ReadOne(const std::string& path) {
  zx::clsDocu doc(zx::String(path.c_str()), 0, 0, nullptr);
  zx::clsDocFile file;
  if (file.OpenDocument(zx::String(path.c_str())) != 0) return -1;
  zx::ReadPdfInfo(doc, file);
  return doc.title.vt == VT_BSTR ? 1 : 0;
}

bool Shell(const std::string& command) { return std::system(command.c_str()) == 0; }

void BM_Pdf_Ours(benchmark::State& state) {
  const std::vector<fs::path>& files = Files();
  int titles = 0;
  for (auto _ : state)
    for (const fs::path& f : files) titles += ReadOne(f.string());
  if (titles == 0) state.SkipWithError("no titles read");
}
BENCHMARK(BM_Pdf_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Pdf_Exiftool(benchmark::State& state) {
  Files();
  const std::string cmd = "exiftool -q -fast -Title -Author -Subject -Keywords -CreateDate -ModifyDate '" +
                          (Work() / "many").string() + "' > /dev/null";
  for (auto _ : state)
    if (!Shell(cmd)) state.SkipWithError("exiftool failed");
}
BENCHMARK(BM_Pdf_Exiftool)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void BM_Pdf_Pdfinfo(benchmark::State& state) {
  const std::vector<fs::path>& files = Files();
  std::string cmd = "for f in";
  for (int i = 0; i < kPdfinfoSample; ++i) cmd += " '" + files[static_cast<size_t>(i)].string() + "'";
  cmd += "; do pdfinfo -isodates \"$f\" > /dev/null; done";
  for (auto _ : state)
    if (!Shell(cmd)) state.SkipWithError("pdfinfo failed");
}
BENCHMARK(BM_Pdf_Pdfinfo)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

// ---- the big file

uint64_t BytesRead() {
  std::ifstream io("/proc/self/io");
  std::string key;
  uint64_t value = 0;
  while (io >> key >> value)
    if (key == "rchar:") return value;
  return 0;
}

// A sparse file of `mb` megabytes: three objects at the start, a hole, then the
// Info object, the table and the trailer.
fs::path BigFile(int64_t mb) {
  const fs::path path = Work() / ("big" + std::to_string(mb) + ".pdf");
  if (fs::exists(path)) return path;
  fs::create_directories(Work());
  std::string head = "%PDF-1.4\n";
  std::vector<uint64_t> offsets{0};
  auto obj = [&](std::string& to, uint64_t base, const std::string& body) {
    offsets.push_back(base + to.size());
    to += std::to_string(offsets.size() - 1) + " 0 obj\n" + body + "\nendobj\n";
  };
  obj(head, 0, "<< /Type /Catalog /Pages 2 0 R >>");
  obj(head, 0, "<< /Type /Pages /Kids [] /Count 0 >>");
  obj(head, 0, "<< /Length 0 >>");
  const uint64_t tailAt = static_cast<uint64_t>(mb) << 20;
  std::string tail;
  obj(tail, tailAt, "<< /Title (Big file) /Author (Bench) /CreationDate (D:20240101000000Z) >>");
  obj(tail, tailAt, "<< >>");
  const uint64_t xref = tailAt + tail.size();
  tail += "xref\n0 " + std::to_string(offsets.size()) + "\n0000000000 65535 f \n";
  for (size_t i = 1; i < offsets.size(); ++i) {
    char line[32];
    std::snprintf(line, sizeof line, "%010llu 00000 n \n", static_cast<unsigned long long>(offsets[i]));
    tail += line;
  }
  tail += "trailer\n<< /Size " + std::to_string(offsets.size()) + " /Root 1 0 R /Info 4 0 R >>\nstartxref\n" +
          std::to_string(xref) + "\n%%EOF\n";
  const int fd = ::open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
  if (fd < 0 || ::pwrite(fd, head.data(), head.size(), 0) != static_cast<ssize_t>(head.size()) ||
      ::pwrite(fd, tail.data(), tail.size(), static_cast<off_t>(tailAt)) != static_cast<ssize_t>(tail.size()))
    std::abort();
  ::close(fd);
  return path;
}

void BM_Pdf_BigFile(benchmark::State& state) {
  const fs::path path = BigFile(state.range(0));
  const uint64_t before = BytesRead();
  int titles = 0;
  for (auto _ : state) titles += ReadOne(path.string());
  if (titles != static_cast<int>(state.iterations())) state.SkipWithError("the title was not read");
  state.counters["bytes_read"] = benchmark::Counter(static_cast<double>(BytesRead() - before) / state.iterations());
  state.counters["file_mb"] = static_cast<double>(state.range(0));
}

int64_t BigMb() {
  const char* env = std::getenv("ZXUT_BENCH_PDF_MB");
  const int64_t mb = env ? std::atoll(env) : 1024;
  return mb > 1 ? mb : 2;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RegisterBenchmark("BM_Pdf_BigFile", BM_Pdf_BigFile)->Arg(1)->Arg(BigMb())->Unit(benchmark::kMicrosecond);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const zxbench::RunTimes* ours = reporter.Find("BM_Pdf_Ours/real_time");
  const zxbench::RunTimes* exif = reporter.Find("BM_Pdf_Exiftool/iterations:1/real_time");
  const zxbench::RunTimes* info = reporter.Find("BM_Pdf_Pdfinfo/iterations:1/real_time");
  if (ours) {
    const double perFile = ours->real / kFiles;
    std::printf("ours      %.4f ms a file (goal <= 0.16: %s)\n", perFile, perFile <= 0.16 ? "met" : "not met");
    if (exif && exif->real > 0)
      std::printf("ratio %-40s ours/peer = %.3fx (real, per file; exiftool %.3f ms a file)\n", "PDF info vs exiftool batch",
                  perFile / (exif->real / kFiles), exif->real / kFiles);
    if (info && info->real > 0)
      std::printf("ratio %-40s ours/peer = %.4fx (real, per file; pdfinfo %.3f ms a file)\n", "PDF info vs pdfinfo",
                  perFile / (info->real / kPdfinfoSample), info->real / kPdfinfoSample);
  }
  fs::remove_all(Work());
  benchmark::Shutdown();
  return 0;
}
