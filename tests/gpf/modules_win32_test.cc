// Each of the three module enumerations the engine falls back on finds this
// program, the library and the system's own modules; the engine's module list
// agrees with them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "platform/debug_help.h"

namespace {

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

bool HasModule(const std::vector<std::string>& paths, const std::string& file) {
  return std::any_of(paths.begin(), paths.end(), [&](const std::string& p) {
    const std::string l = Lower(p);
    return l.size() >= file.size() && l.compare(l.size() - file.size(), file.size(), file) == 0;
  });
}

TEST(ModuleEnumeration, EveryFallbackFindsTheSameCoreModules) {
  const char* names[] = {"symbol library", "snapshot", "process status"};
  std::vector<std::string> first;
  for (int method = 0; method < 3; ++method) {
    SCOPED_TRACE(names[method]);
    const std::vector<std::string> paths = plat::LoadedModulePathsForTests(method);
    ASSERT_GE(paths.size(), 3u);
    EXPECT_TRUE(HasModule(paths, "test_gpf.exe"));
    EXPECT_TRUE(HasModule(paths, "ntdll.dll"));
    EXPECT_TRUE(HasModule(paths, "kernel32.dll"));
    for (const std::string& p : paths) EXPECT_NE(std::string::npos, p.find_first_of("\\/")) << p;
    // A later enumeration may see one more module: the one its functions live in.
    if (method == 0) first = paths;
    else
      for (const std::string& p : first) EXPECT_TRUE(HasModule(paths, Lower(p))) << p;
  }
}

}  // namespace
