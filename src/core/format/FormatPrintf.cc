// The formatter: the wide printf of the Windows C runtime. The format is read by
// the runtime's state machine (normal, percent, flag, width, dot, precision,
// size, type), so odd formats come out as they do there.
#include <climits>
#include <cstring>
#include <memory>

#include "core/format/Format.h"
#include "core/format/FormatFloat.h"
#include "core/format/FormatNarrow.h"

namespace zx {
namespace {

// ---- output: a fixed buffer that counts what does not fit, or a sink fed in
// pieces from a local buffer.
class Out {
 public:
  Out(char16_t* dst, size_t writable) : base_(dst), cur_(dst), end_(dst + writable) {}
  Out(FormatSinkFn sink, void* context, uint64_t limit)
      : base_(local_), cur_(local_), end_(local_ + kLocal), sink_(sink), context_(context),
        budget_(limit < INT_MAX ? limit : INT_MAX) {}

  void Put(char16_t c) {
    if (cur_ < end_ && budget_ != 0) {
      --budget_;
      *cur_++ = c;
      return;
    }
    Put(&c, 1);
  }
  void Put(const char16_t* s, size_t n) {
    if (!Admit(n)) return;
    for (;;) {
      size_t room = static_cast<size_t>(end_ - cur_);
      if (n <= room) {
        if (n) std::memcpy(cur_, s, n * sizeof(char16_t));
        cur_ += n;
        return;
      }
      if (room) std::memcpy(cur_, s, room * sizeof(char16_t));  // a measuring call has no buffer
      cur_ += room;
      s += room;
      n -= room;
      if (!Flush()) {
        dropped_ += n;
        return;
      }
    }
  }
  // ASCII text (digits, float text) widened on the way.
  void PutAscii(const char* s, size_t n) {
    if (!Admit(n)) return;
    for (;;) {
      size_t room = static_cast<size_t>(end_ - cur_);
      size_t k = n < room ? n : room;
      for (size_t i = 0; i < k; ++i) cur_[i] = static_cast<unsigned char>(s[i]);
      cur_ += k;
      s += k;
      n -= k;
      if (n == 0) return;
      if (!Flush()) {
        dropped_ += n;
        return;
      }
    }
  }
  void Fill(char16_t c, int64_t count) {
    if (count <= 0 || !Admit(static_cast<uint64_t>(count))) return;
    uint64_t n = static_cast<uint64_t>(count);
    for (;;) {
      size_t room = static_cast<size_t>(end_ - cur_);
      size_t k = n < room ? static_cast<size_t>(n) : room;
      for (size_t i = 0; i < k; ++i) cur_[i] = c;
      cur_ += k;
      n -= k;
      if (n == 0) return;
      if (!Flush()) {
        dropped_ += n;
        return;
      }
    }
  }

  uint64_t Count() const { return flushed_ + static_cast<uint64_t>(cur_ - base_) + dropped_; }
  bool Overflowed() const { return overflow_; }
  char16_t* Cursor() const { return cur_; }
  void Finish() {
    if (sink_ && cur_ != base_) sink_(context_, base_, static_cast<size_t>(cur_ - base_));
  }

 private:
  static constexpr size_t kLocal = 256;

  // Output beyond the limit makes the result -1: it is counted, never sent.
  bool Admit(uint64_t n) {
    if (n <= budget_) {
      budget_ -= n;
      return true;
    }
    budget_ = 0;
    overflow_ = true;
    dropped_ += n;
    return false;
  }
  bool Flush() {
    if (!sink_) return false;
    sink_(context_, base_, static_cast<size_t>(cur_ - base_));
    flushed_ += static_cast<uint64_t>(cur_ - base_);
    cur_ = base_;
    return true;
  }

