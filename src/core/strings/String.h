// String and IString: the library's one text type. UTF-16 text in a shared buffer
// record counted atomically, with copy-on-write. Copying a String is one atomic
// increment and never allocates; IString is the same string compared without case
// (the key type of dictionaries). clsCHARString is a small narrow companion.
// Errors: nothing throws. An edit that runs out of memory, or would pass
// kWholeString characters, leaves the string as it was; the functions that can fail
// otherwise say so below (false, 0 or an ERR line).
// Threads: copies may live on different threads (the count is atomic and every edit
// unshares first). One String object is never used by two threads at once, not even
// for reading through narrow(), which caches its narrow copy in the object.
//
//   String name(u"report");
//   String copy = name;          // shares the buffer
//   copy.Append(u".txt");        // copy unshares; name is still "report"
#pragma once
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/bstr.h"
#include "platform/compiler.h"

namespace zx {

// Every count means "the whole rest" at this value; it is also the longest string.
constexpr int64_t kWholeString = 0x7FFFFFFD;

// The shared buffer record: one 16-byte aligned block of 24 bytes plus two bytes
// per character of capacity; the text follows the record in the same block.
struct scStringBuffer {
  char16_t* chars;
  int64_t capacity;             // characters, room for the terminator included
  std::atomic<int32_t> usage;   // 1 for a new buffer
};
static_assert(sizeof(scStringBuffer) == 24, "buffer record is 24 bytes");
static_assert(offsetof(scStringBuffer, chars) == 0 && offsetof(scStringBuffer, capacity) == 8 &&
                  offsetof(scStringBuffer, usage) == 16,
              "buffer record field order");

// The static empty texts that stand for every empty or missing text.
inline constexpr char16_t kEmptyWide[1] = {0};
inline constexpr char kEmptyNarrow[1] = {0};

// Capacity rule of every growing operation: n + 8 with the low three bits cleared,
// at least 8.
constexpr int64_t StringCapacityFor(int64_t n) {
  int64_t c = (n + 8) & ~int64_t{7};
  return c < 8 ? 8 : c;
}

// Buffer records (StringBuffer.cc). Allocate returns null when memory is short.
scStringBuffer* AllocateStringBuffer(int64_t capacity);
// The slow end of a release: frees the block when `left` is 0; a negative `left`
// is a double release: "WRN: String buffer released twice (usage=%d)", then a
// debugger break or a stack trace (see core/StackTraceHook.h).
void StringBufferReleased(scStringBuffer* buffer, int32_t left);
// The count is atomic; while the process has only ever had one thread, plain loads
// and stores of it do the same without the cost of a locked instruction (see
// plat::OnlyThread for why that cannot race).
inline void AddStringBufferRef(scStringBuffer* buffer) {
  if (plat::OnlyThread())
    buffer->usage.store(buffer->usage.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  else
    buffer->usage.fetch_add(1, std::memory_order_relaxed);
}
// Decrements usage (null: nothing); the last owner frees the block.
inline void ReleaseStringBuffer(scStringBuffer* buffer) {
  if (!buffer) return;
  int32_t left;
  if (plat::OnlyThread()) {
    left = buffer->usage.load(std::memory_order_relaxed) - 1;
    buffer->usage.store(left, std::memory_order_relaxed);
  } else {
    left = buffer->usage.fetch_sub(1, std::memory_order_acq_rel) - 1;
  }
  if (left <= 0) StringBufferReleased(buffer, left);
}

namespace detail {
// Wild writes through String::operator[] land here; the library never resets it.
inline char16_t g_outOfRangeCell = 0;
// Writes the WRN line of a wild write.
void ReportWildWrite();
}  // namespace detail

// Tag for the formatting constructor: String s(kFormat, u"%d items", n). An enum,
// not an empty struct: mingw's va_start miscounts behind an empty-class parameter.
enum FormatTag { kFormat };

class String {
 public:
  // ---- construction and assignment
  String();
  String(const char16_t* text, int64_t start = 0, int64_t count = kWholeString);  // NOLINT
  String(std::u16string_view text);                                                 // NOLINT
  // Narrow text in the default code page.
  explicit String(const char* text, int64_t start = 0, int64_t count = kWholeString);
  String(FormatTag, const char16_t* format, ...);
  String(const String& other)   // shares the buffer: one atomic increment
      : length(other.length), buffer(other.buffer), codePage(other.codePage) {
    if (buffer) AddStringBufferRef(buffer);
  }
  String(String&& other) noexcept;
  virtual ~String() {
    ReleaseStringBuffer(buffer);
    if (narrowCopy) DropNarrow();
    if (detail::g_outOfRangeCell) detail::ReportWildWrite();
  }

  String& operator=(const String& other);
  String& operator=(String&& other) noexcept;
  String& operator=(const char16_t* text) { Assign(text); return *this; }

  // ---- virtual slots, in this order
  virtual bool IsCaseSensitive() const;
  // Comparison with a count of characters (negative: whole strings). Answers
  // -1, 0 or 1.
  virtual int Compare(const String& other, int64_t count = -1) const;
  virtual int Compare(const char16_t* other, int64_t count = -1) const;
  virtual int CompareLocale(const String& other, int64_t count = -1) const;
  // Called before each modification; does nothing here.
  virtual void OnChange();

  // ---- text access
  const char16_t* wchar() const { return buffer ? buffer->chars : kEmptyWide; }
  // The narrow copy in codePage; valid until the next change or destruction.
  const char* narrow() const;
  int64_t Length() const { return length; }
  bool IsEmpty() const { return length == 0; }
  std::u16string_view View() const { return {wchar(), static_cast<size_t>(length)}; }
  uint32_t CodePage() const { return static_cast<uint32_t>(codePage); }
  void SetCodePage(uint32_t cp);

  // Reading: 0 at or behind the end, for a negative index, and without a buffer.
  char16_t GetAt(int64_t index) const;
  char16_t operator[](int64_t index) const { return GetAt(index); }
  // Writing: a reference into the (then private) text, or to the out-of-range cell.
  char16_t& operator[](int64_t index);

  // ---- edit operations (each makes the buffer private first)
  void Assign(const char16_t* text);
  void Assign(const char16_t* text, int64_t start, int64_t count);
  // Narrow range in this string's codePage (0: bytes are widened one by one).
  void Assign(const char* text, int64_t start = 0, int64_t count = kWholeString);
  void Clear();
  void Fill(char16_t ch, int64_t count);
  void Append(char16_t ch) {   // the fast path: a private block with room
    if (ch && buffer && !narrowCopy && buffer->usage.load(std::memory_order_acquire) == 1 &&
        buffer->capacity >= StringCapacityFor(length + 1)) {
      OnChange();
      buffer->chars[length++] = ch;
      buffer->chars[length] = 0;
      return;
    }
    if (ch) AppendRaw(&ch, 1);
  }
  void Append(const char16_t* text);
  void Append(const char16_t* text, int64_t count);
  void Append(const String& text);
  // Adds the separator first unless this string is empty.
  void Append(const String& text, char16_t separator);
  void Append(const String& text, const String& separator);
  String Left(int64_t count) const;
  String Right(int64_t count) const;
  String Mid(int64_t start, int64_t count = kWholeString) const;
  void TrimLeft();                       // leading U+0020
  void TrimRight(char16_t ch = u' ');    // that character, at the end
  void Insert(int64_t position, const char16_t* text);
  void Delete(int64_t position, int64_t count = kWholeString);
  void Replace(int64_t position, int64_t count, const char16_t* text);
  int64_t ReplaceChar(char16_t oldCh, char16_t newCh);
  int64_t ReplaceAll(const char16_t* find, const char16_t* replace);
  String Quote() const;
  // Locale case mapping for the user default locale (see MapString).
  void ToUpper();
  void ToLower();
  // LCMapString with the given flags and locale; returns the mapped length with
  // the terminator, or 0 (failure: the ERR line, the text unchanged).
  int MapString(uint32_t flags, uint32_t locale);

  // Makes room for `count` characters (plus terminator) and keeps the text; for
  // writers that fill the buffer themselves and then call SetLength.
  char16_t* Reserve(int64_t count);
  // Sets the length after a direct write (clipped to the capacity) and terminates.
  void SetLength(int64_t count);

  // ---- factories
  // printf semantics of the wide C runtime. Returns the printed length when a
  // heap buffer was needed, else 0; "<printf format error>" on a failed check.
  int Format(const char16_t* format, ...);
  int VFormat(const char16_t* format, va_list args);
  // String resource `id` of `module` (null: this library) in the UI language,
  // expanded with the message inserts (%1, %2!d!, %n, ...). False when not found.
  bool Message(const void* module, uint32_t id, ...);
  bool VMessageResource(const void* module, uint32_t id, va_list* args);
  // Expands the message inserts of `format`; a null `args` fails on any insert.
  bool VMessage(const char16_t* format, va_list* args);
  // System error text with " (%08lx)" appended, or "(error code %#08lx)".
  static String SystemMessage(uint32_t code, uint16_t langId = 0);
  // GetLocaleInfoW of the user default locale.
  static String LocaleInfo(uint32_t lcType);
  // Copies into a new (null *bstr) or existing OLE string. False on failure or a
  // null bstr pointer.
  bool CopyToBSTR(plat::Bstr* bstr) const;

  // ---- hashing: 64 bits over the UTF-16 bytes
  uint64_t Hash() const;

  // ---- process-wide values
  // The default code page (16 bits) each new String takes. Set under the option
  // lock, read without it; starts as the system's ANSI code page.
  static uint16_t DefaultCodePage();
  static void SetDefaultCodePage(uint16_t codePage);
  // The shared empty constant; returning it shares its (absent) buffer.
  static const String& Empty();
  // The cell that wild index writes land in; 0 in a correct program.
  static char16_t OutOfRangeCell();
  static void ResetOutOfRangeCellForTests();

  // ---- observation (tests, diagnostics)
  int32_t BufferUsage() const { return buffer ? buffer->usage.load() : 0; }
  int64_t Capacity() const { return buffer ? buffer->capacity : 0; }
  bool SharesBufferWith(const String& other) const {
    return buffer != nullptr && buffer == other.buffer;
  }
  bool HasNarrowCopy() const { return narrowCopy != nullptr; }

 protected:
  // The single comparison routine behind every slot.
  int CompareWith(const char16_t* other, int64_t count, bool locale) const;

 private:
  friend class IString;
  // Copy-on-write: releases a shared buffer (cloning it when keepText), drops the
  // narrow copy and calls OnChange.
  void MakePrivate(bool keepText) {
    if (buffer && buffer->usage.load(std::memory_order_acquire) >= 2) Unshare(keepText);
    if (narrowCopy) DropNarrow();
    OnChange();
  }
  void Unshare(bool keepText);
  // Ensures capacity for `needed` characters plus terminator; false when out of
  // memory or too long (the string is then left as it was).
  bool Grow(int64_t needed, bool keepText) {
    if (buffer && needed >= 0 && buffer->capacity >= StringCapacityFor(needed)) return true;
    return Reallocate(needed, keepText);
  }
  bool Reallocate(int64_t needed, bool keepText);
  void SetText(const char16_t* text, int64_t count);
  void AppendRaw(const char16_t* text, int64_t count);
  void DropNarrow() const;
  void ShareFrom(const String& other);
  bool PointsIntoBuffer(const char16_t* p) const {
    return buffer && p >= buffer->chars && p < buffer->chars + buffer->capacity;
  }

  int64_t length = 0;
  scStringBuffer* buffer = nullptr;
  int32_t reserved = -1;
  int32_t codePage;
  mutable char* narrowCopy = nullptr;
};

// A String compared without case.
class IString : public String {
 public:
  IString() = default;
  IString(const String& other) : String(other) {}                    // NOLINT
  IString(String&& other) noexcept : String(std::move(other)) {}     // NOLINT
  IString(const char16_t* text) : String(text) {}                    // NOLINT
  IString(const IString& other) = default;
  IString(IString&& other) noexcept = default;
  IString& operator=(const IString& other) = default;
  IString& operator=(IString&& other) noexcept = default;
  IString& operator=(const String& other) { String::operator=(other); return *this; }
  IString& operator=(const char16_t* text) { Assign(text); return *this; }
  ~IString() override;

  bool IsCaseSensitive() const override;
};

// Comparisons go through the left operand's virtual Compare, so an IString on the
// left compares without case.
inline bool operator==(const String& a, const String& b) { return a.Compare(b) == 0; }
inline bool operator<(const String& a, const String& b) { return a.Compare(b) < 0; }
inline bool operator==(const String& a, const char16_t* b) { return a.Compare(b) == 0; }
inline bool operator<(const String& a, const char16_t* b) { return a.Compare(b) < 0; }

// The comparison routine on plain texts (null reads as empty): count 0 or the same
// pointer give 0; negative count compares whole strings; `locale` compares with
// the cached UI language. Answers -1, 0 or 1.
int CompareText(const char16_t* a, const char16_t* b, int64_t count, bool locale,
                bool caseSensitive);
// The user's UI language, asked once and cached.
uint16_t CachedUILanguage();
void ResetUILanguageForTests();

// Index of `needle` in `text` from `start`, or -1; an empty needle gives -1.
int64_t FindSubstring(const char16_t* text, const char16_t* needle, int64_t start = 0);
int64_t FindSubstring(std::u16string_view text, std::u16string_view needle, int64_t start);

// The 64-bit text hash over `byteCount` bytes.
uint64_t HashBytes(const void* data, size_t byteCount);

// The decision word of the case mapper for a locale: 1 classic, 2 extended. Only
// the invariant locale (127) can be extended: from system version 6.1 on, and on
// 6.0 when HKLM "software\zarnik" EnableMapStringEx begins with "T". Cached.
int MapStringFlavour(uint32_t locale);
int DecideMapStringFlavour(uint32_t systemVersion);   // uncached, for the invariant locale
void ResetMapStringFlavourForTests();

// Narrow companion: owned bytes and their length.
class clsCHARString {
 public:
  clsCHARString() = default;
  clsCHARString(const char* text, int64_t count = kWholeString);   // NOLINT
  clsCHARString(const clsCHARString& other);
  clsCHARString& operator=(const clsCHARString& other);
  virtual ~clsCHARString();

  const char* Chars() const { return chars ? chars : kEmptyNarrow; }
  int64_t Length() const { return length; }
  // With a non-zero code page the text is converted, otherwise widened byte by
  // byte; a null or empty text gives the shared empty string.
  String ToString(uint32_t codePage) const;

 private:
  char* chars = nullptr;
  int64_t length = 0;
};

}  // namespace zx

// The text types are also known unqualified, as the containers name them.
using zx::clsCHARString;
using zx::IString;
using zx::String;
