// The binary word processor readers (Word 2, WordPerfect) and the shell
// property reader, on files built here from the formats' layouts.
#include <gtest/gtest.h>

#include <string>

#include "bytes_file_test_util.h"
#include "docinfo/DocReaders.h"

namespace zx {
namespace {

using zxtest::BytesFile;
using zxtest::Utf8Of;

std::string Le16(uint32_t v) { return {char(v), char(v >> 8)}; }
std::string Le32(uint32_t v) { return Le16(v) + Le16(v >> 16); }

int Read(int (*reader)(clsDocu&, clsFile&), const std::string& bytes, clsDocu* doc) {
  auto file = BytesFile(bytes);
  return reader(*doc, *file);
}

// A Word 2 file: the signature, the block's offset at 280, the block at 400.
std::string Word2(const std::vector<std::string>& strings) {
  std::string file("\xDB\xA5\x2D\x00", 4);
  file.resize(280, '\0');
  file += Le32(400);
  file.resize(400, '\0');
  std::string block;
  for (const std::string& s : strings) block += char(s.size()) + s;
  return file + Le16(uint32_t(block.size() + 2)) + block;
}

TEST(Word2Reader, InformationBlock) {
  clsDocu doc = zxtest::NewDoc();
  EXPECT_EQ(0, Read(ReadWord2Info, Word2({"skip1", "skip2", "Title", "Subject", "Keys", "Comment", "Ann",
                                          "Bob", "ignored"}), &doc));
  EXPECT_EQ("Title", Utf8Of(doc.title));
  EXPECT_EQ("Subject", Utf8Of(doc.subject));
  EXPECT_EQ("Keys", Utf8Of(doc.keywords));
  EXPECT_EQ("Comment", Utf8Of(doc.comments));
  EXPECT_EQ("Ann", Utf8Of(doc.author));
  EXPECT_EQ("Bob", Utf8Of(doc.lastAuthor));
  if (String::DefaultCodePage() == 1252) {
    doc = zxtest::NewDoc();
    Read(ReadWord2Info, Word2({"", "", "Caf\xE9"}), &doc);
    EXPECT_EQ("Caf\xC3\xA9", Utf8Of(doc.title));
  }
}

TEST(Word2Reader, ShortFiles) {
  clsDocu doc = zxtest::NewDoc();
  EXPECT_EQ(-1, Read(ReadWord2Info, std::string("\xDB\xA5\x2D\x00", 4), &doc));
  std::string cut = Word2({"a", "b", "Title"});
  EXPECT_EQ(-1, Read(ReadWord2Info, cut.substr(0, cut.size() - 2), &doc));
  std::string beyond = cut;
  beyond.replace(280, 4, Le32(0x7FFFFFF0));
  EXPECT_EQ(-1, Read(ReadWord2Info, beyond, &doc));
  // A string longer than the block ends the reading.
  std::string longer = Word2({"a", "b", "Title"});
  longer[400 + 2 + 4] = char(200);
  EXPECT_EQ(0, Read(ReadWord2Info, longer, &doc));
  EXPECT_EQ("", Utf8Of(doc.title));
}

// A WordPerfect file of major version 2: header, index at 16 with one packet
// block, the packets at 100.
std::string WordPerfect(const std::vector<std::pair<uint16_t, std::u16string>>& packets, uint8_t encrypted = 0,
                        uint8_t major = 2) {
  std::string file("\xFF" "WPC", 4);
  file.resize(16, '\0');
  file[10] = char(major);
  file[12] = char(encrypted);
  file.replace(14, 2, Le16(16));
  std::string body;
  for (const auto& [tag, text] : packets) {
    std::string chars;
    for (char16_t c : text) chars += Le16(c);
    chars += Le16(0);
    body += Le16(uint32_t(6 + chars.size())) + Le16(tag) + Le16(0) + chars;
  }
  // Index header (2, two blocks), then the packet block.
  file += Le16(2) + Le16(2) + std::string(10, '\0');
  file += std::string("\0\x12", 2) + std::string(4, '\0') + Le32(uint32_t(body.size())) + Le32(100);
  file.resize(100, '\0');
  file += body;
  file.resize(std::max<size_t>(file.size(), 512), '\0');
  return file;
}

TEST(WordPerfectReader, Packets) {
  clsDocu doc = zxtest::NewDoc();
  EXPECT_EQ(0, Read(ReadWordPerfectInfo,
                    WordPerfect({{17, u"Title"}, {5, u"Ann"}, {46, u"Subject"}, {26, u"k1 k2"}, {48, u"Bob"},
                                 {99, u"skipped"},
                                 // 0x82 is "é" in the OEM code page 437; 0xF90A a line break; the
                                 // word processor's own characters (0x0401) are dropped.
                                 {1, u"Line\uF90Anext \u0082\u0401!"}}),
                    &doc));
  EXPECT_EQ("Title", Utf8Of(doc.title));
  EXPECT_EQ("Ann", Utf8Of(doc.author));
  EXPECT_EQ("Subject", Utf8Of(doc.subject));
  EXPECT_EQ("k1 k2", Utf8Of(doc.keywords));
  EXPECT_EQ("Bob", Utf8Of(doc.lastAuthor));
  EXPECT_EQ("Line\r\nnext \xC3\xA9!", Utf8Of(doc.comments));
}

TEST(WordPerfectReader, Refusals) {
  clsDocu doc = zxtest::NewDoc();
  EXPECT_EQ(-1, Read(ReadWordPerfectInfo, WordPerfect({{17, u"T"}}, 1), &doc));   // encrypted
  EXPECT_EQ("", Utf8Of(doc.title));
  EXPECT_EQ(-1, Read(ReadWordPerfectInfo, WordPerfect({{17, u"T"}}, 0, 0), &doc));  // major version 0
  EXPECT_EQ(-1, Read(ReadWordPerfectInfo, WordPerfect({{17, u"T"}}, 0, 3), &doc));
  std::string bad = WordPerfect({{17, u"T"}});
  bad[2] = 'X';
  EXPECT_EQ(-1, Read(ReadWordPerfectInfo, bad, &doc));
  EXPECT_EQ(-1, Read(ReadWordPerfectInfo, bad.substr(0, 511), &doc));   // fewer than 512 bytes
  std::string noBlocks = WordPerfect({});
  noBlocks.replace(18, 2, Le16(0));
  EXPECT_EQ(-1, Read(ReadWordPerfectInfo, noBlocks, &doc));
  std::string lowIndex = WordPerfect({});
  lowIndex.replace(14, 2, Le16(8));
  EXPECT_EQ(-1, Read(ReadWordPerfectInfo, lowIndex, &doc));
}

TEST(WordPerfectReader, PacketsThatCannotAdvanceEndTheBlock) {
  clsDocu doc = zxtest::NewDoc();
  std::string file = WordPerfect({{17, u"T"}});
  file.replace(100, 2, Le16(0));   // a packet of length 0
  file.replace(16 + 14 + 6, 4, Le32(0xFFFFFFFF));
  EXPECT_EQ(0, Read(ReadWordPerfectInfo, file, &doc));
  // 65,535 blocks all pointing at the same packets: bounded.
  std::string many = WordPerfect({{17, u"T"}});
  many.replace(18, 2, Le16(0xFFFF));
  std::string blocks;
  for (int i = 0; i < 0xFFFF; ++i) blocks += many.substr(30, 14);
  many = many.substr(0, 30) + blocks;
  many.replace(14, 2, Le16(16));
  EXPECT_EQ(0, Read(ReadWordPerfectInfo, many, &doc));
}

TEST(ShellProperties, ReadOrFailWithoutStore) {
  zxsupport::ScratchDir dir("shellprops");
  const std::string path = (dir / "plain.txt").string();
  zxsupport::WriteBytes(path, "plain text");
  clsDocu doc = zxtest::NewDoc();
  const int result = ReadShellProperties(doc, StringFromNarrow(path.c_str(), -1, plat::kCpUtf8));
  // Linux has no store; on Windows a plain text file has no summary texts. Either
  // way the format readers decide.
  EXPECT_EQ(-1, result);
  EXPECT_TRUE(doc.title.Text().IsEmpty());
}

}  // namespace
}  // namespace zx
