// zxut stack: the calling stack as DumpStackTraceEx prints it.
// zxut crash-test [segv|fpe|abort|stackoverflow]: a protected thread that crashes.
#include <cstdio>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <thread>

#include "core/format/Format.h"
#include "file/TempName.h"
#include "gpf/ReportLog.h"
#include "gpf/StackFormat.h"
#include "command.h"
#include "text.h"

namespace {

// Lines of DumpStackTraceEx to standard output.
class StdoutPrinter final : public zx::clsDebugOutput {
 public:
  void Printf(const char16_t* format, ...) override {
    char16_t line[8192];
    va_list ap;
    va_start(ap, format);
    zx::VFormatTo(line, 8192, format, ap);
    va_end(ap);
    std::u16string text = line;
    while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r')) text.pop_back();
    std::printf("%s\n", Utf8(text).c_str());
  }
};

__attribute__((noinline)) int PrintStack(unsigned frames) {
  StdoutPrinter out;
  if (!zx::DumpStackTraceEx(frames, true, &out)) {
    std::fprintf(stderr, "zxut stack: the debug help engine could not be started\n");
    return 1;
  }
  return 0;
}

__attribute__((noinline)) void CrashNullWrite() { *static_cast<volatile int*>(nullptr) = 1; }
__attribute__((noinline)) int CrashDivide(int divisor) {
  volatile int d = divisor;
  return 100 / d;
}
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winfinite-recursion"
__attribute__((noinline)) int CrashRecurse(int depth) {
  volatile char pad[1024];
  pad[0] = static_cast<char>(depth);
  const int r = CrashRecurse(depth + 1) + pad[0];
  asm volatile("");
  return r;
}
#pragma GCC diagnostic pop

int CrashTest(const char* kind) {
  if (std::strcmp(kind, "segv") != 0 && std::strcmp(kind, "fpe") != 0 && std::strcmp(kind, "abort") != 0 &&
      std::strcmp(kind, "stackoverflow") != 0)
    return -1;
  std::fprintf(stderr,
               "zxut crash-test: a protected thread crashes (%s). The report goes to debug output (zxut viewer)\n"
               "and to %s; the support archive to %szarnik.dmp.zip.\n",
               kind, Utf8(std::u16string(zx::ReportLogName().View())).c_str(),
               Utf8(std::u16string(zx::UtilGetTempPath(false).View())).c_str());
  UtilExHandlerJobOpen();
  std::thread crasher([kind] {
    UtilExHandlerStartProtection(nullptr);
    if (std::strcmp(kind, "segv") == 0) CrashNullWrite();
    if (std::strcmp(kind, "fpe") == 0) CrashDivide(0);
    if (std::strcmp(kind, "abort") == 0) std::abort();
    if (std::strcmp(kind, "stackoverflow") == 0) CrashRecurse(0);
    UtilExHandlerEndProtection(nullptr);
  });
  crasher.join();
  UtilExHandlerJobClose();
  std::fprintf(stderr, "zxut crash-test: the thread came back\n");
  return 1;
}

}  // namespace

namespace {

int RunStack(int argc, char** argv) {
  if (argc > 1 || (argc == 1 && std::atoi(argv[0]) <= 0)) return zxut::UsageError("stack");
  return PrintStack(argc == 1 ? std::atoi(argv[0]) : 100);
}

int RunCrashTest(int argc, char** argv) {
  const int r = argc <= 1 ? CrashTest(argc == 1 ? argv[0] : "segv") : -1;
  return r >= 0 ? r : zxut::UsageError("crash-test");
}

[[maybe_unused]] const bool kAdded =
    zxut::AddCommand({"stack", "print the calling stack as the crash report has it",
                      "usage: zxut stack [FRAMES]\n"
                      "  prints this program's calling stack (at most FRAMES frames, 100 if not given)\n"
                      "  through DumpStackTraceEx, with symbols, source lines and parameters\n",
                      &RunStack}) &&
    zxut::AddCommand({"crash-test", "crash a protected thread to see the report, the log and the archive",
                      "usage: zxut crash-test [segv|fpe|abort|stackoverflow]\n"
                      "  starts a protected thread that crashes (segv if not given): the report goes to the\n"
                      "  debug output and the report log, the dump into zarnik.dmp.zip in the temporary\n"
                      "  folder; the program then ends as the crash would end it\n",
                      &RunCrashTest});

}  // namespace
