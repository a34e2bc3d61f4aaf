// The typed setters and getters of the profile exports, wide and narrow, with
// values of the whole range of each type (doubles finite). Per item the target
// keeps the value the first item of that name must hold (Set replaces it, Append
// adds one behind), and checks after every call:
// - the typed get returns 0 and the value that was set (Bool as 0/1, Colorref
//   without its high byte, Double as its "%f" text reads);
// - the stored text is the documented form ("%d", "x%08X", "%I64u", "x%I64X",
//   TRUE/FALSE, "%f", "(x,y)", "(l,t,r,b)", "(l,t,w,h)", "(r,g,b)"), and its length
//   is what ProfGetStringLength tells.
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "zxUT22.h"

namespace {

[[noreturn]] void Fail(const char* what, const std::string& path) {
  std::fprintf(stderr, "prof_typed invariant broken: %s (item %s)\n", what, path.c_str());
  std::abort();
}

class Input {
 public:
  Input(const uint8_t* d, size_t n) : d_(d), n_(n) {}
  bool More() const { return i_ < n_; }
  uint8_t Byte() { return i_ < n_ ? d_[i_++] : 0; }
  uint64_t Bits(int bytes) {
    uint64_t v = 0;
    for (int i = 0; i < bytes; ++i) v |= uint64_t{Byte()} << (8 * i);
    return v;
  }
  // A 32-bit value: small, an edge, or any.
  int32_t Int() {
    switch (Byte() % 4) {
      case 0: return static_cast<int8_t>(Byte());
      case 1: {
        static const int32_t kEdges[] = {0, -1, INT32_MIN, INT32_MAX, INT32_MIN + 1, 255, 256, -256};
        return kEdges[Byte() % 8];
      }
      default: return static_cast<int32_t>(Bits(4));
    }
  }
  int64_t Int64() {
    if (Byte() & 1) return Int();
    static const int64_t kEdges[] = {INT64_MIN, INT64_MAX, -1, INT64_MIN + 1, int64_t{1} << 32};
    return Byte() & 1 ? kEdges[Byte() % 5] : static_cast<int64_t>(Bits(8));
  }
  double Double() {
    double d;
    if (Byte() & 1) {
      d = static_cast<double>(Int()) / (1 << (Byte() % 24));
    } else {
      const uint64_t bits = Bits(8);
      std::memcpy(&d, &bits, sizeof d);
    }
    return d != d || d - d != 0 ? 0.5 : d;   // NaN and infinities have no "%f" form that reads back
  }

