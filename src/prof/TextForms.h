// The text forms of typed profile values: how each type is written, and the read
// forms tried in order. Every form goes through the library's formatter and
// scanner, so leading white space is skipped and trailing text ignored ("12abc"
// reads 12), and the hexadecimal forms need their leading "x" in that case.
// Threads: any thread; no state.
#pragma once
#include <cstddef>
#include <cstdint>

namespace zx::prof {

// Buffers of the typed paths: 200 characters, 64 for the 64-bit decimal form.
constexpr size_t kTypedBufferSize = 200;
constexpr size_t kInt64BufferSize = 64;
// "%f" of the largest double has 316 characters: doubles get room for every value
// (a 200-character cut would lose the value of anything from about 1e192 up).
constexpr size_t kDoubleBufferSize = 320;

// The forms themselves, for the readers that try a single one.
inline constexpr char16_t kFormInt[] = u"%d";
inline constexpr char16_t kFormIntHexRead[] = u"x%X";
inline constexpr char16_t kFormInt64[] = u"%I64u";
inline constexpr char16_t kFormInt64HexRead[] = u"x%I64X";
inline constexpr char16_t kFormColorrefHexRead[] = u"x%lx";
inline constexpr char16_t kFormColorref[] = u"(%d,%d,%d)";
inline constexpr char16_t kFormPoint[] = u"(%d,%d)";
inline constexpr char16_t kFormRect[] = u"(%d,%d,%d,%d)";

struct PointValue { int32_t x, y; };
struct RectValue { int32_t left, top, right, bottom; };

// ---- written forms; each returns `dst`
const char16_t* WriteBool(char16_t* dst, size_t cap, bool value);            // TRUE / FALSE
const char16_t* WriteInt(char16_t* dst, size_t cap, int32_t value);          // %d
const char16_t* WriteIntHex(char16_t* dst, size_t cap, int32_t value);       // x%08X
const char16_t* WriteInt64(char16_t* dst, size_t cap, int64_t value);        // %I64u
const char16_t* WriteInt64Hex(char16_t* dst, size_t cap, int64_t value);     // x%I64X
const char16_t* WriteDouble(char16_t* dst, size_t cap, double value);        // %f
const char16_t* WritePoint(char16_t* dst, size_t cap, const PointValue& v);  // (%d,%d)
const char16_t* WriteRect(char16_t* dst, size_t cap, const RectValue& v);    // (l,t,r,b)
const char16_t* WriteRectLTWH(char16_t* dst, size_t cap, const RectValue& v);  // (l,t,w,h)
const char16_t* WriteColorref(char16_t* dst, size_t cap, uint32_t value);    // (r,g,b)

// ---- read forms. The Read* functions try every read form and return whether
// one accepted the text; `out` is written only then.
// First character "T" or "Y" (exact case).
bool ReadsAsTrue(const char16_t* text);
bool ReadInt(const char16_t* text, int32_t* out);        // x%X, then %d
bool ReadInt64(const char16_t* text, int64_t* out);      // x%I64X, then %I64u
// x%lx, then (%d,%d,%d); `lastCount` receives the scanner's count of the last try.
bool ReadColorref(const char16_t* text, uint32_t* out, int* lastCount = nullptr);
// The C runtime's conversion of text to double; 0 when nothing converts.
double ReadDouble(const char16_t* text);
// Scans into `out` directly and returns the scanner's count, so a short text
// fills the structure as far as the scan went (-1 when the text is empty).
int ScanPoint(const char16_t* text, PointValue* out);
int ScanRect(const char16_t* text, RectValue* out);  // four numbers in written order

// A COLORREF from red, green and blue, each cut to its low byte.
constexpr uint32_t JoinColorref(int32_t r, int32_t g, int32_t b) {
  return (static_cast<uint32_t>(r) & 0xFFu) | ((static_cast<uint32_t>(g) & 0xFFu) << 8) |
         ((static_cast<uint32_t>(b) & 0xFFu) << 16);
}

}  // namespace zx::prof
