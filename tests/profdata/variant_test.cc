// Variants as "var://" values: every kind the binary form knows round-trips, the
// packed part decodes with python, and the text rules of reading hold.
#include "core/strings/String.h"
#include "profdata/ProfData.h"
#include "profdata_util.h"
#include "variant/Variant.h"

using namespace pdtest;
using zx::clsVariant;

namespace {

clsVariant Make(VARTYPE vt, int64_t bits) {
  clsVariant v;
  v.vt = vt;
  v.llVal = bits;
  return v;
}

std::u16string Contents(const VARIANT& v) {
  zx::String text;
  EXPECT_TRUE(zx::prof::VariantToContents(v, text));
  return std::u16string(text.View());
}

}  // namespace

TEST(ProfVariant, EveryKindRoundTrips) {
  Job job;
  std::vector<clsVariant> values = {Make(VT_EMPTY, 0), Make(VT_NULL, 0), Make(VT_I2, -5), Make(VT_I4, 0x12345678),
                                    Make(VT_R4, 0x3fc00000), Make(VT_BOOL, 0xFFFF), Make(VT_I1, 0x7f),
                                    Make(VT_UI1, 0xfe), Make(VT_UI2, 0xfffe), Make(VT_UI4, 0xfffffffe),
                                    Make(VT_I8, -1234567890123LL), Make(VT_UI8, 0x7fffffffffffffffLL),
                                    Make(VT_INT, -7), Make(VT_UINT, 7), Make(VT_ERROR, 0x80004005)};
  double d = 3.25;
  clsVariant r8;
  r8.vt = VT_R8;
  r8.dblVal = d;
  values.push_back(r8);
  values.push_back(Make(VT_CY, 123456789));
  values.push_back(Make(VT_DATE, 0x40e5000000000000LL));
  values.push_back(clsVariant(zx::String(u"short")));
  values.push_back(clsVariant(zx::String(std::u16string(300, u'\u00e4'))));  // compressed
  for (size_t i = 0; i < values.size(); ++i) {
    const std::u16string path = u"v" + zxsupport::U16(std::to_string(i));
    ProfSetVariantW(job, nullptr, W(path.c_str()), reinterpret_cast<const VARIANT*>(&values[i]));
    const std::u16string text = Get(job, nullptr, path.c_str());
    EXPECT_EQ(u"var://", text.substr(0, 6)) << i;
    clsVariant back;
    EXPECT_EQ(0, ProfGetVariantW(job, nullptr, W(path.c_str()), &back, nullptr)) << i;
    EXPECT_EQ(values[i].vt, back.vt) << i;
    EXPECT_TRUE(clsVariant::Compare(values[i], back)) << i;
  }
  // Append adds a second item of the same name.
  ProfAppendVariantW(job, nullptr, W(u"v0"), &values[3]);
  ProfAppendVariantW(job, nullptr, W(u"x"), nullptr);  // a null variant does nothing
  EXPECT_EQ(u"<missing>", Get(job, nullptr, u"x"));
}

// 100 bytes of binary form stay plain base64, more are compressed ("@2@"); python
// decodes both to the binary form: the tag and the text's UTF-16LE bytes.
TEST(ProfVariant, PackedPartAndItsThreshold) {
  // A text's binary form has an even size: 100 bytes is the last plain one, 102 the first compressed.
  const std::u16string t100 = Contents(clsVariant(zx::String(std::u16string(49, u'a'))));
  const std::u16string t101 = Contents(clsVariant(zx::String(std::u16string(49, u'a') + u"b")));
  EXPECT_NE(u"@2@", t100.substr(6, 3));
  EXPECT_EQ(u"@2@", t101.substr(6, 3));
  if (zxsupport::UnderWine()) return;
  // Plain: base64 of the binary form. Compressed: length, "Zrk_Packed\0", zlib stream.
  std::string out;
  ASSERT_TRUE(zxsupport::RunFilter(
      "python3 -c \"import sys, base64, zlib, struct\n"
      "for line in sys.stdin.read().split():\n"
      "  t = line[6:]\n"
      "  if t.startswith('@2@'):\n"
      "    b = base64.b64decode(t[3:]); n = struct.unpack('<I', b[:4])[0]; assert b[4:15] == b'Zrk_Packed\\\\0'\n"
      "    b = zlib.decompress(b[15:]); assert len(b) == n\n"
      "  else:\n"
      "    b = base64.b64decode(t)\n"
      "  print(len(b), struct.unpack('<H', b[:2])[0], b[2:].decode('utf-16-le'))\"",
      zxsupport::Ascii(t100) + "\n" + zxsupport::Ascii(t101) + "\n", out));
  EXPECT_EQ("100 8 " + std::string(49, 'a') + "\n102 8 " + std::string(49, 'a') + "b\n", out);
}

// Reading text as a variant: "var://!!!" is empty with 0, other text a BSTR, an
// empty value empty, a null text -9, a missing item the default with -6.
TEST(ProfVariant, TextRules) {
  Job job;
  Set(job, u"bad", u"var://!!!");
  Set(job, u"plain", u"variable");
  Set(job, u"empty", u"");
  clsVariant out = Make(VT_I4, 1);
  EXPECT_EQ(0, ProfGetVariantW(job, nullptr, W(u"bad"), &out, nullptr));
  EXPECT_EQ(VT_EMPTY, out.vt);
  EXPECT_EQ(0, ProfGetVariantW(job, nullptr, W(u"plain"), &out, nullptr));
  ASSERT_EQ(VT_BSTR, out.vt);
  EXPECT_EQ(u"variable", std::u16string(reinterpret_cast<const char16_t*>(out.bstrVal)));
  EXPECT_EQ(0, ProfGetVariantW(job, nullptr, W(u"empty"), &out, nullptr));
  EXPECT_EQ(VT_EMPTY, out.vt);
  const clsVariant def = Make(VT_I4, 42);
  EXPECT_EQ(PROF_ERR_NOT_FOUND, ProfGetVariantW(job, nullptr, W(u"nothing"), &out, &def));
  EXPECT_EQ(VT_I4, out.vt);
  EXPECT_EQ(42, out.lVal);
  EXPECT_EQ(PROF_ERR_FORMAT, ProfGetVariantFromContentsW(nullptr, &out));
  EXPECT_EQ(0, ProfGetVariantW(nullptr, nullptr, W(u"plain"), &out, nullptr));
  EXPECT_EQ(0, ProfGetVariantW(job, nullptr, W(u"plain"), nullptr, nullptr));
  EXPECT_EQ(0, ProfGetVariantFromContentsW(W(u"var://"), &out));
  EXPECT_EQ(VT_EMPTY, out.vt);
}
