// Text and dates of the PDF information reader: string values into library text
// (PDFDocEncoding, UTF-16 with a byte-order mark, UTF-8 with its mark) and PDF
// dates ("D:YYYYMMDDHHmmSS+HH'mm'") into UTC system times.
// Errors: none; a date that does not parse is the unset time.
// Threads: any.
//
//   PdfHexText("\xFE\xFF\0A\0B")                 // "AB"
//   PdfDateToUtc(String(u"D:20120305102030+01'00'"))  // 2012-03-05 09:56:30
#pragma once
#include <string_view>

#include "core/strings/String.h"
#include "platform/timestamp.h"

namespace zx {

// Bytes of one character each through PDFDocEncoding (Latin-1 but for 0x18-0x1F
// and 0x7F-0x9F, which hold typographic characters).
String PdfDocEncodingText(std::string_view bytes);

// A literal string's characters after escapes. `rawBom` is true when the raw
// text in the file began with the bytes 0xFE 0xFF or 0xFF 0xFE: the two
// characters are dropped and each pair gives one character, first x 16 + second
// (0xFE 0xFF) or second x 16 + first (0xFF 0xFE). This is the format's reading of
// such strings: text with a zero high byte comes out right, the rest does not.
// A lone last character of a pair is dropped.
String PdfLiteralText(std::string_view chars, bool rawBom);

// A hexadecimal string's bytes: UTF-16 by its mark (either order), UTF-8 by its
// mark, else PDFDocEncoding. A lone last byte of UTF-16 is dropped.
String PdfHexText(std::string_view bytes);

// A PDF date into UTC. Shorter forms are completed from "00000101000000Z00'00'";
// the zone shift moves the time by its minutes x 24 seconds (the format's
// reading: "+01'00'" is 24 minutes). The unset time when the text does not
// match or is not a calendar date.
plat::SystemTime PdfDateToUtc(const String& text);

}  // namespace zx
