#include <gtest/gtest.h>

#include <string>

#include "core/strings/String.h"
#include "core/charset/Utf8Decode.h"

namespace {

// A String holding one byte per character, as the decoder's callers build it.
zx::String Bytes(std::string_view bytes) {
  std::u16string units;
  for (unsigned char b : bytes) units.push_back(b);
  return zx::String(std::u16string_view(units));
}

std::u16string Decode(std::string_view bytes) {
  return std::u16string(zx::DecodeUtf8(Bytes(bytes)).View());
}

const std::u16string kSequence = zx::kUtf8InvalidSequence;
const std::u16string kEncoding = zx::kUtf8InvalidEncoding;
const std::u16string kUcs4 = zx::kUtf8Ucs4NotSupported;

}  // namespace

TEST(Utf8Decode, ErrorTexts) {
  EXPECT_EQ(kSequence, u"invalid UTF-8 sequence found!");
  EXPECT_EQ(kEncoding, u"invalid UTF-8 encoding!");
  EXPECT_EQ(kUcs4, u"UCS-4 not supported!");
}

TEST(Utf8Decode, ValidTextOfTheBasicPlane) {
  EXPECT_EQ(Decode(""), u"");
  EXPECT_EQ(Decode("plain ASCII"), u"plain ASCII");
  EXPECT_EQ(Decode("Gr\xC3\xBC\xC3\x9F" "e"), u"Gr\u00FC\u00DFe");
  EXPECT_EQ(Decode("\xE2\x82\xAC \xE6\x97\xA5"), u"\u20AC \u65E5");
  // The limits of each length.
  EXPECT_EQ(Decode("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"), u"\x7F\u0080\u07FF\u0800\uFFFF");
  // Encoded surrogates are not judged: they are stored as they come.
  EXPECT_EQ(Decode("\xED\xA0\x80"), u"\xD800");
  // A zero byte inside the text is copied like any byte below 0x80.
  EXPECT_EQ(Decode(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(Utf8Decode, InvalidSequences) {
  EXPECT_EQ(Decode("\x80"), kSequence);            // a lone continuation byte
  EXPECT_EQ(Decode("ok\xBF"), kSequence);
  EXPECT_EQ(Decode("\xC3(" ), kSequence);          // continuation without 10 bits
  EXPECT_EQ(Decode("\xE2\x82("), kSequence);
  EXPECT_EQ(Decode("\xC3\xC3\xA4"), kSequence);
  // Cut off by the end of the text: the missing bytes are no continuation bytes.
  EXPECT_EQ(Decode("abc\xC3"), kSequence);
  EXPECT_EQ(Decode("\xE2\x82"), kSequence);
  EXPECT_EQ(Decode("\xF0\x9D\x84"), kSequence);
  EXPECT_EQ(Decode("\xFF"), kSequence);
  EXPECT_EQ(Decode("\xFE\x80\x80"), kSequence);
  // An error anywhere replaces the whole result.
  EXPECT_EQ(Decode("valid \xC3\xA4 then \x80"), kSequence);
}

TEST(Utf8Decode, UnitsAboveAByteAreNoUtf8) {
  EXPECT_EQ(std::u16string(zx::DecodeUtf8(zx::String(u"a\u0100b")).View()), kSequence);
  EXPECT_EQ(std::u16string(zx::DecodeUtf8(zx::String(u"\u00C3\u20AC")).View()), kSequence);
}

TEST(Utf8Decode, OverlongForms) {
  EXPECT_EQ(Decode("\xC0\x80"), kEncoding);
  EXPECT_EQ(Decode("\xC1\xBF"), kEncoding);                  // 0x7F in two bytes
  EXPECT_EQ(Decode("\xE0\x9F\xBF"), kEncoding);              // 0x7FF in three
  EXPECT_EQ(Decode("\xF0\x8F\xBF\xBF"), kEncoding);          // 0xFFFF in four
  EXPECT_EQ(Decode("\xF8\x87\xBF\xBF\xBF"), kEncoding);      // five-byte forms too
  EXPECT_EQ(Decode("\xFC\x80\x80\x80\x80\x80"), kEncoding);
  EXPECT_EQ(Decode("\xFF\x80\x80\x80\x80\x80\x81\x80"), kEncoding);  // below 2^36 in eight
}

TEST(Utf8Decode, BeyondTheBasicPlane) {
  EXPECT_EQ(Decode("\xF0\x90\x80\x80"), kUcs4);              // U+10000
  EXPECT_EQ(Decode("\xF0\x9D\x84\x9E"), kUcs4);              // U+1D11E
  EXPECT_EQ(Decode("\xF4\x8F\xBF\xBF"), kUcs4);
  EXPECT_EQ(Decode("\xF8\x88\x80\x80\x80"), kUcs4);          // five bytes, not overlong
  EXPECT_EQ(Decode("\xFE\x82\x80\x80\x80\x80\x80"), kUcs4);
  EXPECT_EQ(Decode("\xFF\x81\x80\x80\x80\x80\x80\x80"), kUcs4);    // 2^36 in eight bytes
}

TEST(Utf8Decode, PlainTextForm) {
  const char16_t units[] = {0x61, 0xC3, 0xA4};
  EXPECT_EQ(zx::DecodeUtf8(units, 3).View(), u"a\u00E4");
  EXPECT_EQ(zx::DecodeUtf8(units, 2).View(), kSequence);    // the length bounds the read
  EXPECT_TRUE(zx::DecodeUtf8(nullptr, 5).IsEmpty());
}
