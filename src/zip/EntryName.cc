#include "zip/EntryName.h"

#include <zlib.h>

#include "platform/codepage.h"
#include "zip/ZipText.h"

namespace zx {
namespace {

constexpr uint16_t kUnicodePathField = 0x7075;

String Decode(std::string_view bytes, uint32_t codePage) {
  bool ascii = true;
  for (char c : bytes) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
  if (ascii) return String(std::u16string(bytes.begin(), bytes.end()));
  const int len = static_cast<int>(bytes.size());
  const int n = plat::MultiByteToWide(codePage, 0, bytes.data(), len, nullptr, 0);
  std::u16string out(n > 0 ? static_cast<size_t>(n) : 0, u'\0');
  if (n > 0) plat::MultiByteToWide(codePage, 0, bytes.data(), len, out.data(), n);
  return String(std::u16string_view(out));
}

uint16_t Le16(std::string_view s, size_t at) {
  return static_cast<uint16_t>(static_cast<unsigned char>(s[at]) | static_cast<unsigned char>(s[at + 1]) << 8);
}

uint32_t Le32(std::string_view s, size_t at) { return Le16(s, at) | static_cast<uint32_t>(Le16(s, at + 2)) << 16; }

// The UTF-8 name of a Unicode path field that belongs to `raw`, or nothing.
bool UnicodePath(std::string_view raw, std::string_view extra, std::string_view& utf8) {
  for (size_t at = 0; at + 4 <= extra.size();) {
    const uint16_t id = Le16(extra, at);
    const size_t size = Le16(extra, at + 2);
    if (at + 4 + size > extra.size()) return false;
    const std::string_view body = extra.substr(at + 4, size);
    if (id == kUnicodePathField && body.size() >= 5 && body[0] == 1) {
      const uint32_t crc = static_cast<uint32_t>(
          crc32(0, reinterpret_cast<const Bytef*>(raw.data()), static_cast<uInt>(raw.size())));
      if (Le32(body, 1) != crc) return false;   // the name was changed after the field was written
      utf8 = body.substr(5);
      return true;
    }
    at += 4 + size;
  }
  return false;
}

bool IsDeviceName(std::u16string_view part) {
  std::u16string_view stem = part.substr(0, part.find(u'.'));
  while (!stem.empty() && stem.back() == u' ') stem.remove_suffix(1);
  if (stem.size() != 3 && stem.size() != 4) return false;
  char16_t up[4] = {};
  for (size_t i = 0; i < stem.size(); ++i)
    up[i] = stem[i] >= u'a' && stem[i] <= u'z' ? static_cast<char16_t>(stem[i] - 32) : stem[i];
  const std::u16string_view s(up, stem.size());
  using namespace std::string_view_literals;
  if (s.size() == 3) return s == u"CON"sv || s == u"PRN"sv || s == u"AUX"sv || s == u"NUL"sv;
  return (s.starts_with(u"COM"sv) || s.starts_with(u"LPT"sv)) && s[3] >= u'1' && s[3] <= u'9';
}

}  // namespace

String DecodeEntryName(std::string_view raw, uint16_t flag, std::string_view extra) {
  if (flag & kZipFlagUtf8) return Decode(raw, plat::kCpUtf8);
  std::string_view utf8;
  if (UnicodePath(raw, extra, utf8)) return Decode(utf8, plat::kCpUtf8);
  return Decode(raw, 437);
}

const char* SplitEntryPath(const String& name, std::vector<String>& parts) {
  parts.clear();
  const std::u16string_view text = name.View();
  if (text.empty()) return "empty name";
  if (text.front() == u'/') return "absolute path";
  for (char16_t c : text) {
    if (c == u':') return "drive letter or ':'";
    if (c == u'\\') return "backslash in the name";
    if (c < 0x20) return "control character in the name";
  }
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(u'/', start);
    if (end == std::u16string_view::npos) end = text.size();
    const std::u16string_view part = text.substr(start, end - start);
    start = end + 1;
    if (part.empty() || part == std::u16string_view(u".")) continue;
    if (part.find_first_not_of(u". ") == std::u16string_view::npos) return "'..' component";
    if (IsDeviceName(part)) return "device name";
    parts.emplace_back(part);
  }
  // "./" names the destination itself: a folder entry with nothing to make.
  if (parts.empty() && text.back() != u'/') return "empty name";
  return nullptr;
}

}  // namespace zx
