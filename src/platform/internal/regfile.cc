#include "platform/internal/regfile.h"

#include <algorithm>

#include "platform/codepage.h"

namespace plat::regfile {
namespace {

constexpr char16_t kHeader[] = u"Windows Registry Editor Version 5.00";

// Upper case for name comparison: ASCII, Latin-1 and Latin Extended-A, which covers
// the names the library and its users write.
char16_t Upper(char16_t c) {
  if (c >= u'a' && c <= u'z') return c - 32;
  if (c < 0xE0) return c;
  if (c <= 0xFE) return c == 0xF7 ? c : char16_t(c - 32);
  if (c == 0xFF) return 0x178;
  if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) return c & ~1;
  if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return (c & 1) ? c : char16_t(c - 1);
  return c;
}

bool StartsWithNoCase(std::u16string_view s, std::u16string_view prefix) {
  return s.size() >= prefix.size() && EqualNoCase(s.substr(0, prefix.size()), prefix);
}

std::u16string_view TrimLeft(std::u16string_view s) {
  while (!s.empty() && (s.front() == u' ' || s.front() == u'\t')) s.remove_prefix(1);
  return s;
}

std::u16string_view TrimRight(std::u16string_view s) {
  while (!s.empty() && (s.back() == u' ' || s.back() == u'\t' || s.back() == u'\r')) s.remove_suffix(1);
  return s;
}

int HexDigit(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// The 1-based line of a byte offset.
size_t LineOf(std::string_view bytes, size_t offset) {
  size_t line = 1;
  for (size_t i = 0; i < offset && i < bytes.size(); ++i) line += bytes[i] == '\n';
  return line;
}

// The text of the file and its encoding; bytes that do not decode become U+FFFD and
// a problem (writing such a document back cannot give its bytes).
std::u16string Decode(std::string_view bytes, Document& doc) {
  if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
      static_cast<unsigned char>(bytes[1]) == 0xFE) {
    doc.encoding = Encoding::kUtf16Le;
    std::u16string out;
    out.reserve(bytes.size() / 2);
    for (size_t i = 2; i + 1 < bytes.size(); i += 2)
      out.push_back(char16_t(static_cast<unsigned char>(bytes[i]) |
                             (static_cast<unsigned char>(bytes[i + 1]) << 8)));
    if (bytes.size() % 2)
      doc.problems.push_back({1 + static_cast<size_t>(std::count(out.begin(), out.end(), u'\n')),
                              "a UTF-16 file of an odd number of bytes"});
    return out;
  }
  if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") {
    doc.encoding = Encoding::kUtf8Bom;
    bytes.remove_prefix(3);
  }
  std::u16string out = Utf8ToUtf16(bytes);
  const std::string back = Utf16ToUtf8(out);
  if (back != bytes) {
    size_t i = 0;
    while (i < back.size() && i < bytes.size() && back[i] == bytes[i]) ++i;
    doc.problems.push_back({LineOf(bytes, i), "bytes that are not UTF-8"});
  }
  return out;
}

