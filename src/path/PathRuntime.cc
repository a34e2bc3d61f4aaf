#include "path/PathRuntime.h"

#include <algorithm>

#include "platform/path.h"

namespace zx {
namespace {

bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }
size_t Length(const char16_t* s) { return s ? std::char_traits<char16_t>::length(s) : 0; }
char16_t Upper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }

// Copies `count` characters and the terminator, if the room allows.
bool Put(char16_t* out, size_t room, const char16_t* from, size_t count) {
  if (!out) return true;
  if (room <= count) return false;
  std::char_traits<char16_t>::copy(out, from, count);
  out[count] = 0;
  return true;
}

void Clear(char16_t* out, size_t room) {
  if (out && room) out[0] = 0;
}

// The length of "\\server\share\" (with the separators that follow) at the start.
size_t UncRootLength(std::u16string_view p) {
  size_t i = 2;
  while (i < p.size() && !IsSeparator(p[i])) ++i;
  while (i < p.size() && IsSeparator(p[i])) ++i;
  while (i < p.size() && !IsSeparator(p[i])) ++i;
  while (i < p.size() && IsSeparator(p[i])) ++i;
  return i;
}

bool IsUnc(std::u16string_view p) { return p.size() >= 2 && IsSeparator(p[0]) && IsSeparator(p[1]); }
bool HasDrive(std::u16string_view p) { return p.size() >= 2 && p[1] == u':'; }

// The root part of an absolute path in backslash form: "C:\" , "\\srv\share\", "\".
size_t RootLength(std::u16string_view p) {
  if (IsUnc(p)) return UncRootLength(p);
  if (HasDrive(p)) return p.size() >= 3 ? 3 : 2;
  return p.empty() ? 0 : 1;
}

// Resolves ".", ".." and repeated separators behind `mark`, which is never passed,
// drops one dot at the end of a folder's name and all dots and spaces at the end
// of the path: the system's rules, to the character.
void Collapse(std::u16string& s, size_t mark) {
  mark = std::min(mark, s.size());
  std::u16string out = s.substr(0, std::max<size_t>(1, mark));
  for (size_t i = out.size(); i < s.size(); ++i)
    if (s[i] != u'\\' || out.empty() || out.back() != u'\\') out += s[i];
  // Back to the start of the name before `p`, not beyond the mark.
  auto previousName = [&](size_t p) {
    if (p > mark) {
      --p;
      while (p > mark && out[p - 1] != u'\\') --p;
    }
    return p;
  };
  size_t p = mark;
  while (p < out.size()) {
    if (out[p] == u'.') {
      const char16_t next = p + 1 < out.size() ? out[p + 1] : 0;
      const char16_t after = p + 2 < out.size() ? out[p + 2] : 0;
      if (next == u'\\') {   // ".\"
        out.erase(p, 2);
        continue;
      }
      if (next == 0) {   // a final "." goes with the separator before it
        if (p > mark) --p;
        out.resize(p);
        break;
      }
      if (next == u'.' && (after == u'\\' || after == 0)) {   // ".."
        const size_t from = previousName(p);
        if (after == 0) {
          p = from > mark ? from - 1 : from;
          out.resize(p);
          break;
        }
        out.erase(from, p + 3 - from);
        p = from;
        continue;
      }
    }
    while (p < out.size() && out[p] != u'\\') ++p;
    if (p < out.size()) {
      if (p > mark && out[p - 1] == u'.') out.erase(p - 1, 1);   // "name.\" loses its dot
      else ++p;
    }
  }
  p = out.size();
  while (p > mark && (out[p - 1] == u' ' || out[p - 1] == u'.')) --p;
  out.resize(p);
  s.swap(out);
}

// The DOS device a path names ("CON", "prn.txt", "C:\\x\\com1 :"), as the system
// finds it: the last part up to its first "." or ":", less trailing spaces, is
// AUX, CON, NUL, PRN, or COM or LPT with a digit 1-9. Empty when it isn't one, and
// for paths that begin with two separators (shares and device paths).
std::u16string_view DosDeviceName(std::u16string_view p) {
  if (IsUnc(p)) return {};
  size_t start = HasDrive(p) ? 2 : 0;
  for (size_t i = start; i < p.size(); ++i)
    if (IsSeparator(p[i])) start = i + 1;
  size_t end = start;
  while (end < p.size() && p[end] != u'.' && p[end] != u':') ++end;
  while (end > start && p[end - 1] == u' ') --end;
  const std::u16string_view name = p.substr(start, end - start);
  auto is = [&](const char16_t* three) {
    return Upper(name[0]) == three[0] && Upper(name[1]) == three[1] && Upper(name[2]) == three[2];
  };
  if (name.size() == 3 && (is(u"AUX") || is(u"CON") || is(u"NUL") || is(u"PRN"))) return name;
  if (name.size() == 4 && (is(u"COM") || is(u"LPT")) && name[3] >= u'1' && name[3] <= u'9') return name;
  return {};
}

}  // namespace

