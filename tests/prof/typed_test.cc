// Typed values: the written forms, round trips, defaults through their text form,
// the -6 and -9 paths, partial fills of points and rectangles, the scanner's
// corner cases, and the text readers that need no job.
#include <cfloat>
#include <climits>
#include <cstdio>
#include <string>
#include <tuple>

#include "prof_test_util.h"

using namespace proftest;

namespace {
std::u16string Stored(HPROFJOB job, const char16_t* path) { return Get(job, nullptr, path); }
}  // namespace

TEST(ProfTyped, WrittenForms) {
  Job job;
  ProfSetBoolW(job, nullptr, W(u"b1"), TRUE);
  ProfSetBoolW(job, nullptr, W(u"b5"), 5);
  ProfSetBoolW(job, nullptr, W(u"b0"), FALSE);
  ProfSetIntW(job, nullptr, W(u"i"), -5);
  ProfSetIntHexW(job, nullptr, W(u"h"), 31);
  ProfSetIntHexW(job, nullptr, W(u"hm"), -1);
  ProfSetInt64W(job, nullptr, W(u"l"), -1);
  ProfSetInt64W(job, nullptr, W(u"lmax"), LLONG_MAX);
  ProfSetInt64HexW(job, nullptr, W(u"lh"), 0x123456789ALL);
  ProfSetDoubleW(job, nullptr, W(u"d"), 1.5);
  POINT p{1, -2};
  ProfSetPointW(job, nullptr, W(u"p"), &p);
  RECT r{1, 2, 3, 4};
  ProfSetRectW(job, nullptr, W(u"r"), &r);
  RECT ltwh{1, 2, 4, 6};
  ProfSetRectLTWHW(job, nullptr, W(u"w"), &ltwh);
  RECT extreme{INT_MIN, 0, INT_MAX, -1};
  ProfSetRectLTWHW(job, nullptr, W(u"wx"), &extreme);  // width wraps like 32-bit arithmetic
  ProfSetColorrefW(job, nullptr, W(u"c"), 0x030201);
  ProfSetColorrefW(job, nullptr, W(u"ch"), 0xFF030201);  // the high byte is not written
  const struct {
    const char16_t *path, *text;
  } forms[] = {{u"b1", u"TRUE"},  {u"b5", u"TRUE"},       {u"b0", u"FALSE"},
               {u"i", u"-5"},     {u"h", u"x0000001F"},   {u"hm", u"xFFFFFFFF"},
               {u"l", u"18446744073709551615"},            {u"lmax", u"9223372036854775807"},
               {u"lh", u"x123456789A"},                    {u"d", u"1.500000"},
               {u"p", u"(1,-2)"}, {u"r", u"(1,2,3,4)"},    {u"w", u"(1,2,3,4)"},
               {u"wx", u"(-2147483648,0,-1,-1)"},          {u"c", u"(1,2,3)"}, {u"ch", u"(1,2,3)"}};
  for (const auto& f : forms) EXPECT_EQ(Stored(job, f.path), f.text) << ToUtf8(f.path);
  // Append always adds; set replaces the first.
  ProfAppendIntW(job, nullptr, W(u"i"), 6);
  ProfAppendInt64HexW(job, nullptr, W(u"i"), -1);
  ProfSetIntHexW(job, nullptr, W(u"i"), 16);
  std::vector<Entry> all = Items(job, nullptr);
  std::u16string is;
  for (const Entry& e : all)
    if (e.name == u"i") is += e.value + u" ";
  EXPECT_EQ(is, u"x00000010 6 xFFFFFFFFFFFFFFFF ");
}

TEST(ProfTyped, DoubleFormMatchesTheCRuntime) {
  // glibc's "%f" rounds correctly, as the formatter must: it judges our text.
  Job job;
  for (double d : {0.0, -0.0, 1.0 / 3, 2.5e-7, 0.0000005, 123456.7890125, -1e15, 1e300, DBL_MIN}) {
    ProfSetDoubleW(job, nullptr, W(u"d"), d);
    char expect[512];
    std::snprintf(expect, sizeof expect, "%f", d);
    std::u16string want(expect, expect + std::char_traits<char>::length(expect));
    EXPECT_EQ(Stored(job, u"d"), want) << d;
  }
}

