// Whole files in values: byte-for-byte round trips with and without password, a
// wrong password writes nothing, and no entry name gets out of the target folder.
#include <cstdlib>
#include <random>
#include <set>

#include "platform/com.h"
#include "profdata/ProfData.h"
#include "profdata_util.h"

using namespace pdtest;
using zxsupport::ReadBytes;
using zxsupport::ScratchDir;
using zxsupport::WriteBytes;

namespace {

std::string RandomBytes(size_t n, unsigned seed) {
  std::mt19937 rng(seed);
  std::string s(n, '\0');
  for (char& c : s) c = static_cast<char>(rng());
  return s;
}

std::u16string P(const fs::path& p) { return Wide(p); }

}  // namespace

TEST(ProfEmbedded, FilesRoundTripByteForByte) {
  ScratchDir dir("embed");
  std::vector<std::string> contents = {"", "x", RandomBytes(1 << 20, 1), std::string(300000, 'a') + RandomBytes(999, 2)};
  // The 100 MB case costs seconds and memory; ZXUT_PROF_BIG=1 adds it.
  if (const char* big = std::getenv("ZXUT_PROF_BIG"); big && *big == '1') contents.push_back(RandomBytes(100 << 20, 3));
  for (const char16_t* password : {static_cast<const char16_t*>(nullptr), u"", u"secret"}) {
    Job job;
    for (size_t i = 0; i < contents.size(); ++i) {
      const fs::path in = dir / ("in" + std::to_string(i));
      const fs::path out = dir / ("out" + std::to_string(i));
      WriteBytes(in, contents[i]);
      const std::u16string path = u"f" + zxsupport::U16(std::to_string(i));
      ProfAppendFileW(job, nullptr, W(path.c_str()), W(password), W(P(in).c_str()));
      if (!contents[i].empty()) {
        const std::u16string text = Get(job, nullptr, path.c_str());
        EXPECT_EQ(u"@2@", text.substr(0, 3));  // always compressed (the buffer may cut the rest)
      }
      ASSERT_EQ(0, ProfGetFileW(job, nullptr, W(path.c_str()), W(password), W(P(out).c_str()))) << i;
      EXPECT_TRUE(ReadBytes(out) == contents[i]) << "file " << i;
    }
    EXPECT_EQ(PROF_ERR_NOT_FOUND, ProfGetFileW(job, nullptr, W(u"none"), W(password), W(P(dir / "n").c_str())));
    EXPECT_FALSE(fs::exists(dir / "n"));
  }
}

// A wrong password on a compressed value: PROF_ERR_WRITE, and an existing target
// keeps its bytes; damaged text likewise.
TEST(ProfEmbedded, WrongPasswordWritesNothing) {
  ScratchDir dir("embed_pw");
  const std::string data = RandomBytes(5000, 4);
  WriteBytes(dir / "in", data);
  Job job;
  ProfAppendFileW(job, nullptr, W(u"f"), W(u"right"), W(P(dir / "in").c_str()));
  WriteBytes(dir / "keep", "old");
  EXPECT_EQ(PROF_ERR_WRITE, ProfGetFileW(job, nullptr, W(u"f"), W(u"wrong"), W(P(dir / "keep").c_str())));
  EXPECT_EQ("old", ReadBytes(dir / "keep"));
  EXPECT_EQ(PROF_ERR_WRITE, ProfGetFileW(job, nullptr, W(u"f"), nullptr, W(P(dir / "new").c_str())));
  EXPECT_FALSE(fs::exists(dir / "new"));
  Set(job, u"broken", u"@2@AAAA!!");
  EXPECT_EQ(PROF_ERR_WRITE, ProfGetFileW(job, nullptr, W(u"broken"), nullptr, W(P(dir / "new").c_str())));
  EXPECT_FALSE(fs::exists(dir / "new"));
  EXPECT_EQ(0, ProfGetFileW(job, nullptr, W(u"f"), W(u"right"), W(P(dir / "new").c_str())));
  EXPECT_TRUE(ReadBytes(dir / "new") == data);
}

// Streams: packed from their start, written into another stream.
TEST(ProfEmbedded, StreamsRoundTrip) {
  IStream* in = nullptr;
  IStream* out = nullptr;
  ASSERT_GE(plat::CreateMemoryStream(&in), 0);
  ASSERT_GE(plat::CreateMemoryStream(&out), 0);
  const std::string data = RandomBytes(70000, 5);
  ULONG n = 0;
  in->Write(data.data(), static_cast<ULONG>(data.size()), &n);  // left at its end
  Job job;
  ProfAppendStreamW(job, nullptr, W(u"s"), W(u"pw"), in);
  ASSERT_EQ(0, ProfGetStreamW(job, nullptr, W(u"s"), W(u"pw"), out));
  LARGE_INTEGER zero;
  zero.QuadPart = 0;
  out->Seek(zero, 0, nullptr);
  std::string back(data.size() + 10, '\0');
  ULONG got = 0;
  out->Read(back.data(), static_cast<ULONG>(back.size()), &got);
  back.resize(got);
  EXPECT_TRUE(back == data);
  EXPECT_EQ(PROF_ERR_WRITE, ProfGetStreamW(job, nullptr, W(u"s"), W(u"bad"), out));
  in->Release();
  out->Release();
}

