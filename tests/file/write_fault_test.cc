// Writes that fail part-way, through the file layer's fault seam: the disk fills
// in the middle of a write, or the file goes away before it is opened.
#include <gtest/gtest.h>

#include "file/File.h"
#include "file_test_util.h"
#include "platform/errors.h"
#include "platform/internal/file_faults.h"

using namespace zx;
using ftest::Str;

// A write that crosses the room left returns what reached the file and leaves
// the system's error; the bytes before it are in the file, none after.
TEST(FileWriteFault, AWriteThatFillsTheDiskReportsThePartWritten) {
  struct Row {
    uint64_t room;
    uint32_t error;
    uint32_t written;   // of the 10 bytes
  };
  static const Row kRows[] = {{0, 112, 0}, {4, 112, 4}, {9, 112, 9}, {10, 112, 10}, {3, 5, 3}};
  for (const Row& r : kRows) {
    SCOPED_TRACE("room " + std::to_string(r.room) + " error " + std::to_string(r.error));
    zxsupport::ScratchDir dir;
    const auto path = dir / "out.dat";
    clsFileRW f(Str(path), 2, 2, 0, kFileNormal);
    ASSERT_TRUE(f.IsOpen());
    zxsupport::DiagCapture diag;
    {
      plat::FileFaultPlan plan(r.room, r.error);
      plat::SetLastError(0);
      EXPECT_EQ(r.written, f.Write("0123456789", 10));
      EXPECT_EQ(r.written, plan.Written());
      if (r.written < 10) {
        EXPECT_EQ(r.error, plat::LastError());
        const std::string count = std::to_string(r.written);
        EXPECT_TRUE(diag.Contains(u"write failure... " + std::u16string(count.begin(), count.end()) + u"/10"));
      }
    }
    EXPECT_EQ(r.written, f.GetSize());
    f.Close();
    EXPECT_EQ(std::string("0123456789").substr(0, r.written), zxsupport::ReadBytes(path));
  }
}

// Room runs out over several writes: the first ones whole, then a short one, then
// none; once room is given back, writing goes on at the position.
TEST(FileWriteFault, TheDiskFillsOverSeveralWrites) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "grow.dat";
  clsFileRW f(Str(path), 2, 2, 0, kFileNormal);
  ASSERT_TRUE(f.IsOpen());
  plat::FileFaultPlan plan(7);
  EXPECT_EQ(3u, f.Write("abc", 3));
  EXPECT_EQ(3u, f.Write("def", 3));
  EXPECT_EQ(1u, f.Write("ghi", 3));
  EXPECT_EQ(112u, plat::LastError());
  EXPECT_EQ(0u, f.Write("jkl", 3));
  plan.SetRoom(100);
  EXPECT_EQ(3u, f.Write("xyz", 3));
  f.Close();
  EXPECT_EQ("abcdefgxyz", zxsupport::ReadBytes(path));
}

// A file taken away just before it is opened: an existing-file open fails with
// 2, OPEN_ALWAYS makes a new, empty one.
TEST(FileWriteFault, AFileRemovedBeforeTheOpen) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "gone.dat";
  zxsupport::WriteBytes(path, "old bytes");
  plat::FileFaultPlan plan;
  plan.RemoveOnNextOpen();
  clsFile f(Str(path), 0, 0, 3, kFileNormal);
  EXPECT_FALSE(f.IsOpen());
  EXPECT_EQ(2u, plat::LastError());
  zxsupport::WriteBytes(path, "old bytes");
  plan.RemoveOnNextOpen();
  clsFileRW g(Str(path), 2, 1, 3, kFileNormal);
  ASSERT_TRUE(g.IsOpen());
  EXPECT_EQ(0u, g.GetSize());
}
