// Fuzzes the readers of typed text: the ProfLPSTRto* family and the typed read
// forms on arbitrary text, wide (the input as UTF-16LE units) and narrow (the
// input's bytes converted in code pages 1252 and 65001 as the A exports do).
//
// Checks: a Boolean reads 0 or 1; a text that fails gives the default; what an
// integer form accepts reads the same through the job-less and the typed reader
// where both try the same form; every value read writes a text that reads back
// to the same value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_util.h"
#include "core/strings/CharsetConversion.h"
#include "core/format/Format.h"
#include "prof/Prof.h"

namespace {

using namespace zx::prof;

void Check(const char16_t* text) {
  int32_t b = 7;
  TextToBool(text, &b, 5);
  FUZZ_CHECK(b == 0 || b == 1);

  int32_t i = 0;
  int n = TextToInt(text, &i, -12345);
  if (n != 1) FUZZ_CHECK(i == -12345);
  int32_t typed = 0;
  if (text[0] != u'x' && ReadInt(text, &typed)) FUZZ_CHECK(n == 1 && typed == i);

  int64_t l = 0;
  n = TextToInt64(text, &l, -5);
  if (n != 1) FUZZ_CHECK(l == -5);

  RectValue d{1, 2, 3, 4}, r{};
  n = TextToRect(text, &r, &d);
  if (n != 4) FUZZ_CHECK(r.left == 1 && r.top == 2 && r.right == 3 && r.bottom == 4);

  uint32_t c = 0;
  TextToColorref(text, &c, 0xABCDEF);

  // Whatever is read writes a text that reads back the same.
  char16_t buf[kDoubleBufferSize];
  int32_t vi;
  if (ReadInt(text, &vi)) {
    int32_t back = 0;
    FUZZ_CHECK(ReadInt(WriteInt(buf, kTypedBufferSize, vi), &back) && back == vi);
    FUZZ_CHECK(ReadInt(WriteIntHex(buf, kTypedBufferSize, vi), &back) && back == vi);
  }
  int64_t vl;
  if (ReadInt64(text, &vl)) {
    int64_t back = 0;
    FUZZ_CHECK(ReadInt64(WriteInt64(buf, kInt64BufferSize, vl), &back) && back == vl);
    FUZZ_CHECK(ReadInt64(WriteInt64Hex(buf, kTypedBufferSize, vl), &back) && back == vl);
  }
  uint32_t vc;
  if (ReadColorref(text, &vc)) {
    uint32_t back = 0;
    FUZZ_CHECK(ReadColorref(WriteColorref(buf, kTypedBufferSize, vc), &back) && back == (vc & 0xFFFFFF));
  }
  RectValue rv{};
  if (ScanRect(text, &rv) == 4) {
    RectValue back{};
    FUZZ_CHECK(ScanRect(WriteRect(buf, kTypedBufferSize, rv), &back) == 4);
    FUZZ_CHECK(back.left == rv.left && back.top == rv.top && back.right == rv.right && back.bottom == rv.bottom);
  }
  double dv = ReadDouble(text);
  if (dv == dv && dv - dv == 0) {  // finite: "%f" keeps every integral digit
    double back = ReadDouble(WriteDouble(buf, kDoubleBufferSize, dv));
    double diff = back > dv ? back - dv : dv - back;
    double tolerance = 5e-7 + (dv < 0 ? -dv : dv) * 0x1p-52;  // six decimals, then the nearest double
    FUZZ_CHECK(diff <= tolerance);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  std::vector<char16_t> wide(size / 2 + 1, 0);
  std::memcpy(wide.data(), data, size / 2 * 2);
  Check(wide.data());

  std::vector<char> narrow(data, data + size);
  narrow.push_back(0);
  for (uint32_t cp : {1252u, 65001u}) {
    zx::clsCharsetConversionStringCP t(cp, narrow.data());
    Check(t.wide());
  }
  return 0;
}
