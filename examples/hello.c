/* A C client of zxUT22: a profile job with values set and read back, a debug line,
 * and a block from a tracked heap. With a file name argument the profile is also
 * saved there (UTF-16 text). Exits 0 when every value read back is the one set.
 *
 *   cc hello.c $(pkg-config --cflags --libs zxUT22) -o hello
 *   or CMake: find_package(zxUT22 CONFIG), target zxUT22::zxUT22 (CMakeLists.txt) */
#include <stdio.h>
#include <string.h>

#include "zxUT22.h"

/* Wide text literals: WCHAR is wchar_t on Windows, a 16-bit unit elsewhere. */
#ifdef _WIN32
#define T(s) L##s
#else
#define T(s) u##s
#endif

int main(int argc, char **argv) {
  int failures = 0;
  printf("zxUT22 %ld.%ld\n", (long)ProfGetVersion(1), (long)ProfGetVersion(2));

  /* A profile: an empty job (no file), values by path, read back. */
  HPROFJOB job = ProfJobOpenW(NULL);
  char name[64];
  LONG copies = 0;
  ProfSetStringA(job, NULL, "printer/name", "Laser 5");
  ProfSetIntA(job, NULL, "printer/copies", 2);
  ProfGetStringA(job, NULL, "printer/name", name, (LONG)sizeof name, "");
  ProfGetIntA(job, NULL, "printer/copies", &copies, 0);
  printf("printer/name = %s\nprinter/copies = %ld\n", name, (long)copies);
  failures += strcmp(name, "Laser 5") != 0 || copies != 2;
  if (argc > 1 && ProfSaveA(job, argv[1], PROF_FMT_TEXT) != PROF_OK) {
    fprintf(stderr, "hello: cannot save %s: error %ld\n", argv[1], (long)ProfGetError(job));
    failures++;
  }
  ProfJobClose(job);

  /* A debug line: formatted only while a viewer runs or a log file is set.
   * The format is the wide printf of the C runtime: %hs narrow, %s wide. */
  UtilDebug(T("hello from %hs: %d copies of %s"), "C", (int)copies, T("Laser 5"));

  /* Memory from a tracked heap of this program's job. */
  HUTILMODULE module = UtilJobOpen(T("hello"), 0);
  HUTILHEAP heap = UtilHeapCreate(module, T("main"), 0);
  char *block = (char *)UtilHeapObjectAlloc(heap, 64, UTIL_OBJ_ZERO);
  if (!block) {
    fprintf(stderr, "hello: no heap block\n");
    return 1;
  }
  strcpy(block, "text in a tracked heap");
  printf("%ld-byte block: %s\n", (long)UtilHeapObjectSize(heap, block), block);
  failures += UtilHeapObjectFree(heap, block) != UTIL_OK;
  failures += UtilHeapDelete(heap) != UTIL_OK;
  failures += UtilJobClose(module) != UTIL_OK;
  return failures ? 1 : 0;
}
