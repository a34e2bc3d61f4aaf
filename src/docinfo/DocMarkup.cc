#include "docinfo/DocMarkup.h"

#include <string>

#include "core/regex/RegEx.h"
#include "platform/time_zone.h"
#include "text/Date.h"
#include "text/HtmlConvert.h"

namespace zx {

int ReadPropertyBlock(clsDocu& doc, const String& block) {
  clsRegEx element(String(u"<o:(.*)>(.*)</o:\\1>"),
                   kRegExCaseless | kRegExMultiline | kRegExDotAll | kRegExUngreedy);
  String rest = block;
  clsRegExMatchList m;
  // Each pass removes a match of at least nine characters, so this ends.
  while (element.Match(rest, &m) && m.entries() >= 3) {
    const String& name = m.find(1).text;
    const String& value = m.find(2).text;
    if (name == String(u"Subject")) doc.subject = value;
    else if (name == String(u"Author")) doc.author = value;
    else if (name == String(u"LastAuthor")) doc.lastAuthor = value;
    else if (name == String(u"Keywords")) doc.keywords = value;
    else if (name == String(u"Description")) doc.comments = value;
    else if (name == String(u"Created")) ParseIso8601Date(value, &doc.created);
    else if (name == String(u"LastSaved")) ParseIso8601Date(value, &doc.lastSaved);
    const scRegExMatch& whole = m.find(0);
    rest.Delete(whole.offset, whole.text.Length());
  }
  return 0;
}

namespace {

// A cursor over the date text: each field may have one separator before it.
class clsIsoCursor {
 public:
  explicit clsIsoCursor(std::u16string_view text) : m_text(text) {}
  bool AtEnd() const { return m_at >= m_text.size(); }
  char16_t Peek() const { return AtEnd() ? 0 : m_text[m_at]; }
  // `count` digits, after one optional character of `separators`. On failure
  // the cursor stays where it was.
  bool Field(size_t count, std::u16string_view separators, int* value) {
    size_t at = m_at;
    if (at < m_text.size() && separators.find(m_text[at]) != std::u16string_view::npos) ++at;
    int v = 0;
    for (size_t i = 0; i < count; ++i, ++at) {
      if (at >= m_text.size() || m_text[at] < u'0' || m_text[at] > u'9') return false;
      v = v * 10 + (m_text[at] - u'0');
    }
    m_at = at;
    *value = v;
    return true;
  }
  // A fraction of any length after one separator; in milliseconds.
  bool Fraction(std::u16string_view separators, int* ms) {
    size_t at = m_at;
    if (at >= m_text.size() || separators.find(m_text[at]) == std::u16string_view::npos) return false;
    ++at;
    int v = 0, scale = 100;
    const size_t first = at;
    for (; at < m_text.size() && m_text[at] >= u'0' && m_text[at] <= u'9'; ++at) {
      v += (m_text[at] - u'0') * scale;
      scale /= 10;
    }
    if (at == first) return false;
    m_at = at;
    *ms = v;
    return true;
  }
  void Skip() { ++m_at; }

