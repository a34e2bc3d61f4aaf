#include "docinfo/PdfText.h"

#include <memory>
#include <string>

#include "core/regex/RegEx.h"
#include "core/strings/CharsetConversion.h"
#include "docinfo/Docu.h"
#include "platform/codepage.h"
#include "text/Date.h"

namespace zx {
namespace {

// PDFDocEncoding where it is not Latin-1: 0x18-0x1F (spacing accents) and
// 0x80-0xA0; 0x7F, 0x9F and 0xAD are undefined and stay as they are.
constexpr char16_t kAccents[8] = {0x02D8, 0x02C7, 0x02C6, 0x02D9, 0x02DD, 0x02DB, 0x02DA, 0x02DC};
constexpr char16_t kHigh[33] = {
    0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044, 0x2039, 0x203A, 0x2212,
    0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A, 0x2122, 0xFB01, 0xFB02, 0x0141,
    0x0152, 0x0160, 0x0178, 0x017D, 0x0131, 0x0142, 0x0153, 0x0161, 0x017E, 0x009F, 0x20AC};

char16_t PdfDocChar(uint8_t b) {
  if (b >= 0x18 && b <= 0x1F) return kAccents[b - 0x18];
  if (b >= 0x80 && b <= 0xA0) return kHigh[b - 0x80];
  return b;
}

bool StartsWith(std::string_view bytes, const char* mark, size_t n) {
  return bytes.size() >= n && bytes.compare(0, n, std::string_view(mark, n)) == 0;
}

String Utf16Text(std::string_view bytes, bool bigEndian) {
  std::u16string text;
  text.reserve(bytes.size() / 2);
  for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
    const auto a = static_cast<uint8_t>(bytes[i]), b = static_cast<uint8_t>(bytes[i + 1]);
    text.push_back(static_cast<char16_t>(bigEndian ? a << 8 | b : b << 8 | a));
  }
  return String(text);
}

}  // namespace

String PdfDocEncodingText(std::string_view bytes) {
  std::u16string text(bytes.size(), u'\0');
  for (size_t i = 0; i < bytes.size(); ++i) text[i] = PdfDocChar(static_cast<uint8_t>(bytes[i]));
  return String(text);
}

String PdfLiteralText(std::string_view chars, bool rawBom) {
  if (!rawBom || chars.size() < 2) return PdfDocEncodingText(chars);
  const bool bigEndian = static_cast<uint8_t>(chars[0]) == 0xFE;
  std::u16string text;
  for (size_t i = 2; i + 1 < chars.size(); i += 2) {
    const unsigned first = static_cast<uint8_t>(chars[i]), second = static_cast<uint8_t>(chars[i + 1]);
    text.push_back(static_cast<char16_t>(bigEndian ? first * 16 + second : second * 16 + first));
  }
  return String(text);
}

String PdfHexText(std::string_view bytes) {
  if (StartsWith(bytes, "\xFF\xFE", 2)) return Utf16Text(bytes, false);
  if (StartsWith(bytes, "\xFE\xFF", 2)) return Utf16Text(bytes, true);
  if (StartsWith(bytes, "\xEF\xBB\xBF", 3))
    return StringFromNarrow(bytes.data() + 3, static_cast<int64_t>(bytes.size() - 3), plat::kCpUtf8);
  return PdfDocEncodingText(bytes);
}

plat::SystemTime PdfDateToUtc(const String& text) {
  plat::SystemTime t = kUnsetSystemTime;
  const int64_t length = text.Length();
  if (length == 0) return t;
  String full = text;
  if (length >= 2 && length <= 22) {
    static const char16_t kTail[] = u"00000101000000Z00'00'";  // 21 characters
    const int64_t take = 23 - length;
    full = String(std::u16string(text.View()) + std::u16string(kTail + 21 - take));
  }
  // "+" to "Z" as the zone sign is the format's reading: digits and capitals pass.
  thread_local std::unique_ptr<clsRegEx> t_date;  // on the heap: the static TLS block is small
  if (!t_date) t_date = std::make_unique<clsRegEx>(String(u"^D:(\\d\\d\\d\\d)(\\d\\d)(\\d\\d)(\\d\\d)(\\d\\d)(\\d\\d)([+-Z])(\\d\\d)'(\\d\\d)'"));
  clsRegEx& date = *t_date;
  clsRegExMatchList m;
  if (!date.Match(full, &m)) return t;
  int v[10] = {};
  for (int i = 1; i <= 9; ++i) {
    if (i == 7) continue;
    for (char16_t ch : m.find(i).text.View()) v[i] = v[i] * 10 + (ch - u'0');
  }
  const clsDate day(v[1], v[2], v[3]);
  if (!day.IsValid() || v[1] < 1601 || v[4] > 23 || v[5] > 59 || v[6] > 59) return t;
  int64_t shift = (v[8] * 60 + v[9]) * 24;  // seconds, as the format reads the zone
  if (m.find(7).text == String(u"-")) shift = -shift;
  int64_t total = ((day.DayNumber() * 24 + v[4]) * 60 + v[5]) * 60 + v[6] - shift;
  const clsDate moved(total / 86400);
  const int64_t rest = total % 86400;
  if (moved.Year() < 1601 || moved.Year() > 30827) return t;
  t.year = static_cast<uint16_t>(moved.Year());
  t.month = static_cast<uint16_t>(moved.Month());
  t.day = static_cast<uint16_t>(moved.Day());
  t.dayOfWeek = static_cast<uint16_t>(moved.DayOfWeek());
  t.hour = static_cast<uint16_t>(rest / 3600);
  t.minute = static_cast<uint16_t>(rest / 60 % 60);
  t.second = static_cast<uint16_t>(rest % 60);
  t.milliseconds = 0;
  return t;
}

}  // namespace zx