 private:
  const uint8_t* d_;
  size_t n_;
  size_t i_ = 0;
};

enum Type { kBool, kDouble, kInt, kIntHex, kInt64, kInt64Hex, kPoint, kRect, kRectLTWH, kColorref, kTypes };
const char* const kNames[kTypes] = {"bool", "double", "int", "inthex", "int64", "int64hex",
                                    "point", "rect", "rectltwh", "colorref"};

struct Value {
  Type type;
  int64_t a = 0, b = 0, c = 0, d = 0;   // the fields as set
  double real = 0;
};

std::string Text(const Value& v) {
  char buf[512];
  const auto i32 = [](int64_t x) { return static_cast<int32_t>(x); };
  switch (v.type) {
    case kBool: return v.a ? "TRUE" : "FALSE";
    case kDouble: std::snprintf(buf, sizeof buf, "%f", v.real); return buf;
    case kInt: std::snprintf(buf, sizeof buf, "%d", i32(v.a)); return buf;
    case kIntHex: std::snprintf(buf, sizeof buf, "x%08X", static_cast<uint32_t>(v.a)); return buf;
    case kInt64: std::snprintf(buf, sizeof buf, "%" PRIu64, static_cast<uint64_t>(v.a)); return buf;
    case kInt64Hex: std::snprintf(buf, sizeof buf, "x%" PRIX64, static_cast<uint64_t>(v.a)); return buf;
    case kPoint: std::snprintf(buf, sizeof buf, "(%d,%d)", i32(v.a), i32(v.b)); return buf;
    case kRect: std::snprintf(buf, sizeof buf, "(%d,%d,%d,%d)", i32(v.a), i32(v.b), i32(v.c), i32(v.d)); return buf;
    case kRectLTWH:
      std::snprintf(buf, sizeof buf, "(%d,%d,%d,%d)", i32(v.a), i32(v.b),
                    static_cast<int32_t>(static_cast<uint32_t>(v.c) - static_cast<uint32_t>(v.a)),
                    static_cast<int32_t>(static_cast<uint32_t>(v.d) - static_cast<uint32_t>(v.b)));
      return buf;
    case kColorref: {
      const uint32_t c = static_cast<uint32_t>(v.a);
      std::snprintf(buf, sizeof buf, "(%u,%u,%u)", c & 0xFF, (c >> 8) & 0xFF, (c >> 16) & 0xFF);
      return buf;
    }
    default: return "";
  }
}

// One path in both forms.
struct Path {
  std::string narrow;
  std::u16string wide;
  LPCWSTR W() const { return reinterpret_cast<LPCWSTR>(wide.c_str()); }
  LPCSTR A() const { return narrow.c_str(); }
};

void Store(HPROFJOB job, const Path& p, const Value& v, bool append, bool narrow) {
  POINT pt{static_cast<LONG>(v.a), static_cast<LONG>(v.b)};
  RECT rc{static_cast<LONG>(v.a), static_cast<LONG>(v.b), static_cast<LONG>(v.c), static_cast<LONG>(v.d)};
  const auto i32 = static_cast<LONG>(v.a);
#define ZX_STORE(T, ...)                                          \
  (append ? (narrow ? ProfAppend##T##A(job, nullptr, p.A(), __VA_ARGS__)  \
                    : ProfAppend##T##W(job, nullptr, p.W(), __VA_ARGS__)) \
          : (narrow ? ProfSet##T##A(job, nullptr, p.A(), __VA_ARGS__)     \
                    : ProfSet##T##W(job, nullptr, p.W(), __VA_ARGS__)))
  switch (v.type) {
    case kBool: ZX_STORE(Bool, static_cast<BOOL>(v.a)); break;
    case kDouble: ZX_STORE(Double, v.real); break;
    case kInt: ZX_STORE(Int, i32); break;
    case kIntHex: ZX_STORE(IntHex, i32); break;
    case kInt64: ZX_STORE(Int64, static_cast<LONGLONG>(v.a)); break;
    case kInt64Hex: ZX_STORE(Int64Hex, static_cast<LONGLONG>(v.a)); break;
    case kPoint: ZX_STORE(Point, &pt); break;
    case kRect: ZX_STORE(Rect, &rc); break;
    case kRectLTWH: ZX_STORE(RectLTWH, &rc); break;
    case kColorref: ZX_STORE(Colorref, static_cast<COLORREF>(v.a)); break;
    default: break;
  }
#undef ZX_STORE
}

void Verify(HPROFJOB job, const Path& p, const Value& v, bool narrow) {
  const std::string& where = p.narrow;
#define ZX_GET(T, ...) (narrow ? ProfGet##T##A(job, nullptr, p.A(), __VA_ARGS__) : ProfGet##T##W(job, nullptr, p.W(), __VA_ARGS__))
#define ZX_CHECK(c)                   \
  do {                                \
    if (!(c)) Fail(#c, where);        \
  } while (0)
  const auto i32 = [](int64_t x) { return static_cast<LONG>(x); };
  switch (v.type) {
    case kBool: {
      BOOL b = 7;
      ZX_CHECK(ZX_GET(Bool, &b, 3) == 0 && b == (v.a != 0));
      break;
    }
    case kDouble: {
      double d = -1;
      const std::string text = Text(v);
      ZX_CHECK(ZX_GET(Double, &d, 0.25) == 0 && d == std::strtod(text.c_str(), nullptr));
      break;
    }
    case kInt:
    case kIntHex: {
      LONG i = 0;
      ZX_CHECK(ZX_GET(Int, &i, 12345) == 0 && i == i32(v.a));
      break;
    }
    case kInt64:
    case kInt64Hex: {
      LONGLONG i = 0;
      ZX_CHECK(ZX_GET(Int64, &i, 12345) == 0 && i == v.a);
      break;
    }
    case kPoint: {
      POINT got{}, def{1, 2};
      ZX_CHECK(ZX_GET(Point, &got, &def) == 0 && got.x == i32(v.a) && got.y == i32(v.b));
      break;
    }
    case kRect:
    case kRectLTWH: {
      RECT got{}, def{1, 2, 3, 4};
      const LONG rc = v.type == kRect ? ZX_GET(Rect, &got, &def) : ZX_GET(RectLTWH, &got, &def);
      ZX_CHECK(rc == 0 && got.left == i32(v.a) && got.top == i32(v.b) && got.right == i32(v.c) &&
               got.bottom == i32(v.d));
      break;
    }
    case kColorref: {
      COLORREF c = 0;
      ZX_CHECK(ZX_GET(Colorref, &c, 0x123456) == 0 && c == (static_cast<uint32_t>(v.a) & 0xFFFFFF));
      break;
    }
    default: break;
  }
  // The stored text, always through the wide form (the narrow one is lossy by design).
  const std::string expected = Text(v);
  WCHAR buffer[512];
  const LONG length = ProfGetStringW(job, nullptr, p.W(), buffer, 512, nullptr);
  ZX_CHECK(length == static_cast<LONG>(expected.size()));
  ZX_CHECK(ProfGetStringLengthW(job, nullptr, p.W()) == length);
  ZX_CHECK(ProfGetStringLengthA(job, nullptr, p.A()) == length);
  for (size_t i = 0; i < expected.size(); ++i) ZX_CHECK(buffer[i] == static_cast<WCHAR>(expected[i]));
  ZX_CHECK(buffer[expected.size()] == 0);
#undef ZX_GET
#undef ZX_CHECK
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kLists[] = {"", "l/", "l/m/", "/l/"};
  Input in(data, size);
  HPROFJOB job = ProfJobOpenW(nullptr);
  if (!job) std::abort();
  std::map<std::string, Value> first;   // by path without a leading "/"
  for (int steps = 0; in.More() && steps < 200; ++steps) {
    const uint8_t op = in.Byte();
    Value v;
    v.type = static_cast<Type>(op % kTypes);
    const char* list = kLists[(op / kTypes) % 4];
    Path p;
    p.narrow = std::string(list) + kNames[v.type] + std::to_string(in.Byte() % 3);
    p.wide.assign(p.narrow.begin(), p.narrow.end());
    const std::string key = p.narrow[0] == '/' ? p.narrow.substr(1) : p.narrow;
    switch (v.type) {
      case kBool: v.a = in.Int(); break;
      case kDouble: v.real = in.Double(); break;
      case kInt64: case kInt64Hex: v.a = in.Int64(); break;
      default: v.a = in.Int(), v.b = in.Int(), v.c = in.Int(), v.d = in.Int(); break;
    }
    const uint8_t how = in.Byte();
    const bool append = how & 1, narrowSet = how & 2, narrowGet = how & 4;
    Store(job, p, v, append, narrowSet);
    auto it = first.find(key);
    if (it == first.end())
      it = first.emplace(key, v).first;
    else if (!append)
      it->second = v;
    Verify(job, p, it->second, narrowGet);
  }
  ProfJobClose(job);
  return 0;
}
