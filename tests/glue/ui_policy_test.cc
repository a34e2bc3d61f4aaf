// The environment type and the interaction state, driven through the probes, and
// read once: later changes of the registry or the probes' answers have no effect.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/registry/Registry.h"
#include "debug/DebugChannel.h"
#include "glue/UiPolicy.h"
#include "support/support_test_util.h"

namespace {

using zxsupport::Ascii;

#ifndef _WIN32
// This program's registry is its own.
const bool g_ownRegistry = [] {
  const std::string dir = zxsupport::TempPath("glue_reg");
  std::filesystem::create_directories(dir);
  setenv("ZXUT_REGISTRY_DIR", dir.c_str(), 1);
  return true;
}();
#endif

// What the fake system answers.
struct Fake {
  std::u16string user = u"anna";
  std::u16string exe = u"REPORTER";
  plat::SessionKind session = plat::SessionKind::Interactive;
  int step = 0;
  int station = -1;
  bool softwareKey = true;
  int sessionAsked = 0;
};
Fake g;

const zx::scUiPolicyProbes kFake{
    [] { return g.user; },
    [] { return g.exe; },
    [](uint32_t* error, int* step) {
      ++g.sessionAsked;
      *error = 5;
      *step = g.step;
      return g.session;
    },
    [] { return g.station; },
    [] { return g.softwareKey; },
};

// The debug channel writes to a log file while a test runs; the registry value is
// removed again.
class UiPolicy : public ::testing::Test {
 protected:
  void SetUp() override {
    g = Fake{};
    zx::SetUiPolicyProbesForTests(&kFake);
    zx::DebugChannel()->SetLogFile(zx::String(std::u16string_view(zxsupport::U16(log_))), true);
  }
  void TearDown() override {
    zx::DebugChannel()->SetLogFile(zx::String(), false);
    std::remove(log_.c_str());
    plat::DeleteRegValue(plat::Hive::LocalMachine, u"Software\\zarnik", u"NonInteractiveApps");
    zx::SetUiPolicyProbesForTests(nullptr);
  }
  size_t LinesWith(const std::string& text) const {
    size_t n = 0;
    for (const auto& line : zxsupport::ReadUtf16Lines(log_)) n += Ascii(line).find(text) != std::string::npos;
    return n;
  }
  std::string log_ = zxsupport::TempPath("ui_policy_log");
};

struct EnvCase {
  const char* what;
  std::u16string user, exe;
  plat::SessionKind session;
  int failedStep;
  bool softwareKey;
  uint32_t type;
  const char* line;   // a line that must appear, or null
};

TEST_F(UiPolicy, EnvironmentTypeTakesTheFirstTestThatFits) {
  const EnvCase cases[] = {
      {"web user", u"ASPNET", u"REPORTER", plat::SessionKind::Interactive, 0, true, 4, nullptr},
      {"IIS worker", u"anna", u"W3WP", plat::SessionKind::Interactive, 0, true, 4, nullptr},
      {"old worker", u"anna", u"aspnet_wp", plat::SessionKind::Interactive, 0, true, 4, nullptr},
      {"express", u"anna", u"IISExpress", plat::SessionKind::Interactive, 0, true, 4, nullptr},
      {"dev server", u"anna", u"WebDev.WebServer40", plat::SessionKind::Interactive, 0, true, 4, nullptr},
      {"dev server prefix only", u"anna", u"webdev.webserver", plat::SessionKind::Service, 0, true, 4, nullptr},
      {"15 characters are no dev server", u"anna", u"WebDev.WebServe", plat::SessionKind::Interactive, 0,
       true, 1, nullptr},
      {"system account", u"SYSTEM", u"REPORTER", plat::SessionKind::Interactive, 0, true, 3, nullptr},
      {"interactive token", u"anna", u"REPORTER", plat::SessionKind::Interactive, 0, true, 1, nullptr},
      {"service token", u"anna", u"REPORTER", plat::SessionKind::Service, 0, true, 3, nullptr},
      {"groups unknown, user hive opens", u"anna", u"REPORTER", plat::SessionKind::Failed, 1, true, 1,
       "WRN: impossible to get data, API fails: "},
      {"groups unreadable, no user hive", u"anna", u"REPORTER", plat::SessionKind::Failed, 2, false, 3,
       "WRN: impossible to get data, API fails on second try: "},
      {"token not opened", u"anna", u"REPORTER", plat::SessionKind::Failed, 0, false, 3, nullptr},
  };
  for (const EnvCase& c : cases) {
    SCOPED_TRACE(c.what);
    g = Fake{};
    g.user = c.user;
    g.exe = c.exe;
    g.session = c.session;
    g.step = c.failedStep;
    g.softwareKey = c.softwareKey;
    zx::SetUiPolicyProbesForTests(&kFake);
    EXPECT_EQ(zx::GetOSEnvironmentType(), c.type);
    if (c.line) {
      EXPECT_EQ(LinesWith(c.line), 1u);
    }
  }
  EXPECT_EQ(LinesWith("API fails"), 2u);   // the step-0 failure writes nothing
}

TEST_F(UiPolicy, EnvironmentTypeIsComputedOnce) {
  EXPECT_EQ(zx::GetOSEnvironmentType(), 1u);
  g.session = plat::SessionKind::Service;
  g.user = u"aspnet";
  EXPECT_EQ(zx::GetOSEnvironmentType(), 1u);
  EXPECT_EQ(g.sessionAsked, 1);
}

struct UiCase {
  const char* what;
  std::u16string exe;
  plat::SessionKind session;
  int station;
  const char16_t* list;   // NonInteractiveApps, or null for none
  uint32_t allowed;
  const char* line;
};

TEST_F(UiPolicy, InteractionFollowsStationListAndType) {
  const UiCase cases[] = {
      {"desktop", u"REPORTER", plat::SessionKind::Interactive, 1, nullptr, 1, nullptr},
      {"station unknown", u"REPORTER", plat::SessionKind::Interactive, -1, nullptr, 1, nullptr},
      {"invisible station", u"REPORTER", plat::SessionKind::Interactive, 0, nullptr, 0,
       "suppressed UI interaction: invisible WindowStation"},
      {"listed", u"MYAPP", plat::SessionKind::Interactive, 1, u"other;myapp;third", 0,
       "suppressed UI interaction: application 'MYAPP' forced to be UI inactive by registry key"},
      {"listed last", u"MYAPP", plat::SessionKind::Interactive, 1, u"other;MyApp", 0, "forced to be UI"},
      {"not listed", u"MYAPP", plat::SessionKind::Interactive, 1, u"myapp2;;x;", 1, nullptr},
      {"empty list", u"MYAPP", plat::SessionKind::Interactive, 1, u"", 1, nullptr},
      {"service", u"REPORTER", plat::SessionKind::Service, 1, nullptr, 0, nullptr},
      {"web server", u"W3WP", plat::SessionKind::Interactive, 1, nullptr, 0, nullptr},
  };
  for (const UiCase& c : cases) {
    SCOPED_TRACE(c.what);
    g = Fake{};
    g.exe = c.exe;
    g.session = c.session;
    g.station = c.station;
    plat::DeleteRegValue(plat::Hive::LocalMachine, u"Software\\zarnik", u"NonInteractiveApps");
    if (c.list) {
      ASSERT_EQ(zx::RegWriteString(plat::Hive::LocalMachine, u"Software\\zarnik", u"NonInteractiveApps", c.list), 0);
    }
    zx::SetUiPolicyProbesForTests(&kFake);
    const size_t before = LinesWith("suppressed UI interaction");
    EXPECT_EQ(zx::GetUIInteractionAllowed(), c.allowed);
    EXPECT_EQ(LinesWith("suppressed UI interaction") - before, c.line ? 1u : 0u);
    if (c.line) {
      EXPECT_EQ(LinesWith(c.line), 1u + (c.line[0] == 'f'));   // "listed" wrote one before
    }
  }
}

TEST_F(UiPolicy, ListedApplicationKeepsDesktopTypeAndTheAnswerStays) {
  g.exe = u"MYAPP";
  ASSERT_EQ(zx::RegWriteString(plat::Hive::LocalMachine, u"Software\\zarnik", u"NonInteractiveApps", u"myapp"), 0);
  EXPECT_EQ(zx::GetUIInteractionAllowed(), 0u);
  EXPECT_EQ(zx::GetOSEnvironmentType(), 1u);
  // A change of the value, and asking again, change nothing and write no new line.
  plat::DeleteRegValue(plat::Hive::LocalMachine, u"Software\\zarnik", u"NonInteractiveApps");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(zx::GetUIInteractionAllowed(), 0u);
  EXPECT_EQ(LinesWith("forced to be UI inactive"), 1u);
}

}  // namespace
