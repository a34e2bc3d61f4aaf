// Plain text <-> the simple HTML of text controls and mail bodies. Not a general
// HTML processor: one scan with a small tag table, entities of ISO 8859-1 plus six.
// Both directions also know the bracket notation, "[_[p]_]" for "<p>", in which
// mark-up survives inside text that may not hold angle brackets.
// Threads: any thread; every call works on its own data.
#pragma once
#include <cstdint>
#include <string_view>

#include "core/strings/String.h"

namespace zx {

// One row of the entity table: the code and the name with "&" and ";".
struct scHtmlEntity {
  uint16_t code;
  const char16_t* name;
};
constexpr int kHtmlEntityCount = 102;
// Rows 0..95 are the codes 160..255 in order (so row = code - 160); then &amp;,
// &quot;, &lt;, &gt;, &euro; (tied to 128, the sign's place in code page 1252),
// &apos;.
extern const scHtmlEntity kHtmlEntities[kHtmlEntityCount];

// Characters that HTML or the code page cannot carry become entities: 9, the five
// of mark-up, 128 and 160..255 by name; every other code from 128 on becomes the
// literal "&#x04x;" (the code is lost).
String MaskAllHtmlCharacters(std::u16string_view text);
// Named entities of the table (exact case) and numeric ones of up to 8 characters
// with their ";" become characters; anything else stays.
String DemaskAllHtmlCharacters(std::u16string_view text);

// The text of an HTML text: comments and skip regions gone, links as "text [url]",
// block tags as line ends (carriage returns), white space folded, entities resolved.
String ConvertHtml2PlainText(std::u16string_view html, bool bracketTags);
// One paragraph a line ("\r\n" or "\r"), characters masked, guillemets doubled so
// that the way back keeps one pair.
String ConvertText2Html(std::u16string_view text, bool bracketTags);

// The steps of ConvertHtml2PlainText, for tests and fuzzing.
namespace html {
// Everything from the first "<!--" to the last "-->" behind it goes.
void RemoveComments(std::u16string& text);
// Each link <a ... href="url" ...>text</a> becomes "text [url]", or "url" when text
// and url are the same without regard to case.
void ReplaceLinks(std::u16string& text);
}  // namespace html

}  // namespace zx
