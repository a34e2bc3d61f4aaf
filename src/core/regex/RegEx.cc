#include "core/regex/RegEx.h"

#include <pcre2.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "core/diag/Diag.h"
#include "core/regex/RegExTemplate.h"

namespace zx {

namespace {

// The option bits of the original interface and their counterparts. Bits
// without a counterpart are ignored.
struct OptionBit {
  uint32_t ours;
  uint32_t engine;
};
constexpr OptionBit kCompileBits[] = {
    {kRegExCaseless, PCRE2_CASELESS},       {kRegExMultiline, PCRE2_MULTILINE},
    {kRegExDotAll, PCRE2_DOTALL},           {kRegExExtended, PCRE2_EXTENDED},
    {kRegExAnchored, PCRE2_ANCHORED},       {kRegExDollarEndOnly, PCRE2_DOLLAR_ENDONLY},
    {kRegExUngreedy, PCRE2_UNGREEDY},       {kRegExUtf, PCRE2_UTF | PCRE2_MATCH_INVALID_UTF},
    {kRegExNoAutoCapture, PCRE2_NO_AUTO_CAPTURE},
};
// Of the bits in kRegExMatchMask, these are valid at match time;
// kRegExDollarEndOnly acts through the compiled code.
constexpr OptionBit kMatchBits[] = {
    {kRegExAnchored, PCRE2_ANCHORED},
    {kRegExNotBol, PCRE2_NOTBOL},
    {kRegExNotEol, PCRE2_NOTEOL},
    {kRegExNotEmpty, PCRE2_NOTEMPTY},
};

template <size_t N>
uint32_t MapOptions(uint32_t ours, const OptionBit (&table)[N]) {
  uint32_t engine = 0;
  for (const OptionBit& b : table)
    if (ours & b.ours) engine |= b.engine;
  return engine;
}

String EngineMessage(int code) {
  PCRE2_UCHAR16 text[256];
  const int n = pcre2_get_error_message(code, text, 256);
  if (n < 0) return String();
  return String(std::u16string_view(reinterpret_cast<const char16_t*>(text), static_cast<size_t>(n)));
}

// The result text of Substitute, grown by doubling (String's own growth is
// exact, which would make many small appends quadratic).
class Output {
 public:
  // Nothing is allocated before the first text, so a subject without a match
  // costs no copy.
  explicit Output(int64_t expected) : expected(expected) {}
  void Add(const char16_t* text, int64_t count) {
    if (count <= 0) return;
    if (length + count > capacity && !Grow(capacity ? length + count : std::max(expected, count))) return;
    if (count <= 8) {   // most pieces between matches and of templates are short
      for (int64_t i = 0; i < count; ++i) chars[length + i] = text[i];
    } else {
      std::memcpy(chars + length, text, 2 * static_cast<size_t>(count));
    }
    length += count;
  }
  String Take() {
    result.SetLength(length);
    return std::move(result);
  }

 private:
  bool Grow(int64_t needed) {
    int64_t want = capacity * 2;
    if (want < needed) want = needed;
    if (want < 16) want = 16;
    result.SetLength(length);
    char16_t* fresh = result.Reserve(want);
    if (!fresh) return false;
    chars = fresh;
    capacity = want;
    return true;
  }
  String result;
  int64_t expected;
  char16_t* chars = nullptr;
  int64_t length = 0;
  int64_t capacity = 0;
};

}  // namespace

clsRegEx::clsRegEx(const String& pattern, uint32_t options) : pattern(pattern), options(options) {}

clsRegEx::~clsRegEx() {
  Release();
  pcre2_match_context_free(limits);
}

void clsRegEx::Release() {
  pcre2_match_data_free(vector);
  vector = nullptr;
  pcre2_code_free(compiled);
  compiled = nullptr;
  study = nullptr;
  vectorSize = 0;
  jitReady = false;
  crlfIsNewline = false;
}

bool clsRegEx::Compile(const String& newPattern, uint32_t newOptions) {
  Release();
  errorText.Clear();
  if (&newPattern != &pattern) pattern = newPattern;
  options = newOptions;
  int code = 0;
  PCRE2_SIZE at = 0;
  compiled = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.wchar()), static_cast<PCRE2_SIZE>(pattern.Length()),
                           MapOptions(options, kCompileBits), &code, &at, nullptr);
  if (!compiled) {
    errorText = EngineMessage(code);
    DiagFormat(u"Error in RegEx offset %d: '%ws'", static_cast<int>(at), errorText.wchar());
    return false;
  }
  uint32_t captures = 0;
  pcre2_pattern_info(compiled, PCRE2_INFO_CAPTURECOUNT, &captures);
  vectorSize = static_cast<int32_t>((captures + 2) * 3);
  vector = pcre2_match_data_create(captures + 2, nullptr);
  if (!limits) {
    limits = pcre2_match_context_create(nullptr);
    pcre2_set_match_limit(limits, kMatchLimit);
    pcre2_set_depth_limit(limits, kDepthLimit);
  }
  if (!vector || !limits) {
    Release();
    errorText = u"out of memory";
    DiagFormat(u"Error in RegEx offset %d: '%ws'", 0, errorText.wchar());
    return false;
  }
  jitReady = pcre2_jit_compile(compiled, PCRE2_JIT_COMPLETE) == 0;
  uint32_t newline = 0;
  pcre2_pattern_info(compiled, PCRE2_INFO_NEWLINE, &newline);
  crlfIsNewline = newline == PCRE2_NEWLINE_CRLF || newline == PCRE2_NEWLINE_ANY || newline == PCRE2_NEWLINE_ANYCRLF;
  return true;
}

