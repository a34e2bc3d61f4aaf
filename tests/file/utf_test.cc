// GetUTFType on real files. Files come from iconv, and iconv judges each verdict:
// the file must decode in the encoding the guess names back to the original text.
#include <gtest/gtest.h>

#include <string>

#include "file/File.h"
#include "file_test_util.h"

using namespace zx;
using ftest::Str;

namespace {

uint32_t Guess(const ftest::fs::path& p, uint64_t* posAfter = nullptr) {
  clsFile f(Str(p), 0, 0, 2, 0x102);
  EXPECT_TRUE(f.IsOpen());
  const uint32_t t = f.GetUTFType();
  if (posAfter) *posAfter = f.GetPos();
  return t;
}

#ifndef _WIN32
// Mixed text of the basic plane: German, Greek and Chinese, a few hundred bytes.
std::string SampleUtf8(const char* start) {
  std::string s = start;
  for (int i = 0; i < 12; ++i)
    s += " Gr\xC3\xBC\xC3\x9F" "e aus K\xC3\xB6ln, \xCE\xBA\xCE\xB1\xCE\xBB\xCE\xB7\xCE\xBC\xCE\xAD\xCF\x81\xCE\xB1 "
         "\xE4\xB8\xAD\xE6\x96\x87\xE6\x96\x87\xE6\x9C\xAC\r\n";
  return s;
}

const char* IconvName(uint32_t verdict) {
  return verdict == kUtf16LE ? "UTF-16LE" : verdict == kUtf16BE ? "UTF-16BE" : verdict == kUtf8 ? "UTF-8" : nullptr;
}
#endif

}  // namespace

#ifndef _WIN32
TEST(FileUtf, VerdictsOnFilesWithoutMarkAgreeWithIconv) {
  zxsupport::ScratchDir dir;
  const std::string chinese = "\xE4\xB8\xAD\xE6\x96\x87";   // both bytes of the first unit non-zero in UTF-16
  const struct {
    const char* encoding;
    const char* start;
    uint32_t expected;
  } cases[] = {
      {"UTF-8", "Text", kUtf8},
      {"UTF-16LE", "Text", kUtf16LE},            // by the first two bytes
      {"UTF-16BE", "Text", kUtf16BE},
      {"UTF-16LE", chinese.c_str(), kUtf16LE},   // by the statistics of the whole file
      {"UTF-16BE", chinese.c_str(), kUtf16BE},
      {"UTF-8", chinese.c_str(), kUtf8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.encoding) + (c.start == chinese.c_str() ? " (CJK start)" : ""));
    const std::string source = SampleUtf8(c.start);
    std::string bytes;
    ASSERT_TRUE(zxsupport::RunFilter(std::string("iconv -f UTF-8 -t ") + c.encoding, source, bytes));
    ASSERT_GE(bytes.size(), 201u);
    const auto path = dir / "sample.txt";
    zxsupport::WriteBytes(path, bytes);
    uint64_t pos = 99;
    const uint32_t verdict = Guess(path, &pos);
    EXPECT_EQ(c.expected, verdict);
    EXPECT_EQ(0u, pos);
    ASSERT_NE(nullptr, IconvName(verdict));
    std::string decoded;
    EXPECT_TRUE(zxsupport::RunFilter(std::string("iconv -f ") + IconvName(verdict) + " -t UTF-8", bytes, decoded));
    EXPECT_EQ(source, decoded);
  }
}

TEST(FileUtf, Latin1AndTextBeyondTheBasicPlaneAreNoUtf) {
  zxsupport::ScratchDir dir;
  std::string text;
  for (int i = 0; i < 10; ++i) text += std::string(20, ' ') + "Gr\xC3\xBC\xC3\x9F" "e aus M\xC3\xBCnchen und K\xC3\xB6ln\r\n";
  std::string latin1, ignored;
  ASSERT_TRUE(zxsupport::RunFilter("iconv -f UTF-8 -t ISO-8859-1", text, latin1));
  zxsupport::WriteBytes(dir / "latin1.txt", latin1);
  EXPECT_EQ(kUtfNone, Guess(dir / "latin1.txt"));
  EXPECT_FALSE(zxsupport::RunFilter("iconv -f UTF-8 -t UTF-16LE", latin1, ignored));   // not UTF-8 for iconv either

  // A 4-byte sequence is valid UTF-8 for iconv but not for the guess.
  std::string emoji = text + "\xF0\x9F\x98\x80";
  ASSERT_TRUE(zxsupport::RunFilter("iconv -f UTF-8 -t UTF-16LE", emoji, ignored));
  zxsupport::WriteBytes(dir / "emoji.txt", emoji);
  EXPECT_NE(kUtf8, Guess(dir / "emoji.txt"));
}
#endif

