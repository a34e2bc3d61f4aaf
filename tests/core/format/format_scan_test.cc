// The scanner against rows of input, format, the count the Windows C runtime's
// swscanf returns and the values it stores. Targets start zeroed (text targets
// filled with '#'), so a row also shows what a failing field leaves behind. On
// the Windows build every row is scanned by ucrtbase as well, except the rows
// where wine's ucrtbase (its own implementation) departs from the Windows one.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>

#include "core/format/Format.h"
#include "format_test_util.h"

namespace {

using fmt_test::Narrow;

// Text targets: wide and narrow buffers of 40 units, '#' where nothing was stored.
struct W {
  char16_t s[40];
};
struct N {
  char s[40];
};

template <typename T, typename S>
T Text(const S& text, bool terminate) {
  T t;
  std::fill(std::begin(t.s), std::end(t.s), '#');
  std::copy(text.begin(), text.end(), t.s);
  if (terminate) t.s[text.size()] = 0;
  return t;
}
W Wide(const std::u16string& text, bool terminate = true) { return Text<W>(text, terminate); }
W WideRaw(const std::u16string& text) { return Text<W>(text, false); }
N NarrowText(const std::string& text, bool terminate = true) { return Text<N>(text, terminate); }

template <typename T>
void Init(T& v) {
  std::memset(&v, 0, sizeof v);
}
void Init(W& w) { std::fill(std::begin(w.s), std::end(w.s), u'#'); }
void Init(N& n) { std::fill(std::begin(n.s), std::end(n.s), '#'); }

template <typename T>
T* Target(T& v) {
  return &v;
}
char16_t* Target(W& w) { return w.s; }
char* Target(N& n) { return n.s; }

template <typename T>
std::string Describe(const T& v) {
  if constexpr (std::is_floating_point_v<T>) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.17g", static_cast<double>(v));
    return buf;
  } else if constexpr (std::is_pointer_v<T>) {
    return std::to_string(reinterpret_cast<uintptr_t>(v));
  } else {
    return std::to_string(v);
  }
}
std::string Describe(const W& w) { return Narrow(std::u16string(w.s, 40)); }
std::string Describe(const N& n) { return std::string(n.s, 40); }

enum class Judge { kSystem, kOurs };

#ifdef _WIN32
int CallSystem(const char16_t* text, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int n = fmt_test::SystemScan()(text, format, ap);
  va_end(ap);
  return n;
}
#endif

template <typename Tuple, size_t... I>
void CompareAll(const Tuple& got, const Tuple& want, const char* who, std::index_sequence<I...>) {
  (void)who;
  (
      [&] {
        const auto& g = std::get<I>(got);
        const auto& w = std::get<I>(want);
        if (std::memcmp(&g, &w, sizeof g) != 0)
          ADD_FAILURE() << who << ": target " << I << " is " << Describe(g) << ", expected " << Describe(w);
      }(),
      ...);
}

template <typename... T>
void Check(Judge judge, const char16_t* text, const char16_t* format, int expected, T... values) {
  SCOPED_TRACE("\"" + Narrow(text) + "\" with \"" + Narrow(format) + "\"");
  std::tuple<T...> want(values...);
  std::tuple<T...> ours;
  std::apply([](auto&... v) { (Init(v), ...); }, ours);
  const int n = std::apply([&](auto&... v) { return zx::Scan(text, format, Target(v)...); }, ours);
  EXPECT_EQ(n, expected);
  CompareAll(ours, want, "ours", std::index_sequence_for<T...>{});
#ifdef _WIN32
  if (judge == Judge::kSystem && fmt_test::SystemScan()) {
    std::tuple<T...> sys;
    std::apply([](auto&... v) { (Init(v), ...); }, sys);
    const int m = std::apply([&](auto&... v) { return CallSystem(text, format, Target(v)...); }, sys);
    EXPECT_EQ(m, expected) << "system runtime";
    CompareAll(sys, want, "system runtime", std::index_sequence_for<T...>{});
  }
#else
  (void)judge;
#endif
}

template <typename... T>
void Row(const char16_t* text, const char16_t* format, int expected, T... values) {
  Check(Judge::kSystem, text, format, expected, values...);
}
// The Windows runtime's rule where wine's ucrtbase (its own scanner, shared with
// its msvcrt) reads otherwise: it wraps on overflow, knows no Unicode digits, no
// j, t, %a, NaN texts or %Ts, accepts malformed directives, returns 0 instead of
// EOF for input that ends in a field, and backs up without limit.
template <typename... T>
void WineDiffers(const char16_t* text, const char16_t* format, int expected, T... values) {
  Check(Judge::kOurs, text, format, expected, values...);
}