int SplitPath(const char16_t* path, char16_t* drive, size_t driveRoom, char16_t* dir, size_t dirRoom,
              char16_t* name, size_t nameRoom, char16_t* ext, size_t extRoom) {
  auto clearAll = [&] {
    Clear(drive, driveRoom);
    Clear(dir, dirRoom);
    Clear(name, nameRoom);
    Clear(ext, extRoom);
  };
  if (!path || (!drive) != (driveRoom == 0) || (!dir) != (dirRoom == 0) || (!name) != (nameRoom == 0) ||
      (!ext) != (extRoom == 0)) {
    clearAll();
    return kPathEInval;
  }
  const char16_t* p = path;
  bool ok = true;
  if (p[0] && p[1] == u':') {
    ok = Put(drive, driveRoom, p, 2);
    p += 2;
  } else {
    Clear(drive, driveRoom);
  }
  const char16_t* lastSeparator = nullptr;   // one past it
  const char16_t* lastDot = nullptr;
  const char16_t* end = p;
  for (; *end; ++end) {
    if (IsSeparator(*end)) lastSeparator = end + 1;
    else if (*end == u'.') lastDot = end;
  }
  if (lastSeparator) {
    ok = ok && Put(dir, dirRoom, p, static_cast<size_t>(lastSeparator - p));
    p = lastSeparator;
  } else {
    Clear(dir, dirRoom);
  }
  if (lastDot && lastDot >= p) {
    ok = ok && Put(name, nameRoom, p, static_cast<size_t>(lastDot - p));
    ok = ok && Put(ext, extRoom, lastDot, static_cast<size_t>(end - lastDot));
  } else {
    ok = ok && Put(name, nameRoom, p, static_cast<size_t>(end - p));
    Clear(ext, extRoom);
  }
  if (ok) return 0;
  clearAll();
  return kPathERange;
}

int MakePath(char16_t* out, size_t room, const char16_t* drive, const char16_t* dir, const char16_t* name,
             const char16_t* ext) {
  if (!out || room == 0) return kPathEInval;
  size_t n = 0;
  auto add = [&](const char16_t* s, size_t count) {
    if (n + count >= room) return false;
    std::char_traits<char16_t>::copy(out + n, s, count);
    n += count;
    return true;
  };
  bool ok = true;
  if (drive && drive[0]) {
    const char16_t d[2] = {drive[0], u':'};
    ok = add(d, 2);
  }
  if (ok && dir && dir[0]) {
    const size_t len = Length(dir);
    ok = add(dir, len) && (IsSeparator(dir[len - 1]) || add(u"\\", 1));
  }
  if (ok && name) ok = add(name, Length(name));
  if (ok && ext) {
    if (ext[0] && ext[0] != u'.') ok = add(u".", 1);
    ok = ok && add(ext, Length(ext));
  }
  if (!ok) {
    out[0] = 0;
    return kPathERange;
  }
  out[n] = 0;
  return 0;
}

PathContext SystemPathContext() {
  PathContext c;
  c.currentDirectory = plat::CurrentDirectory();
  c.driveDirectory = &plat::DriveCurrentDirectory;
  c.posixRoot = plat::PathsUsePosixRoot();
  return c;
}

std::u16string FullPathName(std::u16string_view path, const PathContext& context) {
  if (path.empty()) return {};
  // A device name stands for the device wherever it is written; file names on a
  // system with "/" paths are only names.
  if (!context.posixRoot) {
    const std::u16string_view device = DosDeviceName(path);
    if (!device.empty()) return u"\\\\.\\" + std::u16string(device);
  }
  std::u16string s(path);
  std::replace(s.begin(), s.end(), u'/', u'\\');
  std::u16string cwd = context.currentDirectory;
  std::replace(cwd.begin(), cwd.end(), u'/', u'\\');
  if (cwd.empty()) cwd = u"\\";
  std::u16string full;
  size_t mark = 0;
  if (IsUnc(s)) {
    const bool device = s.size() >= 4 && (s[2] == u'.' || s[2] == u'?') && s[3] == u'\\';
    full = s;
    mark = device ? 4 : UncRootLength(s);
  } else if (s[0] == u'\\') {   // rooted: the current drive or share
    const size_t root = RootLength(cwd);
    full = cwd.substr(0, root && cwd[root - 1] == u'\\' ? root - 1 : root) + s;
    mark = full.size() - s.size() + 1;
  } else if (HasDrive(s)) {
    if (s.size() >= 3 && s[2] == u'\\') {
      full = s;
    } else {   // "X:name": that drive's current folder
      std::u16string base;
      if (HasDrive(cwd) && Upper(cwd[0]) == Upper(s[0])) base = cwd;
      else if (context.driveDirectory) base = context.driveDirectory(s[0]);
      if (base.empty()) base = std::u16string{s[0], u':', u'\\'};
      std::replace(base.begin(), base.end(), u'/', u'\\');
      if (base.back() != u'\\') base += u'\\';
      full = base + s.substr(2);
    }
    mark = 3;
  } else {
    full = cwd;
    if (full.back() != u'\\') full += u'\\';
    full += s;
    mark = RootLength(cwd);
  }
  Collapse(full, mark);
  if (context.posixRoot && !IsUnc(full) && !HasDrive(full)) std::replace(full.begin(), full.end(), u'\\', u'/');
  return full;
}

bool FullPath(char16_t* out, const char16_t* path, size_t size, const PathContext& context) {
  if (!out) return false;
  std::u16string full = path && path[0] ? FullPathName(path, context) : context.currentDirectory;
  if (full.empty() || full.size() >= size) {
    Clear(out, size);
    return false;
  }
  std::char_traits<char16_t>::copy(out, full.data(), full.size());
  out[full.size()] = 0;
  return true;
}

}  // namespace zx