TEST(FileUtf, ByteOrderMarksAndThePositionBehindThem) {
  zxsupport::ScratchDir dir;
  const struct {
    std::string bytes;
    uint32_t type;
    uint64_t pos;
  } cases[] = {
      {"\xEF\xBB\xBFhello", kUtf8, 3},
      {"\xFF\xFEh\0i\0", kUtf16LE, 2},
      {std::string("\xFE\xFF\0h\0i", 6), kUtf16BE, 2},
      {"\xFF\xFE", kUtf16LE, 2},              // a two-byte file reads two bytes
      {std::string("A\0B\0", 4), kUtf16LE, 0},
      {std::string("\0A\0B", 4), kUtf16BE, 0},
      {"\xEF\xBB", kUtfNone, 0},
      {"x", kUtfNone, 0},
      {"", kUtfNone, 0},
      {std::string(100, 'a'), kUtfNone, 0},   // too small to guess
      {std::string(200, 'a'), kUtfNone, 0},
      {std::string(201, 'a'), kUtf8, 0},      // ASCII is UTF-8
      {std::string(250, 'a'), kUtf8, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes.size());
    zxsupport::WriteBytes(dir / "bom.txt", c.bytes);
    uint64_t pos = 99;
    EXPECT_EQ(c.type, Guess(dir / "bom.txt", &pos));
    if (c.bytes.size() >= 2) {
      EXPECT_EQ(c.pos, pos);
    }
  }
}

TEST(FileUtf, AFileNotAtItsBeginningIsReported) {
  zxsupport::ScratchDir dir;
  zxsupport::WriteBytes(dir / "mid.txt", std::string(300, 'a'));
  zxsupport::DiagCapture diag;
  clsFile f(Str(dir / "mid.txt"), 0, 0, 2, 0);
  f.SetPos(5);
  EXPECT_EQ(kUtfNone, f.GetUTFType());   // the read sees less than the size
  EXPECT_TRUE(diag.Contains(u"clsFile::GetUTFType(): file not at BOF!"));
  EXPECT_EQ(0u, f.GetPos());
}

TEST(FileUtf, TheStrictUtf8Test) {
  const struct {
    std::string bytes;
    bool ok;
  } cases[] = {
      {"", true}, {"plain", true},
      {"\xC3\xA4\xE2\x82\xAC\xEF\xBF\xBF", true},                 // 2 and 3 bytes up to U+FFFF
      {"\xF0\x9F\x98\x80", false},                                 // 4 bytes: never
      {"\x80", false},                                                // a lone continuation byte
      {"\xC0\x80", false}, {"\xC1\xBF", false}, {"\xE0\x9F\xBF", false},   // overlong forms
      {"\xE2\x82", false}, {"\xE2\x82x", false},                     // cut short
      {"\xF8\x88\x80\x80\x80", false}, {"\xFF", false},
      {std::string("ok\0\xFF", 4), true},                            // the test ends at the terminator
  };
  for (const auto& c : cases)
    EXPECT_EQ(c.ok, IsStrictUtf8(reinterpret_cast<const uint8_t*>(c.bytes.data()), c.bytes.size())) << c.bytes;
}

TEST(FileUtf, AStreamIsGuessedTheSameWay) {
  clsFileRWTempStream s;
  std::string text(150, 'x');
  text += "\xC3\xA4\xC3\xB6";
  text += std::string(100, 'y');
  ASSERT_EQ(text.size(), s.Write(text.data(), static_cast<uint32_t>(text.size())));
  s.SetPos(0);
  EXPECT_EQ(kUtf8, s.GetUTFType());
  EXPECT_EQ(0u, s.GetPos());
}
