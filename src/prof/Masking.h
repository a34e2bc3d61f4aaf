// The maskings of the profile file formats, both ways.
//
// Text format: in names "=", "[" and "]" become U+2338, U+301A and U+301B; in names
// and values every character below U+0020 gets U+2400 added (its control picture).
// Both are one character for one, so a masked text has the length of the text.
// XML format: CR LF and a lone CR or LF become "&cr;", tab "&tab;", other controls
// "&#x" and four lower-case hex digits and ";", and < > & ' " their entities.
//
// The mask functions write to `dst`, which must hold the masked length, and return
// the end; the unmask functions work in place on a zero-terminated line, as the
// line reader hands it out. Threads: any thread; no state.
//
//   std::u16string out(XmlMaskedLength(v, n), u'\0');
//   MaskXml(out.data(), v, n);
#pragma once
#include <cstddef>

namespace zx::prof {

// ---- text format
char16_t* MaskTextName(char16_t* dst, const char16_t* text, size_t length);
char16_t* MaskTextValue(char16_t* dst, const char16_t* text, size_t length);
// U+2338, U+301A, U+301B back to "=", "[", "]". Control pictures in a name stay as
// they are: control characters in names do not come back.
void UnmaskTextName(char16_t* text);
// U+2401..U+241F lose U+2400 (U+2400 itself is never touched). Returns the length.
size_t UnmaskTextValue(char16_t* text);

// ---- XML format
// The length after masking; equal to `length` when the text needs no masking.
size_t XmlMaskedLength(const char16_t* text, size_t length);
char16_t* MaskXml(char16_t* dst, const char16_t* text, size_t length);
// At each "&": "&cr;" gives CR LF, "&tab;" a tab, the five named entities their
// character, "&#x" + hex digits or "&#" + decimal digits the character of that
// number (digits parsed as far as they go, then everything up to and including
// ";" dropped; no ";" ends the text); anything else stays. A number beyond U+FFFF
// gives a surrogate pair, beyond U+10FFFF U+FFFD, and 0 ends the text. Returns the
// new length (the text is terminated there).
size_t UnmaskXml(char16_t* text);

}  // namespace zx::prof
