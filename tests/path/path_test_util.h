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

using zxsupport::ScopedEnv;

}  // namespace pathtest
