// String: construction, assignment, access, the index cell and the process-wide
// values; IString's slot.
#include "core/strings/String.h"

#include <cstring>

#include "core/diag/Diag.h"
#include "core/format/Format.h"
#include "platform/codepage.h"
#include "platform/lock.h"
#include "platform/locale.h"

namespace zx {

static_assert(sizeof(String) == 40, "vtable, length, buffer, reserved, codePage, narrowCopy");

namespace {

// The default code page. 0xFFFFFFFF until first asked, so that a String built
// during static construction still gets the system's ANSI code page.
constexpr uint32_t kUnset = 0xFFFFFFFF;
std::atomic<uint32_t> g_defaultCodePage{kUnset};

plat::CriticalSection& OptionLock() {
  static plat::CriticalSection cs;
  return cs;
}

// The formatter widens %hs and %S in String's default code page.
uint32_t FormatCodePageOfString() { return String::DefaultCodePage(); }
const bool g_formatCodePageInstalled = (SetFormatCodePageSource(&FormatCodePageOfString), true);

}  // namespace

void detail::ReportWildWrite() {
  DiagLine(u"WRN: detected write to String::operator[] with index out of bounds");
}

// ---- process-wide values

uint16_t String::DefaultCodePage() {
  uint32_t cp = g_defaultCodePage.load(std::memory_order_relaxed);
  if (cp != kUnset) return static_cast<uint16_t>(cp);
  plat::Lock lock(OptionLock());
  cp = g_defaultCodePage.load(std::memory_order_relaxed);
  if (cp == kUnset) {
    cp = plat::AnsiCodePage() & 0xFFFF;
    g_defaultCodePage.store(cp, std::memory_order_relaxed);
  }
  return static_cast<uint16_t>(cp);
}

void String::SetDefaultCodePage(uint16_t cp) {
  plat::Lock lock(OptionLock());
  g_defaultCodePage.store(cp, std::memory_order_relaxed);
}

const String& String::Empty() {
  static const String empty;
  return empty;
}

char16_t String::OutOfRangeCell() { return detail::g_outOfRangeCell; }
void String::ResetOutOfRangeCellForTests() { detail::g_outOfRangeCell = 0; }

// ---- construction

String::String() : codePage(DefaultCodePage()) {}

String::String(const char16_t* text, int64_t start, int64_t count) : codePage(DefaultCodePage()) {
  if (start == 0 && count == kWholeString)
    Assign(text);
  else
    Assign(text, start, count);
}

String::String(std::u16string_view text) : codePage(DefaultCodePage()) {
  SetText(text.data(), static_cast<int64_t>(text.size()));
}

String::String(const char* text, int64_t start, int64_t count) : codePage(DefaultCodePage()) {
  Assign(text, start, count);
}

String::String(FormatTag, const char16_t* format, ...) : codePage(DefaultCodePage()) {
  va_list ap;
  va_start(ap, format);
  VFormat(format, ap);
  va_end(ap);
}

String::String(String&& other) noexcept
    : length(other.length), buffer(other.buffer), codePage(other.codePage) {
  other.buffer = nullptr;
  other.length = 0;
  other.DropNarrow();
}

IString::~IString() = default;

void String::ShareFrom(const String& other) {
  if (other.buffer) AddStringBufferRef(other.buffer);
  ReleaseStringBuffer(buffer);
  buffer = other.buffer;
  length = other.length;
}

String& String::operator=(const String& other) {
  if (this == &other) return *this;
  if (buffer == other.buffer && (!narrowCopy || codePage == other.codePage)) {
    codePage = other.codePage;
    return *this;
  }
  DropNarrow();
  ShareFrom(other);
  codePage = other.codePage;
  return *this;
}

String& String::operator=(String&& other) noexcept {
  if (this == &other) return *this;
  ReleaseStringBuffer(buffer);
  DropNarrow();
  buffer = other.buffer;
  length = other.length;
  codePage = other.codePage;
  other.buffer = nullptr;
  other.length = 0;
  other.DropNarrow();
  return *this;
}

void String::SetCodePage(uint32_t cp) {
  if (static_cast<uint32_t>(codePage) == cp) return;
  DropNarrow();
  codePage = static_cast<int32_t>(cp);
}

// ---- access

char16_t String::GetAt(int64_t index) const {
  if (!buffer || index < 0 || index >= length) return 0;
  return buffer->chars[index];
}

char16_t& String::operator[](int64_t index) {
  if (!buffer || index < 0 || index >= length) return detail::g_outOfRangeCell;
  MakePrivate(true);
  if (!buffer) return detail::g_outOfRangeCell;
  return buffer->chars[index];
}

void String::DropNarrow() const {
  delete[] narrowCopy;
  narrowCopy = nullptr;
}

// ---- OLE strings and locale data

bool String::CopyToBSTR(plat::Bstr* bstr) const {
  if (!bstr) return false;
  auto n = static_cast<uint32_t>(length);
  if (!*bstr) {
    *bstr = plat::SysAllocLen(wchar(), n);
    return *bstr != nullptr;
  }
  return plat::SysReAllocLen(bstr, wchar(), n);
}

String String::LocaleInfo(uint32_t lcType) {
  String out;
  int need = plat::LocaleInfo(plat::kLocaleUserDefault, lcType, nullptr, 0);
  if (need <= 0) return out;
  char16_t* dst = out.Reserve(need);
  if (!dst) return out;
  int got = plat::LocaleInfo(plat::kLocaleUserDefault, lcType, dst, need);
  out.SetLength(got > 0 ? got - 1 : 0);
  return out;
}

bool String::IsCaseSensitive() const { return true; }
bool IString::IsCaseSensitive() const { return false; }
void String::OnChange() {}

}  // namespace zx
