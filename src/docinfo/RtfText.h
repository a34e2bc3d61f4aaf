// The escapes of RTF text inside the "{\info}" group: "\'hh" bytes in the
// document's code page, "\uN" characters with the "\ucN" fallback characters
// behind them skipped.
// Threads: any; nothing shared.
//
//   UnescapeRtf(String(u"Caf\\'e9"), 1252);           // "Café"
//   UnescapeRtf(String(u"\\uc1\\u8364?"), 1252);      // "€"
#pragma once
#include <cstdint>

#include "core/strings/String.h"

namespace zx {

// The code page of "\ansicpgN" in the document's header; 0 when none is given.
uint32_t RtfCodePage(const String& text);

// Carriage returns and line feeds removed; runs of "\'hh" converted from
// `codePage` (0: each byte is the character of that value); "\uN" (N negative:
// N + 65536) becomes its character, its delimiting space and the fallback
// characters behind it (one, or N of the last "\ucN") are dropped; "\ucN" itself
// goes. An escaped backslash ("\\") stays as written, with what follows it.
String UnescapeRtf(const String& text, uint32_t codePage);

// A group's value without the space that ends its control word.
String RtfPlainValue(const String& value);

}  // namespace zx
