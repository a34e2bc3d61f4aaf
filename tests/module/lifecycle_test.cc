// The library's start and stop sequences, observed through the step hook on this
// program's copy, and the assertion, which ends the process.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module/Lifecycle.h"
#include "module/ModuleUtils.h"
#include "zxUT22.h"

namespace {

using zx::LifecycleStep;

std::vector<LifecycleStep>* g_steps = nullptr;
std::vector<LifecycleStep>* g_atReport = nullptr;

void Record(LifecycleStep step, void*) {
  if (g_steps) g_steps->push_back(step);
}
void Report() {
  if (g_atReport && g_steps) *g_atReport = *g_steps;
}

TEST(LifecycleTest, AttachAndDetachRunTheirStepsInOrderAndOnce) {
  std::vector<LifecycleStep> steps, atReport;
  g_steps = &steps;
  g_atReport = &atReport;
  zx::SetLifecycleHook(&Record, nullptr);
  zx::SetHandleListReport(&Report);
  int marker = 0;
  ASSERT_FALSE(zx::LibraryAttached()) << "this program's copy has no entry point of its own";
  zx::LibraryProcessAttach(&marker);
  zx::LibraryProcessAttach(&marker);   // once
  EXPECT_TRUE(zx::LibraryAttached());
  EXPECT_EQ(zx::LibraryModuleHandleStored(), &marker);
  const std::vector<LifecycleStep> attach = {
      LifecycleStep::kStaticSetup, LifecycleStep::kMathGuard,   LifecycleStep::kInvalidParameterHandler,
      LifecycleStep::kIdentity,    LifecycleStep::kManifest,    LifecycleStep::kDebugOutput,
      LifecycleStep::kRoundTrips};
  EXPECT_EQ(steps, attach);
  steps.clear();
  zx::LibraryProcessDetach();
  zx::LibraryProcessDetach();   // only when attached
  const std::vector<LifecycleStep> detach = {LifecycleStep::kHandleListReport, LifecycleStep::kGoodbye,
                                             LifecycleStep::kClearModuleHandle};
  EXPECT_EQ(steps, detach);
  EXPECT_EQ(atReport, std::vector<LifecycleStep>{LifecycleStep::kHandleListReport})
      << "the handle-list report runs first";
  EXPECT_FALSE(zx::LibraryAttached());
  EXPECT_EQ(zx::LibraryModuleHandleStored(), nullptr);
  zx::SetLifecycleHook(nullptr, nullptr);
  zx::SetHandleListReport(nullptr);
  g_steps = nullptr;
}

TEST(AssertionTest, TheTextIsCutTo80Characters) {
  char16_t text[zx::kAssertChars];
  zx::AssertionText(text, u"a == b", u"file.cc", 42);
  EXPECT_EQ(std::u16string(text), u"line 42 in file file.cc:\n\"a == b\"");
  std::u16string longExpression(200, u'x');
  zx::AssertionText(text, longExpression.c_str(), u"f.cc", 7);
  std::u16string cut(text);
  EXPECT_EQ(cut.size(), 80u);
  EXPECT_EQ(cut, (u"line 7 in file f.cc:\n\"" + longExpression).substr(0, 80));
}

#ifdef _WIN32
constexpr int kAssertExit = -1;
const char* const kAssertText = "";
const std::string kLongAssertText;
#else
constexpr int kAssertExit = 255;   // -1 as the shell sees it
const char* const kAssertText = "Assertion Failure: line 42 in file file.cc:\n\"x == y\"";
// 22 characters of text in front of the expression: 58 of it fit into 80.
const std::string kLongAssertText =
    "Assertion Failure: line 9 in file f.cc:\n\"" + std::string(58, 'x') + "\n";
#endif

TEST(AssertionDeathTest, AnAssertionEndsTheProcessWithMinusOne) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(UtilAssert(reinterpret_cast<LPCWSTR>(u"x == y"), reinterpret_cast<LPCWSTR>(u"file.cc"), 42),
              ::testing::ExitedWithCode(kAssertExit), kAssertText);
  std::u16string longExpression(300, u'x');
  EXPECT_EXIT(UtilAssert(reinterpret_cast<LPCWSTR>(longExpression.c_str()),
                         reinterpret_cast<LPCWSTR>(u"f.cc"), 9),
              ::testing::ExitedWithCode(kAssertExit), kLongAssertText.c_str());
}

}  // namespace
