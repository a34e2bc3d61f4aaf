// The name test of every open: the file-name part (folders and drive play no
// part) must be a legal Windows name that isn't a reserved device name. The
// pattern is case-sensitive on purpose: "CON.txt" fails, "con.txt" passes.
#include <mutex>

#include "core/regex/RegEx.h"
#include "file/File.h"

namespace zx {
namespace {

// The tabs are layout only: the extended option ignores white space.
constexpr char16_t kValidName[] =
    u"^(?!  (?:\tCON|PRN|AUX|NUL|\tCOM[1-9]|LPT[1-9]  )  (?:\\.[^.]*)?  $)"
    u"[^<>:\"/\\|?*\\x00-\\x1F]*[^<>:\"/\\|?*\\x00-\\x1F\\ .]$";

// The file name and extension of a path: what follows the drive and the last
// folder separator.
String FileNamePart(const String& path) {
  int64_t start = (path.Length() >= 2 && path.GetAt(1) == u':') ? 2 : 0;
  for (int64_t i = path.Length(); i > start; --i) {
    const char16_t c = path.GetAt(i - 1);
    if (c == u'\\' || c == u'/') {
      start = i;
      break;
    }
  }
  return path.Mid(start);
}

}  // namespace

bool IsValidFileName(const String& name) {
  static std::mutex lock;
  static clsRegEx* pattern = new clsRegEx(String(kValidName), kRegExExtended);   // lives for the process
  const String part = FileNamePart(name);
  if (part.IsEmpty()) return false;
  std::lock_guard<std::mutex> guard(lock);
  return pattern->Match(part, nullptr);
}

}  // namespace zx
