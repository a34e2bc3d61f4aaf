// zxut date: the locale date exports at the terminal.
//   parse LCID TEXT [--flags N]   the reader: TEXT as typed in the locale
//   format LCID COMPACT           YYYYMMDD[hhmmss] as the locale writes it
//   dst YEAR                      daylight-saving start and end in UTC (this zone)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/bstr.h"
#include "platform/variant.h"
#include "command.h"
#include "text.h"

int RunDateCommand(int argc, char** argv);

namespace {

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"date", "read and write dates as a locale does",
     "usage: zxut date parse LCID TEXT [--flags N]\n"
     "       zxut date format LCID YYYYMMDD[hhmmss]\n"
     "       zxut date dst YEAR\n"
     "  parse: TEXT as typed in the locale LCID (0x0407 or 1031); format: a compact date\n"
     "  as the locale writes it; dst: daylight-saving start and end in UTC, this zone\n",
     &RunDateCommand});

int Usage() { return zxut::UsageError("date"); }

bool Number(const char* text, unsigned long& value) {
  char* end = nullptr;
  value = std::strtoul(text, &end, 0);   // 0x0407 or 1031
  return *text && end && *end == 0;
}

void Print(const SYSTEMTIME& t) {
  std::printf("%04u-%02u-%02u %02u:%02u:%02u", t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond);
}

int Parse(int argc, char** argv) {
  unsigned long lcid = 0, flags = 0;
  if (argc != 2 && !(argc == 4 && std::strcmp(argv[2], "--flags") == 0)) return Usage();
  if (!Number(argv[0], lcid) || (argc == 4 && !Number(argv[3], flags))) return Usage();
  const std::u16string text = Wide(argv[1]);
  plat::Bstr b = plat::SysAllocLen(text.data(), static_cast<uint32_t>(text.size()));
  SYSTEMTIME t;
  const LONG r = UtilLocSystemTimeFromLocaleString(static_cast<LCID>(lcid), reinterpret_cast<BSTR>(b),
                                                   &t, static_cast<DWORD>(flags));
  plat::SysFree(b);
  if (r == 0 && t.wYear == 0 && t.wHour == 0 && t.wMinute == 0 && t.wSecond == 0 && !(flags & 0x8)) {
    std::fprintf(stderr, "zxut date: no date in '%s' for locale 0x%04lx\n", argv[1], lcid);
    return 1;
  }
  Print(t);
  std::printf(r == 0 ? "\n" : "  (not a valid date: %ld)\n", static_cast<long>(r));
  return r == 0 ? 0 : 1;
}

int Format(int argc, char** argv) {
  unsigned long lcid = 0;
  if (argc != 2 || !Number(argv[0], lcid)) return Usage();
  const size_t n = std::strlen(argv[1]);
  if ((n != 8 && n != 14) || std::strspn(argv[1], "0123456789") != n) return Usage();
  SYSTEMTIME t;
  UtilLocDateTimeToSYSTEMTIME(W(Wide(argv[1])), &t);
  VARIANT v;
  plat::VariantInit(&v);
  UtilLocLocaleStringFromSystemTime(static_cast<LCID>(lcid), &t, &v);
  std::printf("%s\n", Utf8(FromW(reinterpret_cast<LPCWSTR>(plat::BstrOf(v)))).c_str());
  plat::VariantClear(&v);
  return 0;
}

int Dst(int argc, char** argv) {
  unsigned long year = 0;
  if (argc != 1 || !Number(argv[0], year)) return Usage();
  SYSTEMTIME start, end;
  UtilLocGetDSTStartAndEndInUTC(static_cast<UINT>(year), &start, &end);
  if (start.wYear == 0 && end.wYear == 0) {
    std::printf("no daylight-saving time in %lu in this time zone\n", year);
    return 0;
  }
  std::printf("start ");
  Print(start);
  std::printf(" UTC\nend   ");
  Print(end);
  std::printf(" UTC\n");
  return 0;
}

}  // namespace

int RunDateCommand(int argc, char** argv) {
  if (argc < 1) return Usage();
  if (std::strcmp(argv[0], "parse") == 0) return Parse(argc - 1, argv + 1);
  if (std::strcmp(argv[0], "format") == 0) return Format(argc - 1, argv + 1);
  if (std::strcmp(argv[0], "dst") == 0) return Dst(argc - 1, argv + 1);
  return Usage();
}