double Bits(uint64_t b) {
  double d;
  std::memcpy(&d, &b, sizeof d);
  return d;
}
float FloatBits(uint32_t b) {
  float f;
  std::memcpy(&f, &b, sizeof f);
  return f;
}

TEST(FormatScan, DecimalIntegers) {
  Row(u"  12abc", u"%d", 1, 12);
  Row(u"-42|+42", u"%d|%d", 2, -42, 42);
  Row(u"(1,2,3,4)", u"(%d,%d,%d,%d)", 4, 1, 2, 3, 4);
  Row(u"(1,2", u"(%d,%d,%d,%d)", 2, 1, 2, 0, 0);
  Row(u"(1, 2)|( 3,4)", u"(%d,%d)|(%d,%d)", 4, 1, 2, 3, 4);
  Row(u"(1 ,2)", u"(%d,%d)", 1, 1, 0);
  Row(u"12345", u"%3d%d", 2, 123, 45);
  Row(u"-12", u"%2d%d", 2, -1, 2);
  Row(u"1\t\n 2", u"%d%d", 2, 1, 2);
  Row(u"12", u"  %d", 1, 12);
  Row(u"123", u"%99999999999999999999999d", 1, 123);
  WineDiffers(u"\u0661\u0662|\uff13\uff14", u"%d|%d", 2, 12, 34);  // Arabic-Indic and fullwidth digits
}

TEST(FormatScan, EndOfInputAndMatchingFailures) {
  Row(u"", u"%d", -1, 0);
  WineDiffers(u"   ", u"%d", -1, 0);
  Row(u"abc", u"%d", 0, 0);
  Row(u"31", u"x%X", 0, 0u);
  Row(u"", u"x%X", -1, 0u);
  // A sign alone is consumed and fails; at the end of input that is EOF.
  Row(u"-x", u"%d", 0, 0);
  WineDiffers(u"-", u"%d", -1, 0);
  Row(u"5", u"%*d", 0);
  Row(u"5 6", u"%*d %d", 1, 6);
}

TEST(FormatScan, IntegerOverflowIsCutToTheTarget) {
  Row(u"3000000000", u"%d", 1, -1294967296);
  WineDiffers(u"99999999999999999999", u"%d", 1, -1);   // INT64_MAX, low 32 bits
  WineDiffers(u"-99999999999999999999", u"%d", 1, 0);   // INT64_MIN, low 32 bits
  Row(u"-5|4294967296", u"%u|%u", 2, 4294967291u, 0u);
  Row(u"70000|65535", u"%hd|%hu", 2, static_cast<short>(4464), static_cast<unsigned short>(65535));
  WineDiffers(u"9223372036854775808|-99999999999999999999", u"%I64d|%I64d", 2, INT64_MAX, INT64_MIN);
  Row(u"-9223372036854775808", u"%lld", 1, INT64_MIN);
  WineDiffers(u"18446744073709551616", u"%I64u", 1, UINT64_MAX);
  Row(u"-1|4294967295", u"%ld|%lu", 2, int32_t{-1}, uint32_t{4294967295u});
  Row(u"ffffffffffffffff|7fffffff", u"%I64x|%I32x", 2, UINT64_MAX, 0x7fffffffu);
  Row(u"5", u"%zd", 1, int64_t{5});
  WineDiffers(u"6|7", u"%jd|%td", 2, int64_t{6}, int64_t{7});
  WineDiffers(u"300|-1", u"%hhd|%hhu", 2, static_cast<signed char>(44), static_cast<unsigned char>(255));
}

TEST(FormatScan, BasesAndPrefixes) {
  Row(u"0x1f 017 12 -0x10", u"%i %i %i %i", 4, 31, 15, 12, -16);
  Row(u"1f|0x1F|0X1f", u"%x|%x|%X", 3, 31u, 31u, 31u);
  Row(u"777|0|0", u"%o|%x|%i", 3, 511u, 0u, 0);
  Row(u"08", u"%i%d", 2, 0, 8);  // octal 0, then the 8
  Row(u"x1F|x0000001F", u"x%X|x%X", 2, 31u, 31u);
  // "0x" with no hex digit after it consumes both and fails.
  WineDiffers(u"0x", u"%x", -1, 0u);
  Row(u"0xg", u"%x", 0, 0u);
  Row(u"00000000DEADBEEF", u"%p", 1, reinterpret_cast<void*>(0xDEADBEEFull));
  Row(u"12|34", u"%Id|%Ix", 2, int64_t{12}, uint64_t{0x34});
}

TEST(FormatScan, CharacterCount) {
  Row(u"abc  12", u"abc%n %d%n", 1, 3, 12, 7);
  Row(u"hello", u"%*s%n", 0, 5);
  Row(u"12", u"%d%hn%I64n", 1, 12, short{2}, int64_t{2});
}