bool clsRegEx::EnsureCompiled() { return compiled != nullptr || Compile(pattern, options); }

int clsRegEx::Exec(const char16_t* subject, int64_t length, int64_t start, uint32_t extra) {
  const uint32_t flags = MapOptions(options & kRegExMatchMask, kMatchBits) | extra;
  const auto s = reinterpret_cast<PCRE2_SPTR>(subject);
  // The JIT entry skips the checks pcre2_match repeats on every call; it takes no
  // anchoring option that was not compiled in, so those go the general way.
  int rc = jitReady && !(flags & PCRE2_ANCHORED)
               ? pcre2_jit_match(compiled, s, static_cast<PCRE2_SIZE>(length), static_cast<PCRE2_SIZE>(start), flags,
                                 vector, limits)
               : pcre2_match(compiled, s, static_cast<PCRE2_SIZE>(length), static_cast<PCRE2_SIZE>(start), flags,
                             vector, limits);
  if (rc == PCRE2_ERROR_JIT_STACKLIMIT)  // the interpreter keeps its frames on the heap
    rc = pcre2_match(compiled, s, static_cast<PCRE2_SIZE>(length), static_cast<PCRE2_SIZE>(start),
                     flags | PCRE2_NO_JIT, vector, limits);
  if (rc > 0) {
    lastMatchError = 0;
    return rc;
  }
  if (rc == PCRE2_ERROR_NOMATCH) {
    lastMatchError = 0;
    return 0;
  }
  lastMatchError = rc == 0 ? PCRE2_ERROR_NOMEMORY : rc;
  if (rc == 0) {
    DiagLine(u"clsRegEx: error: vector too small, or something else happened");
  } else {
    DiagFormat(u"ERR: clsRegEx: match failed at offset %I64d (%d): %ws", start, rc, EngineMessage(rc).wchar());
  }
  return -1;
}

void clsRegEx::FillList(const char16_t* subject, int groups, clsRegExMatchList& list) const {
  list.clear();
  const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(vector);
  for (int g = 0; g < groups; ++g) {
    scRegExMatch m;
    if (ov[2 * g] != PCRE2_UNSET && ov[2 * g + 1] >= ov[2 * g]) {
      m.offset = static_cast<int32_t>(ov[2 * g]);
      m.text = String(std::u16string_view(subject + ov[2 * g], ov[2 * g + 1] - ov[2 * g]));
    }
    list.append(m);
  }
}

int64_t clsRegEx::AdvanceAfterEmpty(const char16_t* subject, int64_t length, int64_t at) const {
  if (at + 1 < length) {
    const char16_t c = subject[at], d = subject[at + 1];
    if (crlfIsNewline && c == u'\r' && d == u'\n') return at + 2;
    if (c >= 0xD800 && c <= 0xDBFF && d >= 0xDC00 && d <= 0xDFFF) return at + 2;
  }
  return at + 1;
}

// The global walk: after an empty match the next try is anchored at the same
// place and must not be empty; if that fails, the start moves on by one
// character. Each try starts at an offset into the whole subject, so
// look-behind and "^" see the real text before it.
template <class OnMatch>
bool clsRegEx::ForEachMatch(const char16_t* subject, int64_t length, OnMatch&& onMatch) {
  int64_t start = 0;
  uint32_t extra = 0;
  while (start <= length) {
    const int rc = Exec(subject, length, start, extra);
    if (rc < 0) return false;
    if (rc == 0) {
      if (extra == 0) return true;
      start = AdvanceAfterEmpty(subject, length, start);
      extra = 0;
      continue;
    }
    const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(vector);
    const int64_t from = static_cast<int64_t>(ov[0]), to = static_cast<int64_t>(ov[1]);
    if (to < from || from < start) return true;  // a \K oddity: no sane piece to cut
    if (!onMatch(from, to, rc)) return false;
    if (from == to) {
      if (to == length) return true;
      extra = PCRE2_NOTEMPTY_ATSTART | PCRE2_ANCHORED;
    } else {
      extra = 0;
    }
    start = to;
  }
  return true;
}

