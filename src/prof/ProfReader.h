// clsProfReader: one whole profile file in memory, handed out line by line.
// The rest of the file behind the read position is read with one request into one
// buffer with two zero units behind it; lines are cut in place. UTF-16 input
// (encodings 1 and 2) is kept as 16-bit units as they come, without swapping;
// 8-bit input (0: the default code page, 3: UTF-8) is converted one line at a time;
// an all-ASCII line in a code page that keeps ASCII as it is (UTF-8, the Windows
// and common DOS Latin pages) is widened into one reused line buffer instead.
// Errors: Ok() is false when the buffer could not be allocated; a short read of
// UTF-16 input leaves the text empty, of 8-bit input keeps what arrived.
// Threads: a local of one load.
//
//   clsProfReader reader(file, kUtf16LE);
//   while (char16_t* line = reader.NextLine()) Use(line);
#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "core/strings/CharsetConversion.h"

namespace zx {

class clsFile;

class clsProfReader {
 public:
  // Reads everything from the file's position on. `encoding` is a GetUTFType
  // number (the byte-order mark is already behind the position).
  clsProfReader(clsFile& source, int32_t textEncoding);
  clsProfReader(const clsProfReader&) = delete;
  clsProfReader& operator=(const clsProfReader&) = delete;

  bool Ok() const { return wideText || narrowText; }

  // The next line: CR and LF, then blanks and tabs are skipped; the line runs to
  // the next CR, LF or the end, is terminated in place and starts at its first
  // non-blank character (its tail is not trimmed). Null at the end of the data.
  // The pointer stays valid until the next call; the text may be changed in place
  // up to its terminator.
  char16_t* NextLine();

  // The first line as NextLine would give it, without consuming anything: at most
  // kPeekLimit characters of it, and its full length (in units of the input).
  static constexpr size_t kPeekLimit = 256;
  std::u16string PeekLine(size_t* fullLength);

  clsFile* file;
  std::unique_ptr<char16_t[]> wideText;
  char16_t* wideCursor = nullptr;
  std::unique_ptr<char[]> narrowText;
  char* narrowCursor = nullptr;
  std::unique_ptr<clsCharsetConversionStringCP> converter;
  std::unique_ptr<char16_t[]> asciiLine;  // the widened ASCII line
  size_t asciiCapacity = 0;
  int32_t encoding;
  uint32_t codePage = 0;
};

}  // namespace zx
