// Several processes appending to a log file that does not exist yet, all at once,
// each line an open (write access sharing only reading, OPEN_ALWAYS), a seek to
// the end, a write and a close, as the debug channel's log sink does. Whoever
// creates the file must hold it before anybody else can open it: otherwise a
// second creator's line lands on the first one's, or in a file that is gone.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <set>
#include <sstream>

#include "file/File.h"
#include "file_test_util.h"
#include "platform/clock.h"

using namespace zx;
using ftest::Str;

namespace {

constexpr int kWriters = 4;
constexpr int kLinesEach = 20;
constexpr int kRounds = 5;

std::string LineOf(int writer, int line) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "writer %d line %03d ................\n", writer, line);
  return buf;
}

// One line the way the log sink writes it; false when the file never opened.
bool AppendLine(const String& name, const std::string& line) {
  clsFileRW file;
  const uint64_t deadline = plat::TickCount64() + 5000;
  while (file.Open(name, 1, 1, 2, kFileNormal | kFileSequentialScan) != 0) {
    if (plat::TickCount64() >= deadline) return false;
    plat::SleepMs(0);
  }
  file.SetPos(file.GetSize());
  const bool ok = file.Write(line.data(), static_cast<uint32_t>(line.size())) == line.size();
  file.Close();
  return ok;
}

// Starts the writers together (they wait for the pipe to close) and returns how
// many of them ended well.
int RunWriters(const String& name) {
  int gate[2];
  if (pipe(gate) != 0) return 0;
  std::vector<pid_t> kids;
  for (int w = 0; w < kWriters; ++w) {
    const pid_t pid = fork();
    if (pid == 0) {
      close(gate[1]);
      char c;
      (void)!read(gate[0], &c, 1);   // end of file when the parent lets go
      bool ok = true;
      for (int k = 0; k < kLinesEach && ok; ++k) ok = AppendLine(name, LineOf(w, k));
      _exit(ok ? 0 : 1);
    }
    kids.push_back(pid);
  }
  close(gate[0]);
  close(gate[1]);
  int good = 0;
  for (pid_t pid : kids) {
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0) ++good;
  }
  return good;
}

}  // namespace

TEST(FileAppendRace, WritersCreatingTheSameLogKeepEveryLineWhole) {
  zxsupport::ScratchDir dir;
  for (int round = 0; round < kRounds; ++round) {
    const auto path = dir / ("log" + std::to_string(round) + ".txt");
    ASSERT_EQ(kWriters, RunWriters(Str(path))) << "round " << round;
    std::istringstream in(zxsupport::ReadBytes(path));
    std::set<std::string> seen;
    int lines = 0;
    for (std::string line; std::getline(in, line); ++lines) {
      EXPECT_TRUE(seen.insert(line + "\n").second) << "twice: " << line;
    }
    EXPECT_EQ(kWriters * kLinesEach, lines) << "round " << round;
    for (int w = 0; w < kWriters; ++w)
      for (int k = 0; k < kLinesEach; ++k)
        EXPECT_TRUE(seen.count(LineOf(w, k))) << "round " << round << " lost: " << LineOf(w, k);
    if (HasFailure()) break;
  }
}
