// zxut docinfo: what the document list answers for each file: its two dates, six
// properties and the path that was read.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "platform/variant.h"
#include "text.h"
#include "text/Date.h"

int RunDocInfo(int argc, char** argv);

namespace {

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"docinfo", "the dates, properties and resolved path of documents",
     "usage: zxut docinfo [--json] FILE...\n"
     "  For each FILE, what UtilDocInfoGet answers: Created, LastSaved (local time),\n"
     "  Title, Subject, Author, LastAuthor, Keywords, Comments and ResolvedPath.\n"
     "  --json: one JSON object a line, with those keys and File (dates as\n"
     "  \"YYYY-MM-DDTHH:MM:SS.mmm\", a missing value as null).\n"
     "  Status 1 when a file doesn't exist or can't be read.\n",
     &RunDocInfo});

const char* const kNames[9] = {"Created", "LastSaved", "Title",    "Subject",     "Author",
                               "LastAuthor", "Keywords", "Comments", "ResolvedPath"};

// The date value as local "YYYY-MM-DDTHH:MM:SS.mmm"; empty for the unset date.
std::string DateText(double date) {
  if (date == -109205.0) return std::string();
  double day = std::trunc(date);
  double ms = std::round(std::fabs(date - day) * 86400000.0);
  if (ms >= 86400000.0) {
    ms -= 86400000.0;
    day += date < 0 ? -1 : 1;
  }
  const zx::clsDate d(zx::clsDate::DayNumberOf(1899, 12, 30) + static_cast<int64_t>(day));
  const long total = static_cast<long>(ms);
  char text[40];
  std::snprintf(text, sizeof text, "%04lld-%02d-%02dT%02ld:%02ld:%02ld.%03ld", static_cast<long long>(d.Year()),
                d.Month(), d.Day(), total / 3600000, total / 60000 % 60, total / 1000 % 60, total % 1000);
  return text;
}

// A value as text; `present` false when there is none (an empty variant or the unset date).
std::string ValueText(const VARIANT& v, bool* present) {
  *present = true;
  if (v.vt == VT_DATE) {
    std::string t = DateText(v.date);
    *present = !t.empty();
    return t;
  }
  if (v.vt == VT_BSTR && v.bstrVal) return Utf8(FromW(reinterpret_cast<LPCWSTR>(v.bstrVal)));
  *present = false;
  return std::string();
}

std::string Json(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char esc[8];
      std::snprintf(esc, sizeof esc, "\\u%04x", c);
      out += esc;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

// One file: 1 when it could be read.
bool Show(HDOCINFO list, const char* file, bool json) {
  VARIANT values[9];
  for (VARIANT& v : values) plat::VariantInit(&v);
  scDocInfoData data{sizeof(scDocInfoData), &values[0], &values[1], &values[2], &values[3], &values[4],
                     &values[5], &values[6], &values[7], &values[8]};
  const std::u16string name = Wide(file);
  const bool read = UtilDocInfoGet(list, W(name), &data, 10) == 1;
  if (json) {
    std::string line = "{\"File\": " + Json(file);
    for (int i = 0; i < 9; ++i) {
      bool present = false;
      const std::string t = ValueText(values[i], &present);
      line += std::string(", \"") + kNames[i] + "\": " + (read && present ? Json(t) : "null");
    }
    std::printf("%s}\n", line.c_str());
  } else if (read) {
    std::printf("%s\n", file);
    for (int i = 0; i < 9; ++i) {
      bool present = false;
      const std::string t = ValueText(values[i], &present);
      if (present) std::printf("  %-13s%s\n", kNames[i], t.c_str());
    }
  }
  if (!read) std::fprintf(stderr, "zxut docinfo: %s: no such document, or it can't be read\n", file);
  for (VARIANT& v : values) plat::VariantClear(&v);
  return read;
}

}  // namespace

int RunDocInfo(int argc, char** argv) {
  bool json = false;
  std::vector<const char*> files;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--json") == 0) json = true;
    else if (argv[i][0] == '-' && argv[i][1] != '\0') return zxut::UsageError("docinfo", "unknown option");
    else files.push_back(argv[i]);
  }
  if (files.empty()) return zxut::UsageError("docinfo", "no file given");
  HDOCINFO list = UtilDocInfoOpen(0);
  if (!list) return 1;
  int status = 0;
  for (const char* file : files)
    if (!Show(list, file, json)) status = 1;
  UtilDocInfoClose(list);
  return status;
}
