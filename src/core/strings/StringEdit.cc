// String edit operations. Each makes the buffer private first; texts that point
// into this string's own block are copied aside before the block can move.
#include <cstring>
#include <string>

#include "core/strings/String.h"

namespace zx {
namespace {

int64_t ScanLength(const char16_t* text, int64_t limit = kWholeString) {
  int64_t n = 0;
  while (n < limit && text[n]) ++n;
  return n;
}

void CopyChars(char16_t* dst, const char16_t* src, int64_t n) {
  if (n > 0) std::memmove(dst, src, 2 * static_cast<size_t>(n));
}

}  // namespace

void String::SetText(const char16_t* text, int64_t count) {
  if (!text || count <= 0) {
    Clear();
    return;
  }
  if (PointsIntoBuffer(text)) {
    String aside(std::u16string_view(text, static_cast<size_t>(count)));
    SetText(aside.wchar(), count);
    return;
  }
  MakePrivate(false);
  if (!Grow(count, false)) return;
  CopyChars(buffer->chars, text, count);
  length = count;
  buffer->chars[length] = 0;
}

void String::AppendRaw(const char16_t* text, int64_t count) {
  if (!text || count <= 0 || length + count > kWholeString) return;
  if (PointsIntoBuffer(text)) {
    String aside(std::u16string_view(text, static_cast<size_t>(count)));
    AppendRaw(aside.wchar(), count);
    return;
  }
  MakePrivate(true);
  if (!Grow(length + count, true)) return;
  CopyChars(buffer->chars + length, text, count);
  length += count;
  buffer->chars[length] = 0;
}

void String::Assign(const char16_t* text) {
  if (!text || !*text) {
    Clear();
    return;
  }
  SetText(text, ScanLength(text));
}

void String::Assign(const char16_t* text, int64_t start, int64_t count) {
  if (!text || text == kEmptyWide || count < 1 || start < 0) {
    Clear();
    return;
  }
  int64_t limit = start > kWholeString - count ? kWholeString : start + count;
  int64_t n = ScanLength(text, limit);
  if (start >= n) {
    Clear();
    return;
  }
  SetText(text + start, n - start < count ? n - start : count);
}

void String::Clear() {
  MakePrivate(false);
  if (buffer) buffer->chars[0] = 0;
  length = 0;
}

void String::Fill(char16_t ch, int64_t count) {
  if (ch == 0 || count <= 0 || count > kWholeString) {
    Clear();
    return;
  }
  MakePrivate(false);
  if (!Grow(count, false)) return;
  for (int64_t i = 0; i < count; ++i) buffer->chars[i] = ch;
  length = count;
  buffer->chars[length] = 0;
}

void String::Append(const char16_t* text) {
  if (text && *text) AppendRaw(text, ScanLength(text));
}

void String::Append(const char16_t* text, int64_t count) {
  if (text && count > 0) AppendRaw(text, ScanLength(text, count));
}

void String::Append(const String& text) { AppendRaw(text.wchar(), text.length); }

void String::Append(const String& text, char16_t separator) {
  if (length) Append(separator);
  Append(text);
}

void String::Append(const String& text, const String& separator) {
  if (length) Append(separator);
  Append(text);
}

String String::Left(int64_t count) const { return Mid(0, count); }

String String::Right(int64_t count) const {
  if (count >= length) return *this;
  return Mid(length - (count < 0 ? 0 : count), count);
}

String String::Mid(int64_t start, int64_t count) const {
  if (start < 0) start = 0;
  if (start >= length || count <= 0) return String();
  if (count > length - start) count = length - start;
  if (start == 0 && count == length) return *this;   // covers the whole: share
  String part;
  part.codePage = codePage;
  part.SetText(wchar() + start, count);
  return part;
}

void String::TrimLeft() {
  int64_t k = 0;
  while (k < length && buffer->chars[k] == u' ') ++k;
  if (k == 0) return;
  MakePrivate(true);
  CopyChars(buffer->chars, buffer->chars + k, length - k + 1);
  length -= k;
}

void String::TrimRight(char16_t ch) {
  int64_t n = length;
  while (ch && n > 0 && buffer->chars[n - 1] == ch) --n;
  if (n == length) return;
  MakePrivate(true);
  length = n;
  buffer->chars[length] = 0;
}

void String::Insert(int64_t position, const char16_t* text) {
  if (position < 0 || position > length || !text || !*text) return;
  int64_t n = ScanLength(text);
  if (length + n > kWholeString) return;
  if (PointsIntoBuffer(text)) {
    String aside(text);
    Insert(position, aside.wchar());
    return;
  }
  MakePrivate(true);
  if (!Grow(length + n, true)) return;
  char16_t* c = buffer->chars;
  CopyChars(c + position + n, c + position, length - position + 1);
  CopyChars(c + position, text, n);
  length += n;
}

void String::Delete(int64_t position, int64_t count) {
  if (position < 0 || position >= length || count <= 0) return;
  if (count > length - position) count = length - position;
  MakePrivate(true);
  char16_t* c = buffer->chars;
  CopyChars(c + position, c + position + count, length - position - count + 1);
  length -= count;
}

void String::Replace(int64_t position, int64_t count, const char16_t* text) {
  if (position < 0 || position > length) return;
  if (count < 0) count = 0;
  if (count > length - position) count = length - position;
  if (!text) text = kEmptyWide;
  if (PointsIntoBuffer(text)) {
    String aside(text);
    Replace(position, count, aside.wchar());
    return;
  }
  int64_t n = ScanLength(text);
  if (n <= count) {
    MakePrivate(true);
    if (buffer) CopyChars(buffer->chars + position, text, n);
    Delete(position + n, count - n);
  } else {
    Delete(position, count);
    Insert(position, text);
  }
}

int64_t String::ReplaceChar(char16_t oldCh, char16_t newCh) {
  if (oldCh == 0 || oldCh == newCh) return 0;
  int64_t found = 0;
  for (int64_t i = 0; i < length; ++i) found += buffer->chars[i] == oldCh;
  if (found == 0) return 0;
  MakePrivate(true);
  char16_t* c = buffer->chars;
  if (newCh) {
    for (int64_t i = 0; i < length; ++i)
      if (c[i] == oldCh) c[i] = newCh;
  } else {
    int64_t w = 0;
    for (int64_t i = 0; i < length; ++i)
      if (c[i] != oldCh) c[w++] = c[i];
    length = w;
    c[length] = 0;
  }
  return found;
}

int64_t String::ReplaceAll(const char16_t* find, const char16_t* replace) {
  if (!find || !*find || !length) return 0;
  if (!replace) replace = kEmptyWide;
  if (PointsIntoBuffer(find) || PointsIntoBuffer(replace)) {
    String f(find), r(replace);
    return ReplaceAll(f.wchar(), r.wchar());
  }
  const int64_t fl = ScanLength(find), rl = ScanLength(replace);
  const std::u16string_view needle(find, static_cast<size_t>(fl));
  int64_t pos = FindSubstring(View(), needle, 0);
  if (pos < 0) return 0;
  MakePrivate(true);
  char16_t* c = buffer->chars;
  const std::u16string_view text(c, static_cast<size_t>(length));   // searched ahead of writes
  int64_t done = 0;
  if (rl == fl) {   // overwrite in place
    for (; pos >= 0 && done < kWholeString; ++done) {
      CopyChars(c + pos, replace, rl);
      pos = FindSubstring(text, needle, pos + rl);
    }
  } else if (rl < fl) {   // compact in one pass
    int64_t r = 0, w = 0;
    for (; pos >= 0 && done < kWholeString; ++done) {
      CopyChars(c + w, c + r, pos - r);
      w += pos - r;
      CopyChars(c + w, replace, rl);
      w += rl;
      r = pos + fl;
      pos = FindSubstring(text, needle, r);
    }
    CopyChars(c + w, c + r, length - r);
    length = w + length - r;
    c[length] = 0;
  } else {   // longer: rebuild once instead of moving the tail per match
    std::u16string out;
    int64_t r = 0;
    for (; pos >= 0 && done < kWholeString; ++done) {
      if (static_cast<int64_t>(out.size()) + (pos - r) + rl + (length - pos - fl) > kWholeString) break;
      out.append(c + r, static_cast<size_t>(pos - r)).append(replace, static_cast<size_t>(rl));
      r = pos + fl;
      pos = FindSubstring(text, needle, r);
    }
    out.append(c + r, static_cast<size_t>(length - r));
    SetText(out.data(), static_cast<int64_t>(out.size()));
  }
  return done;
}

String String::Quote() const {
  String q;
  q.codePage = codePage;
  if (!q.Grow(length + 2, false)) return q;
  char16_t* c = q.buffer->chars;
  c[0] = u'"';
  CopyChars(c + 1, wchar(), length);
  c[length + 1] = u'"';
  q.length = length + 2;
  c[q.length] = 0;
  return q;
}

}  // namespace zx
