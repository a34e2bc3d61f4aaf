// The guess of a charset from wide text: each character falls into script classes
// (bits); one class names its font charset, several leave the decision to the
// default code page of String.
// Threads: any thread; no state.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zx {

class String;

// Script classes.
constexpr uint32_t kCharsetClassJapanese = 0x01;
constexpr uint32_t kCharsetClassHan = 0x07;   // ideographs: Japanese and both Chinese classes
constexpr uint32_t kCharsetClassHangul = 0x08;
constexpr uint32_t kCharsetClassThai = 0x10;
constexpr uint32_t kCharsetClassGreek = 0x20;
constexpr uint32_t kCharsetClassCyrillic = 0x40;
constexpr uint32_t kCharsetClassArabic = 0x80;
constexpr uint32_t kCharsetClassHebrew = 0x100;

// Font charset numbers the guess answers with.
constexpr int kFontCharsetAnsi = 0;
constexpr int kFontCharsetShiftJis = 128;
constexpr int kFontCharsetHangul = 129;
constexpr int kFontCharsetGb2312 = 134;
constexpr int kFontCharsetBig5 = 136;
constexpr int kFontCharsetGreek = 161;
constexpr int kFontCharsetHebrew = 177;
constexpr int kFontCharsetArabic = 178;
constexpr int kFontCharsetRussian = 204;
constexpr int kFontCharsetThai = 222;

// The classes of one character (0 for none).
uint32_t CharsetClassOf(char16_t ch);
// The classes of `length` characters, ORed.
uint32_t CharsetClassesOf(const char16_t* text, size_t length);
// The font charset for a set of classes: 0 for none; one class its own charset;
// several by the default code page (932, 936, 949, 950; anything else 0).
int FontCharsetFromClasses(uint32_t classes, uint32_t defaultCodePage);

// The guess with String's default code page. A null text gives 0.
int GuessLikelyCharset(const char16_t* text);
int GuessLikelyCharset(const String& text);

}  // namespace zx
