// The filter's decisions on exceptions made up in this process: what it does with
// a software exception, a breakpoint, a stack overflow and an unprotected thread's
// crash (the chain of filters and its depth), the per-thread protection counts, the
// registry switches of the handler, and the exception names.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "core/registry/Registry.h"
#include "gpf/GpfProtection.h"
#include "gpf_test_util.h"
#include "platform/process.h"

namespace {

#ifndef _WIN32
// This program's registry is its own (a crash child keeps its parent's).
const bool g_ownRegistry = [] {
  if (std::getenv("ZXUT_CRASH_CHILD")) return false;
  const std::string dir = zxsupport::TempPath("gpf_reg");
  std::filesystem::create_directories(dir);
  setenv("ZXUT_REGISTRY_DIR", dir.c_str(), 1);
  return true;
}();
#endif

struct Made {
  plat::ExceptionRecord64 record{};
  plat::ContextAmd64 context{};
  plat::ExceptionPointers64 pointers{&record, &context};
  explicit Made(uint32_t code) {
    record.ExceptionCode = code;
    context.Rip = 0x1000;
  }
};

void SetSwitch(const char16_t* name, const char16_t* value) {
  if (value) zx::RegWriteString(zx::UserHive(), u"SOFTWARE\\zarnik", name, value);
  else plat::DeleteRegValue(zx::UserHive(), u"SOFTWARE\\zarnik", name);
}

class Filter : public ::testing::Test {
 protected:
  void SetUp() override {
    SetSwitch(u"ForceUseGPFHandler", nullptr);
    SetSwitch(u"UseGPFHandler", nullptr);
    zx::ResetGpfStateForTests();
  }
  void TearDown() override {
    while (zx::ProtectionCountForTests(plat::ThreadId()) > 0) zx::ExHandlerEndProtection();
    SetUp();
  }
};

TEST_F(Filter, VerdictsOfAProtectedThread) {
  zxtest::LogCapture log;
  zx::ExHandlerStartProtection();
  const uint32_t me = plat::ThreadId();
  Made software(0xE06D7363);   // a C++ exception: facility bits set
  EXPECT_EQ(zx::UnhandledExceptionFilter(&software.pointers, me), 0);
  EXPECT_EQ(log.Count("Not system exception: let it pass!"), 1u);
  Made breakpoint(0x80000003);
  EXPECT_EQ(zx::UnhandledExceptionFilter(&breakpoint.pointers, me), -1);
  EXPECT_EQ(breakpoint.context.Rip, 0x1001u);
  Made overflow(0xC00000FD);
  EXPECT_EQ(zx::UnhandledExceptionFilter(&overflow.pointers, me), 0);
  EXPECT_EQ(log.Count("GenerateExceptionReport"), 0u);   // neither of them reports
}

TEST_F(Filter, UnprotectedThreadWithoutFiltersGetsExecuteHandler) {
  Made crash(0xC0000005);
  EXPECT_EQ(zx::UnhandledExceptionFilter(&crash.pointers, plat::ThreadId()), 1);
  // Every open pushes a filter; chaining through them comes back here once per
  // level and ends at the filter found before the first open.
  zx::ExHandlerJobOpen();
  zx::ExHandlerJobOpen();
  EXPECT_EQ(zx::UnhandledExceptionFilter(&crash.pointers, plat::ThreadId() + 12345), 0);
  EXPECT_EQ(zx::UnhandledExceptionFilter(&crash.pointers, plat::ThreadId() + 12345), 0);   // depth was reset
  zx::ExHandlerJobClose();
  zx::ExHandlerJobClose();
  EXPECT_EQ(zx::UnhandledExceptionFilter(&crash.pointers, plat::ThreadId()), 1);
}

TEST_F(Filter, ProtectionCountsNest) {
  const uint32_t me = plat::ThreadId();
  zx::ExHandlerEndProtection();   // no entry: nothing
  EXPECT_EQ(zx::ProtectionCountForTests(me), 0);
  zx::ExHandlerStartProtection();
  zx::ExHandlerStartProtection();
  EXPECT_EQ(zx::ProtectionCountForTests(me), 2);
  zx::ExHandlerEndProtection();
  EXPECT_EQ(zx::ProtectionCountForTests(me), 1);
  zx::ExHandlerEndProtection();
  EXPECT_EQ(zx::ProtectionCountForTests(me), 0);
}

TEST_F(Filter, RegistrySwitchesDecideOnce) {
  struct Case {
    const char16_t* force;
    const char16_t* use;
    bool on;
  } const cases[] = {
      {nullptr, nullptr, true},  {u"0", u"T", false},    {u"F", nullptr, false}, {u"1", u"F", true},
      {u"T", u"0", true},        {nullptr, u"F", false}, {nullptr, u"0", false}, {nullptr, u"yes", true},
      {u"maybe", u"F", false},   {u"maybe", u"T", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(zxsupport::Ascii(c.force ? c.force : u"-") + "/" + zxsupport::Ascii(c.use ? c.use : u"-"));
    SetSwitch(u"ForceUseGPFHandler", c.force);
    SetSwitch(u"UseGPFHandler", c.use);
    zx::ResetGpfStateForTests();
    zx::ExHandlerStartProtection();
    EXPECT_EQ(zx::ProtectionCountForTests(plat::ThreadId()), c.on ? 1 : 0);
    // Decided: a change of the value has no effect any more.
    SetSwitch(u"UseGPFHandler", c.on ? u"F" : u"T");
    zx::ExHandlerStartProtection();
    EXPECT_EQ(zx::ProtectionCountForTests(plat::ThreadId()), c.on ? 2 : 0);
    while (zx::ProtectionCountForTests(plat::ThreadId()) > 0) zx::ExHandlerEndProtection();
  }
}

TEST(ExceptionNames, TableAndSystemTexts) {
  const struct {
    uint32_t code;
    const char16_t* name;
  } names[] = {{0xC0000005, u"Access Violation"},         {0xC0000094, u"Integer Division by Zero"},
               {0xC00000FD, u"Stack Overflow"},           {0x80000003, u"Breakpoint"},
               {0xC000001D, u"Illegal Instruction Encountered"}, {0xC000008E, u"Float: Division by Zero"},
               {0x80000002, u"Misalignment"},             {0xC0000096, u"Privileged Instruction Encountered"}};
  for (const auto& n : names) EXPECT_EQ(std::u16string(zx::ExceptionName(n.code)), n.name);
}

}  // namespace