// The lines between the "\n"s, each as it was (a CR stays at its end); a final line
// end gives no empty last line.
std::vector<std::u16string_view> SplitLines(std::u16string_view text, bool& finalNewline) {
  std::vector<std::u16string_view> lines;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(u'\n', start);
    if (end == std::u16string_view::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  finalNewline = text.empty() || text.back() == u'\n';
  return lines;
}

// Reads a quoted text starting after the opening quote; only \\ and \" are escapes.
// Returns false when the closing quote is missing.
bool ReadQuoted(std::u16string_view s, size_t& i, std::u16string& out) {
  out.clear();
  while (i < s.size()) {
    char16_t c = s[i];
    if (c == u'\\' && i + 1 < s.size() && (s[i + 1] == u'\\' || s[i + 1] == u'"')) {
      out.push_back(s[i + 1]);
      i += 2;
    } else if (c == u'"') {
      ++i;
      return true;
    } else {
      out.push_back(c);
      ++i;
    }
  }
  return false;
}

void AppendUtf16Le(std::vector<uint8_t>& data, std::u16string_view text) {
  for (char16_t c : text) {
    data.push_back(uint8_t(c & 0xFF));
    data.push_back(uint8_t(c >> 8));
  }
  data.push_back(0);
  data.push_back(0);
}

// Parses the data after "=". False for syntax this reader does not know.
bool ParseData(std::u16string_view d, Entry& e) {
  d = TrimRight(TrimLeft(d));
  if (!d.empty() && d[0] == u'"') {
    size_t i = 1;
    std::u16string text;
    if (!ReadQuoted(d, i, text) || !TrimLeft(d.substr(i)).empty()) return false;
    e.type = 1;
    AppendUtf16Le(e.data, text);
    return true;
  }
  if (StartsWithNoCase(d, u"dword:")) {
    std::u16string_view hex = d.substr(6);
    if (hex.empty() || hex.size() > 8) return false;
    uint32_t v = 0;
    for (char16_t c : hex) {
      int h = HexDigit(c);
      if (h < 0) return false;
      v = (v << 4) | uint32_t(h);
    }
    e.type = 4;
    for (int k = 0; k < 4; ++k) e.data.push_back(uint8_t(v >> (8 * k)));
    return true;
  }
  if (!StartsWithNoCase(d, u"hex")) return false;
  size_t i = 3;
  uint32_t type = 3;
  if (i < d.size() && d[i] == u'(') {
    size_t close = d.find(u')', i);
    if (close == std::u16string_view::npos || close == i + 1 || close - i - 1 > 8) return false;
    type = 0;
    for (size_t k = i + 1; k < close; ++k) {
      int h = HexDigit(d[k]);
      if (h < 0) return false;
      type = (type << 4) | uint32_t(h);
    }
    i = close + 1;
  }
  if (i >= d.size() || d[i] != u':') return false;
  ++i;
  std::vector<uint8_t> bytes;
  while (i < d.size()) {
    char16_t c = d[i];
    if (c == u',' || c == u' ' || c == u'\t') {
      ++i;
      continue;
    }
    int h1 = HexDigit(c);
    if (h1 < 0) return false;
    int v = h1;
    ++i;
    if (i < d.size() && HexDigit(d[i]) >= 0) {
      v = (v << 4) | HexDigit(d[i]);
      ++i;
    }
    if (i < d.size() && d[i] != u',' && d[i] != u' ' && d[i] != u'\t') return false;
    bytes.push_back(uint8_t(v));
  }
  e.type = type;
  e.data = std::move(bytes);
  return true;
}

// Parses `"Name"=` or `@=`; `i` ends after the "=".
bool ParseName(std::u16string_view line, size_t& i, std::u16string& name) {
  if (line.empty()) return false;
  if (line[0] == u'@') {
    name.clear();
    i = 1;
  } else if (line[0] == u'"') {
    i = 1;
    if (!ReadQuoted(line, i, name)) return false;
  } else {
    return false;
  }
  while (i < line.size() && (line[i] == u' ' || line[i] == u'\t')) ++i;
  if (i >= line.size() || line[i] != u'=') return false;
  ++i;
  return true;
}

std::u16string Escape(std::u16string_view s) {
  std::u16string out;
  out.reserve(s.size() + 2);
  for (char16_t c : s) {
    if (c == u'\\' || c == u'"') out.push_back(u'\\');
    out.push_back(c);
  }
  return out;
}

// A REG_SZ that the quoted form carries exactly: one terminator, at the end, and no
// line breaks.
bool QuotedFormFits(const std::vector<uint8_t>& data) {
  if (data.size() < 2 || data.size() % 2) return false;
  size_t units = data.size() / 2;
  for (size_t k = 0; k < units; ++k) {
    char16_t c = char16_t(data[2 * k] | (data[2 * k + 1] << 8));
    if (c == 0) return k == units - 1;
    if (c == u'\r' || c == u'\n') return false;
  }
  return false;
}

std::u16string FormatValue(const Entry& e, std::u16string_view eol) {
  std::u16string line = e.name.empty() ? std::u16string(u"@") : u"\"" + Escape(e.name) + u"\"";
  line += u'=';
  if (e.type == 1 && QuotedFormFits(e.data)) {
    std::u16string text;
    for (size_t k = 0; 2 * k + 2 < e.data.size(); ++k)  // all units but the terminator
      text.push_back(char16_t(e.data[2 * k] | (e.data[2 * k + 1] << 8)));
    return line + u"\"" + Escape(text) + u"\"";
  }
  static const char16_t kHex[] = u"0123456789abcdef";
  if (e.type == 4 && e.data.size() == 4) {
    uint32_t v = uint32_t(e.data[0]) | (uint32_t(e.data[1]) << 8) | (uint32_t(e.data[2]) << 16) |
                 (uint32_t(e.data[3]) << 24);
    line += u"dword:";
    for (int shift = 28; shift >= 0; shift -= 4) line.push_back(kHex[(v >> shift) & 0xF]);
    return line;
  }
  if (e.type == 3) {
    line += u"hex:";
  } else {
    line += u"hex(";
    std::u16string t;
    uint32_t v = e.type;
    do {
      t.insert(t.begin(), kHex[v & 0xF]);
      v >>= 4;
    } while (v);
    line += t + u"):";
  }
  // Continuation lines keep each line under 80 columns, as the editor wraps them.
  size_t column = line.size();
  for (size_t k = 0; k < e.data.size(); ++k) {
    if (column + 3 > 78 && k > 0) {
      line += u'\\';
      line += eol;
      line += u"  ";
      column = 2;
    }
    line.push_back(kHex[e.data[k] >> 4]);
    line.push_back(kHex[e.data[k] & 0xF]);
    column += 2;
    if (k + 1 < e.data.size()) {
      line.push_back(u',');
      ++column;
    }
  }
  return line;
}

bool SamePath(const Key& k, std::u16string_view root, std::u16string_view path) {
  return SameRoot(k.root, root) && EqualNoCase(k.path, NormalizePath(path));
}

}  // namespace

