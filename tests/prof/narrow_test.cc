// The narrow (A) exports: text converted in the default code page (1252 and
// 65001 here) reads back identically through the wide exports and the other way
// round; narrow output buffers are cut at their size in bytes.
#include <cstring>
#include <string>

#include "prof_test_util.h"

using namespace proftest;

namespace {

struct CodePageText {
  WORD codePage;
  const char* name;   // "Grüße" in that code page
  const char* value;  // "€ 5 – naïve"
  const char* deep;   // "Ä/ö/ß"
};
// The narrow spellings of the same texts, byte by byte.
const CodePageText kTexts[] = {
    {1252, "Gr\xFC\xDF" "e", "\x80 5 \x96 na\xEFve", "\xC4/\xF6/\xDF"},
    {65001, "Gr\xC3\xBC\xC3\x9F" "e", "\xE2\x82\xAC 5 \xE2\x80\x93 na\xC3\xAFve",
     "\xC3\x84/\xC3\xB6/\xC3\x9F"},
};
const std::u16string kName = u"Gr\u00FC\u00DFe";
const std::u16string kValue = u"\u20AC 5 \u2013 na\u00EFve";
const std::u16string kDeep = u"\u00C4/\u00F6/\u00DF";

std::string GetA(HPROFJOB job, const char* path, LONG size = 256, LONG* rc = nullptr) {
  char buf[256];
  LONG r = ProfGetStringA(job, nullptr, path, buf, size, "<missing>");
  if (rc) *rc = r;
  return buf;
}

BOOL ZXUT_API CollectA(HPROFJOB, LPCSTR name, LPCSTR value, HPROFLIST sublist, void* user) {
  *static_cast<std::string*>(user) += std::string(name) + (sublist ? "[]" : "=") + value + ";";
  return TRUE;
}

}  // namespace

class ProfNarrow : public ::testing::TestWithParam<CodePageText> {
 protected:
  void SetUp() override { ProfSetOption(PROF_OPTION_CODEPAGE, GetParam().codePage); }
  CodePageGuard guard_;
};

TEST_P(ProfNarrow, FilledNarrowReadsBackWide) {
  const CodePageText& t = GetParam();
  Job job;
  ProfSetStringA(job, nullptr, t.name, t.value);
  ProfAppendStringA(job, nullptr, t.deep, t.name);
  ProfSetIntA(job, nullptr, t.name, 0);  // replaces: same name in both widths
  ProfSetIntA(job, nullptr, "n", 17);
  ProfSetStringA(job, nullptr, t.name, t.value);
  RECT r{1, 2, 3, 4};
  ProfSetRectA(job, nullptr, "r", &r);
  HPROFLIST l = ProfCreateListA(job, nullptr, t.name);
  ProfAppendListA(job, l, t.name);
  EXPECT_EQ(ProfGetListA(job, nullptr, t.name), l);
  EXPECT_EQ(ProfGetListW(job, nullptr, W(kName.c_str())), l);
  EXPECT_EQ(Get(job, nullptr, kName.c_str()), kValue);
  EXPECT_EQ(Get(job, nullptr, kDeep.c_str()), kName);
  EXPECT_EQ(Dump(job, nullptr), u"" + kName + u"=" + kValue + u" [\u00C4]{[\u00F6]{\u00DF=" + kName +
                                    u"}} n=17 r=(1,2,3,4) [" + kName + u"]{[" + kName + u"]{}}");
  EXPECT_EQ(ProfGetStringLengthA(job, nullptr, t.name), static_cast<LONG>(kValue.size()));
  EXPECT_EQ(ProfDeleteItemA(job, nullptr, t.name), 1);
  EXPECT_EQ(ProfDeleteListA(job, nullptr, t.name), 1);
  EXPECT_EQ(Dump(job, nullptr), u"[\u00C4]{[\u00F6]{\u00DF=" + kName + u"}} n=17 r=(1,2,3,4)");
}

