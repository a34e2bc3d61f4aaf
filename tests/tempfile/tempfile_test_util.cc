#include "tempfile_test_util.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "debug/DebugChannel.h"

namespace {

const bool g_setUp = [] {
#ifdef _WIN32
  _putenv_s("user", "zrk");
#else
  setenv("user", "zrk", 1);
  const std::string reg = zxsupport::TempPath("tempfile_reg");
  std::filesystem::create_directories(reg);
  setenv("ZXUT_REGISTRY_DIR", reg.c_str(), 1);
#endif
  return true;
}();

class DebugChannelFirst : public ::testing::Environment {
 public:
  void SetUp() override { zx::DebugChannel(); }
};

const auto* const g_channelFirst = ::testing::AddGlobalTestEnvironment(new DebugChannelFirst);

}  // namespace
