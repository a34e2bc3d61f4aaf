// The scanner: swscanf of the Windows C runtime. Input is read one character at
// a time with at most one character of look-back, as the runtime's stream model
// does; a field that fails after consuming characters stays consumed, and a
// number that stops inside its prefix ("0x", "-") fails.
//
// Integers are read into 64 bits and cut to the target size: "%d" of 3000000000
// gives -1294967296. Past 64 bits a signed field saturates at INT64_MIN/INT64_MAX
// and an unsigned one at UINT64_MAX before the cut. Floating-point fields are
// correctly rounded (the first 768 significant digits count); "%f" stores a
// float, "%lf" and "%Lf" a double. Digits include the Unicode decimal digit
// blocks the runtime accepts (Arabic-Indic, Devanagari, fullwidth, ...).
#include <bitset>
#include <charconv>
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include "core/format/Format.h"
#include "core/format/FormatNarrow.h"

namespace zx {
namespace {

constexpr int kEof = -1;

// The runtime's iswspace: the white space of the Unicode tables.
bool IsSpace(int c) {
  if (c < 0) return false;
  if (c <= 0xFF) return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0;
  return c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 ||
         c == 0x202F || c == 0x205F || c == 0x3000;
}

// Value of a digit or letter (0-9, then A=10 ... Z=35); -1 for anything else.
int DigitValue(char16_t c) {
  static constexpr char16_t kZeros[] = {0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6,
                                        0x0B66, 0x0C66, 0x0CE6, 0x0D66, 0x0E50, 0x0ED0,
                                        0x0F20, 0x1040, 0x17E0, 0x1810, 0xFF10};
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'z') return c - u'a' + 10;
  if (c >= u'A' && c <= u'Z') return c - u'A' + 10;
  if (c < 0x0660) return -1;
  for (char16_t zero : kZeros)
    if (c >= zero && c < zero + 10) return c - zero;
  return -1;
}

// The text being read.
class Input {
 public:
  explicit Input(const char16_t* text) : first_(text), it_(text), last_(text) {
    while (*last_) ++last_;
  }
  int Get() { return it_ == last_ ? kEof : *it_++; }
  void Unget(int c) {
    if (it_ == first_ || (it_ == last_ && c == kEof)) return;
    --it_;
  }
  size_t Read() const { return static_cast<size_t>(it_ - first_); }
  void Seek(size_t position) { it_ = first_ + position; }
  void SkipSpace() {
    int c;
    do c = Get();
    while (IsSpace(c));
    Unget(c);
  }

 private:
  const char16_t* first_;
  const char16_t* it_;
  const char16_t* last_;
};

// One field's view of the input: at most `width` characters (0: no limit), 0
// past the end. A scanned field fails when it consumed nothing, or when it must
// return to a point more than the one character that can be put back; the text
// conversion (`rewind`) can return anywhere, as a string can.
class Source {
 public:
  Source(Input& in, uint64_t width, bool& ok, bool rewind = false)
      : in_(in), max_(width), start_(in.Read()), rewind_(rewind), ok_(ok) {
    ok_ = true;
  }
  ~Source() {
    if (count_ == 0) ok_ = false;
  }
  char16_t Get() {
    ++count_;
    if (max_ != 0 && count_ > max_) return 0;
    int c = in_.Get();
    return c == kEof ? 0 : static_cast<char16_t>(c);
  }
  void Unget(char16_t c) {
    --count_;
    if (max_ != 0 && count_ > max_) return;
    if (c == 0) return;
    in_.Unget(c);
  }
  uint64_t Save() const { return count_; }
  bool Restore(uint64_t state) {
    if (state == count_) return true;
    if (rewind_) {
      in_.Seek(start_ + state);
      count_ = state;
      return true;
    }
    ok_ = false;
    return false;
  }

