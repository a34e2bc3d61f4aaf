// Fuzz target for String: edit operations against a std::u16string model (each
// model step linear, the text kept near 64K units so that no input runs long), the
// message-insert expansion, and Format's estimate walk (formats made safe for the
// argument list the target passes: wide-string pointers only, no '*', no %Z,
// widths of at most three digits).
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/format/MessageInserts.h"
#include "core/strings/String.h"

namespace {

const char16_t kArg[] = u"arg";

void Check(bool ok) {
  if (!ok) std::abort();
}

class Input {
 public:
  Input(const uint8_t* d, size_t n) : d_(d), n_(n) {}
  bool More() const { return i_ < n_; }
  uint8_t Byte() { return i_ < n_ ? d_[i_++] : 0; }
  // A count: small, or one of the special values.
  int64_t Count() {
    uint8_t b = Byte();
    switch (b % 8) {
      case 0: return zx::kWholeString;
      case 1: return -1;
      case 2: return 0;
      default: return b / 8;
    }
  }
  std::u16string Text() {
    static const char16_t kAlphabet[] = u"ab c\u00DF\u20AC";
    std::u16string t;
    for (int n = Byte() % 6; n > 0; --n) t += kAlphabet[Byte() % 6];
    return t;
  }

 private:
  const uint8_t* d_;
  size_t n_;
  size_t i_ = 0;
};

int64_t Clip(int64_t v, int64_t lo, int64_t hi) { return v < lo ? lo : v > hi ? hi : v; }

// The model's ReplaceAll in one pass: non-overlapping matches from the left.
int64_t ReplaceAllModel(std::u16string& m, const std::u16string& f, const std::u16string& r) {
  if (f.empty()) return 0;
  std::u16string out;
  int64_t n = 0;
  size_t from = 0;
  for (size_t at = m.find(f); at != std::u16string::npos; at = m.find(f, from), ++n) {
    out.append(m, from, at - from);
    out += r;
    from = at + f.size();
  }
  if (n == 0) return 0;
  out.append(m, from, std::u16string::npos);
  m.swap(out);
  return n;
}

// Past this length the operations that can grow the text are skipped.
constexpr size_t kMaxUnits = 65536;

void EditOps(Input& in) {
  zx::String s;
  std::u16string m;
  while (in.More()) {
    const int64_t len = static_cast<int64_t>(m.size());
    const uint8_t op = in.Byte() % 14;
    // Growing steps (appends, inserts, replacements, the copy's 'x') stop at the cap.
    if (m.size() >= kMaxUnits && (op <= 3 || op == 5 || op == 6 || op == 10)) continue;
    switch (op) {
      case 0: {
        char16_t c = in.Text().c_str()[0];
        s.Append(c);
        if (c) m += c;
        break;
      }
      case 1: {
        std::u16string t = in.Text();
        s.Append(t.c_str());
        m += t;
        break;
      }
      case 2: {   // assign range
        std::u16string t = in.Text();
        int64_t start = in.Count(), count = in.Count();
        s.Assign(t.c_str(), start, count);
        const auto tl = static_cast<int64_t>(t.size());
        if (t.empty() || count < 1 || start < 0 || start >= tl) m.clear();
        else m = t.substr(static_cast<size_t>(start), static_cast<size_t>(std::min(count, tl - start)));
        break;
      }
      case 3: {
        int64_t pos = in.Count();
        std::u16string t = in.Text();
        s.Insert(pos, t.c_str());
        if (pos >= 0 && pos <= len) m.insert(static_cast<size_t>(pos), t);
        break;
      }
      case 4: {
        int64_t pos = in.Count(), count = in.Count();
        s.Delete(pos, count);
        if (pos >= 0 && pos < len && count > 0) m.erase(static_cast<size_t>(pos), static_cast<size_t>(std::min(count, len - pos)));
        break;
      }
      case 5: {
        int64_t pos = in.Count(), count = in.Count();
        std::u16string t = in.Text();
        s.Replace(pos, count, t.c_str());
        if (pos >= 0 && pos <= len) m.replace(static_cast<size_t>(pos), static_cast<size_t>(Clip(count, 0, len - pos)), t);
        break;
      }
      case 6: {
        std::u16string f = in.Text(), r = in.Text();
        int64_t n = s.ReplaceAll(f.c_str(), r.c_str());
        Check(n == ReplaceAllModel(m, f, r));
        break;
      }
      case 7: {
        char16_t a = in.Text().c_str()[0], b = in.Text().c_str()[0];
        int64_t n = s.ReplaceChar(a, b), expect = 0;
        if (a && a != b) {
          std::u16string out;
          for (char16_t c : m) {
            if (c == a) {
              ++expect;
              if (b) out += b;
            } else {
              out += c;
            }
          }
          m = out;
        }
        Check(n == expect);
        break;
      }
      case 8:
        s.TrimLeft();
        m.erase(0, m.find_first_not_of(u' ') == std::u16string::npos ? m.size() : m.find_first_not_of(u' '));
        break;
      case 9: {
        char16_t c = in.Text().c_str()[0];
        s.TrimRight(c);
        while (c && !m.empty() && m.back() == c) m.pop_back();
        break;
      }
      case 10: {   // a copy keeps its text while the original changes
        zx::String copy(s);
        s.Append(u"x");
        m += u'x';
        Check(copy.Length() + 1 == s.Length());
        Check(copy.View() == std::u16string_view(m).substr(0, m.size() - 1));
        break;
      }
      case 11: {
        int64_t start = in.Count(), count = in.Count();
        zx::String mid = s.Mid(start, count);
        int64_t st = Clip(start, 0, len);
        std::u16string expect = count <= 0 ? u"" : m.substr(static_cast<size_t>(st), static_cast<size_t>(Clip(count, 0, len - st)));
        Check(mid.View() == expect);
        break;
      }
      case 12: {
        int64_t i = in.Count();
        s[i] = u'#';   // inside: a change; outside: the cell
        if (i >= 0 && i < len) m[static_cast<size_t>(i)] = u'#';
        zx::String::ResetOutOfRangeCellForTests();
        break;
      }
      case 13:
        s.Clear();
        m.clear();
        break;
    }
    Check(s.View() == m);
    Check(s.wchar()[s.Length()] == 0);
    Check(s.Capacity() == 0 || (s.Capacity() % 8 == 0 && s.Capacity() > s.Length()));
  }
}

// Makes fuzzed text safe for an argument list of wide-string pointers.
std::u16string SafeFormat(Input& in, bool insideBangsOnly) {
  std::u16string f;
  int digits = 0;
  bool inBangs = false;
  while (in.More() && f.size() < 200) {
    char16_t c = in.Byte();
    if (c == u'!') inBangs = !inBangs;
    const bool guard = !insideBangsOnly || inBangs;
    if (c >= u'0' && c <= u'9') {
      if (++digits > 3) c = u'x';
    } else {
      digits = 0;
    }
    if (guard && (c == u'*' || c == u'Z' || c == u'n' || c == u'e' || c == u'E' || c == u'f' ||
                  c == u'F' || c == u'g' || c == u'G' || c == u'a' || c == u'A'))
      c = u's';
    f += c ? c : u' ';
  }
  return f;
}

#define ARGS10 kArg, kArg, kArg, kArg, kArg, kArg, kArg, kArg, kArg, kArg

// The last named parameter is a pointer: va_start on a reference is undefined.
bool Expand(const std::u16string& text, std::u16string* out, ...) {
  va_list ap;
  va_start(ap, out);
  bool ok = zx::ExpandMessageInserts(text.c_str(), &ap, *out);
  va_end(ap);
  return ok;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in(data, size);
  switch (in.Byte() % 3) {
    case 0:
      EditOps(in);
      break;
    case 1: {
      std::u16string text = SafeFormat(in, true), out;
      Expand(text, &out, ARGS10, ARGS10, ARGS10, ARGS10, ARGS10, ARGS10, ARGS10, ARGS10, ARGS10, ARGS10);
      break;
    }
    case 2: {
      std::u16string format = SafeFormat(in, false);
      size_t conversions = 0;
      for (char16_t c : format) conversions += c == u'%';
      if (conversions > 16) break;
      zx::String s;
      s.Format(format.c_str(), ARGS10, ARGS10, ARGS10, ARGS10);
      Check(s.wchar()[s.Length()] == 0);
      break;
    }
  }
  return 0;
}
