// The one comparison routine behind String's comparison slots, the substring
// search and the 64-bit hash.
#include <atomic>
#include <cstring>

#include "core/strings/String.h"
#include "platform/locale.h"

namespace zx {
namespace {

char16_t FoldAscii(char16_t c) { return (c >= u'A' && c <= u'Z') ? char16_t(c + 32) : c; }

// wcsncmp / _wcsnicmp over at most `count` characters (negative: no limit).
int OrdinalCompare(const char16_t* a, const char16_t* b, int64_t count, bool caseSensitive) {
  for (int64_t i = 0; count < 0 || i < count; ++i) {
    char16_t x = a[i], y = b[i];
    if (!caseSensitive) {
      x = FoldAscii(x);
      y = FoldAscii(y);
    }
    if (x != y) return x < y ? -1 : 1;
    if (!x) break;
  }
  return 0;
}

// The length a locale comparison passes for one text: its length, but not more
// than the count, so that a count longer than the text never reads past its end.
int LocaleLength(const char16_t* s, int64_t count) {
  if (count < 0) return -1;
  int64_t n = 0;
  while (n < count && s[n]) ++n;
  return static_cast<int>(n);
}

std::atomic<uint32_t> g_uiLanguage{0};   // 0: not asked yet

}  // namespace

uint16_t CachedUILanguage() {
  uint32_t lang = g_uiLanguage.load(std::memory_order_relaxed);
  if (lang == 0) {
    lang = plat::UserDefaultUILanguage();
    if (lang == 0) lang = plat::UserDefaultLangID();
    g_uiLanguage.store(lang, std::memory_order_relaxed);
  }
  return static_cast<uint16_t>(lang);
}

void ResetUILanguageForTests() { g_uiLanguage.store(0); }

int CompareText(const char16_t* a, const char16_t* b, int64_t count, bool locale,
                bool caseSensitive) {
  if (count == 0 || a == b) return 0;
  if (!a || !*a) return (b && *b) ? -1 : 0;
  if (!b || !*b) return 1;
  if (locale) {
    uint32_t flags = caseSensitive ? 0 : plat::kNormIgnoreCase;
    return plat::CompareStringLocale(CachedUILanguage(), flags, a, LocaleLength(a, count), b,
                                     LocaleLength(b, count)) -
           2;
  }
  return OrdinalCompare(a, b, count, caseSensitive);
}

int String::CompareWith(const char16_t* other, int64_t count, bool locale) const {
  return CompareText(wchar(), other, count, locale, IsCaseSensitive());
}

int String::Compare(const String& other, int64_t count) const {
  return CompareWith(other.wchar(), count, false);
}

int String::Compare(const char16_t* other, int64_t count) const {
  return CompareWith(other, count, false);
}

int String::CompareLocale(const String& other, int64_t count) const {
  return CompareWith(other.wchar(), count, true);
}

int64_t FindSubstring(std::u16string_view text, std::u16string_view needle, int64_t start) {
  if (needle.empty() || start < 0 || start >= static_cast<int64_t>(text.size())) return -1;
  size_t at = text.find(needle, static_cast<size_t>(start));
  return at == std::u16string_view::npos ? -1 : static_cast<int64_t>(at);
}

int64_t FindSubstring(const char16_t* text, const char16_t* needle, int64_t start) {
  if (!text || !needle) return -1;
  return FindSubstring(std::u16string_view(text), std::u16string_view(needle), start);
}

namespace {

// One little-endian chunk of W bytes (the compiler turns this into one load).
template <size_t W>
uint64_t Chunk(const unsigned char* p) {
  uint64_t c = 0;
  for (size_t i = 0; i < W; ++i) c |= uint64_t{p[i]} << (8 * i);
  return c;
}

}  // namespace

uint64_t HashBytes(const void* data, size_t byteCount) {
  constexpr uint64_t K = 0x9DDFEA08EB382D69ull;
  const auto* p = static_cast<const unsigned char*>(data);
  uint64_t h = 0;
  auto mix = [&h](uint64_t c) {
    uint64_t a = (c ^ h) * K;
    uint64_t b = ((a >> 47) ^ a ^ h) * K;
    h = ((b >> 47) ^ b) * K;
  };
  for (; byteCount >= 8; byteCount -= 8, p += 8) mix(Chunk<8>(p));
  if (byteCount >= 4) {
    mix(Chunk<4>(p));
    byteCount -= 4;
    p += 4;
  }
  if (byteCount >= 2) {
    mix(Chunk<2>(p));
    byteCount -= 2;
    p += 2;
  }
  if (byteCount) mix(Chunk<1>(p));
  return h;
}

uint64_t String::Hash() const { return HashBytes(wchar(), 2 * static_cast<size_t>(length)); }

}  // namespace zx
