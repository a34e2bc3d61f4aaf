#include "core/format/MessageInserts.h"

#include <cstdint>
#include <vector>

#include "core/format/Format.h"
#include "platform/errors.h"

namespace zx {
namespace {

constexpr int kMaxInsert = 99;

enum class Kind : uint8_t { Unused, Int32, Int64, Pointer, Double };

struct Arg {
  Kind kind = Kind::Unused;
  union {
    int32_t i32;
    int64_t i64;
    const void* ptr;
    double dbl;
  };
  Arg() : i64(0) {}
};

// One insert as parsed from the text.
struct Insert {
  int number = 0;          // first argument used (a '*' or the value)
  int stars = 0;           // '*' in the printf format
  Kind kind = Kind::Pointer;
  std::u16string format;   // "%" + printf format
};

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Reads one printf format (flags, width, precision, size, conversion) that must
// fill [p, end) exactly; sets the stars and the argument type. False for anything
// else, so that a format between the marks can never take more arguments than
// the insert has.
bool ParseSpec(const char16_t* p, const char16_t* end, Insert& ins) {
  while (p < end && (*p == u'-' || *p == u'+' || *p == u' ' || *p == u'#' || *p == u'0')) ++p;
  if (p < end && *p == u'*') {
    ++ins.stars;
    ++p;
  } else {
    while (p < end && IsDigit(*p)) ++p;
  }
  if (p < end && *p == u'.') {
    ++p;
    if (p < end && *p == u'*') {
      ++ins.stars;
      ++p;
    } else {
      while (p < end && IsDigit(*p)) ++p;
    }
  }
  auto at = [&](const char16_t* word) {
    const std::u16string_view w(word);
    return static_cast<size_t>(end - p) > w.size() && std::u16string_view(p, w.size()) == w;
  };
  bool is64 = false;
  if (at(u"I64") || at(u"ll")) {
    is64 = true;
    p += at(u"ll") ? 2 : 3;
  } else if (at(u"I32")) {
    p += 3;
  } else if (at(u"I")) {
    is64 = true;
    ++p;
  } else if (at(u"h") || at(u"l") || at(u"w")) {
    ++p;
  }
  if (end - p != 1) return false;
  switch (*p) {
    case u's': case u'S': case u'p':
      ins.kind = Kind::Pointer;
      return true;
    case u'c': case u'C': case u'd': case u'i': case u'o': case u'u': case u'x': case u'X':
      ins.kind = is64 ? Kind::Int64 : Kind::Int32;
      return true;
    case u'e': case u'E': case u'f': case u'F': case u'g': case u'G': case u'a': case u'A':
      ins.kind = Kind::Double;
      return true;
    default:
      return false;
  }
}

// Parses "%n[!fmt!]" at `p` (just behind the '%'); false on a bad insert.
bool ParseInsert(const char16_t*& p, Insert& ins) {
  int n = *p++ - u'0';
  if (IsDigit(*p)) n = n * 10 + (*p++ - u'0');   // a third digit is text
  ins.number = n;
  ins.format = u"%";
  if (*p != u'!') {
    ins.format += u's';
    ins.kind = Kind::Pointer;
    return true;
  }
  const char16_t* end = ++p;
  while (*end && *end != u'!') ++end;
  if (!*end || !ParseSpec(p, end, ins)) return false;
  ins.format.append(p, static_cast<size_t>(end - p));
  p = end + 1;
  return true;
}

// The system's message formatter writes at most 64 KB: an insert longer than that
// (a width taken from the arguments, say) fails the message instead of asking for
// gigabytes.
constexpr int kLongestInsert = 32767;

template <typename... A>
bool Print(std::u16string& out, const std::u16string& format, A... a) {
  char16_t small[256];
  int n = FormatTo(small, 256, format.c_str(), a...);
  if (n < 0 || n > kLongestInsert) return false;
  if (n < 256) {
    out.append(small, static_cast<size_t>(n));
    return true;
  }
  std::u16string big(static_cast<size_t>(n) + 1, u'\0');
  FormatTo(big.data(), big.size(), format.c_str(), a...);
  out.append(big.data(), static_cast<size_t>(n));
  return true;
}

template <typename V>
bool PrintValue(std::u16string& out, const Insert& ins, const std::vector<Arg>& args, V v) {
  const int w = args[ins.number].i32;
  if (ins.stars == 0) return Print(out, ins.format, v);
  if (ins.stars == 1) return Print(out, ins.format, w, v);
  return Print(out, ins.format, w, args[ins.number + 1].i32, v);
}

bool PrintInsert(std::u16string& out, const Insert& ins, const std::vector<Arg>& args) {
  const Arg& a = args[ins.number + ins.stars];
  switch (ins.kind) {
    case Kind::Pointer: return PrintValue(out, ins, args, a.ptr);
    case Kind::Int32: return PrintValue(out, ins, args, a.i32);
    case Kind::Int64: return PrintValue(out, ins, args, static_cast<long long>(a.i64));
    case Kind::Double: return PrintValue(out, ins, args, a.dbl);
    default: return false;
  }
}

// Gives argument `n` its type; a second use with another representation fails.
bool Claim(std::vector<Arg>& args, int n, Kind kind) {
  if (n > kMaxInsert) return false;
  if (static_cast<int>(args.size()) <= n) args.resize(static_cast<size_t>(n) + 1);
  Kind& k = args[n].kind;
  if (k == Kind::Unused || k == kind) {
    k = kind;
    return true;
  }
  // Integers of either width may share a slot; text and numbers may not.
  const bool intA = k == Kind::Int32 || k == Kind::Int64;
  const bool intB = kind == Kind::Int32 || kind == Kind::Int64;
  if (intA && intB) {
    k = Kind::Int64;
    return true;
  }
  return false;
}

bool Fail(std::u16string& out) {
  out.clear();
  plat::SetLastError(plat::kErrInvalidParameter);
  return false;
}

}  // namespace

bool ExpandMessageInserts(const char16_t* text, va_list* args, std::u16string& out) {
  out.clear();
  if (!text) return Fail(out);

  // Pass 1: the type of every argument that is used.
  std::vector<Arg> slots(1);
  for (const char16_t* p = text; *p;) {
    if (*p++ != u'%') continue;
    if (!*p) break;
    if (*p == u'0') break;
    if (!IsDigit(*p)) {
      ++p;
      continue;
    }
    Insert ins;
    if (!ParseInsert(p, ins) || !args) return Fail(out);
    for (int s = 0; s < ins.stars; ++s)
      if (!Claim(slots, ins.number + s, Kind::Int32)) return Fail(out);
    if (!Claim(slots, ins.number + ins.stars, ins.kind)) return Fail(out);
  }

  // Read the arguments in order, each with its type.
  if (slots.size() > 1) {
    va_list ap;
    va_copy(ap, *args);
    for (size_t n = 1; n < slots.size(); ++n) {
      Arg& a = slots[n];
      switch (a.kind) {
        case Kind::Int32: a.i32 = va_arg(ap, int32_t); break;
        case Kind::Int64: a.i64 = va_arg(ap, long long); break;
        case Kind::Double: a.dbl = va_arg(ap, double); break;
        case Kind::Pointer: a.ptr = va_arg(ap, const void*); break;
        case Kind::Unused: a.ptr = va_arg(ap, const void*); break;
      }
    }
    va_end(ap);
  }

  // Pass 2: the text.
  for (const char16_t* p = text; *p;) {
    if (*p != u'%') {
      out += *p++;
      continue;
    }
    ++p;
    if (!*p || *p == u'0') break;
    if (IsDigit(*p)) {
      Insert ins;
      ParseInsert(p, ins);
      if (!PrintInsert(out, ins, slots)) return Fail(out);
      continue;
    }
    switch (*p) {
      case u'n': out += u"\r\n"; break;
      case u'r': out += u'\r'; break;
      case u't': out += u'\t'; break;
      default: out += *p; break;
    }
    ++p;
  }
  return true;
}

}  // namespace zx
