// CopyFrom: from the source position to its end, and a source that shrinks.
#include <gtest/gtest.h>

#include <string>

#include "file/File.h"
#include "file_test_util.h"

using namespace zx;
using ftest::Str;

TEST(FileCopy, CopiesFromTheSourcePositionToItsEnd) {
  zxsupport::ScratchDir dir;
  std::string data;
  for (int i = 0; i < 300000; ++i) data += static_cast<char>('a' + i % 26);
  zxsupport::WriteBytes(dir / "src.bin", data);
  zxsupport::WriteBytes(dir / "dst.bin", std::string(1000000, 'Z'));
  clsFile src(Str(dir / "src.bin"), 0, 0, 2, 0x102);
  clsFileRW dst(Str(dir / "dst.bin"), 2, 0, 0, 0x102);
  src.SetPos(1000);
  dst.SetPos(10);
  ASSERT_TRUE(dst.CopyFrom(src));
  EXPECT_EQ(data.size() - 1000 + 10, dst.GetPos());
  dst.Close();
  EXPECT_EQ(std::string(10, 'Z') + data.substr(1000), zxsupport::ReadBytes(dir / "dst.bin"));   // cut behind the copy

  // A source at its end copies nothing and still sets the end.
  clsFileRW dst2(Str(dir / "dst.bin"), 2, 0, 0, 0x102);
  src.SetPos(data.size());
  dst2.SetPos(5);
  EXPECT_TRUE(dst2.CopyFrom(src));
  EXPECT_EQ(5u, dst2.GetSize());
  // A closed or empty source too.
  clsFile closed;
  dst2.SetPos(2);
  EXPECT_TRUE(dst2.CopyFrom(closed));
  EXPECT_EQ(2u, dst2.GetSize());

  clsFileRWTempStream mem;   // into a memory stream
  src.SetPos(0);
  ASSERT_TRUE(mem.CopyFrom(src));
  EXPECT_EQ(data.size(), mem.GetSize());
  mem.SetPos(0);
  std::string out(data.size(), '\1');
  EXPECT_EQ(data.size(), mem.Read(out.data(), static_cast<uint32_t>(out.size())));
  EXPECT_EQ(data, out);
}

TEST(FileCopy, AShortSourceReadFails) {
  zxsupport::ScratchDir dir;
  zxsupport::WriteBytes(dir / "s.bin", "abcdef");
  clsFile src(Str(dir / "s.bin"), 0, 0, 3, 0);
  clsFileRW dst(Str(dir / "d.bin"), 2, 2, 0, 0);
  clsFileRW cutter(Str(dir / "s.bin"), 2, 0, 3, 0);   // shrinks the source behind its back
  ASSERT_TRUE(cutter.IsOpen());
  EXPECT_EQ(6u, src.GetSize());
  cutter.SetPos(2);
  cutter.SetEOF();
  EXPECT_TRUE(dst.CopyFrom(src));   // the size is read anew: 2 bytes remain
  EXPECT_EQ(2u, dst.GetSize());
}
