// The maskings of the text and XML profile formats, each way, and back again.
#include <gtest/gtest.h>

#include <string>

#include "prof/Masking.h"

using namespace zx::prof;

namespace {

std::u16string Text(char16_t* (*mask)(char16_t*, const char16_t*, size_t), std::u16string_view in) {
  std::u16string out(in.size(), u'?');
  EXPECT_EQ(mask(out.data(), in.data(), in.size()), out.data() + out.size());
  return out;
}

std::u16string Xml(std::u16string_view in) {
  std::u16string out(XmlMaskedLength(in.data(), in.size()), u'?');
  EXPECT_EQ(MaskXml(out.data(), in.data(), in.size()), out.data() + out.size());
  return out;
}

std::u16string UnXml(std::u16string in) {
  in.push_back(0);
  size_t n = UnmaskXml(in.data());
  EXPECT_EQ(in[n], 0);
  return in.substr(0, n);
}

}  // namespace

TEST(ProfMasking, TextNamesAndValuesMaskOneForOne) {
  EXPECT_EQ(Text(&MaskTextName, u"a=b[c]\t\r\n\x1f"), u"a\u2338b\u301Ac\u301B\u2409\u240D\u240A\u241F");
  EXPECT_EQ(Text(&MaskTextValue, u"a=b[c]\t\r\n\x01 "), u"a=b[c]\u2409\u240D\u240A\u2401 ");
  std::u16string name = u"a\u2338b\u301Ac\u301B\u2409";
  UnmaskTextName(name.data());
  EXPECT_EQ(name, u"a=b[c]\u2409");   // control pictures in names stay
  std::u16string value = u"x\u2400\u2401\u240D\u240A\u241F\u2420=";
  EXPECT_EQ(UnmaskTextValue(value.data()), value.size());
  EXPECT_EQ(value, u"x\u2400\x01\r\n\x1f\u2420=");   // U+2400 and U+2420 untouched
}

TEST(ProfMasking, XmlMaskFollowsTheTable) {
  const struct { std::u16string_view in, out; } rows[] = {
      {u"plain", u"plain"},
      {u"a\r\nb", u"a&cr;b"},
      {u"a\rb\nc", u"a&cr;b&cr;c"},
      {u"\r\r\n", u"&cr;&cr;"},
      {u"x\r", u"x&cr;"},
      {u"\t", u"&tab;"},
      {std::u16string_view(u"\x00\x01\x1f", 3), u"&#x0000;&#x0001;&#x001f;"},
      {u"<&>'\"", u"&lt;&amp;&gt;&apos;&quot;"},
      {u"\u00e9\U0001F600", u"\u00e9\U0001F600"},
  };
  for (const auto& r : rows) EXPECT_EQ(Xml(r.in), r.out) << std::string(r.in.begin(), r.in.end());
}

TEST(ProfMasking, XmlUnmaskIsExactInCaseAndLenient) {
  const struct { std::u16string in, out; } rows[] = {
      {u"a&cr;b", u"a\r\nb"},
      {u"&tab;&lt;&gt;&amp;&apos;&quot;", u"\t<>&'\""},
      {u"&#x0001;&#x41;&#65;&#x1F600;", u"\x01" u"AA\U0001F600"},
      {u"&#x41zz;B", u"AB"},           // digits as far as they go, up to ";" dropped
      {u"x&#x41", u"x"},               // no ";": the text ends
      {u"x&#0;y", u"x"},               // the number 0 ends it too
      {u"&#x110000;", u"\uFFFD"},
      {u"&CR;&Lt;&unknown;&", u"&CR;&Lt;&unknown;&"},
      {u"&amp;lt;", u"&lt;"},          // one pass: no second unmasking
  };
  for (const auto& r : rows) EXPECT_EQ(UnXml(r.in), r.out);
}

TEST(ProfMasking, XmlRoundTripsEveryControlAndMarkup) {
  std::u16string all;
  for (char16_t c = 1; c < 0x80; ++c) all.push_back(c);
  all += u"\U0001F600\uFFFF";
  std::u16string back = UnXml(Xml(all));
  // A lone CR or LF comes back as CR LF; everything else as it was.
  std::u16string expected;
  for (size_t i = 0; i < all.size(); ++i) {
    if (all[i] == u'\n' || (all[i] == u'\r' && all[i + 1] != u'\n')) expected += u"\r\n";
    else if (all[i] != u'\r') expected += all[i];
  }
  EXPECT_EQ(back, expected);
}