 private:
  Input& in_;
  uint64_t max_;
  size_t start_;
  bool rewind_;
  uint64_t count_ = 0;
  bool& ok_;
};

uint64_t ParseInteger(Source& s, unsigned base, bool isSigned) {
  const uint64_t start = s.Save();
  char16_t c = s.Get();
  while (IsSpace(c)) c = s.Get();
  const bool negative = c == u'-';
  if (c == u'-' || c == u'+') c = s.Get();
  if (base == 0 || base == 16) {
    if (DigitValue(c) != 0) {
      if (base == 0) base = 10;
    } else {
      const char16_t next = s.Get();
      if (next == u'x' || next == u'X') {
        if (base == 0) base = 16;
        c = s.Get();
      } else {
        if (base == 0) base = 8;
        s.Unget(next);
      }
    }
  }
  const uint64_t maxPreMultiply = UINT64_MAX / base;
  const uint64_t maxPreAdd = UINT64_MAX % base;
  uint64_t number = 0;
  bool readDigit = false;
  bool overflow = false;
  for (;; c = s.Get()) {
    const int d = DigitValue(c);
    if (d < 0 || static_cast<unsigned>(d) >= base) break;
    readDigit = true;
    if (number < maxPreMultiply || (number == maxPreMultiply && static_cast<unsigned>(d) <= maxPreAdd))
      number = number * base + static_cast<unsigned>(d);
    else
      overflow = true;
  }
  s.Unget(c);
  if (!readDigit) {
    s.Restore(start);
    return 0;
  }
  if (isSigned) {
    if (negative && (overflow || number > uint64_t{1} << 63)) return uint64_t{1} << 63;
    if (!negative && (overflow || number > uint64_t{INT64_MAX})) return uint64_t{INT64_MAX};
  } else if (overflow) {
    return UINT64_MAX;
  }
  return negative ? uint64_t{0} - number : number;
}

// ---- floating point
enum class FloatKind { kDecimal, kHex, kZero, kInfinity, kQuietNan, kSignalingNan, kIndeterminate,
                       kNoDigits, kUnderflow, kOverflow };

struct FloatString {
  static constexpr int kMaxDigits = 768;
  int exponent = 0;   // value = 0.digits * base^exponent (2 for hex, in bits)
  int count = 0;
  char digits[kMaxDigits];
  bool negative = false;
};

bool Match(const char* lower, char16_t& c, Source& s) {
  for (; *lower; ++lower) {
    const char upper = *lower >= 'a' && *lower <= 'z' ? static_cast<char>(*lower - 32) : *lower;
    if (c != static_cast<char16_t>(*lower) && c != static_cast<char16_t>(upper)) return false;
    c = s.Get();
  }
  return true;
}

bool IsWordChar(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
}

FloatKind ParseFloat(Source& s, FloatString& fs) {
  uint64_t stored = s.Save();
  char16_t c = s.Get();
  auto restore = [&]() {
    s.Unget(c);
    c = 0;
    return s.Restore(stored);
  };
  while (IsSpace(c)) c = s.Get();
  fs.negative = c == u'-';
  if (c == u'-' || c == u'+') c = s.Get();

  if (c == u'i' || c == u'I') {
    if (!Match("inf", c, s)) return restore(), FloatKind::kNoDigits;
    s.Unget(c);
    stored = s.Save();
    c = s.Get();
    if (!Match("inity", c, s)) return restore() ? FloatKind::kInfinity : FloatKind::kNoDigits;
    s.Unget(c);
    return FloatKind::kInfinity;
  }
  if (c == u'n' || c == u'N') {
    if (!Match("nan", c, s)) return restore(), FloatKind::kNoDigits;
    s.Unget(c);
    stored = s.Save();
    c = s.Get();
    if (c != u'(') return restore() ? FloatKind::kQuietNan : FloatKind::kNoDigits;
    c = s.Get();
    if (Match("snan)", c, s)) {
      s.Unget(c);
      return FloatKind::kSignalingNan;
    }
    if (Match("ind)", c, s)) {
      s.Unget(c);
      return FloatKind::kIndeterminate;
    }
    while (c != u')' && c != 0) {
      if (!IsWordChar(c)) return restore() ? FloatKind::kQuietNan : FloatKind::kNoDigits;
      c = s.Get();
    }
    if (c != u')') return restore() ? FloatKind::kQuietNan : FloatKind::kNoDigits;
    return FloatKind::kQuietNan;
  }

  bool hex = false;
  if (c == u'0') {
    const uint64_t afterZero = s.Save();
    const char16_t next = s.Get();
    if (next == u'x' || next == u'X') {
      hex = true;
      c = s.Get();
      // "0x" without digits reads as the 0 and leaves the x.
      stored = afterZero;
    } else {
      s.Unget(next);
    }
  }
  const int maxDigit = hex ? 15 : 9;
  int adjustment = 0;
  bool found = false;
  auto keep = [&](int d) {
    if (fs.count < FloatString::kMaxDigits) fs.digits[fs.count++] = static_cast<char>(d);
  };
  while (c == u'0') {
    found = true;
    c = s.Get();
  }
  for (;; c = s.Get()) {
    const int d = DigitValue(c);
    if (d < 0 || d > maxDigit) break;
    found = true;
    keep(d);
    ++adjustment;
  }
  if (c == u'.') {
    c = s.Get();
    if (fs.count == 0) {
      while (c == u'0') {
        found = true;
        --adjustment;
        c = s.Get();
      }
    }
    for (;; c = s.Get()) {
      const int d = DigitValue(c);
      if (d < 0 || d > maxDigit) break;
      found = true;
      keep(d);
    }
  }
  if (!found) {
    if (!restore()) return FloatKind::kNoDigits;
    return hex ? FloatKind::kZero : FloatKind::kNoDigits;
  }
  s.Unget(c);
  stored = s.Save();
  c = s.Get();

  const bool hasExponent = (c == u'e' || c == u'E') ? !hex : (c == u'p' || c == u'P') ? hex : false;
  constexpr int kExponentLimit = 5200;
  int exponent = 0;
  if (hasExponent) {
    c = s.Get();
    const bool negativeExponent = c == u'-';
    if (c == u'+' || c == u'-') c = s.Get();
    bool exponentDigits = false;
    while (c == u'0') {
      exponentDigits = true;
      c = s.Get();
    }
    for (;; c = s.Get()) {
      const int d = DigitValue(c);
      if (d < 0 || d >= 10) break;
      exponentDigits = true;
      exponent = exponent * 10 + d;
      if (exponent > kExponentLimit) {
        exponent = kExponentLimit + 1;
        break;
      }
    }
    while (DigitValue(c) >= 0 && DigitValue(c) < 10) c = s.Get();
    if (negativeExponent) exponent = -exponent;
    if (!exponentDigits) {
      if (restore()) c = s.Get();
      else return FloatKind::kNoDigits;
    }
  }
  s.Unget(c);

  while (fs.count > 0 && fs.digits[fs.count - 1] == 0) --fs.count;
  if (fs.count == 0) return FloatKind::kZero;
  if (exponent > kExponentLimit) return FloatKind::kOverflow;
  if (exponent < -kExponentLimit) return FloatKind::kUnderflow;
  exponent += adjustment * (hex ? 4 : 1);
  if (exponent > kExponentLimit) return FloatKind::kOverflow;
  if (exponent < -kExponentLimit) return FloatKind::kUnderflow;
  fs.exponent = exponent;
  return hex ? FloatKind::kHex : FloatKind::kDecimal;
}

template <typename T>
struct FloatBits;
template <>
struct FloatBits<double> {
  using Int = uint64_t;
  static constexpr Int kSign = Int{1} << 63, kExp = Int{0x7FF} << 52, kQuiet = Int{1} << 51,
                       kMantissa = (Int{1} << 52) - 1;
};
template <>
struct FloatBits<float> {
  using Int = uint32_t;
  static constexpr Int kSign = Int{1} << 31, kExp = Int{0xFF} << 23, kQuiet = Int{1} << 22,
                       kMantissa = (Int{1} << 23) - 1;
};

// The value of a parsed field, as bits of T.
template <typename T>
typename FloatBits<T>::Int Assemble(FloatKind kind, const FloatString& fs) {
  using B = FloatBits<T>;
  using Int = typename B::Int;
  const Int sign = fs.negative ? B::kSign : 0;
  switch (kind) {
    case FloatKind::kZero: case FloatKind::kUnderflow: return sign;
    case FloatKind::kNoDigits: return 0;
    case FloatKind::kInfinity: case FloatKind::kOverflow: return sign | B::kExp;
    // The runtime's NaN texts: "nan" has every mantissa bit set, "nan(snan)" only
    // the lowest, "nan(ind)" the quiet bit with the sign.
    case FloatKind::kQuietNan: return sign | B::kExp | B::kMantissa;
    case FloatKind::kSignalingNan: return sign | B::kExp | 1;
    case FloatKind::kIndeterminate: return B::kSign | B::kExp | B::kQuiet;
    default: break;
  }
  // "0.ddd" times 10^e (decimal) or "0.hhh" times 2^e (hexadecimal), rounded once.
  char text[FloatString::kMaxDigits + 16];
  char* p = text;
  *p++ = '0';
  *p++ = '.';
  for (int i = 0; i < fs.count; ++i) *p++ = "0123456789abcdef"[static_cast<int>(fs.digits[i])];
  *p++ = kind == FloatKind::kHex ? 'p' : 'e';
  p = std::to_chars(p, text + sizeof text, fs.exponent).ptr;
  T value{};
  auto r = std::from_chars(text, p, value,
                           kind == FloatKind::kHex ? std::chars_format::hex : std::chars_format::general);
  Int bits;
  if (r.ec == std::errc::result_out_of_range) {
    // 0.ddd is at least 1/16, so the exponent tells overflow from underflow.
    bits = fs.exponent > 0 ? B::kExp : 0;
  } else {
    std::memcpy(&bits, &value, sizeof bits);
    bits &= ~B::kSign;
  }
  return sign | bits;
}

// ---- the format
enum class Length : unsigned char { kNone, kHH, kH, kL, kLL, kJ, kZ, kT, kLD, kI32, kI64, kTChar };
enum class Mode : unsigned char { kChar, kString, kSignedAny, kSigned, kOctal, kUnsigned, kHex,
                                  kFloat, kSet, kCount };

// Which size prefixes a conversion accepts (hh j z t I32 I64 only for integers,
// L only for c, s and floating point, T only for c, s and [).
bool LengthFits(Mode m, Length l) {
  switch (m) {
    case Mode::kChar: case Mode::kString:
      return l == Length::kNone || l == Length::kH || l == Length::kL || l == Length::kLL ||
             l == Length::kLD || l == Length::kTChar;
    case Mode::kFloat:
      return l == Length::kNone || l == Length::kL || l == Length::kLD;
    case Mode::kSet:
      return l == Length::kNone || l == Length::kL || l == Length::kTChar;
    default:
      return l != Length::kLD && l != Length::kTChar;
  }
}

int IntegerBytes(Length l) {
  switch (l) {
    case Length::kHH: return 1;
    case Length::kH: return 2;
    case Length::kLL: case Length::kJ: case Length::kZ: case Length::kT: case Length::kI64: return 8;
    default: return 4;
  }
}

struct Directive {
  bool suppress = false;
  uint64_t width = 0;
  Length length = Length::kNone;
  bool wide = false;
  Mode mode = Mode::kChar;
};

using Set = std::bitset<65536>;

// Parses a conversion after its '%'. False for a malformed one.
bool ParseDirective(const char16_t*& f, Directive& d, std::unique_ptr<Set>& set) {
  if (*f == u'*') {
    d.suppress = true;
    ++f;
  }
  if (DigitValue(*f) >= 0 && DigitValue(*f) <= 9) {
    uint64_t w = 0;
    for (int v; (v = DigitValue(*f)) >= 0 && v <= 9; ++f)
      w = w > (UINT64_MAX - 9) / 10 ? UINT64_MAX : w * 10 + static_cast<unsigned>(v);
    if (w == 0) return false;
    d.width = w;
  }
  switch (*f) {
    case u'h':
      if (f[1] == u'h') { f += 2; d.length = Length::kHH; }
      else { ++f; d.length = Length::kH; }
      break;
    case u'l':
      if (f[1] == u'l') { f += 2; d.length = Length::kLL; }
      else { ++f; d.length = Length::kL; }
      break;
    case u'I':
      if (f[1] == u'3' && f[2] == u'2') { f += 3; d.length = Length::kI32; }
      else if (f[1] == u'6' && f[2] == u'4') { f += 3; d.length = Length::kI64; }
      else if (f[1] == u'd' || f[1] == u'i' || f[1] == u'o' || f[1] == u'u' || f[1] == u'x' || f[1] == u'X') {
        ++f;
        d.length = Length::kI64;
      }
      // A lone I is the conversion %i.
      break;
    case u'L': ++f; d.length = Length::kLD; break;
    case u'j': ++f; d.length = Length::kJ; break;
    case u't': ++f; d.length = Length::kT; break;
    case u'z': ++f; d.length = Length::kZ; break;
    case u'T': ++f; d.length = Length::kTChar; break;
    default: break;
  }
  if (*f == u'w') {
    ++f;
    d.wide = true;
  } else if (*f != u'C' && *f != u'S') {
    d.wide = true;  // c, s and [ are wide in a wide function
  }
  auto charWidth = [&]() {
    if (d.length == Length::kH) d.wide = false;
    if (d.length == Length::kL || d.length == Length::kLL || d.length == Length::kLD) d.wide = true;
  };
  switch (*f++) {
    case u'c': case u'C':
      if (d.width == 0) d.width = 1;
      charWidth();
      d.mode = Mode::kChar;
      break;
    case u's': case u'S':
      charWidth();
      d.mode = Mode::kString;
      break;
    case u'i': case u'I': d.mode = Mode::kSignedAny; break;
    case u'd': d.mode = Mode::kSigned; break;
    case u'u': d.mode = Mode::kUnsigned; break;
    case u'x': case u'X': d.mode = Mode::kHex; break;
    case u'p':
      d.length = Length::kI64;
      d.mode = Mode::kHex;
      break;
    case u'o': d.mode = Mode::kOctal; break;
    case u'a': case u'A': case u'e': case u'E': case u'f': case u'F': case u'g': case u'G':
      d.mode = Mode::kFloat;
      break;
    case u'n': d.mode = Mode::kCount; break;
    case u'[': {
      charWidth();
      d.mode = Mode::kSet;
      if (!set) set.reset(new (std::nothrow) Set);
      if (!set) return false;
      set->reset();
      const bool reject = *f == u'^';
      if (reject) ++f;
      if (*f == u']') {
        ++f;
        set->set(u']');
      }
      const char16_t* first = f;
      for (; *f != u']' && *f; ++f) {
        if (*f != u'-' || f == first || f[1] == u']') {
          set->set(*f);
          continue;
        }
        unsigned lo = f[-1], hi = f[1];
        if (lo > hi) std::swap(lo, hi);
        for (unsigned c = lo; c <= hi; ++c) set->set(c);
      }
      if (!*f) return false;
      if (reject) set->flip();
      ++f;
      break;
    }
    default: return false;
  }
  return LengthFits(d.mode, d.length);
}

class Scanner {
 public:
  Scanner(const char16_t* text, va_list& ap) : in_(text), ap_(ap) {}

