// The formatter against a table of formats, arguments and the text the Windows C
// runtime prints for them. Finite floating-point rows were produced by python3's
// correctly rounded %-formatting (the runtime rounds exact ties to even since
// Windows 10 2004). On the Windows build each row is also printed by the
// system's ucrtbase and must agree with it, except rows marked as the library's
// own choice.
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "core/format/Format.h"
#include "format_test_util.h"

namespace {

using fmt_test::Narrow;

enum class Judge { kSystem, kOurs };

#ifdef _WIN32
int CallSystem(char16_t* dst, size_t cap, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int n = fmt_test::SystemPrint()(dst, cap, format, ap);
  va_end(ap);
  return n;
}
#endif

// expected null: the format is invalid (-1, empty buffer).
template <typename... A>
void Check(Judge judge, const char16_t* expected, const char16_t* format, A... args) {
  SCOPED_TRACE(Narrow(format));
  std::vector<char16_t> buf(4096, u'#');
  const int n = zx::FormatTo(buf.data(), buf.size(), format, args...);
  if (expected) {
    EXPECT_EQ(Narrow(buf.data()), Narrow(expected));
    EXPECT_EQ(n, static_cast<int>(std::char_traits<char16_t>::length(expected)));
  } else {
    EXPECT_EQ(n, -1);
    EXPECT_EQ(buf[0], u'\0');
  }
#ifdef _WIN32
  if (judge == Judge::kSystem && fmt_test::SystemPrint()) {
    std::vector<char16_t> sys(4096, u'#');
    const int m = CallSystem(sys.data(), sys.size(), format, args...);
    EXPECT_EQ(m, n) << "system runtime";
    if (expected) {
      EXPECT_EQ(Narrow(sys.data()), Narrow(buf.data())) << "system runtime";
    }
  }
#else
  (void)judge;
#endif
}

template <typename... A>
void Row(const char16_t* expected, const char16_t* format, A... args) {
  Check(Judge::kSystem, expected, format, args...);
}
// The library's own choice, where it departs from the runtime on purpose.
template <typename... A>
void OurRow(const char16_t* expected, const char16_t* format, A... args) {
  Check(Judge::kOurs, expected, format, args...);
}
// The Windows runtime's rule where wine's ucrtbase (its own implementation, not
// the Windows one) prints something else: no "hh", no "%Z", no format
// validation, zero padding despite a precision, and others noted per row.
template <typename... A>
void WineDiffers(const char16_t* expected, const char16_t* format, A... args) {
  Check(Judge::kOurs, expected, format, args...);
}
template <typename... A>
void Invalid(const char16_t* format, A... args) {
  Check(Judge::kOurs, nullptr, format, args...);
}

double FromBits(uint64_t bits) {
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}

TEST(FormatPrintf, IntegersAndFlags) {
  Row(u"0|-1|-2147483648|2147483647", u"%d|%d|%d|%d", 0, -1, INT_MIN, INT_MAX);
  Row(u"123|4294967295|4294967295", u"%i|%u|%u", 123, -1, UINT_MAX);
  Row(u"   42|42   |00042|+42| 42|+42|+42", u"%5d|%-5d|%05d|%+d|% d|%+ d|% +d", 42, 42, 42, 42, 42, 42, 42);
  Row(u"42   |+0042| 0042|-0042|-42  ", u"%-05d|%+05d|% 05d|%05d|%-5d", 42, 42, 42, -42, -42);
  Row(u"007||     |+|-007", u"%.3d|%.0d|%5.0d|%+.0d|%.3d", 7, 0, 0, 0, -7);
  // A precision turns the 0 flag off.
  WineDiffers(u"  007|  -07|    0001", u"%05.3d|%05.2d|%08.4x", 7, -7, 1);
  Row(u"ff|FF|0xff|0XFF|0|0x0000ff|    0xff|0xff    |", u"%x|%X|%#x|%#X|%#x|%#08x|%#8x|%-#8x|", 255, 255,
      255, 255, 0, 255, 255, 255);
  Row(u"10|010|0|010|0", u"%o|%#o|%#o|%#.3o|%#o", 8, 8, 0, 8, 0);
  // "%#o" leads with a 0 even when the precision left no digit.
  WineDiffers(u"0", u"%#.0o", 0);
  Row(u"5|5|5|37777777777", u"%+u|% x|%+o|%o", 5, 5, 5, -1);
  Row(u"-1|ffffffff|4294967295|-1", u"%ld|%lx|%lu|%I32d", -1L, -1L, 4294967295UL, -1);
  Row(u"4464|65535|-1", u"%hd|%hu|%hd", 70000, -1, 65535);
  WineDiffers(u"44|255|ff|-128", u"%hhd|%hhu|%hhx|%hhd", 300, -1, 0x1ff, 128);
  Row(u"-9223372036854775808|18446744073709551615|ABCDEF0123|7fffffffffffffff",
      u"%I64d|%I64u|%I64X|%llx", INT64_MIN, static_cast<int64_t>(-1), static_cast<int64_t>(0xABCDEF0123),
      INT64_MAX);
  Row(u"1099511627776 7|-5|18446744073709551611", u"%I64d %d|%lld|%llu", int64_t{1} << 40, 7, -5LL, -5LL);
  Row(u"-3|FFFFFFFFFFFFFFFD|3|-4|5", u"%Id|%IX|%zu|%jd|%td", int64_t{-3}, int64_t{-3}, size_t{3},
      intmax_t{-4}, ptrdiff_t{5});
  Row(u"+000000001099511627776|0x10000000000", u"%+022I64d|%#I64x", int64_t{1} << 40, int64_t{1} << 40);
  Row(u"-0x1", u"-%#x", 1);
}

TEST(FormatPrintf, StarWidthAndPrecision) {
  Row(u"   42|42   |42   |00042|42|    3.14", u"%*d|%-*d|%*d|%.*d|%.*d|%*.*f", 5, 42, 5, 42, -5, 42, 5, 42,
      -1, 42, 8, 2, 3.14159);
  // The runtime negates INT_MIN into itself and pads nothing.
  Row(u"1|", u"%*d|", INT_MIN, 1);
  // A number after the star replaces it.
  Row(u"   42", u"%*5d", 3, 42);
  Row(u"ab|    ab|", u"%.*s|%*.*s|", 2, u"abcdef", 6, 2, u"abcdef");
}

TEST(FormatPrintf, Pointers) {
  Row(u"0000000000001234|0000000000000000|DEADBEEFCAFEBABE", u"%p|%p|%p", reinterpret_cast<void*>(0x1234),
      static_cast<void*>(nullptr), reinterpret_cast<void*>(0xDEADBEEFCAFEBABEull));
  Row(u"    00000000000000AB|00000000000000AB    |    00000000000000AB", u"%20p|%-20p|%020p",
      reinterpret_cast<void*>(0xab), reinterpret_cast<void*>(0xab), reinterpret_cast<void*>(0xab));
  // %p always has 16 digits, whatever the precision.
  WineDiffers(u"0000000000000001", u"%.4p", reinterpret_cast<void*>(1));
  Row(u"0000000000000007", u"%hp", reinterpret_cast<void*>(7));
  // The library's trace lines print results as "->%#p": 0X and 16 digits.
  Row(u"0X0000000000001234|  0X00000000000000AB", u"%#p|%#20p", reinterpret_cast<void*>(0x1234),
         reinterpret_cast<void*>(0xab));
}

TEST(FormatPrintf, Strings) {
  Row(u"wide|w2|w3|narrow|n2|n3|wide4|n5", u"%s|%ls|%ws|%hs|%S|%hS|%lS|%Ts", u"wide", u"w2", u"w3", "narrow",
      "n2", "n3", u"wide4", u"n5");
  Row(u"       abc|abc       |ab|        ab|000ab", u"%10s|%-10s|%.2s|%10.2s|%05s", u"abc", u"abc", u"abc",
      u"abc", u"ab");
  Row(u"(null)|(null)|(nu|  (null)|(null)", u"%s|%hs|%.3s|%8s|%S", static_cast<const char16_t*>(nullptr),
      static_cast<const char*>(nullptr), static_cast<const char16_t*>(nullptr),
      static_cast<const char16_t*>(nullptr), static_cast<const char*>(nullptr));
  Row(u"||x", u"%.0s|%s|%#+ s", u"abc", u"", u"x");
  Row(u"\U0001F600|\u00e9\u4e2d", u"%s|%ls", u"\U0001F600", u"\u00e9\u4e2d");
  // With a precision the argument needs no terminator.
  const char16_t unterminated[3] = {u'a', u'b', u'c'};
  const char narrowUnterminated[3] = {'x', 'y', 'z'};
  Row(u"abc|xy", u"%.3s|%.2hs", unterminated, narrowUnterminated);
}

TEST(FormatPrintf, Characters) {
  Row(u"A|\u263a|B|x|l|w|  A|A  |00A", u"%c|%c|%C|%hc|%lc|%wc|%3c|%-3c|%03c", u'A', 0x263A, 'B', 'x', u'l',
      u'w', u'A', u'A', u'A');
  // Wide characters keep 16 bits, narrow ones their low byte.
  Row(u"A|A", u"%c|%hc", 0x10041, 0x1F41);
  char16_t buf[8];
  EXPECT_EQ(zx::FormatTo(buf, 8, u"a%cb", 0), 3);
  EXPECT_EQ(std::u16string(buf, 4), std::u16string(u"a\0b\0", 4));
}

TEST(FormatPrintf, FloatingPointDigits) {
  struct Case {
    const char16_t* expected;
    const char16_t* format;
    double value;
  };
  const Case cases[] = {
      {u"12345.678000", u"%f", 12345.678}, {u"0.000000", u"%f", 0.0}, {u"-0.000000", u"%f", -0.0},
      {u"1.000000", u"%f", 1.0}, {u"-1.500000", u"%f", -1.5}, {u"0.000000", u"%f", 1e-07},
      {u"0.100000", u"%f", 0.1}, {u"0", u"%.0f", 0.5}, {u"2", u"%.0f", 1.5}, {u"2", u"%.0f", 2.5},
      {u"4", u"%.0f", 3.5}, {u"-0", u"%.0f", -0.5}, {u"-2", u"%.0f", -2.5},
      {u"0", u"%.0f", 0.49999999999999994}, {u"0.2", u"%.1f", 0.25}, {u"0.3", u"%.1f", 0.35},
      {u"0.5", u"%.1f", 0.45}, {u"0.1", u"%.1f", 0.05}, {u"1.00", u"%.2f", 1.005}, {u"2.67", u"%.2f", 2.675},
      {u"1.12", u"%.2f", 1.125}, {u"1.000", u"%.3f", 1.0005}, {u"9.9", u"%.1f", 9.95},
      {u"100.0", u"%.1f", 99.95}, {u"10", u"%.0f", 9.5}, {u"1000000000000000", u"%.0f", 1000000000000000.5},
      {u"0.10000000000000000555", u"%.20f", 0.1}, {u"0.29999999999999999", u"%.17f", 0.3},
      {u"0.333333333333333314829616256247", u"%.30f", 0.3333333333333333},
      {u"10000000000000000000000.000", u"%.3f", 1e+22},
      {u"0.000000000000000000000000000000000000000000000000000000000000", u"%.60f", 1e-300},
      {u"1.234568e+04", u"%e", 12345.678}, {u"0.000000e+00", u"%e", 0.0}, {u"-0.000000e+00", u"%e", -0.0},
      {u"1.234568E+04", u"%E", 12345.678}, {u"1e+04", u"%.0e", 12345.0}, {u"2e+04", u"%.0e", 15000.0},
      {u"2e+04", u"%.0e", 25000.0}, {u"1.000000e+100", u"%e", 1e+100}, {u"1.000000e-100", u"%e", 1e-100},
      {u"4.940656e-324", u"%e", 5e-324}, {u"1.797693e+308", u"%e", 1.7976931348623157e+308},
      {u"9.999e+00", u"%.3e", 9.9995}, {u"9.999e+00", u"%.3e", 9.9994999},
      {u"1.4285714286e-01", u"%.10e", 0.14285714285714285},
      {u"1.000000000000000025059091835209e-300", u"%.30e", 1e-300}, {u"9.999999e-05", u"%e", 9.999999e-05},
      {u"9.99e+00", u"%.2e", 9.995}, {u"1.000000e-05", u"%e", 1e-05}, {u"12345.7", u"%g", 12345.678},
      {u"0.0001", u"%g", 0.0001}, {u"1e-05", u"%g", 1e-05}, {u"123456", u"%g", 123456.0},
      {u"1.23457e+06", u"%g", 1234567.0}, {u"100000", u"%g", 100000.0}, {u"1e+06", u"%g", 1000000.0},
      {u"0", u"%g", 0.0}, {u"-0", u"%g", -0.0}, {u"1", u"%g", 1.0}, {u"0.5", u"%g", 0.5},
      {u"1e+06", u"%g", 999999.5}, {u"999999", u"%g", 999999.4},
      {u"1.5e-05", u"%g", 1.5e-05}, {u"0.000123457", u"%g", 0.000123456789}, {u"0.5", u"%.0g", 0.5},
      {u"1e+02", u"%.0g", 123.0}, {u"1", u"%.1g", 0.96}, {u"0.000123", u"%.3g", 0.0001234},
      {u"0.3333333333", u"%.10g", 0.3333333333333333}, {u"0.10000000000000001", u"%.17g", 0.1},
      {u"0.10000000000000000555", u"%.20g", 0.1}, {u"1E-10", u"%G", 1e-10}, {u"1.5E+20", u"%G", 1.5e+20},
      {u"1e+100", u"%g", 1e+100}, {u"4.94066e-324", u"%g", 5e-324},
      {u"1.79769e+308", u"%g", 1.7976931348623157e+308},
      {u"0.1000000000000000055511151231257827021181583404541015625", u"%.900g", 0.1}, {u"100", u"%g", 100.0},
      {u"1e+15", u"%g", 1000000000000000.0}, {u"1e+15", u"%.15g", 1000000000000000.0},
      {u"1000000000000000", u"%.16g", 1000000000000000.0}, {u"1.00000", u"%#g", 1.0}, {u"0.00000", u"%#g", 0.0},
      {u"123456.", u"%#g", 123456.0}, {u"1.00000e+06", u"%#g", 1000000.0}, {u"3.", u"%#.0g", 3.0},
      {u"1.00", u"%#.3g", 1.0}, {u"0.000100", u"%#.3g", 0.0001}, {u"1.00000e-05", u"%#g", 1e-05},
      {u"3.", u"%#.0f", 3.0}, {u"0.", u"%#.0f", 0.0}, {u"1.e+04", u"%#.0e", 12345.0},
      {u"-1.e+00", u"%#.0e", -1.0}, {u"1.000000", u"%#f", 1.0}, {u"1.000000e+00", u"%#e", 1.0},
      {u"2.0", u"%#.1f", 2.0}, {u"     3.142", u"%10.3f", 3.14159}, {u"3.142     |", u"%-10.3f|", 3.14159},
      {u"-00003.142", u"%010.3f", -3.14159}, {u"+3.14", u"%+.2f", 3.14159}, {u" 3.14", u"% .2f", 3.14159},
      {u"-3.14", u"%+.2f", -3.14159}, {u"-1.000000", u"% f", -1.0}, {u"+0.000000", u"%+f", 0.0},
      {u"-0.000000", u"%+f", -0.0}, {u"-01.23e+03", u"%010.2e", -1234.5},
      {u"1.234e+03   |", u"%-12.3e|", 1234.5}, {u"+0000003.142", u"%+012.4g", 3.14159},
      {u"-0000001e-10", u"%012g", -1e-10}, {u"        0.6666666667", u"%20.10f", 0.6666666666666666},
      {u"+2.2    |", u"%-+8.1f|", 2.25}, {u"-0000002", u"%08.0f", -2.5},
      {u" 006.022E+23", u"% 012.3E", 6.02214076e+23}, {u"0", u"%.0f", 1e-320},
      {u"0.000000", u"%f", 2.2250738585072014e-308},
  };
  for (const Case& c : cases) Row(c.expected, c.format, c.value);
  Row(u"1000000000000000052504760255204420248704468581108159154915854115511802457988908195786371"
      u"3750804478640437044438328838781769425232353604305756447921847867069828483872009265758037"
      u"3783023379478809005936895323497079994508111903896764088007465274278014249457925878882005"
      u"6842838115669472196386865459400540160.000000",
      u"%f", 1e+300);
  Row(u"1797693134862315708145274237317043567980705675258449965989174768031572607800285387605895"
      u"5863276687817154045895351438246423432132688946418276846754670353751698604991057655128207"
      u"6245490090389328944075868508455133942304583236903222948165808559332123348274797826204144"
      u"723168738177180919299881250404026184124858368.000000",
      u"%f", 1.7976931348623157e+308);
  // Long exact expansions: a digit prefix and a run of zeros.
  const auto Z = [](size_t n) { return std::u16string(n, u'0'); };
  const std::u16string tenth = u"1000000000000000055511151231257827021181583404541015625";
  const std::u16string denormal =
      u"4940656458412465441765687928682213723650598026143247644255856825006755072702087518652998363616359923"
      u"7979656469544571773092665671035593979639877479601078187812630071319031140452784581716784898210368871"
      u"8636056998730723050006387409153564984387312473397273169615140031715385398074126238565591171026658556"
      u"6867681870395603106249319452715914924553293054565444011274801297099995419319894090804165633245247571"
      u"4786901472678015935523861155013480352649347201937902681071074917033322268447533357208324319360923828"
      u"9345836806010601150616980975307834227731832924790498252473077637592724787465608477820373446969953364"
      u"7017972677717585125660551199131504891101451037862738167250955837389733598993664809941164205702637090"
      u"279242767544565229087538682506419718265533447265625";
  Row((u"0." + Z(323) + denormal).c_str(), u"%.1074f", 5e-324);
  Row((u"1." + Z(1100)).c_str(), u"%.1100f", 1.0);
  Row((u"0." + tenth + Z(1045)).c_str(), u"%.1100f", 0.1);
  Row((u"1." + Z(800) + u"e+00").c_str(), u"%.800e", 1.0);
  Row((u"1." + tenth.substr(1) + Z(736) + u"e-01").c_str(), u"%.790e", 0.1);
  Row((u"1." + Z(899)).c_str(), u"%#.900g", 1.0);
  Row(u"1.500000|2.5e+00", u"%Lf|%.1Le", 1.5, 2.5);  // long double is double
}

TEST(FormatPrintf, InfinityAndNan) {
  const double inf = std::numeric_limits<double>::infinity();
  const double quiet = FromBits(0x7FF8000000000000ull);
  const double indeterminate = FromBits(0xFFF8000000000000ull);  // what 0.0/0.0 gives on x64
  const double signaling = FromBits(0x7FF0000000000001ull);
  const double negativeQuiet = FromBits(0xFFF8000000000001ull);
  Row(u"inf|-inf|INF|inf|INF|inf|INF|inf|INF", u"%f|%f|%F|%e|%E|%g|%G|%a|%A", inf, -inf, inf, inf, inf, inf,
      inf, inf, inf);
  Row(u"nan|-nan(ind)|NAN|-NAN(IND)", u"%f|%f|%F|%E", quiet, indeterminate, quiet, indeterminate);
  // A signalling NaN, and a negative quiet one other than the indeterminate.
  WineDiffers(u"nan(snan)|-nan|NAN(SNAN)", u"%f|%f|%G", signaling, negativeQuiet, signaling);
  Row(u"       inf|inf       |       inf|+inf| inf|-nan(ind)|nan", u"%10f|%-10f|%010f|%+f|% f|%.1f|%.0e", inf,
      inf, inf, inf, inf, indeterminate, quiet);
  Row(u"inf|-inf", u"%#f|%#g", inf, -inf);
  // '#' at precision 0 puts the runtime's point after the first character of
  // inf and nan; "-.inf" no longer reads as special and gets the 0x of %a.
  WineDiffers(u"i.nf|-.inf|n.an|-0x.inf", u"%#.0f|%#.0e|%#.0f|%#.0a", inf, -inf, quiet, -inf);
}

TEST(FormatPrintf, HexFloatingPoint) {
  Row(u"0x1.0000000000000p+0|-0X1.FF00000000000P+7|0x0.0000000000000p+0|-0x0.0000000000000p+0",
      u"%a|%A|%a|%a", 1.0, -255.5, 0.0, -0.0);
  Row(u"0x0.0000000000001p-1022|0x1.fffffffffffffp+1023|0x1.0000000000000p-1|0x1.0000000000000p-1022",
      u"%a|%a|%a|%a", 5e-324, std::numeric_limits<double>::max(), 0.5, 2.2250738585072014e-308);
  Row(u"0x1.p+0|0x1.0000000000000p+0|0x000001.0000000000000p+0|+0x1.0000000000000p+0",
      u"%#.0a|%20a|%025a|%+a", 1.0, 1.0, 1.0, 1.0);
  Row(u"0x1.00000000000000000000p+0|0x1.8p+0", u"%.20a|%.1a", 1.0, 1.5);
  // Cut digits round to even; a carry reaches the leading digit.
  Row(u"0x2p+0|0x1p+1|0x1.0p+0|0x1.2p+0|0x2.00p+0", u"%.0a|%.0a|%.1a|%.1a|%.2a", 1.5, 2.5, 1.03125,
         1.09375, 1.999);
}

TEST(FormatPrintf, LenientFormats) {
  // Characters the runtime does not know print as text, and a format that
  // ends inside a conversion drops it.
  Row(u"y|y|y|100%|abc", u"%y|%5y|%-5.3y|100%%|abc%", 1);
  WineDiffers(u"%|%", u"%5%|%-.3%");
  for (const char16_t* format : {u"%", u"%-", u"%hh"}) Row(u"", format);
  // A lone I is no size prefix: "%I3d" prints "3d" and takes no argument.
  WineDiffers(u"3d|y|wide|7", u"%I3d|%Iy|%Is|%d", u"wide", 7);
  Row(u"1.000000d|1.000000", u"%Fd|%lF", 1.0, 1.0);
  Row(u"-d|-5d|4d|", u"%5-d|%.-5d|%dd|%.d", 4, 0);
  // A flag after the width ends the conversion: "%05-d" prints "-d".
  Row(u"-d|42   |42   ", u"%05-d|%0-5d|%--5d", 42, 42);
  Row(u"x|y", u"%Lc|%Ls", u'x', u"y");
}

// What the runtime rejects (its invalid-parameter path, then -1). Wine's
// ucrtbase accepts all of these, so they are not compared with it.
TEST(FormatPrintf, InvalidFormats) {
  for (const char16_t* format : {u"%hld", u"%lhd", u"%hhhd", u"%Nd", u"%Ld", u"%Lx", u"%wd", u"%Td",
                                 u"%2147483648d", u"%99999999999d"}) {
    Invalid(format, 5);
  }
  Invalid(u"%llld", 5LL);
  Invalid(u"%I64ld", 5LL);
  Invalid(u"ab%s%hld", u"x", 5);
  Invalid(u"%.2147483648f", 5.0);
  // %n is disabled in the runtime; the argument is never written.
  int count = 77;
  Invalid(u"abc%n", &count);
  EXPECT_EQ(count, 77);
}

TEST(FormatPrintf, BufferLimits) {
  char16_t buf[8];
  EXPECT_EQ(zx::FormatTo(buf, 8, u"%s", u"abcdefghijkl"), 12);
  EXPECT_EQ(std::u16string(buf), u"abcdefg");
  EXPECT_EQ(zx::FormatTo(buf, 1, u"%d", 12345), 5);
  EXPECT_EQ(buf[0], u'\0');
  EXPECT_EQ(zx::FormatTo(nullptr, 0, u"%d-%s", 12345, u"ab"), 8);
  EXPECT_EQ(zx::FormatTo(nullptr, 4, u"x"), -1);
  EXPECT_EQ(zx::FormatTo(buf, 8, nullptr), -1);
  // Exactly full: seven units and the terminator.
  EXPECT_EQ(zx::FormatTo(buf, 8, u"%07d", 42), 7);
  EXPECT_EQ(std::u16string(buf), u"0000042");
}

TEST(FormatPrintf, HugeWidthsAreCountedNotStored) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(zx::FormatTo(nullptr, 0, u"%2147483647d", 1), INT_MAX);
  char16_t buf[16];
  EXPECT_EQ(zx::FormatTo(buf, 16, u"%.1000000000d", 5), 1000000000);
  EXPECT_EQ(std::u16string(buf), u"000000000000000");
  EXPECT_EQ(zx::FormatTo(buf, 16, u"%.1000000000f", 1.5), 1000000002);
  EXPECT_EQ(std::u16string(buf), u"1.5000000000000");
  EXPECT_EQ(zx::FormatTo(buf, 16, u"%-1000000000s|", u"ab"), 1000000001);
  // Past INT_MAX the result is -1.
  EXPECT_EQ(zx::FormatTo(buf, 16, u"%2147483647d%d", 1, 2), -1);
  EXPECT_EQ(buf[0], u'\0');
  EXPECT_EQ(zx::FormatTo(buf, 16, u"%.2147483647f", 1.0), -1);
  EXPECT_EQ(zx::FormatTo(buf, 16, u"%1000000000d%1000000000d%1000000000d", 1, 2, 3), -1);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

struct Collected {
  std::u16string text;
  int pieces = 0;
};

void Collect(void* context, const char16_t* text, size_t count) {
  auto* c = static_cast<Collected*>(context);
  c->text.append(text, count);
  ++c->pieces;
}

int ToSink(Collected& c, size_t limit, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int n = zx::VFormatToSink(&Collect, &c, limit, format, ap);
  va_end(ap);
  return n;
}

TEST(FormatPrintf, SinkReceivesEverythingInOrder) {
  Collected small;
  EXPECT_EQ(ToSink(small, 100, u"%s=%d", u"key", 42), 6);
  EXPECT_EQ(small.text, u"key=42");
  EXPECT_EQ(small.pieces, 1);

  Collected big;
  std::u16string longText(1000, u'x');
  const int n = ToSink(big, 1 << 20, u"[%s|%-700d|%.600f]", longText.c_str(), 7, 0.25);
  ASSERT_EQ(n, static_cast<int>(big.text.size()));
  EXPECT_EQ(n, 1 + 1000 + 1 + 700 + 1 + 602 + 1);
  EXPECT_EQ(big.text.substr(0, 4), u"[xxx");
  EXPECT_EQ(big.text.substr(1001, 3), u"|7 ");
  EXPECT_EQ(big.text.substr(1703, 6), u"0.2500");
  EXPECT_EQ(big.text.substr(big.text.size() - 4), u"000]");
  EXPECT_GT(big.pieces, 1);

  Collected bad;
  EXPECT_EQ(ToSink(bad, 100, u"abc%hld", 5), -1);
  EXPECT_EQ(bad.text, u"abc");
  // Output past the limit never reaches the sink.
  Collected limited;
  EXPECT_EQ(ToSink(limited, 6, u"abc%s", u"def"), 6);
  EXPECT_EQ(ToSink(limited, 6, u"abc%s", u"defg"), -1);
  EXPECT_EQ(limited.text, u"abcdefabc");
  Collected huge;
  EXPECT_EQ(ToSink(huge, size_t{1} << 20, u"%2000000d", 1), -1);
  EXPECT_TRUE(huge.text.empty());
}

uint32_t Cp1252() { return 1252; }
uint32_t CpUtf8() { return 65001; }
uint32_t CpBytes() { return 0; }

struct CodePageScope {
  explicit CodePageScope(zx::CodePageSource s) : old(zx::SetFormatCodePageSource(s)) {}
  ~CodePageScope() { zx::SetFormatCodePageSource(old); }
  zx::CodePageSource old;
};

// Narrow arguments are widened in String's default code page; the runtime's C
// locale widens byte by byte, as code page 0 does.
TEST(FormatPrintf, NarrowArgumentsUseTheCodePage) {
  {
    CodePageScope cp(&Cp1252);
    OurRow(u"\u00e4\u20ac|\u20ac|\u00e4|  \u00e4\u20ac", u"%hs|%hc|%C|%4S", "\xE4\x80", 0x80, 0xE4, "\xE4\x80");
  }
  {
    CodePageScope cp(&CpUtf8);
    // The precision counts characters, not bytes.
    OurRow(u"\u00e4b|\u00e4|\U0001F600", u"%hs|%.1hs|%S", "\xC3\xA4" "b", "\xC3\xA4" "b", "\xF0\x9F\x98\x80");
  }
  {
    CodePageScope cp(&CpBytes);
    Row(u"\u00e4\u0080|\u00ff", u"%hs|%hc", "\xE4\x80", 0xFF);
  }
}

struct Counted {
  uint16_t length;
  uint16_t maximumLength;
  const void* buffer;
};

TEST(FormatPrintf, CountedStrings) {
  const Counted ansi{2, 4, "abc"};
  const Counted wide{6, 8, u"wxyz"};
  const Counted empty{0, 0, nullptr};
  WineDiffers(u"ab|wxy|(null)|(null)|   ab|ab", u"%Z|%wZ|%Z|%Z|%5Z|%.1Z", &ansi, &wide, &empty,
      static_cast<const Counted*>(nullptr), &ansi, &ansi);
}

}  // namespace
