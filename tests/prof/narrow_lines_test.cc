// 8-bit files (UTF-8 behind its mark) whose lines mix pure ASCII with other
// characters and run past any short buffer: every value reads back as its UTF-8
// bytes decode.
#include <string>

#include "prof_test_util.h"

using namespace proftest;

namespace {

std::u16string FromUtf8(const std::string& s) {
  // The few sequences these cases use: 1 to 3 bytes.
  std::u16string out;
  for (size_t i = 0; i < s.size();) {
    const unsigned char c = s[i];
    if (c < 0x80) { out += c; i += 1; }
    else if (c < 0xE0) { out += static_cast<char16_t>(((c & 0x1F) << 6) | (s[i + 1] & 0x3F)); i += 2; }
    else { out += static_cast<char16_t>(((c & 0x0F) << 12) | ((s[i + 1] & 0x3F) << 6) | (s[i + 2] & 0x3F)); i += 3; }
  }
  return out;
}

TEST(ProfNarrowLines, AsciiAndOtherLinesAlternateAndLongLinesGrowTheBuffer) {
  const std::string longAscii(5000, 'x'), longer(20000, 'y');
  const struct {
    const char* name;
    std::string value;
  } cases[] = {
      {"a", "plain"},          {"b", "caf\xC3\xA9"},      {"c", longAscii}, {"d", "\xE4\xB8\xAD" + longAscii},
      {"e", "short"},          {"f", longer},            {"g", ""},        {"h", "after long"},
  };
  std::string file = "\xEF\xBB\xBF[/]\r\n{\r\n";
  for (const auto& c : cases) file += std::string(c.name) + "=" + c.value + "\r\n";
  file += "}\r\n";
  Job job(OpenBytes(file));
  ASSERT_EQ(ProfGetError(job), 0);
  for (const auto& c : cases) {
    const std::u16string name(c.name, c.name + 1);
    const zx::clsItem* item =
        Internal(job)->rootList.FindFirst([&](zx::clsItem* i) { return i->name.View() == name; });
    ASSERT_NE(item, nullptr) << c.name;
    EXPECT_EQ(std::u16string(item->value.View()), FromUtf8(c.value)) << c.name;
  }
}

}  // namespace