TEST_P(ProfNarrow, FilledWideReadsBackNarrow) {
  const CodePageText& t = GetParam();
  Job job;
  Set(job, nullptr, kName.c_str(), kValue.c_str());
  Set(job, nullptr, kDeep.c_str(), kName.c_str());
  ProfSetIntW(job, nullptr, W(kName.c_str()), -3);  // same item
  Set(job, nullptr, kName.c_str(), kValue.c_str());
  ProfSetInt64W(job, nullptr, W(u"big"), -2);
  EXPECT_EQ(GetA(job, t.name), t.value);
  EXPECT_EQ(GetA(job, t.deep), t.name);
  LONGLONG big = 0;
  EXPECT_EQ(ProfGetInt64A(job, nullptr, "big", &big, 0), 0);
  EXPECT_EQ(big, -2);
  LONG missing = 0;
  EXPECT_EQ(ProfGetIntA(job, nullptr, t.value, &missing, 4), PROF_ERR_NOT_FOUND);
  EXPECT_EQ(missing, 4);
  std::string seen;
  EXPECT_EQ(ProfEnumA(job, nullptr, CollectA, &seen), 1);
  EXPECT_EQ(seen, std::string(t.name) + "=" + t.value + ";" + std::string(t.deep).substr(0, std::strchr(t.deep, '/') - t.deep) + "[];big=18446744073709551614;");
}

TEST_P(ProfNarrow, NarrowBuffersAreCutAtTheirSize) {
  const CodePageText& t = GetParam();
  Job job;
  ProfSetStringA(job, nullptr, "ten", "0123456789");
  LONG rc = 0;
  EXPECT_EQ(GetA(job, "ten", 4, &rc), "012");
  EXPECT_EQ(rc, 10);
  // A value of several bytes a character: at most size - 1 bytes, a prefix.
  ProfSetStringA(job, nullptr, "v", t.value);
  for (LONG size = 1; size < 20; ++size) {
    char buf[32];
    std::memset(buf, '#', sizeof buf);
    EXPECT_EQ(ProfGetStringA(job, nullptr, "v", buf, size, ""), static_cast<LONG>(kValue.size()));
    size_t n = std::strlen(buf);
    EXPECT_LT(n, static_cast<size_t>(size));
    EXPECT_EQ(std::string(t.value).compare(0, n, buf), 0) << size;
    EXPECT_EQ(buf[size], '#');  // nothing written behind the buffer
  }
  char untouched[4] = {'#', '#', '#', '#'};
  EXPECT_EQ(ProfGetStringA(job, nullptr, "v", untouched, 0, "d"), static_cast<LONG>(kValue.size()));
  EXPECT_EQ(untouched[0], '#');
  EXPECT_EQ(ProfGetStringA(job, nullptr, "v", nullptr, 10, "d"), static_cast<LONG>(kValue.size()));
}

TEST_P(ProfNarrow, DefaultsAndBuffersThatAreTheirOwnDefault) {
  const CodePageText& t = GetParam();
  Job job;
  LONG rc = 0;
  EXPECT_EQ(GetA(job, "none", 256, &rc), "<missing>");
  EXPECT_EQ(rc, PROF_ERR_NOT_FOUND);
  char buf[64];
  std::strcpy(buf, t.value);
  EXPECT_EQ(ProfGetStringA(job, nullptr, "none", buf, sizeof buf, buf), PROF_ERR_NOT_FOUND);
  EXPECT_STREQ(buf, t.value);  // the same bytes after a trip through the wide buffer
  EXPECT_EQ(ProfGetStringA(job, nullptr, "none", buf, sizeof buf, nullptr), PROF_ERR_NOT_FOUND);
  EXPECT_STREQ(buf, "");
  EXPECT_EQ(ProfGetStringA(nullptr, nullptr, "none", buf, sizeof buf, t.name), 0);
  EXPECT_STREQ(buf, t.name);
}

