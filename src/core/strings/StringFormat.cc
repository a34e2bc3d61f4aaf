// String::Format: a walk over the format that estimates the size and checks the
// string arguments, then one print through the library's formatter into a stack
// buffer of 100 characters or a heap buffer of the estimate plus one.
#include <cstring>
#include <memory>
#include <new>

#include "core/format/Format.h"
#include "core/strings/String.h"

namespace zx {
namespace {

constexpr char16_t kFormatError[] = u"<printf format error>";
constexpr int64_t kStackChars = 100;
constexpr int64_t kBig = int64_t{1} << 40;   // keeps the sums of absurd widths finite

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

int64_t ReadNumber(const char16_t*& f) {
  int64_t n = 0;
  for (; IsDigit(*f); ++f) n = n < kBig ? n * 10 + (*f - u'0') : kBig;
  return n;
}

template <typename Ch>
int64_t BoundedLength(const Ch* s, int64_t limit) {
  int64_t n = 0;
  while ((limit < 0 || n < limit) && s[n]) ++n;
  return n;
}

int64_t Max(int64_t a, int64_t b) { return a > b ? a : b; }

// The size estimate, or -1 when a check fails. Takes the arguments from `ap` as
// the print will. An unknown conversion ends the walk: the formatter judges it.
int64_t EstimateFormat(const char16_t* f, va_list ap) {
  int64_t size = 0;
  while (*f) {
    if (*f != u'%') {
      size += 2;
      ++f;
      continue;
    }
    ++f;
    if (*f == u'%') {
      size += 2;
      ++f;
      continue;
    }
    for (;; ++f) {
      if (*f == u'#') size += 2;
      else if (*f != u' ' && *f != u'+' && *f != u'-' && *f != u'0') break;
    }
    int64_t width = 0;
    if (*f == u'*') {
      int w = va_arg(ap, int);
      width = w < 0 ? -int64_t{w} : w;
      ++f;
    } else {
      width = ReadNumber(f);
    }
    int64_t precision = -1;
    if (*f == u'.') {
      ++f;
      if (*f == u'*') {
        int p = va_arg(ap, int);
        precision = p < 0 ? -1 : p;
        ++f;
      } else {
        precision = ReadNumber(f);
      }
    }
    enum { kPlain, kNarrow, kWide } chars = kPlain;
    bool wide64 = false;
    for (;;) {
      if (*f == u'F' || *f == u'L' || *f == u'N') {
        ++f;
      } else if (f[0] == u'I' && f[1] == u'6' && f[2] == u'4') {
        wide64 = true;
        f += 3;
      } else if (f[0] == u'I' && f[1] == u'3' && f[2] == u'2') {
        f += 3;
      } else if (*f == u'I' || *f == u'z' || *f == u't' || *f == u'j') {
        wide64 = true;   // pointer-sized
        ++f;
      } else if (*f == u'h') {
        chars = kNarrow;
        ++f;
      } else if (f[0] == u'l' && f[1] == u'l') {
        wide64 = true;
        f += 2;
      } else if (*f == u'l' || *f == u'w') {
        chars = kWide;
        ++f;
      } else {
        break;
      }
    }
    switch (*f) {
      case u's':
      case u'S': {
        const bool narrow = *f == u's' ? chars == kNarrow : chars != kWide;
        const void* arg = va_arg(ap, const void*);
        if (!arg) return -1;
        int64_t len = narrow ? BoundedLength(static_cast<const char*>(arg), precision)
                             : BoundedLength(static_cast<const char16_t*>(arg), precision);
        size += Max(len, width);
        break;
      }
      case u'c':
      case u'C':
        (void)va_arg(ap, int);
        size += (*f == u'c' ? chars != kNarrow : chars == kWide) ? 2 : 1;
        break;
      case u'e': case u'E': case u'f': case u'F': case u'g': case u'G': case u'a': case u'A':
        (void)va_arg(ap, double);
        size += Max(128, width + 2 + Max(precision, 0)) + 10;
        break;
      case u'd': case u'i': case u'o': case u'u': case u'x': case u'X':
        if (wide64) (void)va_arg(ap, long long);
        else (void)va_arg(ap, int);
        size += Max(34, width);
        break;
      case u'p':
        (void)va_arg(ap, void*);
        size += Max(18, width);
        break;
      case u'n':
        if (!va_arg(ap, void*)) return -1;
        break;
      default:
        return size;
    }
    ++f;
  }
  return size;
}

// One print attempt; the arguments are copied so that a retry can read them again.
int PrintInto(char16_t* dst, int64_t cap, const char16_t* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  int n = VFormatTo(dst, static_cast<size_t>(cap), format, copy);
  va_end(copy);
  return n;
}

}  // namespace

int String::Format(const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int r = VFormat(format, ap);
  va_end(ap);
  return r;
}

int String::VFormat(const char16_t* format, va_list args) {
  if (!format) {
    Assign(kFormatError);
    return 0;
  }
  va_list probe;
  va_copy(probe, args);
  const int64_t estimate = EstimateFormat(format, probe);
  va_end(probe);
  if (estimate < 0) {
    Assign(kFormatError);
    return 0;
  }
  if (estimate < kStackChars) {
    char16_t stack[kStackChars];
    int n = PrintInto(stack, kStackChars, format, args);
    if (n < 0) {
      Assign(kFormatError);
      return 0;
    }
    if (n < kStackChars) {
      SetText(stack, n);
      return 0;
    }
  }
  // The heap: estimate plus one, or what the formatter says it needs when the
  // estimate was short (a long %f, a %.50d), so that nothing is cut.
  int64_t cap = estimate + 1;
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::unique_ptr<char16_t[]> heap(new (std::nothrow) char16_t[static_cast<size_t>(cap)]);
    if (!heap) {
      Clear();
      return 0;
    }
    int n = PrintInto(heap.get(), cap, format, args);
    if (n < 0) {
      Assign(kFormatError);
      return 0;
    }
    if (n < cap) {
      SetText(heap.get(), n);
      return n;
    }
    cap = int64_t{n} + 1;
  }
  Clear();
  return 0;
}

}  // namespace zx
