#include "core/charset/CharsetGuess.h"

#include <bit>

#include "core/strings/String.h"

namespace zx {
namespace {

struct scClassRange {
  char16_t first;
  char16_t last;
  uint32_t classes;
};

// Ordered by code point.
constexpr scClassRange kRanges[] = {
    {0x0370, 0x03FF, kCharsetClassGreek},   {0x0400, 0x052F, kCharsetClassCyrillic},
    {0x0590, 0x05FF, kCharsetClassHebrew},  {0x0600, 0x06FF, kCharsetClassArabic},
    {0x0E00, 0x0E7F, kCharsetClassThai},    {0x1100, 0x11FF, kCharsetClassHangul},
    {0x1F00, 0x1FFF, kCharsetClassGreek},   {0x3040, 0x30FF, kCharsetClassJapanese},
    {0x3130, 0x318F, kCharsetClassHangul},  {0x3300, 0x3357, kCharsetClassJapanese},
    {0x3400, 0x4DFF, kCharsetClassHangul},  {0x4E00, 0x9FAF, kCharsetClassHan},
    {0xAC00, 0xD7A3, kCharsetClassHangul},  {0xFE70, 0xFEFF, kCharsetClassArabic},
};

}  // namespace

uint32_t CharsetClassOf(char16_t ch) {
  if (ch < kRanges[0].first) return 0;  // Latin, the common case
  for (const scClassRange& r : kRanges) {
    if (ch < r.first) return 0;
    if (ch <= r.last) return r.classes;
  }
  return 0;
}

uint32_t CharsetClassesOf(const char16_t* text, size_t length) {
  uint32_t classes = 0;
  for (size_t i = 0; i < length; ++i) classes |= CharsetClassOf(text[i]);
  return classes;
}

int FontCharsetFromClasses(uint32_t classes, uint32_t defaultCodePage) {
  if (classes == 0) return kFontCharsetAnsi;
  if (std::popcount(classes) > 1) {
    switch (defaultCodePage) {
      case 932: return kFontCharsetShiftJis;
      case 936: return kFontCharsetGb2312;
      case 949: return kFontCharsetHangul;
      case 950: return kFontCharsetBig5;
      default: return kFontCharsetAnsi;
    }
  }
  switch (classes) {
    case kCharsetClassGreek: return kFontCharsetGreek;
    case kCharsetClassCyrillic: return kFontCharsetRussian;
    case kCharsetClassHebrew: return kFontCharsetHebrew;
    case kCharsetClassArabic: return kFontCharsetArabic;
    case kCharsetClassThai: return kFontCharsetThai;
    case kCharsetClassHangul: return kFontCharsetHangul;
    case kCharsetClassJapanese: return kFontCharsetShiftJis;
    default: return kFontCharsetAnsi;  // unreachable: every single class is named above
  }
}

int GuessLikelyCharset(const char16_t* text) {
  if (!text) return kFontCharsetAnsi;
  size_t length = 0;
  while (text[length] != 0) ++length;
  return FontCharsetFromClasses(CharsetClassesOf(text, length), String::DefaultCodePage());
}

int GuessLikelyCharset(const String& text) {
  return FontCharsetFromClasses(CharsetClassesOf(text.wchar(), static_cast<size_t>(text.Length())),
                                String::DefaultCodePage());
}

}  // namespace zx
