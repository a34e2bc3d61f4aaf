// The compressed profile form: written by the saves, detected by the loader, and
// judged by python's zlib.
#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "file/File.h"
#include "prof/Compressed.h"
#include "prof/Load.h"
#include "prof/ProfJob.h"
#include "profdata_util.h"

using namespace pdtest;
using zxsupport::ReadBytes;
using zxsupport::ScratchDir;
using zxsupport::WriteBytes;

namespace {

// Raw deflate at `level` with zlib itself (the loader must take any level).
std::string RawDeflate(const std::string& in, int level) {
  z_stream z{};
  deflateInit2(&z, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
  std::string out(deflateBound(&z, in.size()), '\0');
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
  z.avail_in = static_cast<uInt>(in.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  deflate(&z, Z_FINISH);
  out.resize(z.total_out);
  deflateEnd(&z);
  return out;
}

}  // namespace

// Each format compressed inflates (python, raw deflate) to exactly the plain save,
// and the job that loads it knows it was compressed: 0x80 keeps the form, 0 drops it.
TEST(ProfCompressed, InflatesToThePlainSaveInEveryFormat) {
  ScratchDir dir("przb");
  Job job;
  Fill(job);
  for (DWORD format : {PROF_FMT_TEXT, PROF_FMT_XML, PROF_FMT_XFDF}) {
    const std::string plain = Saved(job, format, dir);
    const std::string packed = Saved(job, format | PROF_SAVE_COMPRESSED, dir);
    ASSERT_EQ("PRZB", packed.substr(0, 4));
    if (!zxsupport::UnderWine()) {
      std::string inflated;
      ASSERT_TRUE(zxsupport::RunFilter(
          "python3 -c \"import sys, zlib; d = sys.stdin.buffer.read(); o = zlib.decompressobj(-15); "
          "sys.stdout.buffer.write(o.decompress(d[4:]) + o.flush()); assert o.eof\"",
          packed, inflated));
      EXPECT_EQ(plain, inflated) << "format " << format;
    }
    // Our own oracle on both targets: zlib's inflate of the same bytes.
    std::string out(plain.size() + 16, '\0');
    uLongf outSize = 0;
    z_stream z{};
    inflateInit2(&z, -15);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data() + 4));
    z.avail_in = static_cast<uInt>(packed.size() - 4);
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(Z_STREAM_END, inflate(&z, Z_FINISH));
    outSize = z.total_out;
    inflateEnd(&z);
    EXPECT_EQ(plain, out.substr(0, outSize));
  }

  const fs::path p = dir / "c.prf";
  ASSERT_EQ(0, ProfSaveW(job, W(Wide(p).c_str()), PROF_FMT_XML | PROF_SAVE_COMPRESSED));
  Job loaded(ProfJobOpenW(W(Wide(p).c_str())));
  EXPECT_EQ(0, ProfGetError(loaded));
  EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(loaded, nullptr, u"sec1/key6"));
  ASSERT_EQ(0, ProfSaveW(loaded, W(Wide(p).c_str()), PROF_FMT_XML | PROF_SAVE_KEEP_COMPRESSED));
  EXPECT_EQ("PRZB", ReadBytes(p).substr(0, 4));
  ASSERT_EQ(0, ProfSaveW(loaded, W(Wide(p).c_str()), PROF_FMT_XML));
  EXPECT_NE("PRZB", ReadBytes(p).substr(0, 4));
  // A job that was never compressed ignores 0x80.
  ASSERT_EQ(0, ProfSaveW(job, W(Wide(p).c_str()), PROF_FMT_TEXT | PROF_SAVE_KEEP_COMPRESSED));
  EXPECT_NE("PRZB", ReadBytes(p).substr(0, 4));
}

