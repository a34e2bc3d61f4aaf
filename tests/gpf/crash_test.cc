// Crashes in child processes: a protected thread faults, the parent reads the
// report lines of the child's debug log, the report log's line format, the support
// archive (unzip -t, entries, comment; lldb on the dump) and the way the child
// ended. A breakpoint continues, a software exception passes, an unprotected
// thread's crash reaches the handler found before, SuppressGPFInfo = "T" writes no
// report, and the dialogues answer through ZXUT_MSGBOX_ANSWERS.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

#include "gpf_test_util.h"
#include "core/registry/Registry.h"
#include "platform/compiler.h"
#include "zxUT22.h"

namespace {

namespace fs = std::filesystem;
using zxtest::ChildEnd;
using zxtest::RunSelf;

#define ZX_NO_TAIL_CALL() asm volatile("")

// ---- the child's side

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// The allocator of this program checks that the crashing thread's signal handler
// allocates nothing: once that thread is marked, any allocation on it ends the
// process with 99.
std::atomic<long> g_noAllocThread{0};
extern "C" void* __libc_malloc(size_t);
extern "C" void __libc_free(void*);
extern "C" void* __libc_calloc(size_t, size_t);
extern "C" void* __libc_realloc(void*, size_t);
void CheckAllocation() {
  if (g_noAllocThread.load(std::memory_order_relaxed) && syscall(SYS_gettid) == g_noAllocThread.load()) {
    static const char text[] = "allocation on the crashed thread\n";
    (void)!write(2, text, sizeof text - 1);
    _exit(99);
  }
}
extern "C" void* malloc(size_t n) {
  CheckAllocation();
  return __libc_malloc(n);
}
extern "C" void free(void* p) {
  if (p) CheckAllocation();
  __libc_free(p);
}
extern "C" void* calloc(size_t a, size_t b) {
  CheckAllocation();
  return __libc_calloc(a, b);
}
extern "C" void* realloc(void* p, size_t n) {
  CheckAllocation();
  return __libc_realloc(p, n);
}
void MarkNoAllocation() { g_noAllocThread.store(syscall(SYS_gettid)); }
#else
void MarkNoAllocation() {}
#endif

extern "C" ZX_NOINLINE void GpfCrashSegv() {
  MarkNoAllocation();
  // Not null: wine maps the page at 0, and the undefined-behaviour checker would
  // stop the program before the store.
  *reinterpret_cast<volatile int*>(~uintptr_t{7}) = 1;
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE int GpfCrashFpe(int divisor) {
  volatile int d = divisor;
  const int r = 10 / d;
  ZX_NO_TAIL_CALL();
  return r;
}
extern "C" ZX_NOINLINE void GpfCrashIll() { __builtin_trap(); }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winfinite-recursion"
extern "C" ZX_NOINLINE int GpfCrashRecurse(int depth) {
  volatile char pad[512];
  pad[0] = static_cast<char>(depth);
  const int r = GpfCrashRecurse(depth + 1) + pad[0];
  ZX_NO_TAIL_CALL();
  return r;
}
#pragma GCC diagnostic pop
extern "C" ZX_NOINLINE void GpfCrashSmashed() {
  // A damaged stack: the walk must end without faulting.
#ifdef __x86_64__
  asm volatile("movq $0x10, %%rsp\n movq $0x20, %%rbp\n movl $1, 0\n" ::: "memory");
#endif
}

#ifndef _WIN32
void PreviousHandler(int, siginfo_t*, void*) {
  static const char text[] = "previous handler\n";
  (void)!write(2, text, sizeof text - 1);
  _exit(42);
}
#else
LONG WINAPI PreviousFilter(EXCEPTION_POINTERS*) {
  ExitProcess(42);
}
#endif

void Crash(const std::string& kind) {
  if (kind == "segv") GpfCrashSegv();
  if (kind == "fpe") GpfCrashFpe(0);
  if (kind == "ill") GpfCrashIll();
  if (kind == "abort") std::abort();
  if (kind == "stackoverflow") GpfCrashRecurse(0);
  if (kind == "smashed") GpfCrashSmashed();
#ifndef _WIN32
  if (kind == "twothreads") {
    // A second protected thread faults while the first one's report runs: it
    // waits at the report lock, and the first report's end ends the process.
    static std::atomic<bool> reporting{false};
    std::thread second([] {
      UtilExHandlerStartProtection(nullptr);
      while (!reporting.load()) std::this_thread::yield();
      GpfCrashSegv();
    });
    reporting.store(true);
    GpfCrashSegv();
    second.join();
  }
#endif
  if (kind == "breakpoint") {
#ifdef __x86_64__
    asm volatile("int3");
#endif
    std::printf("continued behind the breakpoint\n");
    std::fflush(stdout);
  }
  if (kind == "software") {
#ifdef _WIN32
    RaiseException(0xE0001234u, 0, 0, nullptr);
#else
    raise(SIGSEGV);
#endif
  }
}

// Runs only as a child (ZXUT_CRASH_CHILD names the crash).
TEST(CrashChild, Run) {
  const char* kind = std::getenv("ZXUT_CRASH_CHILD");
  if (!kind) GTEST_SKIP() << "runs as a child of the crash tests";
  const bool unprotected = std::getenv("ZXUT_CRASH_UNPROTECTED") != nullptr;
  if (unprotected) {
#ifdef _WIN32
    SetUnhandledExceptionFilter(&PreviousFilter);
#else
    struct sigaction sa{};
    sa.sa_sigaction = &PreviousHandler;
    sa.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &sa, nullptr);
#endif
  }
#ifdef _WIN32
  SetErrorMode(SEM_NOGPFAULTERRORBOX);   // the system ends the process without its crash report
#endif
  UtilExHandlerJobOpen();
  static bool s_unprotected;
  static const char* s_kind;
  s_unprotected = unprotected;
  s_kind = kind;
  auto body = [] {
    if (!s_unprotected) UtilExHandlerStartProtection(nullptr);
    Crash(s_kind);
    if (!s_unprotected) UtilExHandlerEndProtection(nullptr);
  };
#ifdef _WIN32
  // A thread of the system's own: the threads of the C++ library catch exceptions.
  HANDLE t = CreateThread(nullptr, 0, [](LPVOID f) -> DWORD { (*static_cast<decltype(body)*>(f))(); return 0; },
                          &body, 0, nullptr);
  WaitForSingleObject(t, INFINITE);
  CloseHandle(t);
#else
  std::thread worker(body);
  worker.join();
#endif
  UtilExHandlerJobClose();
  std::exit(0);
}

// ---- the parent's side

struct ChildRun {
  ChildEnd end;
  std::vector<std::string> log;        // the debug log's messages
  std::vector<std::u16string> report;  // the report log's lines
  fs::path archive;
};

class Crashes : public ::testing::Test {
 protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // The sanitizers own the fault signals: they report a SEGV or a stack overflow
    // themselves (and the undefined-behaviour checker stops at a division by zero
    // before the fault), so a child's crash never reaches the filter.
    GTEST_SKIP() << "crash children are not run under the sanitizers";
#endif
  }
  ChildRun Start(const std::string& kind, std::vector<std::string> env = {}) {
    const fs::path reg = dir_ / "reg", temp = dir_ / "tmp", app = dir_ / "app";
    fs::create_directories(reg);
    fs::create_directories(temp);
    fs::create_directories(app);
    std::string log = (dir_ / "debug.log").string();
    std::string escaped;
    for (char c : log) escaped += c == '\\' ? std::string("\\\\") : std::string(1, c);
    zxtest::WriteHive(reg.string(), "HKLM", "[HKEY_LOCAL_MACHINE\\software\\zarnik]\r\n\"Debug.LogFilename\"=\"" +
                                                escaped + "\"\r\n\"Debug.LogFile.Flush\"=\"TRUE\"\r\n");
    zxtest::WriteHive(reg.string(), "HKCU", hkcu_);
    env.push_back("ZXUT_CRASH_CHILD=" + kind);
    env.push_back("ZXUT_REGISTRY_DIR=" + reg.string());
    env.push_back("TMPDIR=" + temp.string());
    env.push_back("TEMP=" + temp.string());
    env.push_back("APPDATA=" + app.string());
    env.push_back("GTEST_OUTPUT=");
    ChildRun r;
    r.end = RunSelf("CrashChild.Run", env);
    r.log = zxtest::LogMessages(log);
    r.report = zxsupport::ReadUtf16Lines(app / "ZARNIK.LOG");
    r.archive = temp / "zarnik.dmp.zip";
    return r;
  }
  static bool Has(const ChildRun& r, const std::string& text) {
    for (const std::string& m : r.log)
      if (m.find(text) != std::string::npos) return true;
    return false;
  }
  zxsupport::ScratchDir dir_{"gpf_crash"};
  std::string hkcu_;
};

