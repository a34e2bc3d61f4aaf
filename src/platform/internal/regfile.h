// The registry editor's export format ("Windows Registry Editor Version 5.00"), as
// the Linux registry store keeps one hive per file:
//
//   Windows Registry Editor Version 5.00
//
//   [HKEY_LOCAL_MACHINE\software\zarnik]
//   "Debug.LogFilename"="C:\\logs\\zx.log"
//   "GPFMiniDumpMode"=dword:000a3aa7
//   "Blob"=hex:01,02,ff
//   "Path"=hex(2):25,00,00,00
//   @="the default value"
//
// Strings escape only \ and ". Other types are written as hex(N) byte lists, which
// may continue over lines ending in "\". Comment lines (";") and lines this parser
// does not understand are kept verbatim, so that a rewrite loses nothing. Key and
// value names compare without case.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace plat::regfile {

struct Entry {
  bool raw = false;            // a line kept verbatim (comment, unknown syntax)
  std::u16string text;         // raw: the line(s) as read
  std::u16string name;         // value name; empty for the default value "@"
  uint32_t type = 0;           // REG_SZ 1, REG_DWORD 4, ...
  std::vector<uint8_t> data;   // as RegQueryValueExW returns it (REG_SZ: UTF-16LE + terminator)
};

struct Key {
  std::u16string root;   // "HKEY_LOCAL_MACHINE"
  std::u16string path;   // "software\zarnik" (no leading or trailing backslash)
  std::vector<Entry> entries;
};

struct Document {
  std::vector<Entry> leading;   // raw lines before the first key
  std::vector<Key> keys;
};

// Reads UTF-8 (with or without BOM) or UTF-16LE with BOM. Never fails: what it does
// not understand is kept as raw lines.
Document Parse(std::string_view bytes);
// Writes UTF-8 without BOM, "\n" line ends, header first.
std::string Serialize(const Document& doc);

bool EqualNoCase(std::u16string_view a, std::u16string_view b);
// "HKLM" and "HKEY_LOCAL_MACHINE" name the same root, likewise HKCU.
bool SameRoot(std::u16string_view a, std::u16string_view b);
// Trims backslashes at both ends.
std::u16string_view NormalizePath(std::u16string_view path);

Key* FindKey(Document& doc, std::u16string_view root, std::u16string_view path);
// The last definition of a value in a key's sections (a hand-written file may name
// a key twice); null when absent. `keyExists` tells whether any section matched.
Entry* FindValue(Document& doc, std::u16string_view root, std::u16string_view path,
                 std::u16string_view name, bool* keyExists);
Entry* FindValue(Key& key, std::u16string_view name);
// Finds or appends the key, then sets (replaces in place, or appends) the value.
void SetValue(Document& doc, std::u16string_view root, std::u16string_view path,
              std::u16string_view name, uint32_t type, const uint8_t* data, size_t size);
// False when the key or value does not exist.
bool DeleteValue(Document& doc, std::u16string_view root, std::u16string_view path,
                 std::u16string_view name);

}  // namespace plat::regfile