// Sets: AppendFiles takes every matching file, ExtractFiles writes them back
// inside the folder; only lists named exactly "File.Entry" count, an entry
// without Name is skipped, a wrong password writes none.
TEST(ProfEmbedded, AppendAndExtractSets) {
  ScratchDir dir("embed_set");
  fs::create_directories(dir / "src");
  WriteBytes(dir / "src" / "a.bin", RandomBytes(1000, 6));
  WriteBytes(dir / "src" / "b.bin", "b");
  WriteBytes(dir / "src" / "c.txt", "c");
  WriteBytes(dir / "src" / "empty.bin", "");
  Job job;
  HPROFLIST set = ProfCreateListW(job, nullptr, W(u"set"));
  const std::u16string pattern = P(dir / "src") + u"/*.bin";
  EXPECT_EQ(3, ProfAppendFilesW(job, set, W(pattern.c_str()), W(u"pw")));
  ProfSetStringW(job, set, W(u"File.Entry"), W(u"a value, not a list"));
  HPROFLIST other = ProfAppendListW(job, set, W(u"file.entry"));
  ProfSetStringW(job, other, W(u"Name"), W(u"wrongcase"));
  HPROFLIST noName = ProfAppendListW(job, set, W(u"File.Entry"));
  ProfSetStringW(job, noName, W(u"Contents"), W(u"@2@AAAA"));

  const fs::path target = dir / "out" / "";
  EXPECT_EQ(0, ProfExtractFilesW(job, set, W(P(dir / "wrong").c_str()), W(u"nope")));
  for (const auto& e : fs::directory_iterator(dir / "wrong")) ADD_FAILURE() << e.path();
  EXPECT_EQ(2, ProfExtractFilesW(job, set, W(P(target).c_str()), W(u"pw")));  // trailing separator kept single
  EXPECT_TRUE(ReadBytes(dir / "out" / "a.bin") == ReadBytes(dir / "src" / "a.bin"));
  EXPECT_EQ("b", ReadBytes(dir / "out" / "b.bin"));
  EXPECT_FALSE(fs::exists(dir / "out" / "wrongcase"));
  EXPECT_EQ(2, ProfExtractFilesW(job, set, W(P(dir / "out").c_str()), W(u"pw")));  // an existing folder is fine
  EXPECT_EQ(0, ProfExtractFilesW(nullptr, set, W(P(dir / "out").c_str()), W(u"pw")));
}

// Hostile names are cut to their last component; names that leave nothing
// usable are skipped. Nothing appears outside the target folder.
TEST(ProfEmbedded, NamesCannotEscape) {
  ScratchDir dir("embed_escape");
  WriteBytes(dir / "in", "payload");
  Job job;
  ProfAppendFileW(job, nullptr, W(u"packed"), nullptr, W(P(dir / "in").c_str()));
  const std::u16string packed = Get(job, nullptr, u"packed");
  const char16_t* names[] = {u"../up.txt", u"..\\up2.txt", u"/abs.txt", u"C:\\drive.txt", u"C:rel.txt",
                             u"sub/dir/deep.txt", u"..", u".", u"a/..", u"x:", u"file.txt::$DATA", u"CON"};
  for (const char16_t* name : names) {
    HPROFLIST e = ProfAppendListW(job, nullptr, W(u"File.Entry"));
    ProfSetStringW(job, e, W(u"Name"), W(name));
    ProfSetStringW(job, e, W(u"Contents"), W(packed.c_str()));
  }
  fs::create_directories(dir / "t");
  const int written = ProfExtractFilesW(job, nullptr, W(P(dir / "t").c_str()), nullptr);
  std::set<std::string> got;
  for (const auto& e : fs::recursive_directory_iterator(dir / "t")) got.insert(e.path().filename().string());
  EXPECT_EQ((std::set<std::string>{"up.txt", "up2.txt", "abs.txt", "drive.txt", "rel.txt", "deep.txt", "$DATA"}), got);
  EXPECT_EQ(7, written);
  std::set<std::string> outside;
  for (const auto& e : fs::directory_iterator(dir.path())) outside.insert(e.path().filename().string());
  EXPECT_EQ((std::set<std::string>{"in", "t"}), outside);
  EXPECT_EQ(u"", std::u16string(zx::prof::SafeEntryName(zx::String(u"a/..")).View()));
}