#ifndef _WIN32
struct Case {
  const char* kind;
  int signal;
  const char* code;
};

TEST_F(Crashes, ProtectedThreadFaultIsReportedAndArchived) {
  const Case cases[] = {{"segv", SIGSEGV, "Exception code: 0xc0000005 (Access Violation)"},
                        {"fpe", SIGFPE, "Exception code: 0xc0000094 (Integer Division by Zero)"},
                        {"ill", SIGILL, "Exception code: 0xc000001d (Illegal Instruction Encountered)"},
                        {"abort", SIGABRT, "Exception code: 0x40000015 ("}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    ChildRun r = Start(c.kind);
    EXPECT_EQ(r.end.signal, c.signal);
    EXPECT_NE(r.end.code, 99) << "the handler allocated";
    for (const char* line : {">>>=========================", c.code, "Code environment:",
                             "clsGPFProtection::GenerateExceptionReport(): creating minidump",
                             "<<<=========================", "<clsGPFProtection::GenerateExceptionReport() -> done"})
      EXPECT_TRUE(Has(r, line)) << line;
    // The report log: every line "yyyy-mm-dd, hh:mm.ss.mmm <library> <text>".
    static const std::regex format(R"(^\d{4}-\d\d-\d\d, \d\d:\d\d\.\d\d\.\d{3} \S+ .*$)");
    ASSERT_GE(r.report.size(), 12u);
    for (const auto& line : r.report) {
      const std::string text = zxsupport::Ascii(line);
      // The closing message has line breaks of its own.
      if (text.empty() || text == "Do you want to open the containing folder?") continue;
      EXPECT_TRUE(std::regex_match(text, format)) << text;
    }
    EXPECT_NE(zxsupport::Ascii(r.report[1]).find(c.code), std::string::npos);
    std::string out;
    ASSERT_TRUE(zxsupport::RunFilter("unzip -t " + r.archive.string(), "", out)) << out;
    ASSERT_TRUE(zxsupport::RunFilter("unzip -z " + r.archive.string(), "", out));
    EXPECT_NE(out.find("zarnik Crash Information File"), std::string::npos) << out;
    ASSERT_TRUE(zxsupport::RunFilter("unzip -l " + r.archive.string(), "", out));
    EXPECT_NE(out.find("zarnik64.dmp"), std::string::npos) << out;
    fs::remove_all(dir_.path() / "tmp");
    fs::remove(dir_.path() / "app" / "ZARNIK.LOG");
  }
}

