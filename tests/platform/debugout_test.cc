// The last-resort debug channel: its hook and its destination.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <unistd.h>
#endif

#include "platform/debugout.h"
#include "support/support_test_util.h"

using namespace plat;

namespace {

struct Captured {
  std::mutex mutex;
  std::vector<std::u16string> lines;
};
void Capture(const char16_t* text, void* context) {
  auto* c = static_cast<Captured*>(context);
  std::lock_guard<std::mutex> lock(c->mutex);
  c->lines.emplace_back(text);
}

}  // namespace

TEST(DebugOutput, HookSeesEveryLineFromEveryThread) {
  Captured captured;
  void* oldContext = nullptr;
  DebugOutputHook old = SetDebugOutputHook(&Capture, &captured, &oldContext);
  DebugOutput(u"first line");
  DebugOutput(nullptr);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([] {
      for (int i = 0; i < 100; ++i) DebugOutput(u"from a thread");
    });
  for (auto& t : threads) t.join();
  DebugOutputHook mine = SetDebugOutputHook(old, oldContext);
  EXPECT_EQ(mine, &Capture);
  DebugOutput(u"after removal");
  ASSERT_EQ(captured.lines.size(), 402u);
  EXPECT_EQ(captured.lines[0], u"first line");
  EXPECT_EQ(captured.lines[1], u"");
  EXPECT_EQ(captured.lines.back(), u"from a thread");
}

#ifndef _WIN32
// The destination is read once per process, so a child process shows it: this
// test only acts when the parent below starts it.
TEST(DebugOutputChild, Emit) {
  if (!std::getenv("ZXUT_ODS_CHILD")) GTEST_SKIP() << "runs as a child of DestinationFromEnvironment";
  DebugOutput(u"one line\r\n");
  DebugOutput(u"gr\u00FC\u00DFe \U0001F600");
  DebugOutput(u"");
}

TEST(DebugOutput, DestinationFromEnvironment) {
  zxsupport::ScratchDir scratch;
  const std::string dir = scratch.path().string();
  const std::string file = dir + "/ods.log";
  {
    std::ofstream pre(file);
    pre << "kept\n";
  }
  char selfPath[4096] = {};
  ASSERT_GT(readlink("/proc/self/exe", selfPath, sizeof selfPath - 1), 0);
  const std::string self = selfPath;
  auto run = [&](const std::string& env) {
    std::string cmd = "ZXUT_ODS_CHILD=1 " + env + " " + self +
                      " --gtest_filter=DebugOutputChild.Emit >/dev/null 2>" + dir + "/stderr.txt";
    return std::system(cmd.c_str());
  };
  const std::string expected = "one line\ngr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x98\x80\n\n";
  ASSERT_EQ(run("ZXUT_ODS=" + file), 0);
  EXPECT_EQ(zxsupport::ReadBytes(file), "kept\n" + expected);   // appended
  ASSERT_EQ(run("ZXUT_ODS=stderr"), 0);
  EXPECT_NE(zxsupport::ReadBytes(dir + "/stderr.txt").find(expected), std::string::npos);
  ASSERT_EQ(run("ZXUT_ODS="), 0);
  EXPECT_EQ(zxsupport::ReadBytes(dir + "/stderr.txt").find("one line"), std::string::npos);
}
#endif
