// The library's own string tables, defined once in string_table.cc and served on
// both OSes with the resource loader's block rules: block id/16 + 1 holds the 16
// counted strings id & ~15 .. id | 15 of one language; entries the table does not
// list are empty but still occupy their place in the block.
#pragma once
#include <cstdint>
#include <string>

namespace plat {

struct StringTableEntry {
  uint16_t lang;         // LANGID, e.g. 0x0409 English (US), 0x0407 German
  uint32_t id;
  const char16_t* text;
};

namespace detail {

// The block of `id` in exactly `lang`: false when that language has no such block
// (error 1815 when another language has it, else 1814), true with `out` set to
// the entry, empty when the block lacks it.
bool FindInStringTable(uint32_t id, uint16_t lang, std::u16string& out);
// LoadStringW's choice of language: the user's UI language, then any language
// with that primary language, then English (US), then the language neutral block,
// then any. False (error 1814) when no block of any language has a non-empty entry.
bool LoadFromStringTable(uint32_t id, uint16_t uiLang, std::u16string& out);

}  // namespace detail
}  // namespace plat
