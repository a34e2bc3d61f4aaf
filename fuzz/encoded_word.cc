// Encoded words, the address tokeniser and the date parser on arbitrary field
// text. Input: a selector byte (which field name), then UTF-16 text.
#include <string>

#include "docinfo/Docu.h"
#include "docinfo/Mail.h"
#include "docinfo/MailAddress.h"
#include "docinfo/Rfc1342Decoder.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char16_t* kNames[] = {u"Subject", u"From", u"to", u"X-Other"};
  fuzzutil::ByteReader in(data, size);
  const zx::String name(kNames[in.Byte() % 4]);
  std::u16string text;
  while (in.More()) {
    const char16_t c = static_cast<char16_t>(in.Byte() | in.Byte() << 8);
    if (c) text.push_back(c);
  }
  const zx::String value{std::u16string_view(text)};
  try {
    const zx::String decoded = zx::DecodeMailField(value, name);
    FUZZ_CHECK(decoded.wchar()[decoded.Length()] == 0);
    // Without an encoded word a plain field comes back as it is.
    if (name == u"Subject" && text.find(u"=?") == std::u16string::npos) FUZZ_CHECK(decoded == value);
  } catch (const zx::clsException&) {
    FUZZ_CHECK(false);  // the word pattern lets only Q and B through
  }
  zx::clsParseItemList items;
  zx::TokeniseAddressField(value, items);
  WCValDListIter<zx::clsParseItem> it(items);
  while (++it) {
    const zx::clsParseItem& item = it.current();
    FUZZ_CHECK(item.type == 1 || item.type == 3 || item.type == 4 || item.type == 5);
    FUZZ_CHECK(item.offset >= 0 && item.offset <= static_cast<int>(text.size()));
  }
  plat::SystemTime t = zx::kUnsetSystemTime;
  zx::ParseMailDate(value, &t);
  if (!zx::IsUnsetTime(t) && t.dayOfWeek != 0xFFFF) FUZZ_CHECK(t.dayOfWeek < 7 && t.hour < 24);
  return 0;
}