 private:
  std::u16string_view m_text;
  size_t m_at = 0;
};

constexpr std::u16string_view kDateSeparators = u"-\u2010";
constexpr std::u16string_view kZoneSigns = u"+-\u2010\u2212";

}  // namespace

bool ParseIso8601Date(const String& text, plat::SystemTime* utc) {
  clsIsoCursor c(text.View());
  int year = 0, month = 0, day = 0;
  if (!c.Field(4, kDateSeparators, &year) || !c.Field(2, kDateSeparators, &month) ||
      !c.Field(2, kDateSeparators, &day))
    return false;
  const clsDate date(year, month, day);
  if (!date.IsValid()) return false;
  plat::SystemTime t{static_cast<uint16_t>(year), static_cast<uint16_t>(month),
                     static_cast<uint16_t>(date.DayOfWeek()), static_cast<uint16_t>(day), 0, 0, 0, 0};
  bool nextDay = false;
  if (c.Peek() == u'T') {
    int hour = 0, minute = 0, second = 0, ms = 0;
    if (c.Field(2, u"T", &hour) && hour <= 24) {
      // Later fields that do not parse are left at 0.
      if (!c.AtEnd() && c.Field(2, u":", &minute) && !c.AtEnd() && c.Field(2, u":", &second) && !c.AtEnd())
        c.Fraction(u".,", &ms);
      if (minute > 59 || second > 59) minute = second = ms = 0;
      nextDay = hour == 24;
      t.hour = static_cast<uint16_t>(nextDay ? 0 : hour);
      t.minute = static_cast<uint16_t>(minute);
      t.second = static_cast<uint16_t>(second);
      t.milliseconds = static_cast<uint16_t>(ms);
    }
  }
  if (nextDay) AddMinutesToTime(t, 24 * 60);
  const char16_t sign = c.Peek();
  if (sign != 0 && kZoneSigns.find(sign) != std::u16string_view::npos) {
    int hours = 0, minutes = 0;
    if (!c.Field(2, kZoneSigns, &hours)) return false;
    if (!c.AtEnd()) c.Field(2, u":", &minutes);
    // The offset is local minus UTC: "+" goes back to UTC, the others forward.
    const int64_t offset = hours * 60 + minutes;
    AddMinutesToTime(t, sign == u'+' ? -offset : offset);
    *utc = t;
    return true;
  }
  plat::SystemTime converted;
  if (!plat::LocalTimeToUtc(&t, &converted)) return false;
  *utc = converted;
  return true;
}

int HexDigitValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

namespace {

// The reference "&#...;" at s[at]: its length and value, or 0 when none.
size_t NumericReference(std::u16string_view s, size_t at, uint32_t* value) {
  if (at + 3 >= s.size() || s[at] != u'&' || s[at + 1] != u'#') return 0;
  size_t i = at + 2;
  uint32_t v = 0;
  if (s[i] == u'x') {
    size_t digits = 0;
    for (++i; i < s.size() && digits < 4 && HexDigitValue(s[i]) >= 0; ++i, ++digits) v = v * 16 + HexDigitValue(s[i]);
    if (digits < 2) return 0;
  } else {
    const size_t first = i;
    for (; i < s.size() && s[i] >= u'0' && s[i] <= u'9'; ++i) v = v > 0xFFFFFF ? v : v * 10 + (s[i] - u'0');
    if (i == first) return 0;
  }
  if (i >= s.size() || s[i] != u';') return 0;
  *value = v;
  return i + 1 - at;
}

// Where a new reference could begin that ends at or after `at`: the "&" of the
// run of reference characters just before it, looked for at most 16 characters
// back so that a run of digits is not walked again and again.
size_t RescanFrom(const std::u16string& out, size_t at) {
  size_t i = at;
  while (i > 0 && at - i < 16) {
    const char16_t c = out[i - 1];
    if (c == u'&') return i - 1;
    if (c != u'#' && c != u'x' && HexDigitValue(c) < 0) break;
    --i;
  }
  return at;
}

}  // namespace

String UnescapeHtmlNumeric(const String& text) {
  const std::u16string_view in = text.View();
  if (in.find(u"&#") == std::u16string_view::npos) return text;
  // The text is rewritten in place in `out`; after a replacement the scan goes
  // back to the start of a reference the new character may complete, so the
  // result is what repeated leftmost replacement gives, in linear passes.
  std::u16string out(in);
  size_t at = 0;
  while (at < out.size()) {
    uint32_t value = 0;
    const size_t length = out[at] == u'&' ? NumericReference(out, at, &value) : 0;
    const char16_t ch = static_cast<char16_t>(value);
    if (length == 0 || ch == 0) {
      ++at;
      continue;
    }
    out.replace(at, length, 1, ch);
    at = RescanFrom(out, at + 1);
  }
  return String(out.c_str());
}

String UnescapeHtml(const String& text) {
  String s = text;
  if (s.View().find(u'&') != std::u16string_view::npos)
    for (int i = 0; i < 96; ++i) {
      const char16_t ch[2] = {kHtmlEntities[i].code, 0};
      s.ReplaceAll(kHtmlEntities[i].name, ch);
    }
  s.ReplaceAll(u"\r", u"");
  s.ReplaceAll(u"\n", u"");
  return UnescapeHtmlNumeric(s);
}

}  // namespace zx
