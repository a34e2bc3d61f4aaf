// The binary form of a value: the tag word and the payload of each tag's width,
// byte for byte, and what reading gives for each kind of data.
#include <gtest/gtest.h>

#include <cstring>

#include "variant_test_util.h"

using namespace varianttest;
using zx::clsVariant;
using zx::String;

namespace {

struct WriteRow {
  const char* name;
  VARIANT value;
  const char* hex;   // the expected bytes (struct.pack('<H...', tag, value))
};

// 0xAA fills the payload beyond the value: only the tag's width may be written.
const WriteRow kWriteRows[] = {
    {"empty", Raw(VT_EMPTY, 0), "0000"},
    {"null", Raw(VT_NULL, 0), "0100"},
    {"i2", Raw(VT_I2, 0xFFFE), "0200feff"},
    {"bool", Raw(VT_BOOL, 0xFFFF), "0b00ffff"},
    {"ui2", Raw(VT_UI2, 0x1234), "12003412"},
    {"filetime keeps 2 bytes", Raw(VT_FILETIME, 0x1122334455667788ull), "40008877"},
    {"i4", Raw(VT_I4, 0x01020304), "030004030201"},
    {"r4 1.5", Raw(VT_R4, 0x3FC00000), "04000000c03f"},
    {"error", Raw(VT_ERROR, 0x80020005u), "0a0005000280"},
    {"ui4", Raw(VT_UI4, 0xFFFFFFFFu), "1300ffffffff"},
    {"int", Raw(VT_INT, 0x7FFFFFFF), "1600ffffff7f"},
    {"uint", Raw(VT_UINT, 0x80000000u), "170000000080"},
    {"clsid keeps 4 bytes", Raw(VT_CLSID, 0x1122334455667788ull), "480088776655"},
    {"r8 -1.25", Raw(VT_R8, 0xBFF4000000000000ull), "0500000000000000f4bf"},
    {"cy 12345", Raw(VT_CY, 123450000), "060090b25b0700000000"},
    {"date 2.5", Raw(VT_DATE, 0x4004000000000000ull), "07000000000000000440"},
    {"i8 -2", Raw(VT_I8, 0xFFFFFFFFFFFFFFFEull), "1400feffffffffffffff"},
    {"ui8 max", Raw(VT_UI8, ~0ull), "1500ffffffffffffffff"},
    {"i1", Raw(VT_I1, 0xFF), "1000ff"},
    {"ui1", Raw(VT_UI1, 0x7F), "11007f"},
    // No row: the tag only.
    {"decimal", Raw(VT_DECIMAL, 5), "0e00"},
    {"lpstr", Raw(VT_LPSTR, 0), "1e00"},
    {"unknown", Raw(VT_UNKNOWN, 0), "0d00"},
    {"array", Raw(VT_ARRAY | VT_I4, 0), "0320"},
};

TEST(VariantBinaryForm, WritesEachTagsWidth) {
  for (const auto& row : kWriteRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Hex(Written(row.value)), row.hex);
  }
}

TEST(VariantBinaryForm, KnownTagsRoundTrip) {
  for (const auto& row : kWriteRows) {
    SCOPED_TRACE(row.name);
    std::string bytes = Written(row.value);
    clsVariant back = ReadFrom(bytes);
    if (bytes.size() == 2 && row.value.vt > VT_NULL) {
      EXPECT_EQ(back.vt, VT_EMPTY);   // a tag without a row reads back empty
      continue;
    }
    EXPECT_EQ(back.vt, row.value.vt);
    EXPECT_EQ(Hex(Written(back)), row.hex);
  }
}

TEST(VariantBinaryForm, TextIsUtf16WithoutTerminator) {
  EXPECT_EQ(Hex(Written(Text(u"A\u00e9\u20ac"))), "08004100e900ac20");
  clsVariant back = ReadFrom(Written(Text(u"A\u00e9\u20ac")));
  ASSERT_EQ(back.vt, VT_BSTR);
  EXPECT_EQ(back.Text().View(), u"A\u00e9\u20ac");
  // Empty and null text write the tag only and read back as empty text.
  EXPECT_EQ(Hex(Written(Text(u""))), "0800");
  VARIANT null = Raw(VT_BSTR, 0);
  null.bstrVal = nullptr;
  EXPECT_EQ(Hex(Written(null)), "0800");
  back = ReadFrom(std::string("\x08\x00", 2));
  EXPECT_EQ(back.vt, VT_BSTR);
  EXPECT_EQ(back.Text().Length(), 0);
}