  int Run(const char16_t* f) {
    size_t assigned = 0;
    bool atEnd = false;
    for (;;) {
      if (!*f) {
        atEnd = true;
        break;
      }
      if (IsSpace(*f)) {
        while (IsSpace(*f)) ++f;
        in_.SkipSpace();
        continue;
      }
      if (f[0] != u'%' || f[1] == u'%') {
        const char16_t literal = f[0];
        f += f[0] != u'%' ? 1 : 2;
        const int c = in_.Get();
        if (c == kEof) break;
        if (c != literal) {
          in_.Unget(c);
          break;
        }
        continue;
      }
      ++f;
      Directive d;
      if (!ParseDirective(f, d, set_)) break;
      if (!Convert(d)) break;
      if (d.mode != Mode::kCount && !d.suppress) ++assigned;
    }
    int result = static_cast<int>(assigned);
    if (assigned == 0 && !atEnd) {
      const int c = in_.Get();
      if (c == kEof) result = kEof;
      in_.Unget(c);
    }
    return result;
  }

 private:
  bool Convert(const Directive& d) {
    switch (d.mode) {
      case Mode::kChar: case Mode::kString: case Mode::kSet: return ConvertText(d);
      case Mode::kSignedAny: return ConvertInteger(d, 0, true);
      case Mode::kSigned: return ConvertInteger(d, 10, true);
      case Mode::kOctal: return ConvertInteger(d, 8, false);
      case Mode::kUnsigned: return ConvertInteger(d, 10, false);
      case Mode::kHex: return ConvertInteger(d, 16, false);
      case Mode::kFloat: return ConvertFloat(d);
      case Mode::kCount:
        if (d.suppress) return true;
        return WriteInteger(d, in_.Read());
    }
    return false;
  }

