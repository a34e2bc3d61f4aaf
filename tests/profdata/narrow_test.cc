// The narrow (A) forms take their texts in the default code page (1252 here) and
// reach what the wide forms reach: a path with "ü" names the same item, and a
// password typed narrow deciphers what the wide form enciphered.
#include "profdata_util.h"
#include "variant/Variant.h"

using namespace pdtest;
using zx::clsVariant;
using zxsupport::ReadBytes;
using zxsupport::ScratchDir;
using zxsupport::WriteBytes;

TEST(ProfNarrowForms, VariantsAndFileSetsMeetTheWideForms) {
  Job job;
  clsVariant value(zx::String(u"Gr\u00fc\u00dfe"));
  ProfSetVariantA(job, nullptr, "gr\xfc\xdf", &value);   // "grüß" in code page 1252
  clsVariant back;
  EXPECT_EQ(0, ProfGetVariantW(job, nullptr, W(u"gr\u00fc\u00df"), &back, nullptr));
  EXPECT_TRUE(clsVariant::Compare(value, back));
  clsVariant again;
  EXPECT_EQ(0, ProfGetVariantA(job, nullptr, "gr\xfc\xdf", &again, nullptr));
  EXPECT_TRUE(clsVariant::Compare(value, again));
  ProfAppendVariantA(job, nullptr, "gr\xfc\xdf", &value);
  const std::u16string text = Get(job, nullptr, u"gr\u00fc\u00df");
  clsVariant fromText;
  EXPECT_EQ(0, ProfGetVariantFromContentsA(zx::String(text.c_str()).narrow(), &fromText));
  EXPECT_TRUE(clsVariant::Compare(value, fromText));
  EXPECT_EQ(PROF_ERR_FORMAT, ProfGetVariantFromContentsA(nullptr, &fromText));

  ScratchDir dir("embed_narrow");
  fs::create_directories(dir / "src");
  WriteBytes(dir / "src" / "a.bin", std::string("\x00\x01binary\xff\xfe", 10));
  HPROFLIST set = ProfCreateListW(job, nullptr, W(u"set"));
  const std::string pattern = (dir / "src").string() + "/*.bin";
  EXPECT_EQ(1, ProfAppendFilesA(job, set, pattern.c_str(), "p\xe4ss"));
  EXPECT_EQ(0, ProfExtractFilesW(job, set, W(Wide(dir / "wrong").c_str()), W(u"pass")));
  EXPECT_EQ(1, ProfExtractFilesW(job, set, W(Wide(dir / "out").c_str()), W(u"p\u00e4ss")));
  EXPECT_EQ(1, ProfExtractFilesA(job, set, (dir / "out2").string().c_str(), "p\xe4ss"));
  EXPECT_TRUE(ReadBytes(dir / "out2" / "a.bin") == ReadBytes(dir / "src" / "a.bin"));
}
