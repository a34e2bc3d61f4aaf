// zxut prof: show, read, change and convert profile files.
//
//   zxut prof show FILE                       the tree, indented, one item a line
//   zxut prof get FILE PATH                   one value
//   zxut prof set FILE PATH VALUE             change (or add) a value and save in place
//   zxut prof convert IN OUT --format F [--compressed]
//                                             save IN as OUT in text, xml or xfdf
//   zxut prof pack-file PROFILE PATH/NAME FILE    FILE as a File.Entry NAME under PATH
//   zxut prof extract PROFILE PATH DIR        the File.Entry lists under PATH into DIR
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "command.h"
#include "prof_files.h"
#include "text.h"

namespace {

const char* Meaning(long code) {
  switch (code) {
    case PROF_ERR_OPEN: return "the file could not be opened for reading";
    case PROF_ERR_SAVE: return "the file could not be opened for writing, or the save did not complete";
    case PROF_ERR_WRITE: return "writing the tree failed";
    case PROF_ERR_HANDLE: return "no job";
    case PROF_ERR_NOT_FOUND: return "no such item";
    case PROF_ERR_PARSE: return "the file did not parse";
    case PROF_ERR_MEMORY: return "out of memory";
    case PROF_ERR_FORMAT: return "the item has another form";
    case PROF_ERR_LOCKED: return "the file is held by another user";
    default: return "unknown code";
  }
}

int Fail(const char* what, const char* file, long code) {
  std::fprintf(stderr, "zxut prof: %s '%s': error %ld (%s)\n", what, file, code, Meaning(code));
  return 1;
}

// The format a file was written in, from its first bytes: XML is UTF-16 text whose
// first line starts with "<"; XFDF is 8-bit text that does; anything else is text.
long FormatOfFile(const char* path) {
  std::ifstream in(path, std::ios::binary);
  char b[8] = {};
  in.read(b, sizeof b);
  const bool utf16 = (b[0] == '\xFF' && b[1] == '\xFE') || (b[0] == '\xFE' && b[1] == '\xFF');
  if (utf16) return (b[2] == '<' || b[3] == '<') ? PROF_FMT_XML : PROF_FMT_TEXT;
  return std::strncmp(b, "<?xml", 5) == 0 ? PROF_FMT_XFDF : PROF_FMT_TEXT;
}

struct ShowState {
  int depth;
};

BOOL ZXUT_API ShowItem(HPROFJOB job, LPCWSTR name, LPCWSTR value, HPROFLIST sublist, void* user) {
  auto* state = static_cast<ShowState*>(user);
  const std::string indent(static_cast<size_t>(state->depth) * 2, ' ');
  if (sublist) {
    std::printf("%s[%s]\n", indent.c_str(), Utf8(FromW(name)).c_str());
    ShowState inner{state->depth + 1};
    ProfEnumW(job, sublist, &ShowItem, &inner);
  } else {
    std::printf("%s%s=%s\n", indent.c_str(), Utf8(FromW(name)).c_str(), Utf8(FromW(value)).c_str());
  }
  return 1;
}

// Opens FILE shared (reading) or exclusive (changing); reports a failed load.
HPROFJOB Open(const char* file, bool exclusive, long* code) {
  const std::u16string name = Wide(file);
  HPROFJOB job = exclusive ? ProfJobOpenExclusiveW(W(name)) : ProfJobOpenW(W(name));
  *code = job ? ProfGetError(job) : PROF_ERR_MEMORY;
  return job;
}

int Show(const char* file) {
  long code;
  HPROFJOB job = Open(file, false, &code);
  if (code != PROF_OK) {
    if (job) ProfJobClose(job);
    return Fail("cannot load", file, code);
  }
  ShowState state{0};
  ProfEnumW(job, nullptr, &ShowItem, &state);
  ProfJobClose(job);
  return 0;
}

int Get(const char* file, const char* path) {
  long code;
  HPROFJOB job = Open(file, false, &code);
  if (code != PROF_OK) {
    if (job) ProfJobClose(job);
    return Fail("cannot load", file, code);
  }
  const std::u16string p = Wide(path);
  const long length = ProfGetStringLengthW(job, nullptr, W(p));
  if (length < 0) {
    ProfJobClose(job);
    std::fprintf(stderr, "zxut prof: '%s' in '%s': error %ld (%s)\n", path, file, length, Meaning(length));
    return 1;
  }
  std::u16string value(static_cast<size_t>(length) + 1, u'\0');
  ProfGetStringW(job, nullptr, W(p), reinterpret_cast<LPWSTR>(value.data()), length + 1, W(u""));
  value.resize(static_cast<size_t>(length));
  std::printf("%s\n", Utf8(value).c_str());
  ProfJobClose(job);
  return 0;
}

int Set(const char* file, const char* path, const char* value) {
  const long format = FormatOfFile(file);
  if (format == PROF_FMT_XFDF) {
    std::fprintf(stderr, "zxut prof: '%s' is XFDF, an export format that does not load back\n", file);
    return 1;
  }
  long code;
  HPROFJOB job = Open(file, true, &code);
  if (code != PROF_OK) {
    if (job) ProfJobClose(job);
    return Fail("cannot open for changing", file, code);
  }
  ProfSetStringW(job, nullptr, W(Wide(path)), W(Wide(value)));
  const long saved = ProfSaveW(job, nullptr, static_cast<DWORD>(format) | PROF_SAVE_KEEP_COMPRESSED);
  ProfJobClose(job);
  return saved == PROF_OK ? 0 : Fail("cannot save", file, saved);
}

int Convert(const char* in, const char* out, const char* formatName, bool compressed) {
  long format;
  if (std::strcmp(formatName, "text") == 0) format = PROF_FMT_TEXT;
  else if (std::strcmp(formatName, "xml") == 0) format = PROF_FMT_XML;
  else if (std::strcmp(formatName, "xfdf") == 0) format = PROF_FMT_XFDF;
  else {
    return zxut::UsageError("prof", "the format is text, xml or xfdf");
  }
  long code;
  HPROFJOB job = Open(in, false, &code);
  if (code != PROF_OK) {
    if (job) ProfJobClose(job);
    return Fail("cannot load", in, code);
  }
  const DWORD flags = static_cast<DWORD>(format) | (compressed ? PROF_SAVE_COMPRESSED : 0);
  const long saved = ProfSaveW(job, W(Wide(out)), flags);
  ProfJobClose(job);
  return saved == PROF_OK ? 0 : Fail("cannot save", out, saved);
}

int RunProf(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[0], "show") == 0) return Show(argv[1]);
  if (argc == 3 && std::strcmp(argv[0], "get") == 0) return Get(argv[1], argv[2]);
  if (argc == 4 && std::strcmp(argv[0], "set") == 0) return Set(argv[1], argv[2], argv[3]);
  if ((argc == 5 || argc == 6) && std::strcmp(argv[0], "convert") == 0 && std::strcmp(argv[3], "--format") == 0) {
    if (argc == 6 && std::strcmp(argv[5], "--compressed") != 0) return zxut::UsageError("prof");
    return Convert(argv[1], argv[2], argv[4], argc == 6);
  }
  if (argc == 4 && std::strcmp(argv[0], "pack-file") == 0) return zxut::ProfPackFile(argv[1], argv[2], argv[3]);
  if (argc == 4 && std::strcmp(argv[0], "extract") == 0) return zxut::ProfExtract(argv[1], argv[2], argv[3]);
  return zxut::UsageError("prof");
}

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"prof", "show, get, set, convert profile files and carry files in them",
     "usage: zxut prof show FILE                    the tree, indented, one item a line\n"
     "       zxut prof get FILE PATH                one value, e.g. printer/name\n"
     "       zxut prof set FILE PATH VALUE          change (or add) a value, save in place\n"
     "       zxut prof convert IN OUT --format F [--compressed]\n"
     "                                              save IN as OUT in F: text, xml or xfdf\n"
     "                                              (--compressed: the PRZB form)\n"
     "       zxut prof pack-file PROFILE PATH/NAME FILE  FILE as a File.Entry list NAME in PATH\n"
     "       zxut prof extract PROFILE PATH DIR     the File.Entry lists in PATH (/ for the\n"
     "                                              root) written into DIR\n",
     &RunProf});

}  // namespace
