// The text of ZIP entry names and comments: code page 437 where every character
// has an exact place in it, UTF-8 (with the entry's flag 0x0800) otherwise.
// Threads: any thread; no state.
#pragma once
#include <cstdint>
#include <string>

#include "core/strings/String.h"

namespace zx {

constexpr uint16_t kZipFlagUtf8 = 0x0800;

// Whether `text` converts to code page 437 exactly. The empty text does. A
// character that would only fit by a best-fit substitute ("ā" as "a") does not,
// so that no name is changed on the way into the archive.
bool IsZipCp437(const String& text);

// `text` in UTF-8 or in code page 437.
std::string EncodeZipText(const String& text, bool utf8);

}  // namespace zx
