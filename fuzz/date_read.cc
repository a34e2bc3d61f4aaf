// The date reader on arbitrary text, flags and locales; the stored forms (compact,
// mail header, ISO, variant) and the writer on arbitrary fields.
// Input: flags byte, locale byte, 16 bytes of a time's fields, then UTF-16 text.
#include <string>

#include "fuzz_util.h"
#include "text/Date.h"
#include "text/LocaleDate.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const uint32_t kLocales[] = {0x0409, 0x0407, 0x0411, 0x040B, 0x040E, 0x0412, 0x0401, 0x0429, 0x0400, 0x7F, 0x1234};
  fuzzutil::ByteReader in(data, size);
  const uint32_t flags = in.Byte() & 0x1F;
  const uint32_t lcid = kLocales[in.Byte() % (sizeof kLocales / sizeof kLocales[0])];
  uint16_t fields[8];
  for (uint16_t& f : fields) f = static_cast<uint16_t>(in.Byte() | in.Byte() << 8);
  std::u16string text;
  while (in.More()) {
    const char16_t c = static_cast<char16_t>(in.Byte() | in.Byte() << 8);
    if (c) text.push_back(c);
  }

  plat::SystemTime t;
  const int r = zx::ReadLocaleDateTime(lcid, text, &t, flags);
  FUZZ_CHECK(r == 0 || r == zx::kDateError);
  if (r == 0 && !(flags & zx::kReadMissingIsZero) && t.year != 0) {
    FUZZ_CHECK(zx::clsDate(t.year, t.month, t.day).IsValid());
    FUZZ_CHECK(t.hour < 24 && t.minute < 60 && (t.second < 60 || t.second == zx::kNoValue));
  }
  zx::String compact;
  // Fourteen digits, or more for a year beyond 9999 or a day that flag 0x4 let
  // through unchecked (the ISO form's day of 65534 is written as it is).
  if (zx::CompactFromLocale(text, flags, compact)) {
    FUZZ_CHECK(compact.Length() == 0 || compact.Length() >= 14);
    for (char16_t c : compact.View()) FUZZ_CHECK(c >= u'0' && c <= u'9');
  }
  zx::DateTimeFromText(text, &t);
  (void)zx::CompactToLocale(text);

  plat::SystemTime any;
  static_assert(sizeof any == sizeof fields, "eight fields");
  __builtin_memcpy(&any, fields, sizeof any);
  (void)zx::WriteLocaleDateTime(lcid, &any, flags);
  plat::SystemTime start, end;
  zx::DaylightSavingInUtc(fields[0], &start, &end);
  return 0;
}