TEST(VariantBinaryForm, ReferenceIsWrittenAsItsValue) {
  LONG x = 0x01020304;
  VARIANT ref = Raw(VT_I4 | VT_BYREF, 0);
  ref.plVal = &x;
  EXPECT_EQ(Hex(Written(ref)), "030004030201");
  clsVariant text = Text(u"hi");
  VARIANT textRef = Raw(VT_BSTR | VT_BYREF, 0);
  textRef.pbstrVal = &text.bstrVal;
  EXPECT_EQ(Hex(Written(textRef)), "080068006900");
  EXPECT_EQ(text.Text().View(), u"hi");   // the referred value is untouched
}

TEST(VariantBinaryForm, ArrayWritesItsTagAndReadsBackEmpty) {
  SAFEARRAYBOUND bound{3, 0};
  clsVariant array;
  array.parray = plat::SafeArrayCreate(VT_I4, 1, &bound);
  ASSERT_NE(array.parray, nullptr);
  array.vt = VT_ARRAY | VT_I4;
  EXPECT_EQ(Hex(Written(array)), "0320");
  EXPECT_EQ(ReadFrom(Written(array)).vt, VT_EMPTY);
}

struct ReadRow {
  const char* name;
  std::string bytes;
  VARTYPE vt;
  uint64_t bits;   // the first 8 payload bytes
};

TEST(VariantBinaryForm, ReadsShortUnknownAndEmptyData) {
  const ReadRow rows[] = {
      {"no data", std::string(), VT_EMPTY, 0},
      {"one byte", std::string("\x03", 1), VT_EMPTY, 0},
      {"tag only", std::string("\x03\x00", 2), VT_I4, 0},
      {"short payload zero-filled", std::string("\x14\x00\x01\x02", 4), VT_I8, 0x0201},
      {"extra bytes ignored", std::string("\x03\x00\x04\x03\x02\x01\xff", 7), VT_I4, 0x01020304},
      {"filetime 2 bytes", std::string("\x40\x00\x88\x77\x66", 5), VT_FILETIME, 0x7788},
      {"clsid 4 bytes", std::string("\x48\x00\x88\x77\x66\x55\x44", 7), VT_CLSID, 0x55667788},
      {"tag 73", std::string("\x49\x00\x01\x02\x03\x04", 6), VT_EMPTY, 0},
      {"tag without row", std::string("\x0e\x00\x01\x02\x03\x04", 6), VT_EMPTY, 0},
      {"array tag", std::string("\x03\x20\x01\x02\x03\x04", 6), VT_EMPTY, 0},
      {"reference tag", std::string("\x03\x40\x01\x02\x03\x04", 6), VT_EMPTY, 0},
      {"i1", std::string("\x10\x00\xfe", 3), VT_I1, 0xFE},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    clsVariant v = ReadFrom(row.bytes);
    EXPECT_EQ(v.vt, row.vt);
    EXPECT_EQ(v.ullVal, row.bits);
  }
  // Text takes every byte up to the end; an odd last byte is no character.
  clsVariant t = ReadFrom(std::string("\x08\x00" "A\x00" "b\x00" "c", 7));
  ASSERT_EQ(t.vt, VT_BSTR);
  EXPECT_EQ(t.Text().View(), u"Ab");
}

TEST(VariantBinaryForm, ReadReplacesTheOldValue) {
  clsVariant v = Text(u"old");
  IStream* s = StreamOf(std::string("\x03\x00\x07\x00\x00\x00", 6));
  ASSERT_TRUE(v.Read(s));
  EXPECT_EQ(v.vt, VT_I4);
  EXPECT_EQ(v.lVal, 7);
  // Write starts at the stream's beginning, as Read does.
  ASSERT_TRUE(v.Write(s));
  EXPECT_EQ(Hex(BytesOf(s)), "030007000000");
  s->Release();
  EXPECT_FALSE(clsVariant::Read(v, nullptr));
  EXPECT_EQ(v.vt, VT_EMPTY);
  EXPECT_FALSE(clsVariant::Write(v, nullptr));
}

}  // namespace