TEST_P(ProfNarrow, LongNamesLeaveTheInlineStorage) {
  Job job;
  for (size_t n : {62u, 63u, 64u, 65u, 300u}) {
    std::string name(n, 'k');
    std::string value(n + 7, 'v');
    ProfSetStringA(job, nullptr, name.c_str(), value.c_str());
    EXPECT_EQ(GetA(job, name.c_str()), std::string(std::min<size_t>(value.size(), 255), 'v'));
    EXPECT_EQ(Get(job, nullptr, std::u16string(n, u'k').c_str()), std::u16string(n + 7, u'v'));
  }
}

TEST_P(ProfNarrow, TextReadersAndTypedNarrowForms) {
  BOOL b = 0;
  ProfLPSTRtoBOOLA("Yes", &b, 0);
  EXPECT_EQ(b, 1);
  ProfLPSTRtoBOOLA(nullptr, &b, 3);
  EXPECT_EQ(b, 3);
  LONG i = 0;
  ProfLPSTRtoINTA(" -12x", &i, 0);
  EXPECT_EQ(i, -12);
  LONGLONG l = 0;
  ProfLPSTRtoINT64A("9223372036854775807", &l, 0);
  EXPECT_EQ(l, LLONG_MAX);
  RECT r{}, d{};
  ProfLPSTRtoRECTA("(1,2,3,4)", &r, &d);
  EXPECT_EQ(r.right, 3);
  COLORREF c = 0;
  ProfLPSTRtoCOLORREFA("(1,2,3)", &c, 0);
  EXPECT_EQ(c, 0x030201u);

  Job job;
  const CodePageText& t = GetParam();
  POINT p{4, 5}, pd{}, po{};
  ProfAppendPointA(job, nullptr, t.name, &p);
  EXPECT_EQ(ProfGetPointA(job, nullptr, t.name, &po, &pd), 0);
  EXPECT_EQ(po.y, 5);
  ProfSetDoubleA(job, nullptr, t.deep, 2.5);
  double dv = 0;
  EXPECT_EQ(ProfGetDoubleW(job, nullptr, W(kDeep.c_str()), &dv, 0), 0);
  EXPECT_EQ(dv, 2.5);
  ProfSetBoolA(job, nullptr, "b", TRUE);
  EXPECT_EQ(ProfGetBoolA(job, nullptr, "b", &b, 0), 0);
  EXPECT_EQ(b, 1);
  ProfSetColorrefA(job, nullptr, "c", 0x010203);
  EXPECT_EQ(ProfGetColorrefA(job, nullptr, "c", &c, 0), 0);
  EXPECT_EQ(c, 0x010203u);
  ProfSetInt64HexA(job, nullptr, "h", -1);
  EXPECT_EQ(GetA(job, "h"), "xFFFFFFFFFFFFFFFF");
  ProfSetRectLTWHA(job, nullptr, "w", &r);
  RECT ro{};
  EXPECT_EQ(ProfGetRectLTWHA(job, nullptr, "w", &ro, &d), 0);
  EXPECT_EQ(ro.bottom, 4);
}

INSTANTIATE_TEST_SUITE_P(CodePages, ProfNarrow, ::testing::ValuesIn(kTexts),
                         [](const ::testing::TestParamInfo<CodePageText>& info) {
                           return "cp" + std::to_string(info.param.codePage);
                         });

TEST(ProfNarrowJobs, OpenKeepsTheConvertedName) {
  CodePageGuard guard;
  ProfSetOption(PROF_OPTION_CODEPAGE, 65001);
  Job job(ProfJobOpenA("/tmp/zxut-missing/\xC3\xA4.prof"));
  EXPECT_EQ(std::u16string(job->fileName.Get()), u"/tmp/zxut-missing/\u00E4.prof");
  EXPECT_EQ(ProfGetError(job), PROF_ERR_OPEN);
  Job ex(ProfJobOpenExclusiveA(nullptr));
  EXPECT_EQ(ProfGetError(ex), 0);
  EXPECT_EQ(ex->openMode, 1);
}