TEST(FormatScan, LiteralsAndPercent) {
  Row(u"%5|5%", u"%%%d|%d%%", 2, 5, 5);
  Row(u"a b", u"a b", 0);
  Row(u"ab", u"a b", 0);
}

TEST(FormatScan, InvalidDirectivesStopTheScan) {
  Row(u"12", u"%y", 0);
  Row(u"12 5", u"%d %y", 1, 12);
  Row(u"", u"%y", -1);
  WineDiffers(u"12", u"%0d", 0, 0);
  WineDiffers(u"12", u"%Ld", 0, 0);
  WineDiffers(u"12", u"%I64s", 0, Wide(u"", false));
  WineDiffers(u"ab", u"%[ab", 0, Wide(u"", false));
}

TEST(FormatScan, FloatingPoint) {
  const double inf = std::numeric_limits<double>::infinity();
  Row(u"3.25|0.1|-0|.5|5.|1.5e+3", u"%lf|%lf|%lf|%lf|%lf|%lf", 6, 3.25, 0.1, -0.0, 0.5, 5.0, 1500.0);
  Row(u"3.25|0.1", u"%f|%f", 2, 3.25f, 0.1f);
  Row(u"1e400|-1e400|1e-400|-1e-400", u"%lf|%lf|%lf|%lf", 4, inf, -inf, 0.0, -0.0);
  Row(u"1e5000|1e-5000|1e999999999999", u"%lf|%lf|%lf", 3, inf, 0.0, inf);
  Row(u"0x1.8p1|0X1P-2|0x.8|0x1p-1074", u"%lf|%lf|%lf|%lf", 4, 3.0, 0.25, 0.5, 5e-324);
  Row(u"-inf|INFINITY|Inf", u"%lf|%lf|%lf", 3, -inf, inf, inf);
  Row(u"123456789012345678901234567890|2.2250738585072011e-308", u"%lf|%lf", 2, 1.2345678901234568e29,
      2.2250738585072009e-308);
  // Correct rounding around half of the smallest subnormal.
  Row(u"2.4703282292062328e-324|2.4703282292062327e-324", u"%lf|%lf", 2, 5e-324, 0.0);
  Row(u"3.4028235e38|1e39|1.17549435e-38", u"%f|%f|%f", 3, FLT_MAX, std::numeric_limits<float>::infinity(),
      FLT_MIN);
  WineDiffers(u"3.14159", u"%4lf%lf", 2, 3.14, 159.0);
  Row(u"1 2 3", u"%le %lg %lE", 3, 1.0, 2.0, 3.0);
  WineDiffers(u"4 5", u"%la %LF", 2, 4.0, 5.0);
}

TEST(FormatScan, NotANumber) {
  WineDiffers(u"nan|nan(ind)|-nan(snan)|nan(abc_1)|-NAN", u"%lf|%lf|%lf|%lf|%lf", 5, Bits(0x7FFFFFFFFFFFFFFFull),
      Bits(0xFFF8000000000000ull), Bits(0xFFF0000000000001ull), Bits(0x7FFFFFFFFFFFFFFFull),
      Bits(0xFFFFFFFFFFFFFFFFull));
  WineDiffers(u"nan(ind)", u"%f", 1, FloatBits(0xFFC00000u));
}

TEST(FormatScan, FloatsThatNeedMoreThanOneCharacterBack) {
  // The input is read with one character of look-back: a field that has to
  // return further fails and keeps what it consumed.
  for (const char16_t* text : {u"infin", u"1.5e", u"0x", u"nan("}) WineDiffers(text, u"%lf", -1, 0.0);
  WineDiffers(u"1.5ex", u"%lf", 0, 0.0);
  Row(u".", u"%lf", -1, 0.0);
}

TEST(FormatScan, Strings) {
  Row(u"  hello world", u"%s %s", 2, Wide(u"hello"), Wide(u"world"));
  Row(u"hello", u"%3s%s", 2, Wide(u"hel"), Wide(u"lo"));
  WineDiffers(u"a\u3000b c", u"%s", 1, Wide(u"a\u3000b"));  // only ASCII blanks end a string
  Row(u"x y", u"%ls %ws", 2, Wide(u"x"), Wide(u"y"));
  WineDiffers(u"z", u"%Ts", 1, Wide(u"z"));
  Row(u"abc123def!", u"%[a-z]%[0-9]%[^!]%c", 4, Wide(u"abc"), Wide(u"123"), Wide(u"def"), u'!');
  Row(u"]x-q", u"%[]x-]", 1, Wide(u"]x-"));
  // A reversed range is the same range; the literal between is matched, so the
  // second (reversed) set is read.
  Row(u"zyx|xzyw", u"%[x-z]|%[z-x]", 2, Wide(u"zyx"), Wide(u"xzy"));
  Row(u"mza9", u"%[z-a]%c", 2, Wide(u"mza"), u'9');
  WineDiffers(u"abc", u"%[^a]", 0, Wide(u"", false));
  Row(u"abc", u"%2c", 1, WideRaw(u"ab"));
  // %c wants its whole width.
  WineDiffers(u"ab", u"%3c", -1, WideRaw(u"ab"));
  Row(u" x", u"%c", 1, u' ');
  Row(u"xy", u"%hc%lc", 2, 'x', u'y');
}

