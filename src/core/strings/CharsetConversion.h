// The conversion objects behind every narrow (A) export: one text held in both
// widths, converted on demand, with short texts kept inside the object so that a
// narrow call with a short name does not touch the heap.
//
// Three uses:
//   clsCharsetConversionString name(pszName);     // narrow input  -> name.wideOrNull()
//   clsCharsetConversionString out(pszBuf, size);  // narrow output -> out.wideBuffer()
//                                                  // is filled by the W call; the
//                                                  // destructor writes it back
//   clsCharsetConversionStringCP text(65001, psz); // the same in a given code page
// Threads: a conversion object is a local of one call, used by its thread only.
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/codepage.h"

namespace zx {

class String;

// The flags of every narrow-to-wide conversion in the library: none for UTF-8 (the
// converter accepts no others there), precomposed for every other code page. The
// wide-to-narrow direction always passes 0.
constexpr uint32_t MultiByteFlagsFor(uint32_t codePage) {
  return codePage == plat::kCpUtf8 ? 0 : plat::kMbPrecomposed;
}

class clsCharsetConversionString {
 public:
  // Code page 0 means the default code page of String (read at each conversion);
  // kByteForByte widens every byte to one character and narrows every character
  // to its low byte.
  static constexpr uint32_t kDefaultCodePage = 0;
  static constexpr uint32_t kByteForByte = 0xFFFFFFFF;
  // Texts of fewer units than this (terminator included: up to 63 characters), and
  // output buffers of up to this size, live inside the object.
  static constexpr int kInlineUnits = 64;

  clsCharsetConversionString() noexcept;
  // Input texts: the text is copied; a null text holds nothing (wide() and
  // narrow() give the empty text, the *OrNull forms null).
  explicit clsCharsetConversionString(const char16_t* text) noexcept;
  explicit clsCharsetConversionString(const char* text) noexcept;
  // Output parameters: the caller's buffer of `size` units is filled at the end of
  // life. The object offers a work buffer of the other width and the same size
  // (null when `buffer` is null) that starts with the buffer's present content.
  clsCharsetConversionString(char* buffer, int size) noexcept;
  clsCharsetConversionString(char16_t* buffer, int size) noexcept;
  virtual ~clsCharsetConversionString();

  clsCharsetConversionString(const clsCharsetConversionString&) = delete;
  clsCharsetConversionString& operator=(const clsCharsetConversionString&) = delete;

  // Writes back to a target and releases everything (the target included), then
  // holds a copy of `text` (at most `length` bytes, up to the first zero byte).
  void Assign(const char* text) noexcept;
  void Assign(const char* text, size_t length) noexcept;
  clsCharsetConversionString& operator=(const char* text) noexcept {
    Assign(text);
    return *this;
  }

  // The text in either width, converted when needed; never null.
  const char16_t* wide() noexcept;
  const char* narrow() noexcept;
  // The same, but null when the object was made from a null text (or around a null
  // output buffer): what an A export hands to its W export to keep null meaning null.
  const char16_t* wideOrNull() noexcept;
  const char* narrowOrNull() noexcept;

  // The work buffers of the output forms: `size()` units, terminated; null for any
  // other form or a null caller buffer.
  char16_t* wideBuffer() noexcept;   // for a narrow output buffer
  char* narrowBuffer() noexcept;     // for a wide output buffer
  int size() const noexcept { return static_cast<int>(targetSize_); }

  uint32_t codePage() const noexcept { return codePage_; }
  // The code page conversions use now: 0 resolved to String's default.
  uint32_t EffectiveCodePage() const noexcept;

 protected:
  // The code-page forms of the constructors, for clsCharsetConversionStringCP.
  explicit clsCharsetConversionString(uint32_t codePage) noexcept;
  clsCharsetConversionString(uint32_t codePage, const char16_t* text) noexcept;
  clsCharsetConversionString(uint32_t codePage, const char* text) noexcept;
  clsCharsetConversionString(uint32_t codePage, char* buffer, int size) noexcept;
  clsCharsetConversionString(uint32_t codePage, char16_t* buffer, int size) noexcept;

 private:
  void InitWide(const char16_t* text) noexcept;
  void InitNarrow(const char* text, size_t maxLength) noexcept;
  void InitNarrowTarget(char* buffer, int size) noexcept;
  void InitWideTarget(char16_t* buffer, int size) noexcept;
  size_t WorkCapacity() const noexcept;
  // Fills the target (strncpy semantics, forced terminator at targetSize - 1).
  void WriteBack() noexcept;
  // Frees both texts and detaches the target.
  void ReleaseAll() noexcept;

  char16_t* wide_ = nullptr;            // wide text, or null until asked for
  char* narrow_ = nullptr;              // narrow text, or null until asked for
  char16_t wideInline_[kInlineUnits];
  char narrowInline_[kInlineUnits];
  char16_t* wideTarget_ = nullptr;      // caller's wide buffer to fill at the end
  char* narrowTarget_ = nullptr;        // caller's narrow buffer to fill at the end
  uint32_t targetSize_ = 0;             // in units of the target
  uint32_t codePage_ = kDefaultCodePage;
};

// The same object in a fixed code page.
class clsCharsetConversionStringCP : public clsCharsetConversionString {
 public:
  explicit clsCharsetConversionStringCP(uint32_t codePage) noexcept
      : clsCharsetConversionString(codePage) {}
  clsCharsetConversionStringCP(uint32_t codePage, const char16_t* text) noexcept
      : clsCharsetConversionString(codePage, text) {}
  clsCharsetConversionStringCP(uint32_t codePage, const char* text) noexcept
      : clsCharsetConversionString(codePage, text) {}
  clsCharsetConversionStringCP(uint32_t codePage, char* buffer, int size) noexcept
      : clsCharsetConversionString(codePage, buffer, size) {}
  clsCharsetConversionStringCP(uint32_t codePage, char16_t* buffer, int size) noexcept
      : clsCharsetConversionString(codePage, buffer, size) {}
  ~clsCharsetConversionStringCP() override;

  using clsCharsetConversionString::operator=;
};

// Narrow text (at most `length` bytes, up to the first zero byte) converted to a
// String in `codePage` with the rules above (0: String's default code page,
// kByteForByte: byte-for-byte). A null or empty text gives the shared empty string.
String StringFromNarrow(const char* text, int64_t length, uint32_t codePage);

}  // namespace zx
