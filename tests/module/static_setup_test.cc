// The names the library registers at start (one number per name, letter case
// ignored, messages and clipboard formats alike) and the report of classes whose
// instances were not all deleted.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/StaticSetup.h"
#include "platform/debugout.h"
#include "platform/window_names.h"

namespace {

TEST(StaticSetupTest, RegisteredNamesHaveOneNumberEach) {
  zx::LibraryStaticSetup();
  const uint32_t help = zx::ContextHelpMessage();
  const uint32_t format = zx::ProfClipboardFormat();
  EXPECT_GE(help, 0xC000u);
  EXPECT_LE(help, 0xFFFFu);
  EXPECT_GE(format, 0xC000u);
  EXPECT_NE(help, format);
  EXPECT_EQ(plat::RegisterMessageName(u"zrkutilgetcontexthelpid"), help) << "letter case is ignored";
  EXPECT_EQ(plat::RegisterClipboardFormatName(u"ZrkUtilGetContextHelpID"), help) << "one table for both";
  EXPECT_EQ(plat::RegisterMessageName(u"ZrkProfCBFormat"), format);
  const uint32_t other = plat::RegisterMessageName(u"ZrkStaticSetupTestName");
  EXPECT_NE(other, 0u);
  EXPECT_NE(other, help);
  EXPECT_EQ(plat::RegisterMessageName(u"ZrkStaticSetupTestName"), other);
  EXPECT_EQ(plat::RegisterMessageName(u""), 0u);
  EXPECT_EQ(plat::RegisterClipboardFormatName(nullptr), 0u);
  zx::LibraryStaticSetup();
  EXPECT_EQ(zx::ContextHelpMessage(), help) << "registering again gives the same number";
}

std::vector<std::u16string>* g_lines = nullptr;
void Keep(const char16_t* text, void*) {
  if (g_lines) g_lines->push_back(text);
}

TEST(StaticSetupTest, ClassesWithInstancesLeftAreReportedAtExit) {
  std::vector<std::u16string> lines;
  g_lines = &lines;
  void* oldContext = nullptr;
  plat::DebugOutputHook old = plat::SetDebugOutputHook(&Keep, nullptr, &oldContext);
  zx::LibraryStaticSetup();
  zx::ReportUndeletedInstances();
  EXPECT_TRUE(lines.empty()) << "nothing left, nothing said";
  zx::CountInstance(zx::CountedClass::kSubclassed, 3);
  zx::CountInstance(zx::CountedClass::kSubclassed, -1);
  EXPECT_EQ(zx::LiveInstances(zx::CountedClass::kSubclassed), 2);
  zx::ReportUndeletedInstances();
  EXPECT_EQ(lines, std::vector<std::u16string>{u"clsSubclassed: undeleted objects, count=2\n"});
  zx::LibraryStaticSetup();
  EXPECT_EQ(zx::LiveInstances(zx::CountedClass::kSubclassed), 0) << "zeroed at load";
  plat::SetDebugOutputHook(old, oldContext);
  g_lines = nullptr;
}

}  // namespace
