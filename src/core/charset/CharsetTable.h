// The table of charset names (as they appear in mail headers and documents) and
// their code pages.
// Threads: any thread; the table is constant.
#pragma once
#include <cstdint>
#include <span>

namespace zx {

class String;

struct scCharsetName {
  const char16_t* name;
  uint32_t codePage;
};

// The rows in search order. Some names occur twice ("iso-8859-1", "iso-2022-jp");
// the search stops at the first row, so the later rows are never answered.
std::span<const scCharsetName> CharsetNameTable();

// The code page of the first row whose name equals `name` (case-sensitive String
// comparison); the system's ANSI code page for an unknown, empty or null name.
uint32_t CodePageFromCharsetName(const String& name);
uint32_t CodePageFromCharsetName(const char16_t* name);

}  // namespace zx
