// zxut: the library's jobs for a person at a terminal. The commands live in the
// files of this folder and add themselves to the table of command.h.
#include <cstdio>
#include <cstring>

#include "command.h"
#include "zxUT22.h"

namespace {

int Version(int argc, char**) {
  if (argc != 0) return zxut::UsageError("version", "takes no arguments");
  std::printf("zxUT22 %ld.%ld build %ld (Util 0x%lx)\n", (long)ProfGetVersion(1),
              (long)ProfGetVersion(2), (long)ProfGetVersion(0), (long)UtilGetVersion(0));
  return 0;
}

const bool kAdded = zxut::AddCommand(
    {"version", "print the library's version", "usage: zxut version\n"
     "  prints the library's version, from ProfGetVersion and UtilGetVersion\n", &Version});

void Overview(FILE* out) {
  std::fputs("usage: zxut <command> [arguments]\n\ncommands:\n", out);
  for (const zxut::Command* c : zxut::Commands()) std::fprintf(out, "  %-9s %s\n", c->name, c->summary);
  std::fputs("\n'zxut help <command>' or 'zxut <command> --help' prints a command's usage.\n", out);
}

bool IsHelp(const char* arg) {
  return !std::strcmp(arg, "--help") || !std::strcmp(arg, "-h");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    Overview(stderr);
    return 2;
  }
  const char* name = argv[1];
  if (!std::strcmp(name, "help") || IsHelp(name)) {
    if (argc == 2) {
      Overview(stdout);
      return 0;
    }
    const zxut::Command* c = zxut::FindCommand(argv[2]);
    if (!c || argc > 3) {
      std::fprintf(stderr, "zxut help: no command '%s'\n", argv[2]);
      Overview(stderr);
      return 2;
    }
    std::fputs(c->usage, stdout);
    return 0;
  }
  const zxut::Command* c = zxut::FindCommand(name);
  if (!c) {
    std::fprintf(stderr, "zxut: unknown command '%s'\n", name);
    Overview(stderr);
    return 2;
  }
  // "--help" anywhere before a "--" asks for the usage.
  for (int i = 2; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
    if (IsHelp(argv[i])) {
      std::fputs(c->usage, stdout);
      return 0;
    }
  }
  return c->run(argc - 2, argv + 2);
}
