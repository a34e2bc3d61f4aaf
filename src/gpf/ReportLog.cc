// The report log's name and its lines.
#include "gpf/ReportLog.h"

#include <mutex>
#include <string>

#include "core/format/Format.h"
#include "core/identity/Identity.h"
#include "file/TempName.h"
#include "platform/file.h"
#include "platform/process.h"
#include "platform/timestamp.h"

namespace zx {
namespace {

constexpr size_t kNameMax = 259;

struct Name {
  std::mutex lock;
  bool chosen = false;
  String name;
};
Name& N() {
  static Name* n = new Name;   // crash reports write during exit as well
  return *n;
}

bool Writable(const String& name) {
  plat::FileHandle h = plat::FileOpen(name.wchar(), plat::kGenericWrite, plat::kShareRead, plat::kOpenAlways, 0);
  if (!plat::IsValidFile(h)) return false;
  plat::FileClose(h);
  return true;
}

String Cut(String s) {
  std::u16string_view v = s.View();
  if (v.size() > kNameMax) return String(std::u16string(v.substr(0, kNameMax)).c_str());
  return s;
}

}  // namespace

String ExpandEnvironment(const char16_t* text) {
  std::u16string in = text ? text : u"", out;
  size_t at = 0;
  while (at < in.size()) {
    size_t open = in.find(u'%', at);
    size_t close = open == std::u16string::npos ? open : in.find(u'%', open + 1);
    if (close == std::u16string::npos) {
      out += in.substr(at);
      break;
    }
    out += in.substr(at, open - at);
    const std::u16string name = in.substr(open + 1, close - open - 1);
    bool found = false;
    const std::u16string value = name.empty() ? std::u16string() : plat::EnvironmentVariable(name.c_str(), &found);
    if (found) {
      out += value;
      at = close + 1;
    } else {
      out += u'%';
      at = open + 1;
    }
  }
  return String(out.c_str());
}

const String& ReportLogName() {
  Name& n = N();
  std::lock_guard<std::mutex> guard(n.lock);
  if (!n.chosen) {
    String name = Cut(ExpandEnvironment(u"%APPDATA%\\ZARNIK.LOG"));
    if (!Writable(name)) {
      String folder = UtilGetTempPath(false);
      std::u16string f(folder.View());
      while (!f.empty() && (f.back() == u'\\' || f.back() == u'/')) f.pop_back();
      name = Cut(String((f + u"\\ZARNIK.LOG").c_str()));
    }
    n.name = name;
    n.chosen = true;
  }
  return n.name;
}

void ResetReportLogNameForTests() {
  Name& n = N();
  std::lock_guard<std::mutex> guard(n.lock);
  n.chosen = false;
}

bool AppendReportLog(const char16_t* text) {
  plat::FileHandle h = plat::FileOpen(ReportLogName().wchar(), plat::kGenericWrite, plat::kShareRead,
                                      plat::kOpenAlways, plat::kFlagWriteThrough);
  if (!plat::IsValidFile(h)) return false;
  plat::FileSeek(h, 0, plat::kSeekEnd, nullptr);
  plat::SystemTime t{};
  plat::LocalTimeNow(&t);
  char16_t head[64];
  FormatTo(head, 64, u"%04u-%02u-%02u, %02u:%02u.%02u.%03u ", t.year, t.month, t.day, t.hour, t.minute, t.second,
           t.milliseconds);
  std::u16string line = head;
  line += Identity().libraryFileName.View();
  line += u' ';
  line += text ? text : u"";
  line += u"\r\n";
  std::string bytes;
  bytes.reserve(line.size() * 2);
  for (char16_t c : line) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>(c >> 8));
  }
  uint32_t done = 0;
  const bool ok = plat::FileWrite(h, bytes.data(), static_cast<uint32_t>(bytes.size()), &done) && done == bytes.size();
  plat::FileClose(h);
  return ok;
}

}  // namespace zx
