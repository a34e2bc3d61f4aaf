// Encoded words of mail header fields ("=?charset?Q?text?=", "=?charset?B?text?="):
// clsRFC1342Decoder turns the match of one word into text, and
// DecodeEncodedWords replaces every word of a field value by its text, keeping
// what stands between the words (blanks included).
// Errors: an encoding other than Q or B throws clsException with
// "Bad encoding '%s' in word '%s'"; the word pattern lets only Q and B through,
// so that stays a guard. Undecodable bytes become what the code page makes of them.
// Threads: any; a decoder is a local of one call.
//
//   String t = DecodeEncodedWords(String(u"=?iso-8859-1?Q?a=20b?="));   // "a b"
#pragma once
#include <cstdint>

#include "core/regex/RegEx.h"
#include "core/strings/String.h"
#include "docinfo/DocException.h"

namespace zx {

// The pattern of one encoded word: group 1 the charset (an RFC 2231 language
// suffix "*lang" is skipped), group 2 the encoding, group 3 the text.
inline constexpr const char16_t* kEncodedWordPattern = u"=\\?([-\\w]+)(?:\\*\\w+)?\\?([QB])\\?(.*?)\\?=";

// The code page of a charset name, looked up without case in the charset table;
// the system's ANSI code page for a name that is not there.
uint32_t CodePageOfMailCharset(const String& charset);

class clsRFC1342Decoder : public IclsRegExGSubCB {
 public:
  explicit clsRFC1342Decoder(const String& text) : text(text) {}
  // The decoded text of the word in `match` (element 0 the word, 1 to 3 the groups).
  String Decode(const clsRegExMatchList& match) const;
  bool Replace(const clsRegExMatchList& list, String& replacement) override {
    replacement = Decode(list);
    return true;
  }
  const String& Text() const { return text; }

 private:
  String text;  // the text being decoded, for messages
};

// Every encoded word of `value` replaced by its text.
String DecodeEncodedWords(const String& value);

// Q: "_" is a blank, "=" and two characters one byte (each digit by its character,
// unchecked), any other character its low byte. Exposed for tests.
std::string DecodeQBytes(const String& text);

}  // namespace zx
