// Loading a profile of 100,000 values (2,000 lists of 50) from a file: the text
// form (UTF-16LE, as the library writes it) and the same content as an INI file,
// loaded by the profile store and by the peer inih, which parses the INI file
// into per-section vectors of name/value pairs. MB/s side by side, each on its own
// file's bytes, and the ratio of the times on the INI file, which both read. The
// same profile saved as XML by the library itself (UTF-16) is loaded by us and
// parsed by expat (counting elements) and, when installed, pugixml (a DOM). At
// the start the peak RSS of a process that loads the text file, against its size.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <ini.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "zxUT22.h"

#if ZXUT_BENCH_PUGIXML
#include <pugixml.hpp>
#endif

#include "ratio.h"

namespace {

constexpr int kLists = 2000;
constexpr int kValues = 50;

struct Files {
  std::string text, ini, xml;
  uint64_t textBytes = 0, iniBytes = 0, xmlBytes = 0;
};

std::string Utf16Le(const std::string& ascii) {
  std::string out = "\xFF\xFE";
  for (char c : ascii) out += {c, '\0'};
  return out;
}

const Files& TheFiles() {
  static const Files files = [] {
    Files f;
    const auto dir = std::filesystem::temp_directory_path();
    f.text = (dir / ("zxut_bench_prof_load_" + std::to_string(getpid()) + ".prf")).string();
    f.ini = (dir / ("zxut_bench_prof_load_" + std::to_string(getpid()) + ".ini")).string();
    std::string text = "[/]\r\n {\r\n", ini;
    // The INI path drops the first section's line and nests each section in the one
    // before; a leading section of its own keeps the content the same.
    ini = "[top]\r\n";
    for (int l = 0; l < kLists; ++l) {
      const std::string name = "section" + std::to_string(l);
      text += " [" + name + "]\r\n  {\r\n";
      ini += "[" + name + "]\r\n";
      for (int v = 0; v < kValues; ++v) {
        const std::string line = "key" + std::to_string(v) + "=value " + std::to_string(l * kValues + v);
        text += "  " + line + "\r\n";
        ini += line + "\r\n";
      }
      text += "  }\r\n";
    }
    text += " }\r\n";
    const std::string wide = Utf16Le(text);
    std::ofstream(f.text, std::ios::binary) << wide;
    std::ofstream(f.ini, std::ios::binary) << ini;
    f.textBytes = wide.size();
    f.iniBytes = ini.size();
    // The XML form as the library writes it.
    f.xml = (dir / ("zxut_bench_prof_load_" + std::to_string(getpid()) + ".xml")).string();
    const std::u16string textName(f.text.begin(), f.text.end()), xmlName(f.xml.begin(), f.xml.end());
    // In a child, so that the heap of this process stays as fresh for the RSS probe.
    const pid_t child = fork();
    if (child == 0) {
      HPROFJOB job = ProfJobOpenW(reinterpret_cast<LPCWSTR>(textName.c_str()));
      const bool saved = ProfSaveW(job, reinterpret_cast<LPCWSTR>(xmlName.c_str()), PROF_FMT_XML) == PROF_OK;
      ProfJobClose(job);
      _exit(saved ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    if (status != 0) std::fprintf(stderr, "saving the XML file failed\n");
    f.xmlBytes = std::filesystem::exists(f.xml) ? std::filesystem::file_size(f.xml) : 0;
    return f;
  }();
  return files;
}

std::u16string Wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

void LoadProf(benchmark::State& state, const std::string& path, uint64_t bytes) {
  const std::u16string name = Wide(path);
  for (auto _ : state) {
    HPROFJOB job = ProfJobOpenW(reinterpret_cast<LPCWSTR>(name.c_str()));
    if (ProfGetError(job) != 0) state.SkipWithError("load failed");
    ProfJobClose(job);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

void BM_ProfLoadText(benchmark::State& state) { LoadProf(state, TheFiles().text, TheFiles().textBytes); }
void BM_ProfLoadIni(benchmark::State& state) { LoadProf(state, TheFiles().ini, TheFiles().iniBytes); }
void BM_ProfLoadXml(benchmark::State& state) { LoadProf(state, TheFiles().xml, TheFiles().xmlBytes); }

using Sections = std::vector<std::pair<std::string, std::vector<std::pair<std::string, std::string>>>>;

int Handler(void* user, const char* section, const char* name, const char* value) {
  auto* s = static_cast<Sections*>(user);
  if (s->empty() || s->back().first != section) s->push_back({section, {}});
  s->back().second.emplace_back(name, value);
  return 1;
}

void BM_InihLoadIni(benchmark::State& state) {
  for (auto _ : state) {
    Sections sections;
    if (ini_parse(TheFiles().ini.c_str(), Handler, &sections) != 0) state.SkipWithError("inih failed");
    benchmark::DoNotOptimize(sections.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TheFiles().iniBytes));
}

std::string ReadWhole(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void XMLCALL CountElement(void* user, const XML_Char*, const XML_Char**) { ++*static_cast<long*>(user); }

// expat over the same UTF-16 bytes (read from the file each time, as ours does).
void BM_ExpatLoadXml(benchmark::State& state) {
  long elements = 0;
  for (auto _ : state) {
    const std::string bytes = ReadWhole(TheFiles().xml);
    XML_Parser parser = XML_ParserCreate(nullptr);
    elements = 0;
    XML_SetUserData(parser, &elements);
    XML_SetStartElementHandler(parser, CountElement);
    if (XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), 1) != XML_STATUS_OK)
      state.SkipWithError("expat failed");
    XML_ParserFree(parser);
  }
  state.counters["elements"] = static_cast<double>(elements);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TheFiles().xmlBytes));
}

#if ZXUT_BENCH_PUGIXML
void BM_PugiLoadXml(benchmark::State& state) {
  long elements = 0;
  for (auto _ : state) {
    pugi::xml_document doc;
    if (!doc.load_file(TheFiles().xml.c_str())) state.SkipWithError("pugixml failed");
    elements = static_cast<long>(doc.select_nodes("//*").size());
    benchmark::DoNotOptimize(doc.first_child());
  }
  state.counters["elements"] = static_cast<double>(elements);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * TheFiles().xmlBytes));
}
#endif