bool EqualNoCase(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (a[i] != b[i] && Upper(a[i]) != Upper(b[i])) return false;
  return true;
}

bool SameRoot(std::u16string_view a, std::u16string_view b) {
  auto canonical = [](std::u16string_view r) -> std::u16string_view {
    if (EqualNoCase(r, u"HKLM")) return u"HKEY_LOCAL_MACHINE";
    if (EqualNoCase(r, u"HKCU")) return u"HKEY_CURRENT_USER";
    return r;
  };
  return EqualNoCase(canonical(a), canonical(b));
}

std::u16string_view NormalizePath(std::u16string_view path) {
  while (!path.empty() && path.front() == u'\\') path.remove_prefix(1);
  while (!path.empty() && path.back() == u'\\') path.remove_suffix(1);
  return path;
}

Document Parse(std::string_view bytes) {
  Document doc;
  const std::u16string text = Decode(bytes, doc);
  const std::vector<std::u16string_view> lines = SplitLines(text, doc.finalNewline);
  doc.crlf = !lines.empty() && !lines[0].empty() && lines[0].back() == u'\r';
  auto entries = [&doc]() -> std::vector<Entry>& {
    return doc.keys.empty() ? doc.leading : doc.keys.back().entries;
  };
  auto keep = [&](size_t first, std::u16string raw, const char* problem) {
    if (problem) doc.problems.push_back({first + 1, problem});
    Entry e;
    e.raw = true;
    e.text = std::move(raw);
    entries().push_back(std::move(e));
  };
  for (size_t n = 0; n < lines.size(); ++n) {
    const size_t first = n;
    std::u16string_view line = TrimRight(TrimLeft(lines[n]));
    if (line.empty() || line == kHeader || line == u"REGEDIT4" || line[0] == u';' || line[0] == u'#') {
      keep(n, std::u16string(lines[n]), nullptr);
      continue;
    }
    if (line[0] == u'[') {
      if (line.size() < 2 || line.back() != u']') {
        keep(n, std::u16string(lines[n]), "a key line without its closing ']'");
      } else if (line[1] == u'-') {
        keep(n, std::u16string(lines[n]), "a key deletion ([-...]), which the store does not keep");
      } else {
        std::u16string_view inside = line.substr(1, line.size() - 2);
        size_t slash = inside.find(u'\\');
        Key key;
        key.root = std::u16string(inside.substr(0, slash));
        if (slash != std::u16string_view::npos) key.path = std::u16string(NormalizePath(inside.substr(slash)));
        key.text = std::u16string(lines[n]);
        doc.keys.push_back(std::move(key));
      }
      continue;
    }
    Entry e;
    std::u16string raw(lines[n]);
    size_t i = 0;
    if (!ParseName(line, i, e.name)) {
      keep(n, std::move(raw), "neither a value, a key, nor a comment");
      continue;
    }
    std::u16string data(line.substr(i));
    // A hex list may continue over lines that end in a backslash.
    if (StartsWithNoCase(TrimLeft(data), u"hex")) {
      // A blank line ends the list whatever the last line says.
      while (!data.empty() && TrimRight(data).back() == u'\\' && n + 1 < lines.size() &&
             !TrimRight(TrimLeft(lines[n + 1])).empty()) {
        data = std::u16string(TrimRight(data));
        data.pop_back();
        ++n;
        raw += u'\n';
        raw += lines[n];
        data += TrimRight(TrimLeft(lines[n]));
      }
    }
    if (doc.keys.empty()) {
      keep(first, std::move(raw), "a value before the first key");
    } else if (TrimRight(TrimLeft(data)) == u"-") {
      keep(first, std::move(raw), "a value deletion (=-), which the store does not keep");
    } else if (!ParseData(data, e)) {
      keep(first, std::move(raw), "a value whose data does not read");
    } else {
      e.text = std::move(raw);
      entries().push_back(std::move(e));
    }
  }
  return doc;
}