TEST(ProfTyped, EveryFormRoundTrips) {
  Job job;
  // Writes v with set, reads it back with get; hex forms need no type information.
  auto roundTrip = [&](auto set, auto get, auto v) {
    decltype(v) out = v == decltype(v)(99) ? 98 : 99;
    set(job, nullptr, W(u"v"), v);
    ASSERT_EQ(get(job, nullptr, W(u"v"), &out, 7), 0) << v;
    EXPECT_EQ(out, v);
  };
  for (LONG v : {0, 1, -1, 31, INT_MAX, INT_MIN}) {
    roundTrip(ProfSetIntW, ProfGetIntW, v);
    roundTrip(ProfSetIntHexW, ProfGetIntW, v);
  }
  for (LONGLONG v : {0LL, 1LL, -1LL, LLONG_MAX, LLONG_MIN, 0x123456789ALL}) {
    roundTrip(ProfSetInt64W, ProfGetInt64W, v);
    roundTrip(ProfSetInt64HexW, ProfGetInt64W, v);
  }
  // Every double keeps its integral part: even "%f" of the largest one fits.
  for (double v : {0.5, -2.25, 1e6, 123.456, DBL_MAX, -1e300}) roundTrip(ProfSetDoubleW, ProfGetDoubleW, v);
  for (BOOL v : {TRUE, FALSE}) roundTrip(ProfSetBoolW, ProfGetBoolW, v);
  for (COLORREF v : {0x000000u, 0x00FFFFFFu, 0x00123456u}) roundTrip(ProfSetColorrefW, ProfGetColorrefW, v);
  POINT p{-7, 2147483647}, pd{0, 0}, po{};
  ProfSetPointW(job, nullptr, W(u"p"), &p);
  ASSERT_EQ(ProfGetPointW(job, nullptr, W(u"p"), &po, &pd), 0);
  EXPECT_EQ(po.x, -7);
  EXPECT_EQ(po.y, 2147483647);
  RECT r{-1, -2, 300, 400}, rd{}, ro{};
  ProfSetRectW(job, nullptr, W(u"r"), &r);
  ASSERT_EQ(ProfGetRectW(job, nullptr, W(u"r"), &ro, &rd), 0);
  EXPECT_EQ((std::vector<LONG>{ro.left, ro.top, ro.right, ro.bottom}), (std::vector<LONG>{-1, -2, 300, 400}));
  ProfSetRectLTWHW(job, nullptr, W(u"w"), &r);
  ro = {};
  ASSERT_EQ(ProfGetRectLTWHW(job, nullptr, W(u"w"), &ro, &rd), 0);
  EXPECT_EQ((std::vector<LONG>{ro.left, ro.top, ro.right, ro.bottom}), (std::vector<LONG>{-1, -2, 300, 400}));
}

TEST(ProfTyped, MissingAndEmptyItemsDeliverTheDefaultThroughItsTextForm) {
  Job job;
  Set(job, nullptr, u"empty", u"");
  for (const char16_t* path : {u"missing", u"empty", u"no/such/list"}) {
    SCOPED_TRACE(ToUtf8(path));
    auto gives = [&](auto get, auto def, auto expected) {
      decltype(expected) out{};
      EXPECT_EQ(get(job, nullptr, W(path), &out, def), PROF_ERR_NOT_FOUND);
      EXPECT_EQ(out, expected);
    };
    gives(ProfGetIntW, LONG(-42), LONG(-42));
    gives(ProfGetInt64W, LONGLONG(LLONG_MIN), LONGLONG(LLONG_MIN));
    gives(ProfGetDoubleW, 1.23456789, 1.234568);  // "%f" keeps six decimals
    // "(4,3,2)" has no room for the high byte.
    gives(ProfGetColorrefW, COLORREF(0x01020304), COLORREF(0x00020304));
    gives(ProfGetBoolW, BOOL(7), BOOL(7));  // the default itself
    POINT pd{3, 4}, p{};
    EXPECT_EQ(ProfGetPointW(job, nullptr, W(path), &p, &pd), PROF_ERR_NOT_FOUND);
    EXPECT_EQ(p.x, 3);
    EXPECT_EQ(p.y, 4);
    RECT rd{1, 2, 3, 4}, r{};
    EXPECT_EQ(ProfGetRectLTWHW(job, nullptr, W(path), &r, &rd), PROF_ERR_NOT_FOUND);
    EXPECT_EQ(r.right, 3);  // the structure is copied as it is
    EXPECT_EQ(ProfGetRectW(job, nullptr, W(path), &r, &r), PROF_ERR_NOT_FOUND);
    EXPECT_EQ(r.bottom, 4);
    EXPECT_EQ(ProfGetRectW(job, nullptr, W(path), &r, nullptr), PROF_ERR_NOT_FOUND);
    EXPECT_EQ(r.bottom, 0);  // a null default reads as zeros
  }
}

