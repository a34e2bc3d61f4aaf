// The tool's "tmp sweep --dry-run" and "path" commands, run as a user runs them
// (under wine: zxut.exe, with the temporary folder from TMP).
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "support/support_test_util.h"
#include "zxut_test_util.h"

namespace fs = std::filesystem;
using zxuttest::Lf;
using zxuttest::Zxut;

namespace {

TEST(ZxutTool, TmpSweepDryRunListsAndDeletesNothing) {
  zxsupport::ScratchDir dir("tool_sweep");
  fs::create_directory(dir / "zarnik");
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(2);
  for (const char* n : {"_22_old.tmp", "_22_activity.signal", "keep.tmp"}) {
    zxsupport::WriteBytes(dir / "zarnik" / n, "x");
    fs::last_write_time(dir / "zarnik" / n, old);
  }
  zxsupport::WriteBytes(dir / "zarnik" / "_22_new.tmp", "x");
  zxuttest::Run run;
  {
    zxsupport::ScopedTempFolder temp(dir.path());
    run = Zxut({"tmp", "sweep", "--dry-run"});
  }
  const std::string out = Lf(run.out);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(out.find("last written 120 minutes ago: a process starting now would not sweep"), std::string::npos)
      << out;
  EXPECT_NE(out.find("deletes: 1\n"), std::string::npos) << out;
  EXPECT_NE(out.find("_22_old.tmp"), std::string::npos);
  EXPECT_EQ(out.find("_22_new.tmp"), std::string::npos);
  EXPECT_TRUE(fs::exists(dir / "zarnik" / "_22_old.tmp"));
  EXPECT_EQ(Zxut({"tmp", "sweep"}).status, 2);   // only the dry run exists
}

TEST(ZxutTool, PathCommandsPrintWhatTheExportsReturn) {
  auto out = [](const std::vector<std::string>& args) {
    const zxuttest::Run run = Zxut(args);
    EXPECT_EQ(run.status, 0) << run.err;
    return Lf(run.out);
  };
  EXPECT_EQ(out({"path", "split", "C:\\a\\b.txt"}), "drive C:\ndir   \\a\\\nname  b\next   .txt\nresult 0\n");
  EXPECT_EQ(out({"path", "merge", "C", "\\a", "b", "txt"}), "C:\\a\\b.txt\nresult 0\n");
  EXPECT_EQ(out({"path", "full", "C:\\a\\b\\..\\c\\."}), "C:\\a\\c\n");
#ifndef _WIN32
  EXPECT_EQ(out({"path", "full", "/a/b/../c/."}), "/a/c\n");
#endif
  EXPECT_EQ(out({"path", "unc", "\\\\srv\\share\\x\\.."}), "\\\\srv\\share\\\nresult 0\n");   // the root keeps its separator
  EXPECT_EQ(out({"path", "kind", "com2:"}), "4 (serial port)\n");
  EXPECT_EQ(Zxut({"path", "split"}).status, 2);
}

}  // namespace