BENCHMARK(BM_ProfLoadText)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProfLoadIni)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InihLoadIni)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ProfLoadXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpatLoadXml)->Unit(benchmark::kMillisecond);
#if ZXUT_BENCH_PUGIXML
BENCHMARK(BM_PugiLoadXml)->Unit(benchmark::kMillisecond);
#endif

long StatusKb(const char* field) {
  std::ifstream in("/proc/self/status");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind(field, 0) == 0) return std::stol(line.substr(std::strlen(field)));
  return -1;
}

// Loads the text file in a fresh child, so that the peak is the load's own.
void PrintPeakRss() {
  const Files& f = TheFiles();
  int pipeFds[2];
  if (pipe(pipeFds) != 0) return;
  const pid_t child = fork();
  if (child == 0) {
    const long before = StatusKb("VmRSS:");
    const std::u16string name = Wide(f.text);
    HPROFJOB job = ProfJobOpenW(reinterpret_cast<LPCWSTR>(name.c_str()));
    const long peak = StatusKb("VmHWM:");
    const long held = StatusKb("VmRSS:");
    long out[3] = {before, peak, held};
    (void)!write(pipeFds[1], out, sizeof out);
    ProfJobClose(job);
    _exit(0);
  }
  long in[3] = {-1, -1, -1};
  (void)!read(pipeFds[0], in, sizeof in);
  waitpid(child, nullptr, 0);
  close(pipeFds[0]);
  close(pipeFds[1]);
  const double fileMb = f.textBytes / 1048576.0;
  const double peakMb = (in[1] - in[0]) / 1024.0, heldMb = (in[2] - in[0]) / 1024.0;
  std::printf("\npeak RSS of the text load: %.1f MB above the start (%.1f MB held by the loaded profile) "
              "for a file of %.1f MB: %.2fx the file\n",
              peakMb, heldMb, fileMb, peakMb / fileMb);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  TheFiles();
  // Before the runs, whose freed memory would stay resident and hide the peak.
  PrintPeakRss();
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  auto mbs = [&](const char* n, uint64_t bytes) {
    const zxbench::RunTimes* t = reporter.Find(n);
    return t && t->real > 0 ? bytes / 1048576.0 / (t->real / 1000.0) : 0.0;
  };
  const Files& f = TheFiles();
  std::printf("\nMB/s (wall)   text file %.1f MB: ours %.1f   INI file %.1f MB: ours %.1f, inih %.1f\n",
              f.textBytes / 1048576.0, mbs("BM_ProfLoadText", f.textBytes), f.iniBytes / 1048576.0,
              mbs("BM_ProfLoadIni", f.iniBytes), mbs("BM_InihLoadIni", f.iniBytes));
  reporter.PrintRatio("prof_load ini file", "BM_ProfLoadIni", "BM_InihLoadIni");
  reporter.PrintRatio("prof_load text vs inih ini", "BM_ProfLoadText", "BM_InihLoadIni");
  std::printf("MB/s (wall)   XML file %.1f MB: ours %.1f, expat %.1f, pugixml %.1f\n", f.xmlBytes / 1048576.0,
              mbs("BM_ProfLoadXml", f.xmlBytes), mbs("BM_ExpatLoadXml", f.xmlBytes), mbs("BM_PugiLoadXml", f.xmlBytes));
  reporter.PrintRatio("prof_load xml vs expat", "BM_ProfLoadXml", "BM_ExpatLoadXml");
  reporter.PrintRatio("prof_load xml vs pugixml", "BM_ProfLoadXml", "BM_PugiLoadXml");
  std::remove(f.text.c_str());
  std::remove(f.ini.c_str());
  std::remove(f.xml.c_str());
  return 0;
}
