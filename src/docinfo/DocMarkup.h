// Pieces the markup-based readers share: the document property block of older
// Office documents saved as HTML or XML ("<o:DocumentProperties>"), the ISO 8601
// date reader of the XML readers, and the HTML unescaping of the HTML reader.
// Errors: none; text that does not parse leaves the property as it was.
// Threads: any; nothing shared.
//
//   ReadPropertyBlock(doc, String(u"<o:Author>Ann</o:Author>"));   // doc.author = "Ann"
//   plat::SystemTime t;
//   ParseIso8601Date(String(u"2012-03-05T10:20:30+01:00"), &t);    // 09:20:30 UTC
#pragma once
#include "docinfo/Docu.h"

namespace zx {

// Every "<o:Name>value</o:Name>" of the block, in turn, into the document:
// Subject, Author, LastAuthor, Keywords, Description (comments), Created and
// LastSaved (ISO 8601). Other names are skipped. Returns 0.
int ReadPropertyBlock(clsDocu& doc, const String& block);

// An ISO 8601 date and time into UTC. With a zone offset the offset is applied;
// without one (a trailing "Z" included) the value is local time and goes to UTC
// through the system's zone rules. False when the date part is missing or not
// a calendar date, or the conversion fails; `*utc` is then unchanged.
bool ParseIso8601Date(const String& text, plat::SystemTime* utc);

// The value of a hexadecimal digit, or -1.
int HexDigitValue(char16_t c);

// "&#65;" and "&#x41;" (two to four hex digits) become their character; a
// reference of value 0 stays as it stands. A reference that a replacement
// completes with the text before it is read again ("&#38;#65;" gives "A") when
// it begins at most 16 characters before.
String UnescapeHtmlNumeric(const String& text);
// The 96 named references of ISO 8859-1 (&nbsp; to &yuml;), then carriage
// returns and line feeds removed, then the numeric references.
String UnescapeHtml(const String& text);

}  // namespace zx
