// zxut stack: the calling stack as DumpStackTraceEx prints it.
// zxut crash-test [segv|fpe|abort|stackoverflow]: a protected thread that crashes.
#include <cstdio>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "core/format/Format.h"
#include "gpf/StackFormat.h"
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

}  // namespace

int RunCrash(int argc, char** argv) {
  if (argc >= 1 && std::strcmp(argv[0], "stack") == 0) return PrintStack(argc >= 2 ? std::atoi(argv[1]) : 100);
  std::fprintf(stderr, "usage: zxut stack [FRAMES] | zxut crash-test [segv|fpe|abort|stackoverflow]\n");
  return 2;
}
