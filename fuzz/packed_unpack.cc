// Arbitrary text through Unpack: the first byte picks the form ("@2@", "@1@" or
// none), whether a password is used and whether the packing side compresses;
// the rest, widened byte by byte, is the text. Whatever unpacks is packed again
// and must unpack to the same data.
#include <cstdint>
#include <string>

#include "fuzz_util.h"

#include "file/File.h"
#include "packed/PackedString.h"

namespace {

std::string Contents(zx::clsFile& file) {
  std::string out(static_cast<size_t>(file.GetSize()), '\0');
  file.SetPos(0);
  if (!out.empty()) FUZZ_CHECK(file.Read(out.data(), static_cast<uint32_t>(out.size())) == out.size());
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1 || size > 1 << 16) return 0;
  fuzzutil::ByteReader in(data, size);
  const uint8_t mode = in.Byte();
  static const char16_t* const kPrefixes[] = {u"", u"@2@", u"@1@", u""};
  std::u16string text = kPrefixes[mode & 3];
  while (in.More()) text += static_cast<char16_t>(in.Byte());
  const zx::String password = (mode & 4) ? zx::String(u"fuzz key") : zx::String();
  zx::clsFileRWTempStream first;
  first.SetDeleteOnRelease(false);
  if (!zx::Unpack(first, zx::String(std::u16string_view(text)), password)) {
    FUZZ_CHECK(text.empty());
    return 0;
  }
  const std::string got = Contents(first);
  // Packing side: the round trip holds for every length in the compressed form,
  // and uncompressed for lengths the reader deciphers (none, or 12 and more).
  const bool compress = (mode & 8) != 0;
  if (!compress && password.Length() && got.size() >= 8 && got.size() < 12) return 0;
  const zx::String again = zx::Pack(first, compress, password);
  zx::clsFileRWTempStream second;
  second.SetDeleteOnRelease(false);
  if (got.empty()) {
    FUZZ_CHECK(again.IsEmpty());
    return 0;
  }
  FUZZ_CHECK(zx::Unpack(second, again, password));
  FUZZ_CHECK(Contents(second) == got);
  return 0;
}
