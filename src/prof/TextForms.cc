#include "prof/TextForms.h"

#include "core/format/Format.h"

namespace zx::prof {

const char16_t* WriteBool(char16_t* dst, size_t cap, bool value) {
  FormatTo(dst, cap, u"%s", value ? u"TRUE" : u"FALSE");
  return dst;
}

const char16_t* WriteInt(char16_t* dst, size_t cap, int32_t value) {
  FormatTo(dst, cap, kFormInt, value);
  return dst;
}

const char16_t* WriteIntHex(char16_t* dst, size_t cap, int32_t value) {
  FormatTo(dst, cap, u"x%08X", static_cast<uint32_t>(value));
  return dst;
}

const char16_t* WriteInt64(char16_t* dst, size_t cap, int64_t value) {
  // A negative value prints as its unsigned twin and reads back the same bits.
  FormatTo(dst, cap, kFormInt64, static_cast<uint64_t>(value));
  return dst;
}

const char16_t* WriteInt64Hex(char16_t* dst, size_t cap, int64_t value) {
  FormatTo(dst, cap, kFormInt64HexRead, static_cast<uint64_t>(value));
  return dst;
}

const char16_t* WriteDouble(char16_t* dst, size_t cap, double value) {
  FormatTo(dst, cap, u"%f", value);
  return dst;
}

const char16_t* WritePoint(char16_t* dst, size_t cap, const PointValue& v) {
  FormatTo(dst, cap, kFormPoint, v.x, v.y);
  return dst;
}

const char16_t* WriteRect(char16_t* dst, size_t cap, const RectValue& v) {
  FormatTo(dst, cap, kFormRect, v.left, v.top, v.right, v.bottom);
  return dst;
}

const char16_t* WriteRectLTWH(char16_t* dst, size_t cap, const RectValue& v) {
  // Width and height wrap like the 32-bit subtraction they are.
  auto diff = [](int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
  };
  FormatTo(dst, cap, kFormRect, v.left, v.top, diff(v.right, v.left), diff(v.bottom, v.top));
  return dst;
}

const char16_t* WriteColorref(char16_t* dst, size_t cap, uint32_t value) {
  FormatTo(dst, cap, kFormColorref, static_cast<int32_t>(value & 0xFF),
           static_cast<int32_t>((value >> 8) & 0xFF), static_cast<int32_t>((value >> 16) & 0xFF));
  return dst;
}

bool ReadsAsTrue(const char16_t* text) { return text && (text[0] == u'T' || text[0] == u'Y'); }

bool ReadInt(const char16_t* text, int32_t* out) {
  uint32_t hex = 0;
  if (Scan(text, kFormIntHexRead, &hex) == 1) {
    *out = static_cast<int32_t>(hex);
    return true;
  }
  int32_t dec = 0;
  if (Scan(text, kFormInt, &dec) == 1) {
    *out = dec;
    return true;
  }
  return false;
}

bool ReadInt64(const char16_t* text, int64_t* out) {
  uint64_t v = 0;
  if (Scan(text, kFormInt64HexRead, &v) == 1 || Scan(text, kFormInt64, &v) == 1) {
    *out = static_cast<int64_t>(v);
    return true;
  }
  return false;
}

bool ReadColorref(const char16_t* text, uint32_t* out, int* lastCount) {
  uint32_t raw = 0;
  int n = Scan(text, kFormColorrefHexRead, &raw);
  bool ok = n == 1;
  if (ok) {
    *out = raw;  // the raw integer, all 32 bits
  } else {
    int32_t r = 0, g = 0, b = 0;
    n = Scan(text, kFormColorref, &r, &g, &b);
    ok = n == 3;
    if (ok) *out = JoinColorref(r, g, b);
  }
  if (lastCount) *lastCount = n;
  return ok;
}

double ReadDouble(const char16_t* text) {
  double v = 0;
  if (Scan(text, u"%lf", &v) != 1) return 0;
  return v;
}

int ScanPoint(const char16_t* text, PointValue* out) {
  return Scan(text, kFormPoint, &out->x, &out->y);
}

int ScanRect(const char16_t* text, RectValue* out) {
  return Scan(text, kFormRect, &out->left, &out->top, &out->right, &out->bottom);
}

}  // namespace zx::prof