bool clsRegEx::Match(const String& subject, clsRegExMatchList* list) {
  if (!EnsureCompiled()) return false;
  if (subject.Length() > INT32_MAX) {
    DiagFormat(u"ERR: clsRegEx: subject too long (%I64d characters)", subject.Length());
    return false;
  }
  const int rc = Exec(subject.wchar(), subject.Length(), 0, 0);
  if (rc <= 0) return false;
  if (list) FillList(subject.wchar(), rc, *list);
  return true;
}

bool clsRegEx::Match(const char16_t* subject, clsRegExMatchList* list) {
  if (!subject) return false;
  return Match(String(subject), list);
}

String clsRegEx::Substitute(const String& subject, const String& replacementTemplate) {
  if (subject.IsEmpty()) return String();
  if (!EnsureCompiled() || subject.Length() > INT32_MAX) return subject;
  const std::vector<RegExTemplatePart> parts = ParseRegExTemplate(replacementTemplate.View());
  const char16_t* s = subject.wchar();
  const char16_t* t = replacementTemplate.wchar();
  Output out(subject.Length() + subject.Length() / 8);
  int64_t copied = 0;
  bool matched = false;
  const bool ok = ForEachMatch(s, subject.Length(), [&](int64_t from, int64_t to, int groups) {
    matched = true;
    out.Add(s + copied, from - copied);
    const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(vector);
    for (const RegExTemplatePart& p : parts) {
      if (p.group < 0) {
        out.Add(t + p.start, p.length);
      } else if (p.group >= groups) {
        DiagFormat(u"ERR: clsRegEx: Match(%d) not found (index too large, found only %d entries)", p.group, groups);
      } else if (ov[2 * p.group] != PCRE2_UNSET && ov[2 * p.group + 1] > ov[2 * p.group]) {
        out.Add(s + ov[2 * p.group], static_cast<int64_t>(ov[2 * p.group + 1] - ov[2 * p.group]));
      }
    }
    copied = to;
    return true;
  });
  if (!ok || !matched) return subject;  // unchanged: share the text
  out.Add(s + copied, subject.Length() - copied);
  return out.Take();
}

String clsRegEx::Substitute(const String& subject, IclsRegExGSubCB& callback) {
  return Substitute(subject, [&callback](const clsRegExMatchList& list, String& r) { return callback.Replace(list, r); });
}

String clsRegEx::Substitute(const String& subject, const RegExReplaceFn& callback) {
  if (subject.IsEmpty()) return String();
  if (!EnsureCompiled() || !callback || subject.Length() > INT32_MAX) return subject;
  const char16_t* s = subject.wchar();
  Output out(subject.Length());
  clsRegExMatchList list;
  int64_t copied = 0;
  bool stopped = false;
  const bool ok = ForEachMatch(s, subject.Length(), [&](int64_t from, int64_t to, int groups) {
    FillList(s, groups, list);
    String r;
    if (!callback(list, r)) {
      stopped = true;
      return false;
    }
    out.Add(s + copied, from - copied);
    out.Add(r.wchar(), r.Length());
    copied = to;
    return true;
  });
  if (!ok && !stopped) return subject;
  out.Add(s + copied, subject.Length() - copied);
  return out.Take();
}

WCValSList<String> clsRegEx::Split(const String& subject) {
  WCValSList<String> pieces;
  if (subject.IsEmpty()) return pieces;
  if (!EnsureCompiled() || subject.Length() > INT32_MAX) {
    pieces.append(subject);
    return pieces;
  }
  const char16_t* s = subject.wchar();
  int64_t copied = 0;
  const bool ok = ForEachMatch(s, subject.Length(), [&](int64_t from, int64_t to, int) {
    pieces.append(String(std::u16string_view(s + copied, static_cast<size_t>(from - copied))));
    copied = to;
    return true;
  });
  if (!ok) {
    pieces.clear();
    pieces.append(subject);
    return pieces;
  }
  pieces.append(copied == 0 ? subject : String(std::u16string_view(s + copied, static_cast<size_t>(subject.Length() - copied))));
  return pieces;
}

String clsRegEx::Escape(const String& text) {
  static constexpr std::u16string_view kSpecial = u".|()[^{+$*?\\";
  String result;
  char16_t* out = result.Reserve(2 * text.Length());
  if (!out) return result;
  int64_t n = 0;
  for (const char16_t c : text.View()) {
    if (kSpecial.find(c) != std::u16string_view::npos) out[n++] = u'\\';
    out[n++] = c;
  }
  result.SetLength(n);
  return result;
}

}  // namespace zx
