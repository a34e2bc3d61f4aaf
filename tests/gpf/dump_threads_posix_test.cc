// Linux: the dump holds every thread of the process. A child starts three named
// threads parked in known functions, then asks for a dump or crashes in a
// protected thread; the parent reads the dump with lldb (every parked function in
// a backtrace, the crashing thread selected) and with tests/gpf/minidump_check.py,
// a reader of the published format (directory, thread list, each stack slice inside
// the file and at its thread's stack pointer). A thread that blocks every signal is
// left out, with a line, within a bounded time.
#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <algorithm>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "gpf_test_util.h"
#include "platform/compiler.h"
#include "zxUT22.h"

namespace {

namespace fs = std::filesystem;

#define ZX_NO_TAIL_CALL() asm volatile("")

// ---- the child's side

std::atomic<int> g_parked{0};

long Tid() { return syscall(SYS_gettid); }

void Park() {
  g_parked.fetch_add(1);
  for (;;) pause();   // the hold's signal wakes it; it parks again
}
extern "C" ZX_NOINLINE void ParkedInAlpha() {
  Park();
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void ParkedInBeta() {
  Park();
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void ParkedInGamma() {
  Park();
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void ParkedBlocked() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, nullptr);
  Park();
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void DumpRequestedHere(HDEBUGHELPJOB job, WCHAR* path) {
  if (UtilDebugHelpWriteMiniDump(job, path, 260, nullptr) != 1) _exit(3);
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void CrashInWorker() {
  *reinterpret_cast<volatile int*>(~uintptr_t{7}) = 1;
  ZX_NO_TAIL_CALL();
}

// Runs only as a child: ZXUT_DUMP_THREADS_CHILD is "request", "blocked" or "crash";
// the thread ids go to ZXUT_DUMP_THREADS_OUT/ids as "name id" lines.
TEST(DumpThreadsChild, Run) {
  const char* kind = std::getenv("ZXUT_DUMP_THREADS_CHILD");
  if (!kind) GTEST_SKIP() << "runs as a child of the dump tests";
  const fs::path out = std::getenv("ZXUT_DUMP_THREADS_OUT");
  const std::string k = kind;
  std::ofstream ids(out / "ids");
  ids << "main " << Tid() << "\n";
  struct Parked {
    const char* name;
    void (*fn)();
  };
  std::vector<Parked> parked = {{"alpha", &ParkedInAlpha}, {"beta", &ParkedInBeta}, {"gamma", &ParkedInGamma}};
  if (k == "blocked") parked.push_back({"blocked", &ParkedBlocked});
  std::vector<std::atomic<long>> tids(parked.size());
  for (size_t i = 0; i < parked.size(); ++i) {
    std::thread([&, i] {
      pthread_setname_np(pthread_self(), (std::string("parked-") + parked[i].name).c_str());
      tids[i].store(Tid());
      parked[i].fn();
    }).detach();
  }
  while (g_parked.load() < static_cast<int>(parked.size())) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  for (size_t i = 0; i < parked.size(); ++i) ids << parked[i].name << " " << tids[i].load() << "\n";

  if (k == "crash") {
    UtilExHandlerJobOpen();
    std::thread worker([&ids] {
      ids << "crash " << Tid() << std::endl;
      UtilExHandlerStartProtection(nullptr);
      CrashInWorker();
    });
    worker.join();
    _exit(4);   // not reached: the report's end ends the process
  }
  ids.flush();
  HDEBUGHELPJOB job = UtilDebugHelpJobOpen();
  WCHAR path[260];
  const std::string dump = (out / "threads.dmp").string();
  std::copy(dump.begin(), dump.end(), path);
  path[dump.size()] = 0;
  DumpRequestedHere(job, path);
  _exit(0);   // the parked threads never end
}

// ---- the parent's side

struct Dump {
  zxtest::ChildEnd end;
  std::map<std::string, long> ids;    // "main", "alpha", ..., "crash"
  std::vector<std::string> log;       // the child's debug channel
  std::string check;                  // minidump_check.py's JSON
  std::string lldb;                   // thread list and bt all
  double seconds = 0;
};

std::vector<long> Numbers(const std::string& text, const std::string& key) {
  std::vector<long> out;
  const std::regex re("\"" + key + "\": (\\d+)");
  for (auto it = std::sregex_iterator(text.begin(), text.end(), re); it != std::sregex_iterator(); ++it)
    out.push_back(std::stol((*it)[1]));
  return out;
}

class DumpThreads : public ::testing::Test {
 protected:
  Dump Run(const std::string& kind) {
    const fs::path reg = dir_ / "reg", temp = dir_ / "tmp", app = dir_ / "app";
    for (const fs::path& p : {reg, temp, app}) fs::create_directories(p);
    const std::string log = (dir_ / "debug.log").string();
    zxtest::WriteHive(reg.string(), "HKLM", "[HKEY_LOCAL_MACHINE\\software\\zarnik]\r\n\"Debug.LogFilename\"=\"" +
                                                log + "\"\r\n\"Debug.LogFile.Flush\"=\"TRUE\"\r\n");
    zxtest::WriteHive(reg.string(), "HKCU", "");
    Dump d;
    const auto t0 = std::chrono::steady_clock::now();
    d.end = zxtest::RunSelf("DumpThreadsChild.Run",
                            {"ZXUT_DUMP_THREADS_CHILD=" + kind, "ZXUT_DUMP_THREADS_OUT=" + dir_.path().string(),
                             "ZXUT_REGISTRY_DIR=" + reg.string(), "TMPDIR=" + temp.string(), "TEMP=" + temp.string(),
                             "APPDATA=" + app.string(), "GTEST_OUTPUT="});
    d.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    std::ifstream ids(dir_ / "ids");
    std::string name;
    long id = 0;
    while (ids >> name >> id) d.ids[name] = id;
    d.log = zxtest::LogMessages(log);
    const fs::path archive = kind == "crash" ? temp / "zarnik.dmp.zip" : dir_ / "zarnik.dmp.zip";
    const std::string where = archive.parent_path().string();
    if (!zxsupport::RunFilter("cd " + where + " && unzip -o -q zarnik.dmp.zip zarnik64.dmp", "", d.check)) return d;
    zxsupport::RunFilter("python3 " ZXUT_SOURCE_DIR "/tests/gpf/minidump_check.py " + where + "/zarnik64.dmp", "",
                         d.check);
    zxsupport::RunFilter("cd " + where + " && lldb --batch -c zarnik64.dmp -o 'thread list' -o 'bt all' 2>&1", "",
                         d.lldb);
    return d;
  }

  // The frames of each thread in lldb's "bt all", by thread id ("thread list"
  // gives the ids of lldb's thread numbers).
  static std::map<long, std::string> Backtraces(const std::string& lldb) {
    std::map<long, long> idOf;
    static const std::regex listed(R"(thread #(\d+): tid = (\d+))");
    for (auto it = std::sregex_iterator(lldb.begin(), lldb.end(), listed); it != std::sregex_iterator(); ++it)
      idOf[std::stol((*it)[1])] = std::stol((*it)[2]);
    std::map<long, std::string> out;
    const size_t all = lldb.find("(lldb) bt all");
    if (all == std::string::npos) return out;
    std::istringstream in(lldb.substr(all));
    static const std::regex head(R"(^\*? *thread #(\d+))");
    long current = -1;
    std::string line;
    std::smatch m;
    while (std::getline(in, line)) {
      if (std::regex_search(line, m, head)) current = idOf.count(std::stol(m[1])) ? idOf[std::stol(m[1])] : -1;
      else if (current >= 0) out[current] += line + "\n";
    }
    return out;
  }

  // A frame of this program in the function `fn`.
  static bool HasFrame(const std::string& frames, const std::string& fn) {
    return std::regex_search(frames, std::regex("frame #\\d+: 0x[0-9a-f]+ test_gpf`[^\n]*\\b" + fn + "\\("));
  }

  bool Logged(const Dump& d, const std::string& text) {
    for (const std::string& m : d.log)
      if (m.find(text) != std::string::npos) return true;
    return false;
  }

  zxsupport::ScratchDir dir_{"gpf_dump_threads"};
};

TEST_F(DumpThreads, RequestedDumpHoldsEveryThreadWithItsParkedFunction) {
  const Dump d = Run("request");
  ASSERT_TRUE(d.end.exited && d.end.code == 0) << d.end.code << " " << d.end.signal;
  ASSERT_EQ(d.check.rfind("{", 0), 0u) << d.check;
  const std::vector<long> threads = Numbers(d.check, "id");
  // The requesting thread first, then every other thread but the writer.
  ASSERT_GE(threads.size(), 4u) << d.check;
  EXPECT_EQ(threads[0], d.ids.at("main"));
  for (const char* name : {"alpha", "beta", "gamma"})
    EXPECT_NE(std::find(threads.begin(), threads.end(), d.ids.at(name)), threads.end()) << name;

  // Without an exception lldb selects the first thread: the one that asked.
  std::smatch m;
  ASSERT_TRUE(std::regex_search(d.lldb, m, std::regex(R"(\n\* thread #\d+: tid = (\d+))"))) << d.lldb;
  EXPECT_EQ(std::stol(m[1].str()), d.ids.at("main"));
  const std::map<long, std::string> bt = Backtraces(d.lldb);
  EXPECT_EQ(bt.size(), threads.size()) << d.lldb;
  const struct {
    const char* name;
    const char* function;
  } expect[] = {{"main", "DumpRequestedHere"}, {"alpha", "ParkedInAlpha"},
                {"beta", "ParkedInBeta"},      {"gamma", "ParkedInGamma"}};
  for (const auto& e : expect) {
    auto it = bt.find(d.ids.at(e.name));
    ASSERT_NE(it, bt.end()) << e.name << "\n" << d.lldb;
    EXPECT_TRUE(HasFrame(it->second, e.function)) << e.name << "\n" << it->second;
  }
  EXPECT_FALSE(Logged(d, "did not answer"));

  // The reader is a judge: a dump cut short, or with a stack slice pointing past
  // its end, is malformed.
  const std::string dump = (dir_ / "zarnik64.dmp").string();
  std::string out;
  EXPECT_FALSE(zxsupport::RunFilter("head -c 100000 " + dump + " > " + dump + ".cut && python3 " ZXUT_SOURCE_DIR
                                    "/tests/gpf/minidump_check.py " + dump + ".cut", "", out)) << out;
  EXPECT_NE(out.find("malformed"), std::string::npos) << out;
}

TEST_F(DumpThreads, CrashDumpSelectsTheCrashingThreadAndHoldsTheParkedOnes) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers own the fault signals of the crash child";
#endif
  const Dump d = Run("crash");
  ASSERT_EQ(d.end.signal, SIGSEGV);
  ASSERT_EQ(d.check.rfind("{", 0), 0u) << d.check;
  const long crash = d.ids.at("crash");
  const std::vector<long> threads = Numbers(d.check, "id");
  ASSERT_FALSE(threads.empty());
  EXPECT_EQ(threads[0], crash);
  EXPECT_EQ(Numbers(d.check, "exception_thread"), std::vector<long>{crash});

  // lldb selects the thread of the exception ("* thread #...") and names the signal.
  std::smatch m;
  ASSERT_TRUE(std::regex_search(d.lldb, m, std::regex(R"(\n\* thread #\d+: tid = (\d+)[^\n]*)"))) << d.lldb;
  EXPECT_EQ(std::stol(m[1].str()), crash) << m[0];
  EXPECT_NE(m[0].str().find("SIGSEGV"), std::string::npos) << m[0];
  const std::map<long, std::string> bt = Backtraces(d.lldb);
  ASSERT_NE(bt.find(crash), bt.end()) << d.lldb;
  EXPECT_TRUE(HasFrame(bt.at(crash), "CrashInWorker")) << bt.at(crash);
  for (const char* name : {"alpha", "beta", "gamma", "main"}) {
    auto it = bt.find(d.ids.at(name));
    ASSERT_NE(it, bt.end()) << name << "\n" << d.lldb;
    if (std::string(name) != "main")
      EXPECT_TRUE(HasFrame(it->second, std::string("ParkedIn") + char(name[0] - 32) + (name + 1))) << it->second;
  }
}

TEST_F(DumpThreads, ThreadBlockingEverySignalIsLeftOutWithoutHanging) {
  const Dump d = Run("blocked");
  ASSERT_TRUE(d.end.exited && d.end.code == 0) << d.end.code << " " << d.end.signal;
  // The answer limit is 200 ms; the child's whole run (start, symbols, dump,
  // archive) stays far below a hold's own 60 s way out.
  EXPECT_LT(d.seconds, 30.0);
  ASSERT_EQ(d.check.rfind("{", 0), 0u) << d.check;
  const std::vector<long> threads = Numbers(d.check, "id");
  EXPECT_EQ(std::find(threads.begin(), threads.end(), d.ids.at("blocked")), threads.end());
  for (const char* name : {"main", "alpha", "beta", "gamma"})
    EXPECT_NE(std::find(threads.begin(), threads.end(), d.ids.at(name)), threads.end()) << name;
  EXPECT_TRUE(Logged(d, "thread " + std::to_string(d.ids.at("blocked")) +
                            " did not answer within 200 ms and is left out of the dump"));
  EXPECT_NE(d.lldb.find("ParkedInGamma"), std::string::npos) << d.lldb;
  EXPECT_EQ(d.lldb.find("ParkedBlocked"), std::string::npos) << d.lldb;
}

}  // namespace
