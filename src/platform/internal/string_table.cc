#include "platform/internal/string_table.h"

#include "platform/errors.h"

namespace plat {
namespace {

constexpr uint16_t kEnglish = 0x0409;
constexpr uint16_t kGerman = 0x0407;

// The library's string resources. Texts use the message inserts of FormatMessage
// (%1, %2!d!, ...). Ids 1..3 form block 1 in both languages; id 17 (block 2)
// exists in English only.
constexpr StringTableEntry kTable[] = {
    {kEnglish, 1, u"zxUT22 Utility Library"},
    {kEnglish, 2, u"%1 of %2"},
    {kEnglish, 3, u"Error %1!d! in %2"},
    {kEnglish, 17, u"The operation is not available in this language."},
    {kGerman, 1, u"zxUT22 Hilfsbibliothek"},
    {kGerman, 2, u"%1 von %2"},
    {kGerman, 3, u"Fehler %1!d! in %2"},
};

uint32_t Block(uint32_t id) { return id / 16 + 1; }

bool HasBlock(uint32_t block, uint16_t lang) {
  for (const StringTableEntry& e : kTable)
    if (e.lang == lang && Block(e.id) == block) return true;
  return false;
}

const char16_t* Entry(uint32_t id, uint16_t lang) {
  for (const StringTableEntry& e : kTable)
    if (e.lang == lang && e.id == id) return e.text;
  return nullptr;
}

}  // namespace

namespace detail {

bool FindInStringTable(uint32_t id, uint16_t lang, std::u16string& out) {
  const uint32_t block = Block(id);
  if (!HasBlock(block, lang)) {
    bool elsewhere = false;
    for (const StringTableEntry& e : kTable) elsewhere |= Block(e.id) == block;
    SetLastError(elsewhere ? kErrResourceLangNotFound : kErrResourceNameNotFound);
    return false;
  }
  const char16_t* text = Entry(id, lang);
  out = text ? text : u"";
  return true;
}

bool LoadFromStringTable(uint32_t id, uint16_t uiLang, std::u16string& out) {
  const uint32_t block = Block(id);
  auto pick = [&](uint16_t lang) {
    if (!HasBlock(block, lang)) return false;
    const char16_t* text = Entry(id, lang);
    out = text ? text : u"";
    return true;
  };
  bool found = pick(uiLang);
  for (const StringTableEntry& e : kTable) {
    if (found) break;
    if ((e.lang & 0x3FF) == (uiLang & 0x3FF)) found = pick(e.lang);
  }
  if (!found) found = pick(kEnglish) || pick(0);
  for (const StringTableEntry& e : kTable) {
    if (found) break;
    found = pick(e.lang);
  }
  if (!found || out.empty()) {
    out.clear();
    SetLastError(kErrResourceNameNotFound);
    return false;
  }
  return true;
}

}  // namespace detail
}  // namespace plat