// Other producers' levels load, as does data compressed twice; an empty profile
// compressed is an empty job without error.
TEST(ProfCompressed, LoadsOtherLevelsNestingAndEmpty) {
  ScratchDir dir("przb_levels");
  Job job;
  Fill(job, 50);
  const std::string plain = Saved(job, PROF_FMT_TEXT, dir);
  const fs::path p = dir / "l.prf";
  for (int level : {0, 1, 6}) {
    WriteBytes(p, "PRZB" + RawDeflate(plain, level));
    Job loaded(ProfJobOpenW(W(Wide(p).c_str())));
    EXPECT_EQ(0, ProfGetError(loaded)) << level;
    EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(loaded, nullptr, u"sec4/key49")) << level;
  }
  if (!zxsupport::UnderWine()) {
    std::string py;
    ASSERT_TRUE(zxsupport::RunFilter(
        "python3 -c \"import sys, zlib; c = zlib.compressobj(3, zlib.DEFLATED, -15, 4, zlib.Z_HUFFMAN_ONLY); "
        "sys.stdout.buffer.write(b'PRZB' + c.compress(sys.stdin.buffer.read()) + c.flush())\"",
        plain, py));
    WriteBytes(p, py);
    Job loaded(ProfJobOpenW(W(Wide(p).c_str())));
    EXPECT_EQ(0, ProfGetError(loaded));
    EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(loaded, nullptr, u"sec0/key0"));
  }
  WriteBytes(p, "PRZB" + RawDeflate("PRZB" + RawDeflate(plain, 9), 9));
  {
    Job loaded(ProfJobOpenW(W(Wide(p).c_str())));
    EXPECT_EQ(0, ProfGetError(loaded));
    EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(loaded, nullptr, u"sec2/key7"));
  }
  Job empty;
  ASSERT_EQ(0, ProfSaveW(empty, W(Wide(p).c_str()), PROF_SAVE_COMPRESSED));
  EXPECT_EQ("PRZB", ReadBytes(p).substr(0, 4));
  Job loaded(ProfJobOpenW(W(Wide(p).c_str())));
  EXPECT_EQ(0, ProfGetError(loaded));
}

// Damage: a cut stream keeps what inflated and the parse judges it; nesting
// beyond the bound and garbage after the magic give the parse code, never a crash.
TEST(ProfCompressed, DamagedDataGivesCodes) {
  ScratchDir dir("przb_bad");
  Job job;
  Fill(job, 200);
  const std::string packed = Saved(job, PROF_FMT_TEXT | PROF_SAVE_COMPRESSED, dir);
  const fs::path p = dir / "bad.prf";
  WriteBytes(p, packed.substr(0, packed.size() / 2));
  { Job loaded(ProfJobOpenW(W(Wide(p).c_str()))); (void)ProfGetError(loaded); }
  WriteBytes(p, "PRZB\xff\xff\xff\xff garbage");
  { Job loaded(ProfJobOpenW(W(Wide(p).c_str()))); EXPECT_NE(0, ProfGetError(loaded)); }
  std::string nested = "[/]\r\na=1\r\n";
  for (int i = 0; i < zx::prof::kMaxCompressedNesting + 1; ++i) nested = "PRZB" + RawDeflate(nested, 9);
  WriteBytes(p, nested);
  { Job loaded(ProfJobOpenW(W(Wide(p).c_str()))); EXPECT_EQ(PROF_ERR_PARSE, ProfGetError(loaded)); }
}

// A deflate bomb stops at the bound with its own result, having written no more.
TEST(ProfCompressed, BombStopsAtTheBound) {
  std::string zeros(8 << 20, '\0');
  const std::string bomb = RawDeflate(zeros, 9);
  ASSERT_LT(bomb.size(), 16u << 10);
  zx::clsFileRWTempStream in, out;
  ASSERT_EQ(bomb.size(), in.Write(bomb.data(), static_cast<uint32_t>(bomb.size())));
  in.SetPos(0);
  EXPECT_EQ(zx::prof::kInflateTooLarge, zx::prof::InflateProfile(in, out, 1 << 20));
  EXPECT_EQ(1u << 20, out.GetSize());
  in.SetPos(0);
  zx::clsFileRWTempStream whole;
  EXPECT_EQ(zx::prof::kInflateOk, zx::prof::InflateProfile(in, whole, 64 << 20));
  EXPECT_EQ(zeros.size(), whole.GetSize());
}

