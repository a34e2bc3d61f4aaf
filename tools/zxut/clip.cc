// zxut clip: a profile file to the clipboard and back.
//
//   zxut clip copy PROFILE     the profile onto the clipboard (as XML)
//   zxut clip paste PROFILE    the clipboard's profile saved as PROFILE (XML)
#include <cstdio>
#include <cstring>

#include "command.h"
#include "text.h"

namespace {

int Copy(const char* file) {
  HPROFJOB job = ProfJobOpenW(W(Wide(file)));
  const long code = job ? ProfGetError(job) : PROF_ERR_MEMORY;
  if (code != PROF_OK) {
    if (job) ProfJobClose(job);
    std::fprintf(stderr, "zxut clip: cannot load '%s': error %ld\n", file, code);
    return 1;
  }
  const long rc = ProfSaveToClipboard(job, nullptr, PROF_FMT_XML);
  ProfJobClose(job);
  if (rc != PROF_OK) {
    std::fprintf(stderr, "zxut clip: the profile could not be put on the clipboard: error %ld\n", rc);
    return 1;
  }
  return 0;
}

int Paste(const char* file) {
  if (!ProfIsClipboardDataAvailable()) {
    std::fprintf(stderr, "zxut clip: no profile on the clipboard\n");
    return 1;
  }
  HPROFJOB job = ProfJobOpenClipboard(nullptr);
  const long code = job ? ProfGetError(job) : PROF_ERR_MEMORY;
  const long saved = code == PROF_OK ? ProfSaveW(job, W(Wide(file)), PROF_FMT_XML) : code;
  if (job) ProfJobClose(job);
  if (saved != PROF_OK) {
    std::fprintf(stderr, "zxut clip: cannot paste into '%s': error %ld\n", file, saved);
    return 1;
  }
  return 0;
}

int RunClip(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[0], "copy") == 0) return Copy(argv[1]);
  if (argc == 2 && std::strcmp(argv[0], "paste") == 0) return Paste(argv[1]);
  return zxut::UsageError("clip");
}

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"clip", "copy a profile to the clipboard and paste it back",
     "usage: zxut clip copy PROFILE     put the profile on the clipboard\n"
     "       zxut clip paste PROFILE    save the clipboard's profile as PROFILE (XML)\n",
     &RunClip});

}  // namespace