  bool Allowed(const Directive& d, int c) const {
    if (c == kEof) return false;
    if (d.mode == Mode::kString) return !((c >= u'\t' && c <= u'\r') || c == u' ');
    if (d.mode == Mode::kSet) return set_->test(static_cast<char16_t>(c));
    return true;
  }

  bool ConvertText(const Directive& d) {
    if (d.mode == Mode::kString) in_.SkipSpace();
    void* buffer = nullptr;
    if (!d.suppress) {
      buffer = va_arg(ap_, void*);
      if (!buffer) return false;
    }
    char16_t* wide = static_cast<char16_t*>(buffer);
    char* narrow = static_cast<char*>(buffer);
    const uint32_t codePage = d.wide ? 0 : FormatCodePage();
    uint64_t consumed = 0;
    for (; d.width == 0 || consumed != d.width; ++consumed) {
      const int c = in_.Get();
      if (!Allowed(d, c)) {
        in_.Unget(c);
        break;
      }
      if (d.suppress) continue;
      const char16_t unit = static_cast<char16_t>(c);
      if (d.wide) {
        *wide++ = unit;
      } else {
        char bytes[8];
        const int n = fmt::NarrowChar(&unit, 1, codePage, bytes);
        if (n > 0) {
          std::memcpy(narrow, bytes, static_cast<size_t>(n));
          narrow += n;
        }
      }
    }
    if (consumed == 0) return false;
    // %c wants exactly its width.
    if (d.mode == Mode::kChar && consumed != d.width) return false;
    if (d.suppress) return true;
    if (d.mode != Mode::kChar) {
      if (d.wide) *wide = u'\0';
      else *narrow = '\0';
    }
    return true;
  }

