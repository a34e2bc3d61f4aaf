// zxut prof pack-file and extract: whole files in a profile.
#include "prof_files.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "text.h"

namespace zxut {
namespace {

// The save selector that keeps a file's format and its compression: XML unless
// the file is UTF-16 text (or new).
DWORD KeepFormat(const char* profile) {
  char b[8] = {};
  if (FILE* f = std::fopen(profile, "rb")) {
    (void)std::fread(b, 1, sizeof b, f);
    std::fclose(f);
  }
  const bool utf16 = b[0] == '\xFF' && b[1] == '\xFE';
  return static_cast<DWORD>((utf16 && b[2] != '<' ? PROF_FMT_TEXT : PROF_FMT_XML) | PROF_SAVE_KEEP_COMPRESSED);
}

}  // namespace

int ProfPackFile(const char* profile, const char* path, const char* file) {
  if (!std::filesystem::is_regular_file(file)) {
    std::fprintf(stderr, "zxut prof: '%s' is not a readable file\n", file);
    return 1;
  }
  const std::u16string name = Wide(profile);
  HPROFJOB job = ProfJobOpenExclusiveW(W(name));
  const long code = job ? ProfGetError(job) : PROF_ERR_MEMORY;
  if (code != PROF_OK) {
    if (job) ProfJobClose(job);
    std::fprintf(stderr, "zxut prof: cannot open '%s' for changing: error %ld\n", profile, code);
    return 1;
  }
  // PATH/NAME: a "File.Entry" list under PATH (the root without one) named NAME.
  const std::string full(path);
  const size_t cut = full.find_last_of('/');
  const std::string folder = cut == std::string::npos ? std::string() : full.substr(0, cut);
  const std::string leaf = cut == std::string::npos ? full : full.substr(cut + 1);
  HPROFLIST list = folder.empty() ? nullptr : ProfCreateListW(job, nullptr, W(Wide(folder.c_str())));
  HPROFLIST entry = ProfAppendListW(job, list, W(u"File.Entry"));
  ProfAppendStringW(job, entry, W(u"Name"), W(Wide(leaf.c_str())));
  ProfAppendFileW(job, entry, W(u"Contents"), nullptr, W(Wide(file)));
  const long saved = ProfSaveW(job, nullptr, KeepFormat(profile));
  ProfJobClose(job);
  if (saved != PROF_OK) {
    std::fprintf(stderr, "zxut prof: cannot save '%s': error %ld\n", profile, saved);
    return 1;
  }
  return 0;
}

int ProfExtract(const char* profile, const char* path, const char* dir) {
  HPROFJOB job = ProfJobOpenW(W(Wide(profile)));
  const long code = job ? ProfGetError(job) : PROF_ERR_MEMORY;
  if (code != PROF_OK) {
    if (job) ProfJobClose(job);
    std::fprintf(stderr, "zxut prof: cannot load '%s': error %ld\n", profile, code);
    return 1;
  }
  HPROFLIST list = std::strcmp(path, "/") == 0 ? nullptr : ProfGetListW(job, nullptr, W(Wide(path)));
  if (std::strcmp(path, "/") != 0 && list == nullptr) {
    ProfJobClose(job);
    std::fprintf(stderr, "zxut prof: no list '%s' in '%s'\n", path, profile);
    return 1;
  }
  const long written = ProfExtractFilesW(job, list, W(Wide(dir)), nullptr);
  ProfJobClose(job);
  if (written < 0) {
    std::fprintf(stderr, "zxut prof: the folder '%s' could not be made\n", dir);
    return 1;
  }
  std::printf("%ld file(s) written to %s\n", written, dir);
  return 0;
}

}  // namespace zxut
