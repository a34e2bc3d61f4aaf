// The floating-point conversions of the formatter (%a %e %f %g and capitals),
// written as the universal CRT writes them: correctly rounded digits (ties to
// even), an exponent of at least two digits, "inf", "nan", "nan(snan)" and
// "nan(ind)" (the sign-only quiet NaN that x64 arithmetic produces).
// Threads: any thread; no state.
#pragma once
#include <cstddef>

namespace zx::fmt {

struct FloatText {
  // Longest text: sign, 309 integer digits, point, 1080 fraction digits.
  static constexpr size_t kCapacity = 1408;
  char text[kCapacity];  // with a leading '-' for negative values
  size_t length;
  // A double's exact expansion ends after at most 1074 fraction digits; a larger
  // precision is served by `zeros` implied '0' characters at `zerosAt`.
  size_t zerosAt;
  size_t zeros;
};

// conv is one of a A e E f F g G; precision is >= 0 (the caller applies the
// defaults); alternate is the '#' flag, which forces a point at precision 0 and
// keeps the zeros of %g.
void FormatDouble(double value, char conv, int precision, bool alternate, FloatText& out);

}  // namespace zx::fmt
