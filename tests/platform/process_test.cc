// Process identity and the environment as UTF-16.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/process.h"

using namespace plat;

TEST(Process, Identity) {
  EXPECT_NE(ProcessId(), 0u);
  EXPECT_NE(ThreadId(), 0u);
  uint32_t other = 0;
  std::thread([&] { other = ThreadId(); }).join();
  EXPECT_NE(other, ThreadId());
  EXPECT_GE(ProcessorCount(), 1u);
  EXPECT_LT(CurrentProcessor(), 4096u);
  std::u16string exe = ExecutablePath();
  EXPECT_NE(exe.find(u"test_platform"), std::u16string::npos);
  EXPECT_EQ(ExecutableBaseName(), u"test_platform");
  EXPECT_FALSE(LibraryPath().empty());
  bool found = true;
  EXPECT_EQ(EnvironmentVariable(u"ZXUT_SURELY_NOT_SET_42", &found), u"");
  EXPECT_FALSE(found);
}

#ifndef _WIN32
TEST(Process, EnvironmentIsConvertedFromUtf8) {
  setenv("ZXUT_PLATFORM_TEST_ENV", "gr\xC3\xBC\xC3\x9F" "e", 1);
  bool found = false;
  EXPECT_EQ(EnvironmentVariable(u"ZXUT_PLATFORM_TEST_ENV", &found), u"gr\u00FC\u00DFe");
  EXPECT_TRUE(found);
  unsetenv("ZXUT_PLATFORM_TEST_ENV");
}
#endif
