// The binary form of clsVariant read from arbitrary bytes: reading never fails
// on data, and what was read writes back as the bytes it came from: the tag and
// the payload of the tag's width (zero-filled when the data was short), text up to
// the last whole character, or "00 00" for a tag without a row. The value read
// also compares, copies, converts to text and answers an element read without harm.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_util.h"

#include "platform/com.h"
#include "platform/variant.h"
#include "variant/Variant.h"

namespace {

IStream* StreamOf(const std::string& bytes) {
  IStream* s = nullptr;
  FUZZ_CHECK(plat::CreateMemoryStream(&s) >= 0 && s);
  ULONG done = 0;
  if (!bytes.empty()) s->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &done);
  return s;
}

std::string BytesOf(IStream* s) {
  STATSTG st{};
  s->Stat(&st, STATFLAG_NONAME);
  std::string out(static_cast<size_t>(st.cbSize.QuadPart), '\0');
  LARGE_INTEGER zero;
  zero.QuadPart = 0;
  s->Seek(zero, STREAM_SEEK_SET, nullptr);
  ULONG got = 0;
  if (!out.empty()) s->Read(out.data(), static_cast<ULONG>(out.size()), &got);
  out.resize(got);
  return out;
}

// Payload width of a tag with a row; -1 for tags without one, -2 for text.
int Width(uint16_t tag) {
  switch (tag) {
    case 0: case 1: return 0;
    case 2: case 11: case 18: case 64: return 2;
    case 3: case 4: case 10: case 19: case 22: case 23: case 72: return 4;
    case 5: case 6: case 7: case 20: case 21: return 8;
    case 16: case 17: return 1;
    case 8: return -2;
    default: return -1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  std::string input(reinterpret_cast<const char*>(data), size);
  zx::clsVariant v;
  IStream* in = StreamOf(input);
  FUZZ_CHECK(zx::clsVariant::Read(v, in));   // never fails on a readable stream
  in->Release();

  std::string expected;
  if (size < 2) {
    expected = std::string(2, '\0');
  } else {
    uint16_t tag = static_cast<uint16_t>(data[0] | (data[1] << 8));
    int width = Width(tag);
    if (width == -2) {
      expected = input.substr(0, 2 + (size - 2) / 2 * 2);
    } else if (width < 0) {
      expected = std::string(2, '\0');
    } else {
      expected = input.substr(0, 2 + static_cast<size_t>(width));
      expected.resize(2 + static_cast<size_t>(width), '\0');
    }
  }
  IStream* out = StreamOf("");
  FUZZ_CHECK(zx::clsVariant::Write(v, out));
  FUZZ_CHECK(BytesOf(out) == expected);
  out->Release();

  zx::clsVariant copy = v;
  FUZZ_CHECK(copy.vt == v.vt);
  (void)zx::clsVariant::Compare(v, copy);
  copy.ChangeType(VT_BSTR);
  int32_t zero = 0;
  (void)v.Element(&zero, 1);
  return 0;
}