std::string Serialize(const Document& doc) {
  const std::u16string_view eol = doc.crlf ? u"\r\n" : u"\n";
  std::u16string out;
  const std::u16string_view cr = doc.crlf ? u"\r" : u"";
  for (const Entry& e : doc.leading) (out += e.text) += u'\n';
  for (const Key& k : doc.keys) {
    if (k.text.empty())
      ((out += u"[" + k.root + (k.path.empty() ? u"" : u"\\") + k.path + u"]") += cr) += u'\n';
    else
      (out += k.text) += u'\n';
    for (const Entry& e : k.entries) {
      if (e.raw || !e.text.empty())
        (out += e.text) += u'\n';
      else
        ((out += FormatValue(e, eol)) += cr) += u'\n';
    }
  }
  if (!doc.finalNewline && !out.empty()) out.pop_back();
  switch (doc.encoding) {
    case Encoding::kUtf16Le: {
      std::string bytes = "\xFF\xFE";
      bytes.reserve(2 + out.size() * 2);
      for (char16_t c : out) {
        bytes.push_back(char(c & 0xFF));
        bytes.push_back(char(c >> 8));
      }
      return bytes;
    }
    case Encoding::kUtf8Bom: return "\xEF\xBB\xBF" + Utf16ToUtf8(out);
    case Encoding::kUtf8: break;
  }
  return Utf16ToUtf8(out);
}

Key* FindKey(Document& doc, std::u16string_view root, std::u16string_view path) {
  for (Key& k : doc.keys)
    if (SamePath(k, root, path)) return &k;
  return nullptr;
}

Entry* FindValue(Document& doc, std::u16string_view root, std::u16string_view path,
                 std::u16string_view name, bool* keyExists) {
  Entry* found = nullptr;
  bool exists = false;
  for (Key& k : doc.keys) {
    if (!SamePath(k, root, path)) continue;
    exists = true;
    if (Entry* e = FindValue(k, name)) found = e;
  }
  if (keyExists) *keyExists = exists;
  return found;
}

Entry* FindValue(Key& key, std::u16string_view name) {
  Entry* found = nullptr;
  for (Entry& e : key.entries)
    if (!e.raw && EqualNoCase(e.name, name)) found = &e;   // the last one wins
  return found;
}

