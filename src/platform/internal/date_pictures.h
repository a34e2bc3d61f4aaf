// Linux only: the date and time entries of LocaleInfo, answered by the date
// formatter from ICU's patterns of the locale (posix/date_format_posix.cc).
#pragma once
#include <cstdint>
#include <string>

namespace plat {

// The ICU locale of an LCID (posix/locale_posix.cc); false for one the system
// would not know.
bool IcuLocaleOfLcid(uint32_t lcid, std::string& out);

// The text of one of the date and time LocaleInfo types for an ICU locale; false
// for another type.
bool DateLocaleText(const std::string& locale, uint32_t lcType, std::u16string& out);

}  // namespace plat
