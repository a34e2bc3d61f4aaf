// The tool's "tmp sweep --dry-run" and "path" commands, run as a user runs them.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tempfile_test_util.h"

namespace fs = std::filesystem;

namespace {

std::string Tool() { return std::string(std::getenv("ZXUT_TEST_BIN")) + "/zxut"; }

TEST(Tool, TmpSweepDryRunListsAndDeletesNothing) {
  zxsupport::ScratchDir dir("tool_sweep");
  fs::create_directory(dir / "zarnik");
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(2);
  for (const char* n : {"_22_old.tmp", "_22_activity.signal", "keep.tmp"}) {
    zxsupport::WriteBytes(dir / "zarnik" / n, "x");
    fs::last_write_time(dir / "zarnik" / n, old);
  }
  zxsupport::WriteBytes(dir / "zarnik" / "_22_new.tmp", "x");
  std::string out;
  ASSERT_TRUE(zxsupport::RunFilter("TMPDIR=" + dir.path().string() + " " + Tool() + " tmp sweep --dry-run", "", out));
  EXPECT_NE(out.find("last written 120 minutes ago: a process starting now would not sweep"), std::string::npos)
      << out;
  EXPECT_NE(out.find("deletes: 1\n"), std::string::npos) << out;
  EXPECT_NE(out.find("_22_old.tmp"), std::string::npos);
  EXPECT_EQ(out.find("_22_new.tmp"), std::string::npos);
  EXPECT_TRUE(fs::exists(dir / "zarnik" / "_22_old.tmp"));
  EXPECT_FALSE(zxsupport::RunFilter(Tool() + " tmp sweep", "", out));   // only the dry run exists
}

TEST(Tool, PathCommandsPrintWhatTheExportsReturn) {
  std::string out;
  ASSERT_TRUE(zxsupport::RunFilter(Tool() + " path split 'C:\\a\\b.txt'", "", out));
  EXPECT_EQ(out, "drive C:\ndir   \\a\\\nname  b\next   .txt\nresult 0\n");
  ASSERT_TRUE(zxsupport::RunFilter(Tool() + " path merge C '\\a' b txt", "", out));
  EXPECT_EQ(out, "C:\\a\\b.txt\nresult 0\n");
  ASSERT_TRUE(zxsupport::RunFilter(Tool() + " path full /a/b/../c/.", "", out));
  EXPECT_EQ(out, "/a/c\n");
  ASSERT_TRUE(zxsupport::RunFilter(Tool() + " path unc '\\\\srv\\share\\x\\..'", "", out));
  EXPECT_EQ(out, "\\\\srv\\share\\\nresult 0\n");   // the share root keeps its separator
  ASSERT_TRUE(zxsupport::RunFilter(Tool() + " path kind com2:", "", out));
  EXPECT_EQ(out, "4 (serial port)\n");
  EXPECT_FALSE(zxsupport::RunFilter(Tool() + " path split", "", out));
}

}  // namespace