// Inflating in 1 MiB steps: output still held in the inflater when the input has
// run out (a long match at the very end, cut by the 1 MiB step) comes out whole.
// Sizes around the step boundaries, where the last match straddles the step.
TEST(ProfCompressed, InflateFinishesOutputHeldAtTheEndOfTheInput) {
  int checked = 0;
  for (const char* unit : {"\0", "abc", "profile text\r\n"}) {
    const std::string piece(unit, std::max<size_t>(1, std::strlen(unit)));
    for (uint32_t boundary : {1u << 20, 2u << 20}) {
      for (uint32_t size = boundary - 300; size <= boundary + 300; size += 37) {
        std::string plain;
        plain.reserve(size + piece.size());
        while (plain.size() < size) plain += piece;
        plain.resize(size);
        const std::string packed = RawDeflate(plain, 9);
        zx::clsFileRWTempStream in, out;
        ASSERT_EQ(packed.size(), in.Write(packed.data(), static_cast<uint32_t>(packed.size())));
        in.SetPos(0);
        ASSERT_EQ(zx::prof::kInflateOk, zx::prof::InflateProfile(in, out, 64 << 20)) << size;
        std::string back(static_cast<size_t>(out.GetSize()), '\0');
        out.SetPos(0);
        ASSERT_EQ(back.size(), out.Read(back.data(), static_cast<uint32_t>(back.size())));
        ASSERT_EQ(plain, back) << size;
        ++checked;
      }
    }
  }
  EXPECT_EQ(3 * 2 * 17, checked);
}

// The copy into memory takes the source from its position to its end, in one
// block sized from the source; a rest longer than the bound is refused whole.
TEST(ProfCompressed, CopyRestTakesTheRestWithinItsBound) {
  std::string bytes = "PRZB";
  for (int i = 0; i < 5000; ++i) bytes += static_cast<char>(i * 7 + i / 13);
  zx::clsFileRWTempStream source;
  ASSERT_EQ(bytes.size(), source.Write(bytes.data(), static_cast<uint32_t>(bytes.size())));
  const uint64_t rest = bytes.size() - 4;
  for (uint64_t bound : {rest, rest + 1, uint64_t(1) << 30}) {
    source.SetPos(4);
    zx::prof::CompressedBytes copy;
    ASSERT_EQ(zx::prof::kCopyOk, zx::prof::CopyRest(source, bound, copy)) << bound;
    ASSERT_EQ(rest, copy.size);
    EXPECT_EQ(bytes.substr(4), std::string(reinterpret_cast<const char*>(copy.data.get()), copy.size));
  }
  source.SetPos(4);
  zx::prof::CompressedBytes copy;
  EXPECT_EQ(zx::prof::kCopyTooLarge, zx::prof::CopyRest(source, rest - 1, copy));
  EXPECT_EQ(0u, copy.size);
  source.SetPos(bytes.size());
  EXPECT_EQ(zx::prof::kCopyOk, zx::prof::CopyRest(source, 100, copy));
  EXPECT_EQ(0u, copy.size);
}

// The inflated profile goes through a temporary file: with no usable temporary
// folder the compressed load fails with PROF_ERR_MEMORY (the plain one does not
// need it), and after a load the library's temporary folder holds no file. (The
// load runs in this program's copy of the library, whose temporary folder the
// test can move.)
TEST(ProfCompressed, InflatesThroughATemporaryFileDeletedAfterwards) {
  ScratchDir dir("przb_temp");
  Job job;
  Fill(job, 40);
  const fs::path packed = dir / "c.prf";
  const fs::path plain = dir / "p.prf";
  ASSERT_EQ(0, ProfSaveW(job, W(Wide(packed).c_str()), PROF_FMT_XML | PROF_SAVE_COMPRESSED));
  ASSERT_EQ(0, ProfSaveW(job, W(Wide(plain).c_str()), PROF_FMT_XML));
  // 1 when loaded; else 0 and the job's code.
  auto load = [](const fs::path& p) {
    zx::clsFileRO file(zx::String(Wide(p).c_str()), 0, 0, 2, 0x102);
    zx::clsProfJob* j = zx::clsProfJob::Create(0);
    const int loaded = zx::LoadProfile(*j, file);
    const int result = loaded ? 1 : j->lastError;
    j->Release();
    return result;
  };
  fs::create_directories(dir / "tmp");
  {
    zxsupport::ScopedTempFolder temp(dir / "tmp");
    for (int i = 0; i < 3; ++i) EXPECT_EQ(1, load(packed));
    ASSERT_TRUE(fs::is_directory(dir / "tmp" / "zarnik"));
    EXPECT_TRUE(fs::is_empty(dir / "tmp" / "zarnik"));
  }
  {
    zxsupport::ScopedTempFolder temp(dir / "missing");
    EXPECT_EQ(PROF_ERR_MEMORY, load(packed));
    EXPECT_EQ(1, load(plain));
  }
  EXPECT_FALSE(fs::exists(dir / "missing"));
}
