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
// may continue over lines ending in "\". Key and value names compare without case.
//
// A document keeps every line as it was read (comments, blank lines, the header,
// lines it does not understand, the line ends and the encoding), so that writing it
// back gives the same bytes except for the values that were set since. Lines it
// keeps without understanding them are listed as problems with their line numbers:
// the library reads past them, an editing tool refuses to rewrite such a file.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace plat::regfile {

struct Entry {
  bool raw = false;            // a line kept verbatim (header, comment, blank, unknown syntax)
  // The line(s) as read, without the last line end ("\n" between continuation lines,
  // a CR kept where the file had one); empty for a value set since, which is written
  // in the canonical form.
  std::u16string text;
  std::u16string name;         // value name; empty for the default value "@"
  uint32_t type = 0;           // REG_SZ 1, REG_DWORD 4, ...
  std::vector<uint8_t> data;   // as RegQueryValueExW returns it (REG_SZ: UTF-16LE + terminator)
};

struct Key {
  std::u16string root;   // "HKEY_LOCAL_MACHINE"
  std::u16string path;   // "software\zarnik" (no leading or trailing backslash)
  std::u16string text;   // the section line as read; empty for a key added since
  std::vector<Entry> entries;
};

enum class Encoding { kUtf8, kUtf8Bom, kUtf16Le };

// A line kept without being understood (1-based line number).
struct Problem {
  size_t line = 0;
  std::string what;
};

struct Document {
  std::vector<Entry> leading;   // raw lines before the first key
  std::vector<Key> keys;
  Encoding encoding = Encoding::kUtf8;
  bool crlf = false;             // new lines end in CR LF (the file's first line did)
  bool finalNewline = true;      // the last line ends with a line end
  std::vector<Problem> problems;
};

// Reads UTF-8 (with or without BOM) or UTF-16LE with BOM. Never fails: what it does
// not understand is kept as raw lines and listed in `problems`.
Document Parse(std::string_view bytes);
// Writes the document in its encoding with its line ends; a document of no lines
// (a new file) starts with the header and a blank line. Parse then Serialize gives
// the bytes back unless a problem concerns the encoding itself.
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
// Finds or appends the key, then sets the value: in place, or after the key's last
// value (before the blank lines and comments that end its section).
void SetValue(Document& doc, std::u16string_view root, std::u16string_view path,
              std::u16string_view name, uint32_t type, const uint8_t* data, size_t size);
// The values of a key, each name once (its last definition), in the order of their
// first appearance; `keyExists` tells whether any section matched.
std::vector<const Entry*> KeyValues(const Document& doc, std::u16string_view root,
                                    std::u16string_view path, bool* keyExists);
// The names of a key's direct subkeys, each once, in the order of first appearance
// (a section [A\B\C] makes B a subkey of A).
std::vector<std::u16string> SubkeyNames(const Document& doc, std::u16string_view root,
                                        std::u16string_view path);
// False when the key or value does not exist.
bool DeleteValue(Document& doc, std::u16string_view root, std::u16string_view path,
                 std::u16string_view name);

}  // namespace plat::regfile