TEST(ProfTyped, TextsNoReadFormAcceptsGiveFormatErrorAndLeaveOut) {
  Job job;
  Set(job, nullptr, u"abc", u"abc");
  Set(job, nullptr, u"c2", u"(1,2)");
  auto leaves = [&](auto get, const char16_t* path, auto init) {
    auto out = init;
    EXPECT_EQ(get(job, nullptr, W(path), &out, 1), PROF_ERR_FORMAT) << ToUtf8(path);
    EXPECT_EQ(out, init);
  };
  leaves(ProfGetIntW, u"abc", LONG(77));
  leaves(ProfGetInt64W, u"abc", LONGLONG(77));
  leaves(ProfGetColorrefW, u"abc", COLORREF(77));
  leaves(ProfGetColorrefW, u"c2", COLORREF(77));
  double d = 77;
  EXPECT_EQ(ProfGetDoubleW(job, nullptr, W(u"abc"), &d, 1), 0);  // doubles never give -9
  EXPECT_EQ(d, 0.0);
  BOOL b = 77;
  EXPECT_EQ(ProfGetBoolW(job, nullptr, W(u"abc"), &b, 1), 0);
  EXPECT_EQ(b, 0);
  // A null out is left alone and the code still comes back.
  EXPECT_EQ(ProfGetIntW(job, nullptr, W(u"abc"), nullptr, 1), PROF_ERR_FORMAT);
  Set(job, nullptr, u"n", u"5");
  EXPECT_EQ(ProfGetIntW(job, nullptr, W(u"n"), nullptr, 1), 0);
}

TEST(ProfTyped, PointsAndRectanglesFillAsFarAsTheScanWent) {
  Job job;
  Set(job, nullptr, u"p1", u"(5)");
  Set(job, nullptr, u"p0", u"5,6");
  Set(job, nullptr, u"r3", u"(1,2,3)");
  Set(job, nullptr, u"w3", u"(10,20,30,x)");
  POINT p{-1, -1}, pd{9, 9};
  EXPECT_EQ(ProfGetPointW(job, nullptr, W(u"p1"), &p, &pd), PROF_ERR_FORMAT);
  EXPECT_EQ(p.x, 5);
  EXPECT_EQ(p.y, -1);
  p = {-1, -1};
  EXPECT_EQ(ProfGetPointW(job, nullptr, W(u"p0"), &p, &pd), PROF_ERR_FORMAT);
  EXPECT_EQ(p.x, -1);
  RECT r{-1, -1, -1, -1}, rd{};
  EXPECT_EQ(ProfGetRectW(job, nullptr, W(u"r3"), &r, &rd), PROF_ERR_FORMAT);
  EXPECT_EQ((std::vector<LONG>{r.left, r.top, r.right, r.bottom}), (std::vector<LONG>{1, 2, 3, -1}));
  r = {-1, -1, -1, -1};
  // A short LTWH text stays as scanned: no width is turned into a right edge.
  EXPECT_EQ(ProfGetRectLTWHW(job, nullptr, W(u"w3"), &r, &rd), PROF_ERR_FORMAT);
  EXPECT_EQ((std::vector<LONG>{r.left, r.top, r.right, r.bottom}), (std::vector<LONG>{10, 20, 30, -1}));
  Set(job, nullptr, u"w", u"(1,2,3,4)");
  EXPECT_EQ(ProfGetRectLTWHW(job, nullptr, W(u"w"), &r, &rd), 0);
  EXPECT_EQ(r.right, 4);
  EXPECT_EQ(r.bottom, 6);
}

