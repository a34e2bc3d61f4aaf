// Entry names: decoding of the stored bytes, and the paths that are refused.
#include <gtest/gtest.h>

#include <zlib.h>

#include "support/support_test_util.h"
#include "zip/EntryName.h"

namespace {

std::string Split(const char16_t* name) {
  std::vector<zx::String> parts;
  if (const char* reason = zx::SplitEntryPath(zx::String(name), parts)) return std::string("refused: ") + reason;
  std::string out;
  for (const zx::String& p : parts) out += (out.empty() ? "" : "|") + zxsupport::Ascii(p.View());
  return out;
}

TEST(EntryName, PathsBelowTheDestination) {
  const struct {
    const char16_t* name;
    const char* expected;
  } cases[] = {
      {u"a.txt", "a.txt"},
      {u"a/b/c.txt", "a|b|c.txt"},
      {u"a//b/./c", "a|b|c"},
      {u"./a", "a"},
      {u"dir/", "dir"},
      {u"./", ""},                 // the destination itself
      {u"..a/b..", "..a|b.."},
      {u"COM10/console.txt", "COM10|console.txt"},
      {u"", "refused: empty name"},
      {u".", "refused: empty name"},
      {u"/etc/passwd", "refused: absolute path"},
      {u"//server/share/x", "refused: absolute path"},
      {u"C:\\x", "refused: drive letter or ':'"},
      {u"C:x", "refused: drive letter or ':'"},
      {u"file.txt:stream", "refused: drive letter or ':'"},
      {u"a\\b", "refused: backslash in the name"},
      {u"../x", "refused: '..' component"},
      {u"a/../b", "refused: '..' component"},   // even where it would stay inside
      {u"a/..", "refused: '..' component"},
      {u"...", "refused: '..' component"},
      {u"a/.. /b", "refused: '..' component"},  // Windows trims it to ".."
      {u"a\x01" u"b", "refused: control character in the name"},
      {u"x/con", "refused: device name"},
      {u"aux.txt", "refused: device name"},
      {u"Nul .log", "refused: device name"},
      {u"lpt9/x", "refused: device name"},
      {u"com1", "refused: device name"},
  };
  for (const auto& c : cases) EXPECT_EQ(Split(c.name), c.expected) << zxsupport::Ascii(c.name);
}

std::string UnicodePathField(std::string_view raw, std::string_view utf8, uint32_t crcDelta = 0) {
  const uint32_t crc =
      static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(raw.data()), static_cast<uInt>(raw.size()))) +
      crcDelta;
  std::string body = "\x01";
  for (int i = 0; i < 4; ++i) body += static_cast<char>(crc >> (8 * i));
  body += utf8;
  std::string field = "\x75\x70";
  field += static_cast<char>(body.size());
  field += '\0';
  return field + body;
}

TEST(EntryName, DecodingOfTheStoredBytes) {
  const std::string utf8 = "Gr\xC3\xBC\xC3\x9F" "e";   // "Grüße" in UTF-8
  const std::string cp437 = "Gr\x81\xE1" "e";          // and in code page 437
  const std::string otherField = std::string("UT\x05\x00\x03\x00\x00\x00\x00", 9);
  const struct {
    const char* what;
    std::string raw;
    uint16_t flag;
    std::string extra;
    std::u16string expected;
  } cases[] = {
      {"flag 0x0800", utf8, 0x0800, "", u"Grüße"},
      {"code page 437", cp437, 0, "", u"Grüße"},
      {"unmarked UTF-8 is code page 437", utf8, 0, "", u"Gr├╝├ƒe"},
      {"box and block characters", "\xC9\xCD\xBB\xB0\xDB", 0, "", u"╔═╗░█"},
      {"Unicode path field", cp437, 0, otherField + UnicodePathField(cp437, "Gr\xC3\xBC\xC3\x9F" "e!"), u"Grüße!"},
      {"field of another name", cp437, 0, UnicodePathField("other", "Gr\xC3\xBC\xC3\x9F" "e!"), u"Grüße"},
      {"field with a wrong CRC", cp437, 0, UnicodePathField(cp437, "x", 1), u"Grüße"},
      {"field cut short", cp437, 0, UnicodePathField(cp437, "xyz").substr(0, 9), u"Grüße"},
      {"flag wins over the field", utf8, 0x0800, UnicodePathField(utf8, "x"), u"Grüße"},
      {"ASCII", "plain/name.txt", 0, "", u"plain/name.txt"},
      {"empty", "", 0x0800, "", u""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(std::u16string(zx::DecodeEntryName(c.raw, c.flag, c.extra).View()), c.expected) << c.what;
  }
}

}  // namespace
