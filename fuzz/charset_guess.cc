// Arbitrary input through the charset guess, the strict UTF-8 decoder and the
// conversion objects. The first byte chooses the code page and an output buffer
// size; the rest is the text (UTF-16LE for the guess, bytes for the others).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "core/strings/CharsetConversion.h"
#include "core/charset/CharsetGuess.h"
#include "core/strings/String.h"
#include "core/charset/Utf8Decode.h"
#include "platform/codepage.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

bool IsFontCharset(int c) {
  switch (c) {
    case 0: case 128: case 129: case 134: case 136: case 161: case 177: case 178: case 204:
    case 222:
      return true;
    default:
      return false;
  }
}

void FuzzGuess(const uint8_t* data, size_t size) {
  std::u16string text;
  for (size_t i = 0; i + 1 < size; i += 2) text.push_back(char16_t(data[i] | data[i + 1] << 8));
  int fromText = zx::GuessLikelyCharset(text.c_str());
  Check(IsFontCharset(fromText));
  // The String form reads the whole length, the C form up to the first zero.
  if (text.find(u'\0') == std::u16string::npos) {
    Check(zx::GuessLikelyCharset(zx::String(std::u16string_view(text))) == fromText);
  }
}

void FuzzDecoder(const uint8_t* data, size_t size) {
  std::u16string units(data, data + size);
  zx::String decoded = zx::DecodeUtf8(units.data(), units.size());
  std::u16string_view out = decoded.View();
  if (out == zx::kUtf8InvalidSequence || out == zx::kUtf8InvalidEncoding ||
      out == zx::kUtf8Ucs4NotSupported) {
    return;
  }
  Check(static_cast<size_t>(decoded.Length()) <= size);
  // A result without surrogates is well-formed UTF-8 of the basic plane: the
  // strict system decoder must agree.
  for (char16_t c : out) {
    if (c >= 0xD800 && c <= 0xDFFF) return;
  }
  if (size == 0) return;
  const char* bytes = reinterpret_cast<const char*>(data);
  int n = plat::MultiByteToWide(65001, plat::kMbErrInvalidChars, bytes, static_cast<int>(size),
                                nullptr, 0);
  Check(n == static_cast<int>(out.size()));
  std::u16string strict(static_cast<size_t>(n), u'\0');
  plat::MultiByteToWide(65001, plat::kMbErrInvalidChars, bytes, static_cast<int>(size),
                        strict.data(), n);
  Check(strict == out);
}

void FuzzConversion(uint8_t selector, const uint8_t* data, size_t size) {
  static const uint32_t kPages[] = {0, 1252, 65001, 1251, 932,
                                    zx::clsCharsetConversionString::kByteForByte};
  uint32_t cp = kPages[(selector & 0x0F) % 6];
  int targetSize = selector >> 4;  // 0..15
  if (selector & 0x80) targetSize *= 9;  // up to 135: both sides of the inline storage

  std::string text(reinterpret_cast<const char*>(data), size);
  {
    zx::clsCharsetConversionStringCP in(cp, text.c_str());
    const char16_t* w = in.wide();
    Check(w != nullptr);
    zx::clsCharsetConversionStringCP back(cp, w);
    Check(back.narrow() != nullptr);
  }
  // Output buffers of exactly targetSize units holding the input without a
  // terminator: the objects must stay inside them.
  std::unique_ptr<char[]> narrowOut(new char[targetSize ? targetSize : 1]);
  std::memcpy(narrowOut.get(), text.data(), std::min<size_t>(size, targetSize));
  {
    zx::clsCharsetConversionStringCP out(cp, narrowOut.get(), targetSize);
    if (char16_t* buf = out.wideBuffer()) {
      for (int i = 0; i < targetSize && static_cast<size_t>(i) * 2 + 1 < size; ++i) {
        buf[i] = char16_t(data[2 * i] | data[2 * i + 1] << 8);
      }
    }
  }
  if (targetSize > 0) Check(narrowOut[targetSize - 1] == 0);

  std::unique_ptr<char16_t[]> wideOut(new char16_t[targetSize ? targetSize : 1]);
  for (int i = 0; i < targetSize; ++i) wideOut[i] = static_cast<size_t>(i) < size ? data[i] : 0x41;
  {
    zx::clsCharsetConversionStringCP out(cp, wideOut.get(), targetSize);
    if (char* buf = out.narrowBuffer()) {
      std::memcpy(buf, text.data(), std::min<size_t>(size, targetSize));
    }
  }
  if (targetSize > 0) Check(wideOut[targetSize - 1] == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  uint8_t selector = data[0];
  ++data;
  --size;
  FuzzGuess(data, size);
  FuzzDecoder(data, size);
  FuzzConversion(selector, data, size);
  return 0;
}