TEST(ProfTyped, ReadFormsAndTheScannersCornerCases) {
  Job job;
  struct Case {
    const char16_t* text;
    LONG rc;
    LONG value;
  };
  // Hex needs its "x" exactly; white space is skipped only before a number;
  // trailing text is ignored; numbers past 32 bits are cut as the C runtime
  // cuts them (64-bit value, low 32 bits), and past 64 bits saturate first.
  const Case cases[] = {
      {u"x0000001F", 0, 31},      {u"31", 0, 31},           {u"12abc", 0, 12},
      {u"  42", 0, 42},           {u"+5", 0, 5},            {u"-7", 0, -7},
      {u"x1f", 0, 31},            {u"X1F", -9, 77},         {u" x1F", -9, 77},
      {u"0x1F", 0, 0},            {u"x0x1F", 0, 31},        {u"x-1", 0, -1},
      {u"xFFFFFFFF", 0, -1},      {u"x100000001", 0, 1},    {u"-", -9, 77},
      {u"x", -9, 77},             {u"3000000000", 0, -1294967296},
      {u"4294967296", 0, 0},      {u"99999999999", 0, 1215752191},
      {u"99999999999999999999", 0, -1},  {u"-99999999999999999999", 0, 0},
      {u"\u0661\u0662", 0, 12},   // Arabic-Indic digits count as the runtime counts them
  };
  for (const Case& c : cases) {
    Set(job, nullptr, u"v", c.text);
    LONG out = 77;
    EXPECT_EQ(ProfGetIntW(job, nullptr, W(u"v"), &out, 0), c.rc) << ToUtf8(c.text);
    EXPECT_EQ(out, c.value) << ToUtf8(c.text);
  }
  struct Case64 {
    const char16_t* text;
    LONG rc;
    LONGLONG value;
  };
  const Case64 cases64[] = {
      {u"x123456789A", 0, 0x123456789ALL},
      {u"18446744073709551615", 0, -1},
      {u"18446744073709551616", 0, -1},  // saturates at the unsigned maximum
      {u"-1", 0, -1},
      {u"9223372036854775808", 0, LLONG_MIN},
      {u"x8000000000000000", 0, LLONG_MIN},
      {u"zz", -9, 77},
  };
  for (const Case64& c : cases64) {
    Set(job, nullptr, u"v", c.text);
    LONGLONG out = 77;
    EXPECT_EQ(ProfGetInt64W(job, nullptr, W(u"v"), &out, 0), c.rc) << ToUtf8(c.text);
    EXPECT_EQ(out, c.value) << ToUtf8(c.text);
  }
  // A bool is true on a leading upper-case "T" or "Y".
  for (auto [text, def, expected] : {std::tuple{u"yes", 1, 0}, {u"YES", 0, 1}, {u"Tuesday", 0, 1}}) {
    Set(job, nullptr, u"b", text);
    BOOL b = 5;
    EXPECT_EQ(ProfGetBoolW(job, nullptr, W(u"b"), &b, def), 0);
    EXPECT_EQ(b, expected) << ToUtf8(text);
  }
  // "(r,g,b)" with each part cut to its low byte, or the raw integer with all 32 bits.
  for (auto [text, expected] : {std::pair{u"(1,2,3)", 0x030201u}, {u"xFF00FF01", 0xFF00FF01u},
                                {u"(300,-1,2)", 0x02FF2Cu}}) {
    Set(job, nullptr, u"c", text);
    COLORREF c = 0;
    EXPECT_EQ(ProfGetColorrefW(job, nullptr, W(u"c"), &c, 0), 0);
    EXPECT_EQ(c, expected) << ToUtf8(text);
  }
  double d = 0;
  Set(job, nullptr, u"d", u"  -1.5e3xyz");
  EXPECT_EQ(ProfGetDoubleW(job, nullptr, W(u"d"), &d, 0), 0);
  EXPECT_EQ(d, -1500.0);
}

TEST(ProfTyped, TypedGetsParseOnlyTheFirst199Characters) {
  Job job;
  Set(job, nullptr, u"cut", (std::u16string(199, u' ') + u"5").c_str());
  Set(job, nullptr, u"kept", (std::u16string(198, u' ') + u"5").c_str());
  LONG v = 77;
  EXPECT_EQ(ProfGetIntW(job, nullptr, W(u"cut"), &v, 0), PROF_ERR_FORMAT);
  EXPECT_EQ(ProfGetIntW(job, nullptr, W(u"kept"), &v, 0), 0);
  EXPECT_EQ(v, 5);
  // The 64-bit read has 63 characters.
  Set(job, nullptr, u"cut64", (std::u16string(63, u' ') + u"5").c_str());
  LONGLONG l = 77;
  EXPECT_EQ(ProfGetInt64W(job, nullptr, W(u"cut64"), &l, 0), PROF_ERR_FORMAT);
}

