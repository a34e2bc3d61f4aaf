// The token layer of the PDF information reader: a cursor over a byte buffer and
// the one dictionary parser it needs, with the value types the information
// dictionary can hold (strings, numbers as unsigned 32 bits, booleans, names
// standing alone, array text, nested dictionaries as "<dummy:Dict>").
// Errors: clsException with the reader's words ("no object", "object is not a
// dictionary", "expected end of dictionary", "premature end of dictionary",
// "premature end of object", "unexpected token"); a dictionary keeps the entries
// read before the exception.
// Threads: any; a cursor and a dictionary belong to one caller.
//
//   scPdfCursor c(text.data(), text.size());
//   PdfDict dict;
//   ParsePdfDictionary(c, "obj", dict);   // "1 0 obj << /Title (A) >>": Title = "A"
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/containers/WCSkipList.h"
#include "core/strings/String.h"
#include "variant/Variant.h"

namespace zx {

using PdfDict = WCValSkipListDict<String, clsVariant>;

// White space of the format's readers: blank, tab, carriage return, line feed.
inline bool IsPdfWhite(uint8_t c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

struct scPdfCursor {
  scPdfCursor(const void* data, size_t size)
      : begin(static_cast<const uint8_t*>(data)), p(begin), end(begin + size) {}
  bool AtEnd() const { return p >= end; }
  uint8_t Peek() const { return p < end ? *p : 0; }
  void SkipWhite() {
    while (p < end && IsPdfWhite(*p)) ++p;
  }
  // Plain substring search from the cursor: the cursor moves to the match and
  // true, or stays and false.
  bool Find(std::string_view text);
  // True when the text stands at the cursor (the cursor stays).
  bool At(std::string_view text) const;
  size_t Offset() const { return static_cast<size_t>(p - begin); }

  const uint8_t* begin;
  const uint8_t* p;
  const uint8_t* end;
};

// An integer in the standard conversion's way (sign, digits), saturated to 64
// bits; false (cursor unmoved) when no digit stands there. Skips white space first.
bool ReadPdfInteger(scPdfCursor& c, int64_t* value);

// The dictionary behind `keyword` (null: at the cursor), entries into `dict`
// (a key already there keeps its value). The cursor ends behind ">>".
// `decodeParms`, when given, receives the entries of a nested dictionary under
// the key "DecodeParms" (the stream readers need them; the value itself stays
// "<dummy:Dict>").
void ParsePdfDictionary(scPdfCursor& c, const char* keyword, PdfDict& dict, PdfDict* decodeParms = nullptr);

// Reading a dictionary's values back.
bool PdfValueText(const PdfDict& dict, const char16_t* key, String* text);
// A number (or element 0 of an array of values) as 64 bits; false when absent or
// not a number.
bool PdfValueNumber(const PdfDict& dict, const char16_t* key, int64_t* number);

}  // namespace zx
