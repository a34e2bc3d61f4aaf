#include "core/strings/CharsetConversion.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <type_traits>

#include "core/strings/String.h"
#include "platform/codepage.h"

namespace zx {
namespace {

using Conv = clsCharsetConversionString;
constexpr size_t kInline = Conv::kInlineUnits;
// The system converters count in int; longer texts are cut there.
constexpr size_t kMaxUnits = INT_MAX - 1;

size_t BoundedLength(const char16_t* s, size_t max) {
  size_t n = 0;
  while (n < max && s[n] != 0) ++n;
  return n;
}

size_t BoundedLength(const char* s, size_t max) {
  const void* end = std::memchr(s, 0, max);
  return end ? static_cast<size_t>(static_cast<const char*>(end) - s) : max;
}

// Inline storage for up to kInline units (terminator included), else one heap
// block; null when memory is short.
template <class C>
C* Storage(C* inlineBuffer, size_t units) {
  return units <= kInline ? inlineBuffer : new (std::nothrow) C[units];
}

template <class C>
void Free(C*& p, const C* inlineBuffer) {
  if (p != inlineBuffer) delete[] p;
  p = nullptr;
}

// strncpy semantics (stop at the terminator, pad with zeros up to size) and a
// forced terminator at size - 1. size must be at least 1.
template <class C>
void CopyTerminated(C* dst, const C* src, size_t size) {
  size_t i = 0;
  for (; i < size && src[i] != 0; ++i) dst[i] = src[i];
  for (; i < size; ++i) dst[i] = 0;
  dst[size - 1] = 0;
}

// Bytes below 0x80 are the same characters in 1252 and UTF-8, so a text made only
// of them (the common case of names and paths) is copied without the converter.
// False when the text has another unit or does not fit; dst may then hold a part.
template <class To, class From>
bool CopyIfAscii(uint32_t cp, const From* src, int n, To* dst, int cap) {
  if ((cp != plat::kCp1252 && cp != plat::kCpUtf8) || !dst || n > cap) return false;
  for (int i = 0; i < n; ++i) {
    auto unit = static_cast<std::make_unsigned_t<From>>(src[i]);
    if (unit >= 0x80) return false;
    dst[i] = static_cast<To>(unit);
  }
  return true;
}

// One direction of conversion each. n > 0; a null dst with cap 0 measures.
int ToWide(uint32_t cp, const char* src, int n, char16_t* dst, int cap) {
  if (cp == Conv::kByteForByte) {
    if (!dst) return n;
    int m = std::min(n, cap);
    for (int i = 0; i < m; ++i) dst[i] = static_cast<unsigned char>(src[i]);
    return m;
  }
  if (CopyIfAscii(cp, src, n, dst, cap)) return n;
  return plat::MultiByteToWide(cp, MultiByteFlagsFor(cp), src, n, dst, cap);
}

int ToNarrow(uint32_t cp, const char16_t* src, int n, char* dst, int cap) {
  if (cp == Conv::kByteForByte) {
    if (!dst) return n;
    int m = std::min(n, cap);
    for (int i = 0; i < m; ++i) dst[i] = static_cast<char>(src[i] & 0xFF);
    return m;
  }
  if (CopyIfAscii(cp, src, n, dst, cap)) return n;
  return plat::WideToMultiByte(cp, 0, src, n, dst, cap);
}

// Converts n > 0 units into new storage (inline when the result is shorter than
// kInline units), terminated. Null when the converter fails or memory is short:
// the caller then reads the empty text, which is what the system gave. A short
// text is converted straight into the inline storage; only when that fails (the
// result is longer) is the result measured for a heap block.
template <class To, class From, class Fn>
To* ConvertToStorage(Fn convert, uint32_t cp, const From* src, size_t n, To* inlineBuffer) {
  int len = static_cast<int>(std::min(n, kMaxUnits));
  if (n < kInline) {
    int got = convert(cp, src, len, inlineBuffer, static_cast<int>(kInline - 1));
    if (got > 0) {
      inlineBuffer[got] = 0;
      return inlineBuffer;
    }
  }
  int need = convert(cp, src, len, nullptr, 0);
  if (need <= 0) return nullptr;
  To* dst = Storage(inlineBuffer, static_cast<size_t>(need) + 1);
  if (!dst) return nullptr;
  int got = convert(cp, src, len, dst, need);
  dst[got > 0 ? got : 0] = 0;
  return dst;
}

// Converts n units into a work buffer of cap >= 1 units, keeping the first cap - 1
// units of the result, terminated.
template <class To, class From, class Fn>
void ConvertIntoBuffer(Fn convert, uint32_t cp, const From* src, size_t n, To* dst, size_t cap) {
  dst[0] = 0;
  if (n == 0 || cap < 2) return;
  int len = static_cast<int>(std::min(n, kMaxUnits));
  int room = static_cast<int>(std::min(cap - 1, kMaxUnits));
  int got = convert(cp, src, len, dst, room);
  if (got > 0) {
    dst[got] = 0;
    return;
  }
  // Longer than the buffer: convert the whole text aside and keep its head.
  dst[0] = 0;
  int need = convert(cp, src, len, nullptr, 0);
  if (need <= 0) return;
  To* whole = new (std::nothrow) To[need];
  if (!whole) return;
  got = convert(cp, src, len, whole, need);
  size_t keep = std::min(static_cast<size_t>(got > 0 ? got : 0), cap - 1);
  std::copy(whole, whole + keep, dst);
  dst[keep] = 0;
  delete[] whole;
}

}  // namespace

clsCharsetConversionString::clsCharsetConversionString() noexcept = default;
clsCharsetConversionString::clsCharsetConversionString(uint32_t codePage) noexcept
    : codePage_(codePage) {}

clsCharsetConversionString::clsCharsetConversionString(const char16_t* text) noexcept {
  InitWide(text);
}
clsCharsetConversionString::clsCharsetConversionString(const char* text) noexcept {
  InitNarrow(text, kMaxUnits);
}
clsCharsetConversionString::clsCharsetConversionString(char* buffer, int size) noexcept {
  InitNarrowTarget(buffer, size);
}
clsCharsetConversionString::clsCharsetConversionString(char16_t* buffer, int size) noexcept {
  InitWideTarget(buffer, size);
}

clsCharsetConversionString::clsCharsetConversionString(uint32_t codePage,
                                                       const char16_t* text) noexcept
    : codePage_(codePage) {
  InitWide(text);
}
clsCharsetConversionString::clsCharsetConversionString(uint32_t codePage,
                                                       const char* text) noexcept
    : codePage_(codePage) {
  InitNarrow(text, kMaxUnits);
}
clsCharsetConversionString::clsCharsetConversionString(uint32_t codePage, char* buffer,
                                                       int size) noexcept
    : codePage_(codePage) {
  InitNarrowTarget(buffer, size);
}
clsCharsetConversionString::clsCharsetConversionString(uint32_t codePage, char16_t* buffer,
                                                       int size) noexcept
    : codePage_(codePage) {
  InitWideTarget(buffer, size);
}

clsCharsetConversionString::~clsCharsetConversionString() {
  WriteBack();
  ReleaseAll();
}

clsCharsetConversionStringCP::~clsCharsetConversionStringCP() = default;

void clsCharsetConversionString::InitWide(const char16_t* text) noexcept {
  if (!text) return;
  size_t n = BoundedLength(text, kMaxUnits);
  wide_ = Storage(wideInline_, n + 1);
  if (!wide_) return;
  std::copy(text, text + n, wide_);
  wide_[n] = 0;
}

void clsCharsetConversionString::InitNarrow(const char* text, size_t maxLength) noexcept {
  if (!text) return;
  size_t n = BoundedLength(text, std::min(maxLength, kMaxUnits));
  narrow_ = Storage(narrowInline_, n + 1);
  if (!narrow_) return;
  std::memcpy(narrow_, text, n);
  narrow_[n] = 0;
}

// The caller's buffer is read only as far as its size allows: a buffer without a
// terminator gives its first size - 1 bytes, a size of 0 reads nothing.
void clsCharsetConversionString::InitNarrowTarget(char* buffer, int size) noexcept {
  targetSize_ = size > 0 ? static_cast<uint32_t>(size) : 0;
  narrowTarget_ = buffer;
  if (!buffer) return;
  size_t cap = WorkCapacity();
  wide_ = Storage(wideInline_, cap);
  if (!wide_) return;
  ConvertIntoBuffer(ToWide, EffectiveCodePage(), buffer, BoundedLength(buffer, cap - 1), wide_,
                    cap);
}

void clsCharsetConversionString::InitWideTarget(char16_t* buffer, int size) noexcept {
  targetSize_ = size > 0 ? static_cast<uint32_t>(size) : 0;
  wideTarget_ = buffer;
  if (!buffer) return;
  size_t cap = WorkCapacity();
  narrow_ = Storage(narrowInline_, cap);
  if (!narrow_) return;
  ConvertIntoBuffer(ToNarrow, EffectiveCodePage(), buffer, BoundedLength(buffer, cap - 1),
                    narrow_, cap);
}

size_t clsCharsetConversionString::WorkCapacity() const noexcept {
  return targetSize_ > 0 ? targetSize_ : 1;
}

uint32_t clsCharsetConversionString::EffectiveCodePage() const noexcept {
  return codePage_ != kDefaultCodePage ? codePage_ : String::DefaultCodePage();
}

void clsCharsetConversionString::Assign(const char* text) noexcept {
  Assign(text, kMaxUnits);
}

void clsCharsetConversionString::Assign(const char* text, size_t length) noexcept {
  WriteBack();
  ReleaseAll();
  InitNarrow(text, length);
}

const char16_t* clsCharsetConversionString::wide() noexcept {
  if (wide_) {
    // A work buffer is whatever the callee left in it: keep reads inside it.
    if (narrowTarget_) wide_[WorkCapacity() - 1] = 0;
    return wide_;
  }
  if (!narrow_ || narrow_[0] == 0) return kEmptyWide;
  if (wideTarget_) narrow_[WorkCapacity() - 1] = 0;
  uint32_t cp = EffectiveCodePage();
  wide_ = ConvertToStorage(ToWide, cp, narrow_, std::strlen(narrow_), wideInline_);
  return wide_ ? wide_ : kEmptyWide;
}

const char* clsCharsetConversionString::narrow() noexcept {
  if (narrow_) {
    if (wideTarget_) narrow_[WorkCapacity() - 1] = 0;
    return narrow_;
  }
  if (!wide_ || wide_[0] == 0) return kEmptyNarrow;
  if (narrowTarget_) wide_[WorkCapacity() - 1] = 0;
  uint32_t cp = EffectiveCodePage();
  narrow_ = ConvertToStorage(ToNarrow, cp, wide_, BoundedLength(wide_, kMaxUnits), narrowInline_);
  return narrow_ ? narrow_ : kEmptyNarrow;
}

const char16_t* clsCharsetConversionString::wideOrNull() noexcept {
  return (wide_ || narrow_) ? wide() : nullptr;
}

const char* clsCharsetConversionString::narrowOrNull() noexcept {
  return (wide_ || narrow_) ? narrow() : nullptr;
}

char16_t* clsCharsetConversionString::wideBuffer() noexcept {
  return narrowTarget_ ? wide_ : nullptr;
}

char* clsCharsetConversionString::narrowBuffer() noexcept {
  return wideTarget_ ? narrow_ : nullptr;
}

// The target gets the other width freshly converted from the work buffer: a form
// cached earlier may predate what the callee wrote.
void clsCharsetConversionString::WriteBack() noexcept {
  if (targetSize_ == 0) return;
  if (narrowTarget_ && wide_) {
    Free(narrow_, narrowInline_);
    CopyTerminated(narrowTarget_, narrow(), targetSize_);
  } else if (wideTarget_ && narrow_) {
    Free(wide_, wideInline_);
    CopyTerminated(wideTarget_, wide(), targetSize_);
  }
}

void clsCharsetConversionString::ReleaseAll() noexcept {
  Free(wide_, wideInline_);
  Free(narrow_, narrowInline_);
  wideTarget_ = nullptr;
  narrowTarget_ = nullptr;
  targetSize_ = 0;
}

String StringFromNarrow(const char* text, int64_t length, uint32_t codePage) {
  if (!text || length == 0 || text[0] == 0) return String::Empty();
  clsCharsetConversionStringCP conv(codePage);
  conv.Assign(text, length < 0 ? kMaxUnits : static_cast<size_t>(length));
  return String(conv.wide());
}

}  // namespace zx
