// zxut: the library's jobs for a person at a terminal.
#include <cstdio>
#include <cstring>
#include "zxUT22.h"

int RunViewer(int argc, char** argv);   // viewer.cc
int RunPack(int argc, char** argv);     // pack.cc
int RunUnpack(int argc, char** argv);   // pack.cc
int RunProf(int argc, char** argv);     // prof.cc
int RunZip(int argc, char** argv);      // zip.cc
int RunCrash(int argc, char** argv);    // crash.cc

static int Version() {
  std::printf("zxUT22 %ld.%ld build %ld (Util 0x%lx)\n", (long)ProfGetVersion(1),
              (long)ProfGetVersion(2), (long)ProfGetVersion(0), (long)UtilGetVersion(0));
  return 0;
}

static void Usage() {
  std::puts("usage: zxut <command> [arguments]\n"
            "  version     print the library's version\n"
            "  viewer      print the debug lines of this user's processes live (Ctrl-C ends)\n"
            "  prof        show, get, set and convert profile files (zxut prof for details)\n"
            "  pack [--compress] [--password P] FILE\n"
            "              print FILE as packed text\n"
            "  unpack [--password P] TEXTFILE OUT\n"
            "              write the data of the packed text in TEXTFILE to OUT\n"
            "  zip [--comment TEXT] OUT.zip PATH...\n"
            "              write a new archive of files and folders (folders with all they hold)\n"
            "  stack [FRAMES]  print the calling stack as the crash report has it\n"
            "  crash-test [segv|fpe|abort|stackoverflow]\n"
            "              crash a protected thread: see the report, the report log and the archive");
}

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "version") == 0) return Version();
  if (std::strcmp(argv[1], "viewer") == 0) return RunViewer(argc - 2, argv + 2);
  if (std::strcmp(argv[1], "prof") == 0) return RunProf(argc - 2, argv + 2);
  if (std::strcmp(argv[1], "pack") == 0) return RunPack(argc - 2, argv + 2);
  if (std::strcmp(argv[1], "unpack") == 0) return RunUnpack(argc - 2, argv + 2);
  if (std::strcmp(argv[1], "zip") == 0) return RunZip(argc - 2, argv + 2);
  if (std::strcmp(argv[1], "stack") == 0 || std::strcmp(argv[1], "crash-test") == 0) return RunCrash(argc - 1, argv + 1);
  if (std::strcmp(argv[1], "help") == 0 || std::strcmp(argv[1], "--help") == 0) {
    Usage();
    return 0;
  }
  std::fprintf(stderr, "zxut: unknown command '%s'\n", argv[1]);
  Usage();
  return 2;
}
