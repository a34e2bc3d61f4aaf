// Narrow text: String's narrow assignment and cached narrow copy, and the narrow
// companion clsCHARString.
#include <cstring>

#include "core/strings/CharsetConversion.h"
#include "core/strings/String.h"
#include "platform/codepage.h"

namespace zx {

void String::Assign(const char* text, int64_t start, int64_t count) {
  if (!text || !*text || start < 0 || count <= 0) {
    Clear();
    return;
  }
  if (count == kWholeString) {
    auto n = static_cast<int64_t>(strnlen(text, static_cast<size_t>(kWholeString)));
    if (start >= n) {
      Clear();
      return;
    }
    count = n - start;
  }
  const char* src = text + start;
  const auto cp = static_cast<uint32_t>(codePage);
  if (cp == 0) {   // no conversion: each byte becomes one character
    MakePrivate(false);
    if (!Grow(count, false)) return;
    for (int64_t i = 0; i < count; ++i) buffer->chars[i] = static_cast<unsigned char>(src[i]);
    length = count;
    buffer->chars[length] = 0;
    return;
  }
  const uint32_t flags = MultiByteFlagsFor(cp);
  const int n = static_cast<int>(count);
  int need = plat::MultiByteToWide(cp, flags, src, n, nullptr, 0);
  if (need <= 0) {
    Clear();
    return;
  }
  MakePrivate(false);
  if (!Grow(need, false)) return;
  int got = plat::MultiByteToWide(cp, flags, src, n, buffer->chars, need);
  length = got > 0 ? got : 0;
  buffer->chars[length] = 0;
}

const char* String::narrow() const {
  if (length == 0) return kEmptyNarrow;
  if (narrowCopy) return narrowCopy;
  const auto cp = static_cast<uint32_t>(codePage);
  const int n = static_cast<int>(length);
  int need = plat::WideToMultiByte(cp, 0, wchar(), n, nullptr, 0);
  if (need < 0) need = 0;
  narrowCopy = new char[static_cast<size_t>(need) + 1];
  int got = need ? plat::WideToMultiByte(cp, 0, wchar(), n, narrowCopy, need) : 0;
  narrowCopy[got > 0 ? got : 0] = 0;
  return narrowCopy;
}

// ---- clsCHARString

clsCHARString::clsCHARString(const char* text, int64_t count) {
  if (!text) return;
  size_t n = count == kWholeString || count < 0 ? strnlen(text, static_cast<size_t>(kWholeString))
                                                : static_cast<size_t>(count);
  chars = new char[n + 1];
  std::memcpy(chars, text, n);
  chars[n] = 0;
  length = static_cast<int64_t>(n);
}

clsCHARString::clsCHARString(const clsCHARString& other)
    : clsCHARString(other.chars, other.length) {}

clsCHARString& clsCHARString::operator=(const clsCHARString& other) {
  if (this != &other) {
    clsCHARString copy(other);
    std::swap(chars, copy.chars);
    std::swap(length, copy.length);
  }
  return *this;
}

clsCHARString::~clsCHARString() { delete[] chars; }

String clsCHARString::ToString(uint32_t codePage) const {
  if (!chars || length == 0) return String::Empty();
  if (codePage) {
    clsCharsetConversionStringCP conversion(codePage);
    conversion.Assign(chars, static_cast<size_t>(length));
    return String(conversion.wide());
  }
  String s;   // widened byte by byte through the narrow assignment of page 0
  const uint32_t keep = s.CodePage();
  s.SetCodePage(0);
  s.Assign(chars, 0, length);
  s.SetCodePage(keep);
  return s;
}

}  // namespace zx