namespace {

bool Blank(const Entry& e) { return e.raw && TrimRight(TrimLeft(e.text)).empty(); }

bool Comment(const Entry& e) {
  const std::u16string_view t = TrimLeft(e.text);
  return e.raw && !t.empty() && (t[0] == u';' || t[0] == u'#');
}

Entry BlankLine(const Document& doc) {
  Entry e;
  e.raw = true;
  if (doc.crlf) e.text = u"\r";
  return e;
}

// A new key goes at the end, after a blank line; a new file starts with the header.
Key& AppendKey(Document& doc, std::u16string_view root, std::u16string_view path) {
  if (doc.leading.empty() && doc.keys.empty()) {
    Entry header = BlankLine(doc);
    header.text = kHeader;
    doc.leading.push_back(std::move(header));
    doc.leading.push_back(BlankLine(doc));
  } else {
    std::vector<Entry>& last = doc.keys.empty() ? doc.leading : doc.keys.back().entries;
    if (last.empty() || !Blank(last.back())) last.push_back(BlankLine(doc));
  }
  doc.keys.push_back(Key{std::u16string(root), std::u16string(NormalizePath(path)), {}, {}});
  return doc.keys.back();
}

// A new value goes after the key's last value: blank lines and comments at the end
// of a section belong to what follows it.
Entry& InsertValue(const Document& doc, Key& key) {
  size_t at = key.entries.size();
  while (at > 0 && (Blank(key.entries[at - 1]) || Comment(key.entries[at - 1]))) --at;
  // A kept line ending in a backslash would take the new line as its continuation.
  if (at > 0 && key.entries[at - 1].raw) {
    std::u16string_view t = TrimRight(key.entries[at - 1].text);
    if (!t.empty() && t.back() == u'\\') key.entries.insert(key.entries.begin() + at++, BlankLine(doc));
  }
  return *key.entries.insert(key.entries.begin() + at, Entry{});
}

}  // namespace

void SetValue(Document& doc, std::u16string_view root, std::u16string_view path,
              std::u16string_view name, uint32_t type, const uint8_t* data, size_t size) {
  // A key may appear in several sections of a hand-written file: the last
  // definition of the value is the one that counts, and the one that changes.
  Entry* target = FindValue(doc, root, path, name, nullptr);
  if (!target) {
    Key* key = nullptr;
    for (Key& k : doc.keys)
      if (SamePath(k, root, path)) key = &k;
    if (!key) key = &AppendKey(doc, root, path);
    target = &InsertValue(doc, *key);
    target->name = std::u16string(name);
  }
  target->text.clear();   // written anew
  target->type = type;
  target->data.assign(data, data + size);
}

std::vector<const Entry*> KeyValues(const Document& doc, std::u16string_view root,
                                    std::u16string_view path, bool* keyExists) {
  std::vector<const Entry*> values;
  bool exists = false;
  for (const Key& k : doc.keys) {
    if (!SamePath(k, root, path)) continue;
    exists = true;
    for (const Entry& e : k.entries) {
      if (e.raw) continue;
      auto same = std::find_if(values.begin(), values.end(),
                               [&](const Entry* v) { return EqualNoCase(v->name, e.name); });
      if (same == values.end()) values.push_back(&e);
      else *same = &e;   // the last definition counts, in the place of the first
    }
  }
  if (keyExists) *keyExists = exists;
  return values;
}

std::vector<std::u16string> SubkeyNames(const Document& doc, std::u16string_view root,
                                        std::u16string_view path) {
  std::vector<std::u16string> names;
  const std::u16string_view parent = NormalizePath(path);
  for (const Key& k : doc.keys) {
    if (!SameRoot(k.root, root)) continue;
    std::u16string_view rest = k.path;
    if (!parent.empty()) {
      if (rest.size() <= parent.size() + 1 || rest[parent.size()] != u'\\' ||
          !EqualNoCase(rest.substr(0, parent.size()), parent))
        continue;
      rest.remove_prefix(parent.size() + 1);
    }
    rest = rest.substr(0, rest.find(u'\\'));
    if (rest.empty()) continue;
    if (std::none_of(names.begin(), names.end(), [&](const std::u16string& n) { return EqualNoCase(n, rest); }))
      names.emplace_back(rest);
  }
  return names;
}

bool DeleteValue(Document& doc, std::u16string_view root, std::u16string_view path,
                 std::u16string_view name) {
  bool removed = false;
  bool keyFound = false;
  for (Key& k : doc.keys) {
    if (!SamePath(k, root, path)) continue;
    keyFound = true;
    auto it = std::remove_if(k.entries.begin(), k.entries.end(),
                             [&](const Entry& e) { return !e.raw && EqualNoCase(e.name, name); });
    removed |= it != k.entries.end();
    k.entries.erase(it, k.entries.end());
  }
  return keyFound && removed;
}

}  // namespace plat::regfile
