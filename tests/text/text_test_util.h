// What the text tests share: the table of locales, with ICU's date order and
// separators and a text typed there.
#pragma once
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace texttest {

struct Ymdhms {
  int year, month, day, hour, minute, second;
};

struct LocaleCase {
  uint32_t lcid;
  const char* name;          // ICU's name
  const char16_t* iDate;     // ICU's order: "0" M-D-Y, "1" D-M-Y, "2" Y-M-D
  const char16_t* sDate;     // ICU's separators, spaces removed
  const char16_t* sTime;
  const char16_t* typed;     // fits ICU's data
  Ymdhms want;
  // Why the system's data (under wine) differ, where they do.
  const char* why;
};

inline const LocaleCase kLocales[] = {
    {0x0409, "en_US", u"0", u"/", u":", u"2/1/2021 1:05:09 PM", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0809, "en_GB", u"1", u"/", u":", u"01/02/2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0407, "de_DE", u"1", u".", u":", u"01.02.2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x040C, "fr_FR", u"1", u"/", u":", u"01/02/2021 13:05", {2021, 2, 1, 13, 5, 0},
     nullptr},
    {0x0411, "ja_JP", u"2", u"/", u":", u"2021/02/01 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0804, "zh_CN", u"2", u"/", u":", u"2021/2/1 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0401, "ar_SA", u"1", u"/", u":", u"1/2/2021 1:05 PM", {2021, 2, 1, 13, 5, 0},
     "the system's separator has a right-to-left mark (U+200F) in front of the '/'"},
    {0x040D, "he_IL", u"1", u".", u":", u"1.2.2021 13:05", {2021, 2, 1, 13, 5, 0},
     nullptr},
    {0x0419, "ru_RU", u"1", u".", u":", u"01.02.2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x040B, "fi_FI", u"1", u".", u".", u"1.2.2021 13.05.09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x040E, "hu_HU", u"2", u".", u":", u"2021.02.01 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0412, "ko_KR", u"2", u".", u":", u"2021.2.1 13:05", {2021, 2, 1, 13, 5, 0},
     nullptr},
    {0x041E, "th_TH", u"1", u"/", u":", u"1/2/2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0429, "fa_IR", u"2", u"/", u":", u"2021/2/1 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0410, "it_IT", u"1", u"/", u":", u"01/02/2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0C0A, "es_ES", u"1", u"/", u":", u"1/2/2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0413, "nl_NL", u"1", u"-", u":", u"01-02-2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0415, "pl_PL", u"1", u".", u":", u"1.02.2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x041F, "tr_TR", u"1", u".", u":", u"1.02.2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0416, "pt_BR", u"1", u"/", u":", u"01/02/2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0405, "cs_CZ", u"1", u".", u":", u"01.02.2021 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x041D, "sv_SE", u"2", u"-", u":", u"2021-02-01 13:05:09", {2021, 2, 1, 13, 5, 9},
     nullptr},
    {0x0408, "el_GR", u"1", u"/", u":", u"1/2/2021 1:05 PM", {2021, 2, 1, 13, 5, 0},
     nullptr},
    {0x0404, "zh_TW", u"2", u"/", u":", u"2021/2/1 13:05", {2021, 2, 1, 13, 5, 0},
     nullptr},
};

// One line of tests/text/zone_oracle.py: "dst" with the year and ten numbers
// (start and end, zeros without), "u2l"/"l2u" with five numbers in, five out,
// "l2g" with five in and two answers of five.
struct ZoneLine {
  std::string kind, zone;
  int year = 0;
  int v[15] = {};
};

inline std::vector<ZoneLine> ParseZoneOracle(const std::string& text) {
  std::vector<ZoneLine> lines;
  std::istringstream in(text);
  ZoneLine l;
  while (in >> l.kind >> l.zone) {
    if (l.kind == "dst") in >> l.year;
    const int n = l.kind == "l2g" ? 15 : 10;
    for (int k = 0; k < n; ++k) in >> l.v[k];
    lines.push_back(l);
  }
  return lines;
}

}  // namespace texttest