uint32_t Cp1252() { return 1252; }
uint32_t CpBytes() { return 0; }

struct CodePageScope {
  explicit CodePageScope(zx::CodePageSource s) : old(zx::SetFormatCodePageSource(s)) {}
  ~CodePageScope() { zx::SetFormatCodePageSource(old); }
  zx::CodePageSource old;
};

TEST(FormatScan, NarrowTargets) {
  {
    // Byte by byte as the runtime's C locale: characters above 0xFF are dropped.
    CodePageScope cp(&CpBytes);
    Row(u"hello h\u00e9", u"%hs %S", 2, NarrowText("hello"), NarrowText("h\xe9"));
    WineDiffers(u"a\u4e2db", u"%hs", 1, NarrowText("ab"));
    // A scanset takes no h: "%h[" is a malformed directive.
    WineDiffers(u"abc", u"%h[a-b]", 0, NarrowText("", false));
  }
  {
    CodePageScope cp(&Cp1252);
    WineDiffers(u"\u20ac\u4e2d", u"%hs", 1, NarrowText("\x80?"));
  }
}

// wcstod: backs up to the last complete number, as a string can.
void ToDouble(Judge judge, const char16_t* text, double expected, size_t consumed) {
  SCOPED_TRACE("\"" + Narrow(text) + "\"");
  const char16_t* end = nullptr;
  const double v = zx::TextToDouble(text, &end);
  EXPECT_EQ(std::memcmp(&v, &expected, sizeof v), 0) << Describe(v) << " expected " << Describe(expected);
  EXPECT_EQ(static_cast<size_t>(end - text), consumed);
#ifdef _WIN32
  if (judge == Judge::kSystem && fmt_test::SystemToDouble()) {
    char16_t* sysEnd = nullptr;
    const double s = fmt_test::SystemToDouble()(text, &sysEnd);
    EXPECT_EQ(std::memcmp(&s, &expected, sizeof s), 0) << "system runtime: " << Describe(s);
    EXPECT_EQ(static_cast<size_t>(sysEnd - text), consumed) << "system runtime";
  }
#else
  (void)judge;
#endif
}

TEST(FormatScan, TextToDouble) {
  const double inf = std::numeric_limits<double>::infinity();
  const Judge sys = Judge::kSystem, ours = Judge::kOurs;
  const struct {
    Judge judge;
    const char16_t* text;
    double expected;
    size_t consumed;
  } cases[] = {
      {sys, u"  -12.5abc", -12.5, 7}, {sys, u"abc", 0.0, 0}, {sys, u"", 0.0, 0}, {sys, u"   ", 0.0, 0},
      {sys, u"1.5e", 1.5, 3}, {sys, u"1.5e+x", 1.5, 3}, {sys, u"1e400", inf, 5}, {sys, u"-1e-400", -0.0, 7},
      {sys, u"0x1p3", 8.0, 5}, {sys, u"0x", 0.0, 1}, {sys, u"0.1", 0.1, 3}, {sys, u"123456.789e-3", 123.456789, 13},
      {sys, u"infin", inf, 3}, {sys, u"-Infinity!", -inf, 9}, {sys, u"nan(", Bits(0x7FFFFFFFFFFFFFFFull), 3},
      {ours, u"nan(ind)", Bits(0xFFF8000000000000ull), 8},  // wine stops after "nan"
      {sys, u"2.4703282292062328e-324", 5e-324, 23}, {ours, u"\u0661.5", 1.5, 3},
  };
  for (const auto& c : cases) ToDouble(c.judge, c.text, c.expected, c.consumed);
  EXPECT_EQ(zx::TextToDouble(nullptr), 0.0);
}

TEST(FormatScan, NullArguments) {
  int v = 5;
  EXPECT_EQ(zx::Scan(nullptr, u"%d", &v), -1);
  EXPECT_EQ(zx::Scan(u"1", nullptr, &v), -1);
  EXPECT_EQ(zx::Scan(u"abc", u"%s", static_cast<char16_t*>(nullptr)), 0);
  EXPECT_EQ(zx::Scan(u"12 13", u"%d %d", &v, static_cast<int*>(nullptr)), 1);
  EXPECT_EQ(v, 12);
}

}  // namespace