  char16_t local_[kLocal];
  char16_t* base_;
  char16_t* cur_;
  char16_t* end_;
  FormatSinkFn sink_ = nullptr;
  void* context_ = nullptr;
  uint64_t flushed_ = 0;
  uint64_t dropped_ = 0;
  uint64_t budget_ = INT_MAX;  // units still allowed before the result turns -1
  bool overflow_ = false;
};

struct Args {
  va_list ap;
};

// ---- the format state machine
enum State : unsigned char { kNormal, kPercent, kFlag, kWidth, kDot, kPrecision, kSize, kType };
enum Class : unsigned char { cOther, cPercent, cDot, cStar, cZero, cDigit, cFlag, cSize, cType };

// kNext[class][state]: where a character of that class leads.
constexpr State kNext[9][8] = {
    /* other   */ {kNormal, kNormal, kNormal, kNormal, kNormal, kNormal, kNormal, kNormal},
    /* percent */ {kPercent, kNormal, kNormal, kNormal, kNormal, kNormal, kNormal, kPercent},
    /* dot     */ {kNormal, kDot, kDot, kDot, kNormal, kNormal, kNormal, kNormal},
    /* star    */ {kNormal, kWidth, kWidth, kNormal, kPrecision, kNormal, kNormal, kNormal},
    /* zero    */ {kNormal, kFlag, kFlag, kWidth, kPrecision, kPrecision, kNormal, kNormal},
    /* digit   */ {kNormal, kWidth, kWidth, kWidth, kPrecision, kPrecision, kNormal, kNormal},
    /* flag    */ {kNormal, kFlag, kFlag, kNormal, kNormal, kNormal, kNormal, kNormal},
    /* size    */ {kNormal, kSize, kSize, kSize, kSize, kSize, kSize, kNormal},
    /* type    */ {kNormal, kType, kType, kType, kType, kType, kType, kNormal},
};

Class ClassOf(char16_t c) {
  switch (c) {
    case u'%': return cPercent;
    case u'.': return cDot;
    case u'*': return cStar;
    case u'0': return cZero;
    case u'1': case u'2': case u'3': case u'4': case u'5':
    case u'6': case u'7': case u'8': case u'9': return cDigit;
    case u' ': case u'+': case u'-': case u'#': return cFlag;
    case u'F': case u'I': case u'L': case u'N': case u'T':
    case u'h': case u'j': case u'l': case u't': case u'w': case u'z': return cSize;
    case u'A': case u'C': case u'E': case u'G': case u'S': case u'X': case u'Z':
    case u'a': case u'c': case u'd': case u'e': case u'f': case u'g': case u'i':
    case u'n': case u'o': case u'p': case u's': case u'u': case u'x': return cType;
    default: return cOther;
  }
}

enum Flags : unsigned {
  kSign = 0x01,       // '+'
  kSignSpace = 0x02,  // ' '
  kLeft = 0x04,       // '-'
  kLeadZero = 0x08,   // '0'
  kSigned = 0x10,
  kAlternate = 0x20,  // '#'
  kNegative = 0x40,
  kForceOctal = 0x80,
};

enum class Length : unsigned char { kNone, kHH, kH, kL, kLL, kJ, kZ, kT, kLD, kI, kI32, kI64, kW, kTChar };

struct Spec {
  unsigned flags = 0;
  int width = 0;
  int precision = -1;
  Length length = Length::kNone;
};

// Bytes of an integer argument; 0 when the size prefix does not fit integers.
int IntegerSize(Length l) {
  switch (l) {
    case Length::kNone: case Length::kL: case Length::kI32: return 4;
    case Length::kHH: return 1;
    case Length::kH: return 2;
    case Length::kLL: case Length::kJ: case Length::kZ: case Length::kT:
    case Length::kI: case Length::kI64: return 8;
    default: return 0;
  }
}

// In a wide function c and s are wide, C, S and Z narrow, unless a prefix says.
bool IsWide(char16_t conv, Length l) {
  if (l == Length::kL || l == Length::kW || l == Length::kTChar) return true;
  if (l == Length::kH) return false;
  return conv == u'c' || conv == u's';
}

// Reads the decimal number that starts at f[-1]; false above INT_MAX.
bool ParseNumber(const char16_t*& f, int& result) {
  const char16_t* p = f - 1;
  int64_t v = 0;
  for (; *p >= u'0' && *p <= u'9'; ++p) {
    v = v * 10 + (*p - u'0');
    if (v > INT_MAX) return false;
  }
  result = static_cast<int>(v);
  f = p;
  return true;
}

// What a conversion prints, before sign, prefix and padding: wide text, or ASCII
// text with `zeros` implied '0' characters at `zerosAt`.
struct Body {
  const char16_t* wide = nullptr;
  const char* ascii = nullptr;
  size_t length = 0;
  size_t zerosAt = 0;
  uint64_t zeros = 0;
};

void Emit(Out& out, const Spec& spec, char16_t conv, const Body& body) {
  char16_t prefix[3];
  int prefixLength = 0;
  if (spec.flags & kSigned) {
    if (spec.flags & kNegative) prefix[prefixLength++] = u'-';
    else if (spec.flags & kSign) prefix[prefixLength++] = u'+';
    else if (spec.flags & kSignSpace) prefix[prefixLength++] = u' ';
  }
  const bool upper = conv == u'X' || conv == u'A' || conv == u'p';
  if (((conv == u'x' || conv == u'X' || conv == u'p') && (spec.flags & kAlternate)) ||
      conv == u'a' || conv == u'A') {
    prefix[prefixLength++] = u'0';
    prefix[prefixLength++] = upper ? u'X' : u'x';
  }
  const int64_t padding =
      int64_t{spec.width} - static_cast<int64_t>(body.length + body.zeros) - prefixLength;
  if (!(spec.flags & (kLeft | kLeadZero))) out.Fill(u' ', padding);
  out.Put(prefix, static_cast<size_t>(prefixLength));
  if ((spec.flags & kLeadZero) && !(spec.flags & kLeft)) out.Fill(u'0', padding);
  if (body.wide) {
    out.Put(body.wide, body.length);
  } else {
    out.PutAscii(body.ascii, body.zerosAt);
    out.Fill(u'0', static_cast<int64_t>(body.zeros));
    out.PutAscii(body.ascii + body.zerosAt, body.length - body.zerosAt);
  }
  if (spec.flags & kLeft) out.Fill(u' ', padding);
}

// ---- the conversions; each returns false for what makes the whole result -1.

bool ConvertInteger(Out& out, Spec& spec, char16_t conv, Args& a) {
  unsigned base = 10;
  bool capitals = false;
  switch (conv) {
    case u'd': case u'i': spec.flags |= kSigned; break;
    case u'o':
      base = 8;
      if (spec.flags & kAlternate) spec.flags |= kForceOctal;
      break;
    case u'x': base = 16; break;
    case u'X': base = 16; capitals = true; break;
    case u'p':
      // Zero-padded to 16 digits, read as 64 bits whatever the prefix said.
      spec.precision = 16;
      spec.length = Length::kI64;
      base = 16;
      capitals = true;
      break;
    default: break;  // 'u'
  }
  const int size = IntegerSize(spec.length);
  if (size == 0) return false;
  const bool isSigned = (spec.flags & kSigned) != 0;
  int64_t value;
  if (size == 8) {
    value = static_cast<int64_t>(va_arg(a.ap, long long));
    if (!isSigned) value = static_cast<int64_t>(static_cast<uint64_t>(value));
  } else {
    const int raw = va_arg(a.ap, int);
    if (size == 1) value = isSigned ? int64_t{static_cast<int8_t>(raw)} : int64_t{static_cast<uint8_t>(raw)};
    else if (size == 2) value = isSigned ? int64_t{static_cast<int16_t>(raw)} : int64_t{static_cast<uint16_t>(raw)};
    else value = isSigned ? int64_t{raw} : int64_t{static_cast<uint32_t>(raw)};
  }
  uint64_t number = static_cast<uint64_t>(value);
  if (isSigned && value < 0) {
    number = uint64_t{0} - number;
    spec.flags |= kNegative;
  }
  if (size != 8) number = static_cast<uint32_t>(number);

  if (spec.precision < 0) spec.precision = 1;
  else spec.flags &= ~kLeadZero;
  if (number == 0) spec.flags &= ~kAlternate;

  char digits[24];
  char* end = digits + sizeof digits;
  char* p = end;
  const char* hexits = capitals ? "0123456789ABCDEF" : "0123456789abcdef";
  for (; number != 0; number /= base) *--p = hexits[number % base];
  const size_t count = static_cast<size_t>(end - p);
  uint64_t zeros = static_cast<size_t>(spec.precision) > count ? spec.precision - count : 0;
  // "%#o" leads with a 0 unless the text already does.
  if ((spec.flags & kForceOctal) && (zeros + count == 0 || (zeros == 0 && *p != '0'))) ++zeros;

  Body body;
  body.ascii = p;
  body.length = count;
  body.zeros = zeros;
  Emit(out, spec, conv, body);
  return true;
}

bool ConvertFloat(Out& out, Spec& spec, char16_t conv, Args& a) {
  spec.flags |= kSigned;
  if (spec.precision < 0) spec.precision = (conv == u'a' || conv == u'A') ? 13 : 6;
  else if (spec.precision == 0 && (conv == u'g' || conv == u'G')) spec.precision = 1;
  const double value = va_arg(a.ap, double);
  fmt::FloatText text;
  fmt::FormatDouble(value, static_cast<char>(conv), spec.precision,
                    (spec.flags & kAlternate) != 0, text);
  Body body;
  body.ascii = text.text;
  body.length = text.length;
  body.zerosAt = text.zerosAt;
  body.zeros = text.zeros;
  if (text.text[0] == '-') {
    spec.flags |= kNegative;
    ++body.ascii;
    --body.length;
    --body.zerosAt;
  }
  // inf and nan print as text: no 0x, padded with blanks.
  const char first = body.ascii[0];
  if (first == 'i' || first == 'I' || first == 'n' || first == 'N') {
    spec.flags &= ~kLeadZero;
    conv = u's';
  }
  Emit(out, spec, conv, body);
  return true;
}

// Widens narrow text for output; false when the code page rejects it.
bool EmitNarrow(Out& out, const Spec& spec, const char* s, size_t bytes) {
  const uint32_t cp = FormatCodePage();
  char16_t small[256];
  std::unique_ptr<char16_t[]> big;
  Body body;
  if (bytes > 0) {
    const long need = fmt::Widen(s, bytes, cp, nullptr, 0);
    if (need < 0) return false;
    char16_t* buf = small;
    if (static_cast<size_t>(need) > sizeof small / sizeof small[0]) {
      big.reset(new (std::nothrow) char16_t[static_cast<size_t>(need)]);
      if (!big) return false;
      buf = big.get();
    }
    const long n = fmt::Widen(s, bytes, cp, buf, static_cast<size_t>(need));
    if (n < 0) return false;
    body.wide = buf;
    body.length = static_cast<size_t>(n);
  } else {
    body.wide = u"";
  }
  Emit(out, spec, u's', body);
  return true;
}

constexpr char16_t kNullWide[] = u"(null)";
constexpr char kNullNarrow[] = "(null)";

bool ConvertString(Out& out, Spec& spec, char16_t conv, Args& a) {
  const void* arg = va_arg(a.ap, const void*);
  const size_t limit = spec.precision < 0 ? static_cast<size_t>(INT_MAX) : static_cast<size_t>(spec.precision);
  if (IsWide(conv, spec.length)) {
    const char16_t* s = arg ? static_cast<const char16_t*>(arg) : kNullWide;
    size_t n = 0;
    while (n < limit && s[n]) ++n;
    Body body;
    body.wide = s;
    body.length = n;
    Emit(out, spec, u's', body);
    return true;
  }
  const char* s = arg ? static_cast<const char*>(arg) : kNullNarrow;
  return EmitNarrow(out, spec, s, fmt::NarrowPrefix(s, limit, FormatCodePage()));
}

// %Z: a counted ANSI_STRING (or UNICODE_STRING with l or w); the precision does
// not apply.
bool ConvertCounted(Out& out, Spec& spec, Args& a) {
  struct Counted {
    uint16_t length;  // in bytes
    uint16_t maximumLength;
    const void* buffer;
  };
  const Counted* c = va_arg(a.ap, const Counted*);
  if (!c || !c->buffer) return EmitNarrow(out, spec, kNullNarrow, sizeof kNullNarrow - 1);
  if (IsWide(u'Z', spec.length)) {
    Body body;
    body.wide = static_cast<const char16_t*>(c->buffer);
    body.length = c->length / 2u;
    Emit(out, spec, u's', body);
    return true;
  }
  return EmitNarrow(out, spec, static_cast<const char*>(c->buffer), c->length);
}

void ConvertChar(Out& out, Spec& spec, char16_t conv, Args& a) {
  const char16_t c = static_cast<char16_t>(va_arg(a.ap, int));
  char16_t buf[2];
  Body body;
  body.wide = buf;
  if (IsWide(conv, spec.length)) {
    buf[0] = c;
    body.length = 1;
  } else {
    const char byte = static_cast<char>(c & 0xFF);
    // A byte the code page cannot widen prints nothing, padding included.
    if (fmt::Widen(&byte, 1, FormatCodePage(), buf, 2) != 1) return;
    body.length = 1;
  }
  Emit(out, spec, u'c', body);
}

bool Convert(Out& out, Spec& spec, char16_t conv, Args& a) {
  switch (conv) {
    case u'c': case u'C': ConvertChar(out, spec, conv, a); return true;
    case u's': case u'S': return ConvertString(out, spec, conv, a);
    case u'Z': return ConvertCounted(out, spec, a);
    case u'a': case u'A': case u'e': case u'E': case u'f': case u'F': case u'g': case u'G':
      return ConvertFloat(out, spec, conv, a);
    case u'n':
      // The runtime keeps %n disabled; it is a format fault.
      return false;
    default: return ConvertInteger(out, spec, conv, a);
  }
}

// A size prefix; sets *typeNow when it is the conversion 'F'.
bool ReadSize(const char16_t*& f, char16_t c, Spec& spec, bool& typeNow) {
  if (c == u'F') {
    typeNow = true;
    return true;
  }
  if (c == u'N' || spec.length != Length::kNone) return false;
  switch (c) {
    case u'h':
      if (*f == u'h') { ++f; spec.length = Length::kHH; }
      else spec.length = Length::kH;
      break;
    case u'l':
      if (*f == u'l') { ++f; spec.length = Length::kLL; }
      else spec.length = Length::kL;
      break;
    case u'I':
      if (f[0] == u'3' && f[1] == u'2') { f += 2; spec.length = Length::kI32; }
      else if (f[0] == u'6' && f[1] == u'4') { f += 2; spec.length = Length::kI64; }
      else if (f[0] == u'd' || f[0] == u'i' || f[0] == u'o' || f[0] == u'u' || f[0] == u'x' || f[0] == u'X')
        spec.length = Length::kI;
      // Otherwise the I is no prefix at all and the next character goes on.
      break;
    case u'L': spec.length = Length::kLD; break;
    case u'j': spec.length = Length::kJ; break;
    case u't': spec.length = Length::kT; break;
    case u'z': spec.length = Length::kZ; break;
    case u'w': spec.length = Length::kW; break;
    case u'T': spec.length = Length::kTChar; break;
    default: break;
  }
  return true;
}

bool Run(Out& out, const char16_t* f, Args& a) {
  State state = kNormal;
  Spec spec;
  while (char16_t c = *f++) {
    if (state == kNormal || state == kType) {
      if (c != u'%') {
        const char16_t* run = f - 1;
        while (*f && *f != u'%') ++f;
        out.Put(run, static_cast<size_t>(f - run));
        state = kNormal;
      } else {
        state = kPercent;
        spec = Spec();
      }
      continue;
    }
    state = kNext[ClassOf(c)][state];
    switch (state) {
      case kNormal:
        out.Put(c);
        break;
      case kPercent:
        spec = Spec();
        break;
      case kFlag:
        switch (c) {
          case u'-': spec.flags |= kLeft; break;
          case u'+': spec.flags |= kSign; break;
          case u' ': spec.flags |= kSignSpace; break;
          case u'#': spec.flags |= kAlternate; break;
          default: spec.flags |= kLeadZero; break;
        }
        break;
      case kWidth:
        if (c != u'*') {
          if (!ParseNumber(f, spec.width)) return false;
        } else {
          const int w = va_arg(a.ap, int);
          if (w < 0) {
            spec.flags |= kLeft;
            spec.width = w == INT_MIN ? 0 : -w;  // the runtime's negation leaves INT_MIN negative
          } else {
            spec.width = w;
          }
        }
        break;
      case kDot:
        spec.precision = 0;
        break;
      case kPrecision:
        if (c != u'*') {
          if (!ParseNumber(f, spec.precision)) return false;
        } else {
          const int p = va_arg(a.ap, int);
          spec.precision = p < 0 ? -1 : p;
        }
        break;
      case kSize: {
        bool typeNow = false;
        if (!ReadSize(f, c, spec, typeNow)) return false;
        if (typeNow) {
          state = kType;
          if (!Convert(out, spec, c, a)) return false;
        }
        break;
      }
      case kType:
        if (!Convert(out, spec, c, a)) return false;
        break;
    }
  }
  return true;
}

}  // namespace

int VFormatTo(char16_t* dst, size_t cap, const char16_t* format, va_list args) {
  if (!format || (!dst && cap)) return -1;
  Out out(dst, cap ? cap - 1 : 0);
  Args a;
  va_copy(a.ap, args);
  const bool ok = Run(out, format, a);
  va_end(a.ap);
  if (!ok || out.Overflowed()) {
    if (cap) dst[0] = u'\0';
    return -1;
  }
  if (cap) *out.Cursor() = u'\0';
  return static_cast<int>(out.Count());
}

int FormatTo(char16_t* dst, size_t cap, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int n = VFormatTo(dst, cap, format, ap);
  va_end(ap);
  return n;
}

int VFormatToSink(FormatSinkFn sink, void* context, size_t limit, const char16_t* format,
                  va_list args) {
  if (!sink || !format) return -1;
  Out out(sink, context, limit);
  Args a;
  va_copy(a.ap, args);
  const bool ok = Run(out, format, a);
  va_end(a.ap);
  out.Finish();
  if (!ok || out.Overflowed()) return -1;
  return static_cast<int>(out.Count());
}

}  // namespace zx
