// Sizes past 4 GB on sparse files, GrowBy, CopyFrom, and temporary files.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "file/File.h"
#include "file/TempName.h"
#include "file_test_util.h"
#include "platform/errors.h"

using namespace zx;
using ftest::Str;

namespace {

constexpr uint64_t k5G = 5ull << 30;

// Points the temporary folder at a scratch folder while it lives.
class TempFolder {
 public:
  explicit TempFolder(const ftest::fs::path& p) {
#ifdef _WIN32
    SetEnvironmentVariableW(L"TMP", (p.wstring() + L"\\").c_str());
#else
    const char* old = std::getenv("TMPDIR");
    if ((had_ = old != nullptr)) old_ = old;
    setenv("TMPDIR", p.string().c_str(), 1);
#endif
    UtilResetTempPathCache();
  }
  ~TempFolder() {
#ifdef _WIN32
    SetEnvironmentVariableW(L"TMP", nullptr);
#else
    if (had_) setenv("TMPDIR", old_.c_str(), 1);
    else unsetenv("TMPDIR");
#endif
    UtilResetTempPathCache();
  }

 private:
  std::string old_;
  bool had_ = false;
};

std::string Leaf(const String& name) {
  std::string s = name.narrow();
  const size_t cut = s.find_last_of("\\/");
  return cut == std::string::npos ? s : s.substr(cut + 1);
}

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

TEST(FileTemp, ATemporaryFileUnderZarnikGoesAwayWhenClosed) {
  zxsupport::ScratchDir dir;
  TempFolder temp(dir.path());
  String name;
  {
    clsFileRWTemp t;
    ASSERT_TRUE(t.IsOpen());
    name = t.Name();
    const std::string leaf = Leaf(name);
    EXPECT_EQ(0u, leaf.rfind("_22_zrk", 0)) << leaf;
    EXPECT_EQ(".tmp", leaf.substr(leaf.size() - 4));
    EXPECT_TRUE(ftest::fs::exists(dir / "zarnik" / leaf));
    EXPECT_EQ(5u, t.WriteString("hello"));
    EXPECT_EQ(plat::kS_OK, static_cast<IStream&>(t).Write("!", 1, nullptr));   // a clsFileRW writes
    t.SetDeleteOnRelease(false);
  }
  EXPECT_FALSE(ftest::fs::exists(dir / "zarnik" / Leaf(name)));
  clsFileRWTemp custom(String(u"DL"), String(u".dat"));
  const std::string leaf = Leaf(custom.Name());
  EXPECT_EQ(0u, leaf.rfind("_22_DL", 0)) << leaf;
  EXPECT_EQ(".dat", leaf.substr(leaf.size() - 4));
  EXPECT_EQ(std::string::npos, leaf.find(".."));
}

TEST(FileTemp, TheNamingRule) {
  zxsupport::ScratchDir dir;
  TempFolder temp(dir.path());
  const String base = Str(dir / "base");
  // Bit 0x2: the plain name first, then numbered ones.
  const String first = UtilMakeTempName(base, String(u".txt"), kTempPlainFirst, nullptr);
  EXPECT_EQ("_22_base.txt", Leaf(first));
  EXPECT_TRUE(ftest::fs::exists(dir / "_22_base.txt"));   // left behind, empty
  EXPECT_EQ(0u, ftest::fs::file_size(dir / "_22_base.txt"));
  const String second = UtilMakeTempName(base, String(u"txt"), kTempPlainFirst, nullptr);
  const std::string leaf = Leaf(second);
  ASSERT_GT(leaf.size(), std::string("_22_base.txt").size());
  EXPECT_EQ(0u, leaf.rfind("_22_base", 0));
  EXPECT_NE(std::string::npos, leaf.find_first_of("0123456789abcdef", 8));
  // Bit 0x10: no prefix. No path: "zrk" in the temporary folder.
  EXPECT_EQ("plain.txt", Leaf(UtilMakeTempName(Str(dir / "plain"), String(u"txt"), kTempPlainFirst | kTempNoPrefix, nullptr)));
  const String bare = UtilMakeTempName(String(), String(u"tmp"), 0, nullptr);
  EXPECT_EQ(0u, Leaf(bare).rfind("_22_zrk", 0));
  EXPECT_TRUE(ftest::fs::exists(ftest::fs::path(bare.narrow())) ||
              ftest::fs::exists(dir / Leaf(bare)));
  // A missing folder ends the attempts at once.
  EXPECT_TRUE(UtilMakeTempName(Str(dir / "missing" / "x"), String(u"tmp"), 0, nullptr).IsEmpty());

  // A folder that cannot be made ("blocker" is a file) falls back to the temporary folder.
  zxsupport::WriteBytes(dir / "blocker", "a file in the way");
  const String name = UtilCreateTempName(String(u"blocker\\zarnik"), String(u"zrk"), String(u"tmp"), 1, nullptr);
  ASSERT_FALSE(name.IsEmpty());
  EXPECT_TRUE(ftest::fs::exists(dir / Leaf(name)));
  // Nested folders are made one by one.
  const String nested = UtilCreateTempName(String(u"zarnik\\sub"), String(u"x"), String(u"tmp"), 1, nullptr);
  EXPECT_TRUE(ftest::fs::exists(dir / "zarnik" / "sub" / Leaf(nested)));
}

TEST(FileTemp, AStaleFileIsTakenOverOnlyWithAHolder) {
  zxsupport::ScratchDir dir;
  TempFolder temp(dir.path());
  const auto stale = dir / "_22_old.tmp";
  zxsupport::WriteBytes(stale, "old content");
  ftest::fs::last_write_time(stale, ftest::fs::file_time_type::clock::now() - std::chrono::hours(24 * 8));
  {
    clsFileHandleHolder holder;
    const String name = UtilMakeTempName(Str(dir / "old"), String(u"tmp"), kTempPlainFirst, &holder);
    EXPECT_EQ("_22_old.tmp", Leaf(name));
    EXPECT_TRUE(holder.Valid());
    EXPECT_EQ(0u, ftest::fs::file_size(stale));   // emptied
  }
  EXPECT_FALSE(ftest::fs::exists(stale));   // the holder's file is deleted when closed
  // A recent file is not taken.
  zxsupport::WriteBytes(stale, "recent");
  clsFileHandleHolder holder;
  const String name = UtilMakeTempName(Str(dir / "old"), String(u"tmp"), kTempPlainFirst, &holder);
  EXPECT_NE("_22_old.tmp", Leaf(name));
  EXPECT_EQ("recent", zxsupport::ReadBytes(stale));
}