TEST_F(Crashes, LldbShowsTheFaultingThreadInTheDump) {
  ChildRun r = Start("segv");
  ASSERT_EQ(r.end.signal, SIGSEGV);
  std::string out;
  ASSERT_TRUE(zxsupport::RunFilter("cd " + r.archive.parent_path().string() +
                                       " && unzip -o -q zarnik.dmp.zip zarnik64.dmp && "
                                       "lldb --batch -c zarnik64.dmp -o 'thread list' -o 'bt' 2>&1",
                                   "", out));
  EXPECT_NE(out.find("GpfCrashSegv"), std::string::npos) << out;
  EXPECT_NE(out.find("test_gpf`"), std::string::npos) << out;
  EXPECT_NE(out.find("SIGSEGV"), std::string::npos) << out;
}

TEST_F(Crashes, NoReportForStackOverflowBreakpointSoftwareAndSuppression) {
  ChildRun overflow = Start("stackoverflow");
  EXPECT_EQ(overflow.end.signal, SIGSEGV);
  EXPECT_FALSE(Has(overflow, ">>>========================="));

  ChildRun breakpoint = Start("breakpoint");
  EXPECT_TRUE(breakpoint.end.exited);
  EXPECT_EQ(breakpoint.end.code, 0);
  EXPECT_FALSE(Has(breakpoint, ">>>========================="));

  ChildRun software = Start("software");
  EXPECT_EQ(software.end.signal, SIGSEGV);
  EXPECT_TRUE(Has(software, "Not system exception: let it pass!"));
  EXPECT_FALSE(Has(software, ">>>========================="));

  hkcu_ = "[HKEY_CURRENT_USER\\Software\\zarnik\\test_gpf]\r\n\"SuppressGPFInfo\"=\"T\"\r\n";
  ChildRun suppressed = Start("segv");
  EXPECT_EQ(suppressed.end.signal, SIGSEGV);
  EXPECT_TRUE(Has(suppressed, "registry explicitly suppresses GPFInfo"));
  EXPECT_FALSE(Has(suppressed, ">>>========================="));
  EXPECT_TRUE(suppressed.report.empty());
  EXPECT_FALSE(fs::exists(suppressed.archive));
}

TEST_F(Crashes, UnprotectedThreadReachesThePreviousHandler) {
  ChildRun r = Start("segv", {"ZXUT_CRASH_UNPROTECTED=1"});
  EXPECT_TRUE(r.end.exited);
  EXPECT_EQ(r.end.code, 42);
  EXPECT_FALSE(Has(r, ">>>========================="));
}

TEST_F(Crashes, DamagedStackIsReportedWithoutHanging) {
  ChildRun r = Start("smashed");
  EXPECT_EQ(r.end.signal, SIGSEGV);
  EXPECT_TRUE(Has(r, "<clsGPFProtection::GenerateExceptionReport() -> done"));
}

