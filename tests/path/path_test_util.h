// Helpers of the path tests.
#pragma once
#include <cstdlib>
#include <string>
#include <vector>

#include "support/support_test_util.h"

namespace pathtest {

using zxsupport::Ascii;
using zxsupport::U16;

inline std::u16string Rep(std::u16string_view unit, size_t n) {
  std::u16string out;
  for (size_t i = 0; i < n; ++i) out += unit;
  return out;
}

#ifndef _WIN32
// Sets environment variables (null: unset) for one scope and restores them.
class ScopedEnv {
 public:
  ScopedEnv(std::initializer_list<std::pair<const char*, const char*>> values) {
    for (auto [name, value] : values) {
      const char* old = std::getenv(name);
      saved_.push_back({name, old != nullptr, old ? old : ""});
      value ? setenv(name, value, 1) : unsetenv(name);
    }
  }
  ~ScopedEnv() {
    for (auto& s : saved_) s.had ? setenv(s.name, s.value.c_str(), 1) : unsetenv(s.name);
  }

 private:
  struct Saved {
    const char* name;
    bool had;
    std::string value;
  };
  std::vector<Saved> saved_;
};
#endif

}  // namespace pathtest
