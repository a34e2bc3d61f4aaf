// clsVariant: an OLE automation value (platform/variant.h) with what the library
// adds: a binary form, equality across tags, conversions with 64-bit integers to
// text on every system, array element reads by index vector, and assignment of text.
//
// Binary form (little-endian): the tag after a reference has been followed (2
// bytes), then the payload: none for 0 and 1; 2 bytes for 2, 11, 18 and 64; 4 for
// 3, 4, 10, 19, 22, 23 and 72; 8 for 5, 6, 7, 20 and 21; 1 for 16 and 17; for 8 the
// text without terminator, two bytes a character, up to the end of the data. Any
// other tag writes its tag only and reads back empty. Tags 64 (FILETIME) and 72
// (CLSID) keep only the first 2 and 4 bytes of their value: the stored format has
// it so.
// Errors: Read and Write return false when the stream fails; Read leaves an empty
// value for short or unknown data (a short payload is zero-filled). The diagnostics
// (comparison of unknown tags, array index errors) go to the diagnostic lines.
// Threads: none inside; a value belongs to its user.
//
//   clsVariant v(String(u"text"));
//   clsVariant::Write(v, stream);             // 08 00 74 00 65 00 78 00 74 00
//   clsVariant w; clsVariant::Read(w, stream); // w == v
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "platform/com.h"
#include "platform/variant.h"

namespace zx {

class clsVariant : public VARIANT {
 public:
  clsVariant() { plat::VariantInit(this); }
  explicit clsVariant(const VARIANT& other);
  explicit clsVariant(const String& text);
  clsVariant(const clsVariant& other);
  clsVariant& operator=(const clsVariant& other);
  clsVariant& operator=(const VARIANT& other);
  clsVariant& operator=(const String& text) { Assign(text); return *this; }
  ~clsVariant() { Clear(); }

  void Clear();
  // Tag 8 holding a copy of the text (the old value freed first).
  void Assign(const String& text);

  // The binary form through a clsFile over `stream` (written from, read from its start).
  static bool Write(const VARIANT& v, IStream* stream);
  static bool Read(VARIANT& v, IStream* stream);
  bool Write(IStream* stream) const { return Write(*this, stream); }
  bool Read(IStream* stream) { return Read(*this, stream); }

  // Equality: the same tag by value, numbers by their double value, texts by the
  // locale's string sort, the rest by the platform's comparison.
  static bool Compare(const VARIANT& a, const VARIANT& b);
  bool operator==(const clsVariant& other) const { return Compare(*this, other); }

  // To `vt` in place; I8 and UI8 to text by the library's formatter. False (and the
  // value unchanged) when the conversion fails.
  static bool ChangeType(VARIANT& v, VARTYPE vt);
  bool ChangeType(VARTYPE vt) { return ChangeType(*this, vt); }

  // The element of an array value (tag with 0x2000) at zero-based `indices`, one per
  // dimension, the first for the array's first (leftmost) dimension. Empty on a
  // dimension mismatch or an index out of bounds.
  static clsVariant Element(const VARIANT& array, const int32_t* indices, int count);
  clsVariant Element(const int32_t* indices, int count) const { return Element(*this, indices, count); }

  // The text of a tag-8 value (empty for other tags).
  String Text() const;
};

}  // namespace zx