TEST_F(Crashes, SecondThreadFaultingDuringAReportWaitsAndNothingHangs) {
  ChildRun r = Start("twothreads");
  EXPECT_EQ(r.end.signal, SIGSEGV);
  int starts = 0, ends = 0;
  for (const std::string& m : r.log) {
    starts += m.find(">>>=========================") != std::string::npos;
    ends += m.find("<<<=========================") != std::string::npos;
  }
  // One report runs to its end; the other thread never gets a half report in.
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(starts, ends);
  std::string out;
  EXPECT_TRUE(zxsupport::RunFilter("unzip -t " + r.archive.string(), "", out)) << out;
}

TEST_F(Crashes, DialoguesAnswerThroughTheScript) {
  // An interactive child (a desktop): box 1 answered No ends the report there.
  ChildRun no = Start("segv", {"DISPLAY=:0", "ZXUT_MSGBOX_ANSWERS=7"});
  EXPECT_TRUE(Has(no, "user actively suppressed GPFInfo"));
  ASSERT_FALSE(no.log.empty());
  EXPECT_NE(no.log.back().find("<clsGPFProtection::GenerateExceptionReport() -> no GPF info requested"),
            std::string::npos) << no.log.back();
  EXPECT_FALSE(fs::exists(no.archive));

  ChildRun yes = Start("segv", {"DISPLAY=:0", "ZXUT_MSGBOX_ANSWERS=6,6"});
  EXPECT_TRUE(Has(yes, "asking user to open directory with support information"));
  EXPECT_TRUE(Has(yes, "clsGPFProtection::GenerateExceptionReport(): showing '"));
  EXPECT_TRUE(Has(yes, "Do you want to open the containing folder?"));
  EXPECT_TRUE(fs::exists(yes.archive));
}
#endif

#ifdef _WIN32
// Under wine: the filter writes the report log and the archive holds the dump. The
// child's %APPDATA% and temporary folder are wine's (it sets them for every
// process); the dump mode is the smallest, which wine writes in seconds.
TEST_F(Crashes, ProtectedThreadFaultWritesArchiveUnderWindows) {
  const fs::path log = dir_ / "debug.log";
  zx::RegWriteString(plat::Hive::LocalMachine, u"software\\zarnik", u"Debug.LogFilename",
                     zxsupport::U16(log.string()).c_str());
  zx::RegWriteDword(plat::Hive::CurrentUser, u"Software\\zarnik", u"GPFMiniDumpMode", 0);
  wchar_t tempPath[MAX_PATH];
  GetTempPathW(MAX_PATH, tempPath);
  const fs::path archive = fs::path(tempPath) / "zarnik.dmp.zip";
  const fs::path report = fs::path(std::getenv("APPDATA")) / "ZARNIK.LOG";
  fs::remove(archive);
  fs::remove(report);
  std::printf("wine-run: children crash on purpose\n");   // the child's crash report is no failure here
  std::fflush(stdout);
  ChildEnd end = RunSelf("CrashChild.Run", {"ZXUT_CRASH_CHILD=segv", "ZXUT_MSGBOX_ANSWERS=6,7"});
  plat::DeleteRegValue(plat::Hive::LocalMachine, u"software\\zarnik", u"Debug.LogFilename");
  plat::DeleteRegValue(plat::Hive::CurrentUser, u"Software\\zarnik", u"GPFMiniDumpMode");
  EXPECT_EQ(static_cast<uint32_t>(end.code), 0xC0000005u);
  const std::vector<std::string> messages = zxtest::LogMessages(log.string());
  bool done = false;
  for (const std::string& m : messages) done = done || m.find("<pJob->WriteMiniDump() succeeded") != std::string::npos;
  EXPECT_TRUE(done);
  const auto lines = zxsupport::ReadUtf16Lines(report);
  ASSERT_FALSE(lines.empty());
  static const std::regex format(R"(^\d{4}-\d\d-\d\d, \d\d:\d\d\.\d\d\.\d{3} \S+ .*$)");
  EXPECT_TRUE(std::regex_match(zxsupport::Ascii(lines[0]), format)) << zxsupport::Ascii(lines[0]);
  bool code = false;
  for (const auto& line : lines)
    code = code || zxsupport::Ascii(line).find("Exception code: 0xc0000005 (Access Violation)") != std::string::npos;
  EXPECT_TRUE(code);
  const std::string zip = zxsupport::ReadBytes(archive);
  ASSERT_GT(zip.size(), 1000u) << archive.string();
  EXPECT_EQ(zip.substr(0, 2), "PK");
  EXPECT_NE(zip.find("zarnik64.dmp"), std::string::npos);
  EXPECT_NE(zip.find("zarnik Crash Information File"), std::string::npos);
  fs::remove(archive);
  fs::remove(report);
}
#endif

}  // namespace
