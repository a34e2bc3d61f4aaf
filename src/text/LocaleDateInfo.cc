#include "text/LocaleDateInfo.h"

#include "core/regex/RegEx.h"
#include "platform/date_format.h"
#include "platform/locale.h"

namespace zx {

namespace {

constexpr int kRoom = 10;   // a longer answer counts as none

// The locale's answer, or empty.
String Query(uint32_t lcid, uint32_t type) {
  char16_t buffer[kRoom];
  const int n = plat::LocaleInfo(lcid, type, buffer, kRoom);
  return n > 1 ? String(buffer, 0, n - 1) : String();
}

// A separator without spaces, escaped; the fallback when the locale has none.
String Separator(uint32_t lcid, uint32_t type, const char16_t* fallback) {
  String sep = Query(lcid, type);
  sep.ReplaceAll(u" ", u"");
  if (sep.IsEmpty()) sep = fallback;
  return clsRegEx::Escape(sep);
}

}  // namespace

clsLocaleDateInfo::clsLocaleDateInfo(uint32_t lcid) : m_lcid(lcid) {
  const String order = Query(lcid, plat::kLocaleIDate);
  if (order == u"0") m_eDateOrder = kMonthDayYear;
  else if (order == u"2") m_eDateOrder = kYearMonthDay;
  else m_eDateOrder = kDayMonthYear;
  m_sDateSep = Separator(lcid, plat::kLocaleSDate, u".");
  m_sTimeSep = Separator(lcid, plat::kLocaleSTime, u":");
  m_b24Hours = Query(lcid, plat::kLocaleITime) == u"0";
  m_sAM = Query(lcid, plat::kLocaleS1159).Left(1);
  m_sPM = Query(lcid, plat::kLocaleS2359).Left(1);
}

const clsLocaleDateInfo& clsLocaleDateInfo::UserDefault() {
  static const clsLocaleDateInfo* info = new clsLocaleDateInfo(plat::UserDefaultLCID());
  return *info;
}

}  // namespace zx