TEST(ProfTyped, GetStringCutsAtTheBufferAndReturnsTheFullLength) {
  Job job;
  Set(job, nullptr, u"ten", u"0123456789");
  char16_t buf[16];
  std::fill(std::begin(buf), std::end(buf), u'#');
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"ten"), reinterpret_cast<LPWSTR>(buf), 4, W(u"d")), 10);
  EXPECT_EQ(std::u16string(buf), u"012");
  EXPECT_EQ(buf[4], u'#');  // nothing behind the terminator
  std::fill(std::begin(buf), std::end(buf), u'#');
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"ten"), reinterpret_cast<LPWSTR>(buf), 0, W(u"d")), 10);
  EXPECT_EQ(buf[0], u'#');  // size 0: not a unit written
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"ten"), nullptr, 10, W(u"d")), 10);
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"ten"), reinterpret_cast<LPWSTR>(buf), -3, W(u"d")), 10);
  // The default is cut the same way; a missing item leaves it there.
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"none"), reinterpret_cast<LPWSTR>(buf), 3, W(u"default")),
            PROF_ERR_NOT_FOUND);
  EXPECT_EQ(std::u16string(buf), u"de");
  // A null default writes a lone terminator.
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"none"), reinterpret_cast<LPWSTR>(buf), 3, nullptr),
            PROF_ERR_NOT_FOUND);
  EXPECT_EQ(buf[0], 0);
  // A buffer that is its own default is left alone when the item is missing.
  std::u16string mine = u"keep me";
  std::copy(mine.begin(), mine.end() + 1, buf);
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"none"), reinterpret_cast<LPWSTR>(buf), 16,
                           reinterpret_cast<LPCWSTR>(buf)),
            PROF_ERR_NOT_FOUND);
  EXPECT_EQ(std::u16string(buf), mine);
  // An empty value is found: length 0 is success.
  Set(job, nullptr, u"empty", u"");
  EXPECT_EQ(ProfGetStringW(job, nullptr, W(u"empty"), reinterpret_cast<LPWSTR>(buf), 16, W(u"d")), 0);
  EXPECT_EQ(buf[0], 0);
  EXPECT_EQ(ProfGetStringLengthW(job, nullptr, W(u"ten")), 10);
  EXPECT_EQ(ProfGetStringLengthW(job, nullptr, W(u"empty")), 0);
  EXPECT_EQ(ProfGetStringLengthW(job, nullptr, W(u"none")), PROF_ERR_NOT_FOUND);
  // Lists are not values.
  ProfCreateListW(job, nullptr, W(u"list"));
  EXPECT_EQ(ProfGetStringLengthW(job, nullptr, W(u"list")), PROF_ERR_NOT_FOUND);
}

TEST(ProfTyped, TextReadersWithoutAJob) {
  // The search of "TY" finds the terminator too, so "" is true.
  for (auto [text, def, expected] : {std::tuple{u"", 0, 1}, {u"yes", 1, 0}, {u"Y", 0, 1}, {nullptr, 5, 5}}) {
    BOOL b = 9;
    ProfLPSTRtoBOOLW(W(text), &b, def);
    EXPECT_EQ(b, expected) << (text ? ToUtf8(text) : "null");
  }

  LONG i = 0;
  EXPECT_EQ(ProfLPSTRtoINTW(W(u"12"), &i, 7), 1);
  EXPECT_EQ(i, 12);
  EXPECT_EQ(ProfLPSTRtoINTW(W(u"x1F"), &i, 7), 0);  // no hex form here
  EXPECT_EQ(i, 7);
  EXPECT_EQ(ProfLPSTRtoINTW(W(u""), &i, 8), -1);  // the scanner's end-of-input count
  EXPECT_EQ(i, 8);
  EXPECT_EQ(ProfLPSTRtoINTW(nullptr, &i, 9), 0);
  EXPECT_EQ(i, 9);

  LONGLONG l = 0;
  EXPECT_EQ(ProfLPSTRtoINT64W(W(u"18446744073709551615"), &l, 7), 1);
  EXPECT_EQ(l, -1);
  EXPECT_EQ(ProfLPSTRtoINT64W(W(u"x1F"), &l, 7), 0);
  EXPECT_EQ(l, 7);

  RECT r{}, d{9, 9, 9, 9};
  EXPECT_EQ(ProfLPSTRtoRECTW(W(u"(1,2,3)"), &r, &d), 3);
  EXPECT_EQ(r.left, 9);  // all four numbers or the default
  EXPECT_EQ(ProfLPSTRtoRECTW(W(u"(1,2,3,4)"), &r, &d), 4);
  EXPECT_EQ(r.bottom, 4);
  ProfLPSTRtoRECTW(nullptr, &r, &d);
  EXPECT_EQ(r.bottom, 9);

  COLORREF c = 0;
  EXPECT_EQ(ProfLPSTRtoCOLORREFW(W(u"x10"), &c, 7), 1);
  EXPECT_EQ(c, 16u);
  EXPECT_EQ(ProfLPSTRtoCOLORREFW(W(u"(1,2,3)"), &c, 7), 3);
  EXPECT_EQ(c, 0x030201u);
  ProfLPSTRtoCOLORREFW(W(u"(1,2)"), &c, 7);
  EXPECT_EQ(c, 7u);
  ProfLPSTRtoCOLORREFW(W(u"foo"), &c, 8);
  EXPECT_EQ(c, 8u);
  ProfLPSTRtoINTW(W(u"1"), nullptr, 0);  // a null out is ignored
}
