// The real `zxut viewer` and a client process that prints through the exports,
// every datagram decoded by the Python oracle: a plain session, and a viewer that
// is killed mid-stream and started again on another port.
// POSIX processes and /dev/shm; the Windows build runs the in-process tests only.
#ifndef _WIN32
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "debug_test_util.h"
#include "zxUT22.h"

namespace {

std::string SelfPath() {
  char buf[4096];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

std::string ZxutPath() {
  const char* bin = std::getenv("ZXUT_TEST_BIN");
  if (bin && *bin) return std::string(bin) + "/zxut";
  std::string self = SelfPath();
  return self.substr(0, self.rfind('/')) + "/../zxut";
}

// The client's side, run in a child process started by the tests below.
TEST(DebugChild, Client) {
  const char* mode = std::getenv("ZXUT_DEBUG_CHILD");
  if (!mode) GTEST_SKIP() << "runs only as the child of the viewer tests";
  UtilTRAVUE4Attach(nullptr);
  if (std::string(mode) == "lines") {
    UtilDebugExt(reinterpret_cast<LPCWSTR>(u"E2E"), +1, reinterpret_cast<LPCWSTR>(u">open %d"), 1);
    UtilDebug(reinterpret_cast<LPCWSTR>(u"plain %s"), u"text");
    UtilDebugExt(reinterpret_cast<LPCWSTR>(u"E2E"), -1, reinterpret_cast<LPCWSTR>(u"<close"));
    PasDebug(reinterpret_cast<LPCWSTR>(u"pas text"));
  } else {
    for (int i = 0; i < 400; ++i) {
      UtilDebug(reinterpret_cast<LPCWSTR>(u"tick %d"), i);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  UtilTRAVUE4Detach(nullptr);
}

class ViewerE2E : public ::testing::Test {
 protected:
  void SetUp() override {
    prefix_ = "ZXUT_SHM_PREFIX=zxe2e" + std::to_string(getpid()) + std::to_string(rand() % 100000) + " ";
  }
  // Starts a viewer and waits for its "listening" line.
  FILE* StartViewer(const std::string& limit, const std::string& args) {
    std::string cmd = prefix_ + limit + " " + ZxutPath() + " viewer --quiet " + args;
    FILE* v = popen(cmd.c_str(), "r");
    char line[256] = "";
    if (!v || !std::fgets(line, sizeof line, v)) ADD_FAILURE() << "viewer did not start: " << cmd;
    EXPECT_NE(std::string(line).find("listening on 127.0.0.1:"), std::string::npos) << line;
    return v;
  }
  FILE* StartClient(const char* mode) {
    std::string cmd = prefix_ + "ZXUT_DEBUG_CHILD=" + mode + " timeout 30 " + SelfPath() +
                      " --gtest_filter=DebugChild.Client";
    return popen(cmd.c_str(), "r");
  }
  static int Finish(FILE* p) {
    char buf[512];
    while (std::fgets(buf, sizeof buf, p)) {
    }
    int rc = pclose(p);
    return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  }
  std::string prefix_;
};

TEST_F(ViewerE2E, EveryLineArrivesAsOneDatagram) {
  std::string dump = zxsupport::TempPath("debug_e2e");
  FILE* viewer = StartViewer("timeout 20", "--count 5 --raw " + dump);
  FILE* client = StartClient("lines");
  EXPECT_EQ(Finish(client), 0);
  EXPECT_EQ(Finish(viewer), 0);
  auto all = zxtest::DecodeDumpWithPython(dump);
  std::remove(dump.c_str());
  // The library greets the viewer when it connects at load, before the client prints.
  ASSERT_EQ(all.size(), 5u);
  EXPECT_EQ(all[0].text.substr(0, 2), "++");
  std::vector<decltype(all)::value_type> d(all.begin() + 1, all.end());
  EXPECT_EQ(d[0].tag, "E2E");
  EXPECT_EQ(d[0].text, ">open 1");
  EXPECT_EQ(d[1].text, " plain text");   // one deeper after the opening line
  EXPECT_EQ(d[1].tag.substr(0, 3), "LIB");   // the library's base name
  EXPECT_EQ(d[2].text, "<close");
  EXPECT_EQ(d[3].text, "pas text");
  EXPECT_EQ(d[3].tag, d[1].tag);
  for (size_t i = 0; i < d.size(); ++i) {
    EXPECT_EQ(d[i].header, 112u);
    EXPECT_EQ(d[i].n1, 1u);
    EXPECT_EQ(d[i].n2, 0u);
    EXPECT_EQ(d[i].size, 112u + 2 * d[i].text.size());
    EXPECT_EQ(d[i].digit[0], '0' + static_cast<int>(i + 1) % 10);
    EXPECT_EQ(d[i].tid, d[0].tid);
  }
}

TEST_F(ViewerE2E, AKilledViewerIsReplacedAndTheClientFollowsThePort) {
  std::string dump1 = zxsupport::TempPath("debug_first"), dump2 = zxsupport::TempPath("debug_second");
  FILE* first = StartViewer("timeout -s KILL 1.5", "--raw " + dump1);
  FILE* client = StartClient("ticks");
  Finish(first);   // killed mid-stream: its block still says "enabled"
  FILE* second = StartViewer("timeout 20", "--count 5 --raw " + dump2);
  EXPECT_EQ(Finish(second), 0);
  EXPECT_EQ(Finish(client), 0);   // no crash, no hang on the client's side
  auto a = zxtest::DecodeDumpWithPython(dump1);
  auto b = zxtest::DecodeDumpWithPython(dump2);
  std::remove(dump1.c_str());
  std::remove(dump2.c_str());
  ASSERT_FALSE(a.empty());
  ASSERT_EQ(b.size(), 5u);
  int last = -1;
  for (auto& o : b) {
    ASSERT_EQ(o.text.substr(0, 5), "tick ");
    int n = std::stoi(o.text.substr(5));
    EXPECT_GT(n, last);
    last = n;
  }
  EXPECT_GT(std::stoi(b[0].text.substr(5)), std::stoi(a.back().text.substr(5)));
}

}  // namespace
#endif  // _WIN32
