#include "prof/ProfReader.h"

#include <new>

#include "file/File.h"

namespace zx {
namespace {

// One request reads at most this much, so that the 32-bit count of Read holds.
constexpr uint64_t kReadChunk = 1u << 30;

// Reads `size` bytes in as few requests as the count type allows; the bytes done.
uint64_t ReadAll(clsFile& file, void* buffer, uint64_t size) {
  uint64_t done = 0;
  while (done < size) {
    const uint64_t want = size - done < kReadChunk ? size - done : kReadChunk;
    const uint32_t got = file.Read(static_cast<char*>(buffer) + done, static_cast<uint32_t>(want));
    done += got;
    if (got == 0) break;  // a stream may hand out less than asked and still have more
  }
  return done;
}

template <class Char>
bool IsBreak(Char c) { return c == '\r' || c == '\n'; }
template <class Char>
bool IsBlank(Char c) { return c == ' ' || c == '\t'; }

// Skips line ends, then blanks; the start of the next line (at the terminator
// when nothing is left).
template <class Char>
Char* SkipToLine(Char* p) {
  while (IsBreak(*p)) ++p;
  while (IsBlank(*p)) ++p;
  return p;
}

template <class Char>
Char* LineEnd(Char* p) {
  while (*p && !IsBreak(*p)) ++p;
  return p;
}

// Cuts the line at `p` in place and moves the cursor behind it; null at the end.
template <class Char>
Char* CutLine(Char*& cursor, size_t* length) {
  Char* start = SkipToLine(cursor);
  if (*start == 0) {
    cursor = start;
    return nullptr;
  }
  Char* end = LineEnd(start);
  *length = static_cast<size_t>(end - start);
  if (*end) {
    *end = 0;
    cursor = end + 1;
  } else {
    cursor = end;  // the data's terminator: the next request reports the end
  }
  return start;
}

// Whether every byte below 0x80 is the same character in this code page.
bool KeepsAscii(uint32_t cp) {
  return cp == 65001 || (cp >= 1250 && cp <= 1258) || cp == 437 || cp == 850 || cp == 858 || cp == 20127 ||
         (cp >= 28591 && cp <= 28605);
}

bool IsAscii(const char* p, size_t n) {
  unsigned char any = 0;
  for (size_t i = 0; i < n; ++i) any |= static_cast<unsigned char>(p[i]);
  return any < 0x80;
}

}  // namespace

clsProfReader::clsProfReader(clsFile& source, int32_t textEncoding) : file(&source), encoding(textEncoding) {
  const uint64_t size = source.GetSize();
  const uint64_t pos = source.GetPos();
  const uint64_t rest = size == kAllOnes64 || pos == kAllOnes64 || pos > size ? 0 : size - pos;
  if (encoding == kUtf16LE || encoding == kUtf16BE) {
    codePage = 65535;
    const uint64_t units = rest / 2;  // an odd last byte is not part of the text
    wideText.reset(new (std::nothrow) char16_t[units + 2]);
    if (!wideText) return;
    const uint64_t got = ReadAll(source, wideText.get(), units * 2);
    const uint64_t kept = got < units * 2 ? 0 : units;
    wideText[kept] = 0;
    wideText[kept + 1] = 0;
    wideCursor = wideText.get();
    return;
  }
  codePage = encoding == kUtf8 ? 65001 : 0;
  converter.reset(new (std::nothrow) clsCharsetConversionStringCP(codePage));
  if (!converter) return;
  narrowText.reset(new (std::nothrow) char[rest + 2]);
  if (!narrowText) return;
  const uint64_t got = ReadAll(source, narrowText.get(), rest);
  narrowText[got] = 0;
  narrowText[got + 1] = 0;
  narrowCursor = narrowText.get();
}

char16_t* clsProfReader::NextLine() {
  size_t length = 0;
  if (wideText) return CutLine(wideCursor, &length);
  if (!narrowText) return nullptr;
  char* line = CutLine(narrowCursor, &length);
  if (line == nullptr) return nullptr;
  if (KeepsAscii(converter->EffectiveCodePage()) && IsAscii(line, length)) {
    if (length + 1 > asciiCapacity) {
      const size_t capacity = length + 1 < 256 ? 256 : 2 * (length + 1);
      asciiLine.reset(new (std::nothrow) char16_t[capacity]);
      asciiCapacity = asciiLine ? capacity : 0;
    }
    if (asciiLine) {
      for (size_t i = 0; i < length; ++i) asciiLine[i] = static_cast<unsigned char>(line[i]);
      asciiLine[length] = 0;
      return asciiLine.get();
    }
  }
  converter->Assign(line, length);
  // The converter's wide text is its own copy, so the parser may change it in place.
  return const_cast<char16_t*>(converter->wide());
}

std::u16string clsProfReader::PeekLine(size_t* fullLength) {
  *fullLength = 0;
  if (wideText) {
    const char16_t* start = SkipToLine(wideCursor);
    const char16_t* end = LineEnd(start);
    *fullLength = static_cast<size_t>(end - start);
    return std::u16string(start, *fullLength < kPeekLimit ? *fullLength : kPeekLimit);
  }
  if (!narrowText) return {};
  const char* start = SkipToLine(narrowCursor);
  const char* end = LineEnd(start);
  *fullLength = static_cast<size_t>(end - start);
  clsCharsetConversionStringCP peek(codePage);
  peek.Assign(start, *fullLength < kPeekLimit ? *fullLength : kPeekLimit);
  return std::u16string(peek.wide());
}

}  // namespace zx