  bool ConvertInteger(const Directive& d, unsigned base, bool isSigned) {
    in_.SkipSpace();
    bool ok = false;
    uint64_t value;
    {
      Source s(in_, d.width, ok);
      value = ParseInteger(s, base, isSigned);
    }
    if (!ok) return false;
    if (d.suppress) return true;
    return WriteInteger(d, value);
  }

  bool WriteInteger(const Directive& d, uint64_t value) {
    void* p = va_arg(ap_, void*);
    if (!p) return false;
    switch (IntegerBytes(d.length)) {
      case 1: *static_cast<uint8_t*>(p) = static_cast<uint8_t>(value); break;
      case 2: { uint16_t v = static_cast<uint16_t>(value); std::memcpy(p, &v, 2); break; }
      case 4: { uint32_t v = static_cast<uint32_t>(value); std::memcpy(p, &v, 4); break; }
      default: std::memcpy(p, &value, 8); break;
    }
    return true;
  }

  bool ConvertFloat(const Directive& d) {
    in_.SkipSpace();
    bool ok = false;
    FloatString fs;
    FloatKind kind;
    {
      Source s(in_, d.width, ok);
      kind = ParseFloat(s, fs);
    }
    if (!ok || kind == FloatKind::kNoDigits) return false;
    if (d.suppress) return true;
    void* p = va_arg(ap_, void*);
    if (!p) return false;
    // Written as bits, so that signalling NaNs keep their payload.
    if (d.length == Length::kNone) {
      const uint32_t bits = Assemble<float>(kind, fs);
      std::memcpy(p, &bits, sizeof bits);
    } else {
      const uint64_t bits = Assemble<double>(kind, fs);
      std::memcpy(p, &bits, sizeof bits);
    }
    return true;
  }

  Input in_;
  va_list& ap_;
  std::unique_ptr<Set> set_;
};

}  // namespace

int VScan(const char16_t* text, const char16_t* format, va_list args) {
  if (!text || !format) return kEof;
  va_list ap;
  va_copy(ap, args);
  int n;
  {
    Scanner scanner(text, ap);
    n = scanner.Run(format);
  }
  va_end(ap);
  return n;
}

double TextToDouble(const char16_t* text, const char16_t** end) {
  if (end) *end = text;
  if (!text) return 0.0;
  Input in(text);
  bool ok = false;
  FloatString fs;
  FloatKind kind;
  {
    Source s(in, 0, ok, true);
    kind = ParseFloat(s, fs);
  }
  if (kind == FloatKind::kNoDigits) return 0.0;
  if (end) *end = text + in.Read();
  const uint64_t bits = Assemble<double>(kind, fs);
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

int Scan(const char16_t* text, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int n = VScan(text, format, ap);
  va_end(ap);
  return n;
}

}  // namespace zx
