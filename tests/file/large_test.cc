// Sizes past 4 GB on sparse files and GrowBy.
#include <gtest/gtest.h>

#include <string>

#include "file/File.h"
#include "file_test_util.h"
#include "platform/errors.h"

using namespace zx;
using ftest::Str;

namespace {

constexpr uint64_t k5G = 5ull << 30;

}  // namespace

TEST(FileLarge, SparseFilePastFourGigabytes) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "sparse.bin";
  clsFileRW f(Str(path), 2, 2, 0, 0x100);
  f.SetDeleteOnRelease(false);
  ASSERT_TRUE(f.IsOpen());
  EXPECT_EQ(k5G, f.SetPos(k5G));
  EXPECT_EQ(k5G, f.GetPos());
  EXPECT_EQ(3u, f.WriteString("end"));
  EXPECT_EQ(k5G + 3, f.GetSize());
  EXPECT_EQ(k5G + 3, f.GetPos());
  EXPECT_EQ(k5G - 7, f.SeekRel(-10));
  // GrowBy keeps the position and grows behind it.
  f.GrowBy(0x100000000ull);
  EXPECT_EQ(k5G - 7, f.GetPos());
  EXPECT_EQ(k5G - 7 + 0x100000000ull, f.GetSize());
  // The stream face in 64 bits.
  ULARGE_INTEGER pos;
  LARGE_INTEGER back;
  back.QuadPart = -1;
  EXPECT_EQ(plat::kS_OK, static_cast<IStream&>(f).Seek(back, STREAM_SEEK_END, &pos));
  EXPECT_EQ(f.GetSize() - 1, pos.QuadPart);
  ULARGE_INTEGER size;
  size.QuadPart = k5G + 3;
  EXPECT_EQ(plat::kS_OK, static_cast<IStream&>(f).SetSize(size));
  EXPECT_EQ(0u, f.GetPos());   // the old position was past the new end
  EXPECT_EQ(k5G + 3, f.GetSize());
  f.SetPos(k5G);
  char buf[4] = {};
  EXPECT_EQ(3u, f.Read(buf, 4));
  EXPECT_EQ(std::string("end"), std::string(buf, 3));
  STATSTG st;
  EXPECT_EQ(plat::kS_OK, static_cast<IStream&>(f).Stat(&st, STATFLAG_NONAME));
  EXPECT_EQ(k5G + 3, st.cbSize.QuadPart);
  EXPECT_EQ(0u, f.SeekRel(-5 - static_cast<int64_t>(k5G)));   // before the start: the failure value of a handle
  EXPECT_EQ(0u, f.SetPos(0x8000000000000000ull));
  f.Close();
  EXPECT_EQ(k5G + 3, ftest::fs::file_size(path));
}
