// clsLocaleDateInfo: what the date reader needs of a locale, from the locale's
// data (order of day, month and year; date and time separators; AM and PM marks).
// One instance for the user's default locale is made at first use and kept for
// the process; any other locale gets a fresh one.
#pragma once
#include <cstdint>

#include "core/strings/String.h"

namespace zx {

class clsLocaleDateInfo {
 public:
  // m_eDateOrder: the order of the numbers of a short date.
  enum eDateOrder : int { kDayMonthYear = 0, kMonthDayYear = 1, kYearMonthDay = 2 };

  explicit clsLocaleDateInfo(uint32_t lcid);
  virtual ~clsLocaleDateInfo() = default;

  // The cached instance of the user's default locale.
  static const clsLocaleDateInfo& UserDefault();

  uint32_t m_lcid;
  int m_eDateOrder = kDayMonthYear;
  String m_sDateSep;   // escaped for an expression
  String m_sTimeSep;   // escaped for an expression
  bool m_b24Hours = false;
  String m_sAM, m_sPM;   // the first character of each mark
};

}  // namespace zx
