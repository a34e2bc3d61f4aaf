// RTF documents: the groups of the "{\info ...}" group in the first 64 KiB.
//
// The expressions run on the 16-bit engine behind clsRegEx, whose interpreter
// keeps its backtracking frames on the heap (a JIT stack overflow falls back to
// it) and whose match limit ends a runaway match as a miss: deeply nested or
// unbalanced groups cost bounded time and no stack.
#include "core/regex/RegEx.h"
#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"
#include "docinfo/RtfText.h"

namespace zx {
namespace {

constexpr uint32_t kOptions = kRegExCaseless | kRegExDotAll | kRegExUngreedy;  // 517

// "\yr2012\mo3\dy5\hr10\min20": the fields given, on the zero time.
plat::SystemTime RtfDate(const String& value) {
  plat::SystemTime t = kUnsetSystemTime;
  clsRegEx field(String(u"\\\\([a-z]+)(\\d+)"), 0);   // greedy: the whole number
  String rest = value;
  clsRegExMatchList m;
  while (field.Match(rest, &m) && m.entries() >= 3) {
    const String& name = m.find(1).text;
    uint16_t n = 0;
    for (char16_t c : m.find(2).text.View()) n = static_cast<uint16_t>(n * 10 + (c - u'0'));  // digits only
    if (name == String(u"yr")) t.year = n;
    else if (name == String(u"mo")) t.month = n;
    else if (name == String(u"dy")) t.day = n;
    else if (name == String(u"hr")) t.hour = n;
    else if (name == String(u"min")) t.minute = n;
    rest.Delete(m.find(0).offset, m.find(0).text.Length());
  }
  return t;
}

}  // namespace

int ReadRtfInfo(clsDocu& doc, clsFile& file) {
  String text;
  if (!ReadDocumentHeadText(file, &text)) return 0;
  const uint32_t codePage = RtfCodePage(text);
  text.ReplaceAll(u"\r", u"");
  text.ReplaceAll(u"\n", u"");
  clsRegEx info(String(u"\\{\\\\info((\\{\\\\([a-z]+)((?:\\s|\\d|\\\\).*)\\s*\\}\\s*)+)\\s*\\}"), kOptions);
  clsRegExMatchList m;
  if (!info.Match(text, &m) || m.entries() < 2) return 0;
  String groups = UnescapeRtf(m.find(1).text, codePage);

  clsRegEx group(String(u"\\{\\\\([a-z]+)((?:\\s|\\d|\\\\).*)\\s*\\}"), kOptions);
  // Each pass removes a match of at least four characters, so this ends.
  while (group.Match(groups, &m) && m.entries() >= 3) {
    const String name = m.find(1).text;
    const String value = UnescapeRtf(m.find(2).text, codePage);
    groups.Delete(m.find(0).offset, m.find(0).text.Length());
    if (name == String(u"subject")) doc.subject = RtfPlainValue(value);
    else if (name == String(u"author")) doc.author = RtfPlainValue(value);
    else if (name == String(u"title")) doc.title = RtfPlainValue(value);
    else if (name == String(u"keywords")) doc.keywords = RtfPlainValue(value);
    else if (name == String(u"doccomm")) doc.comments = RtfPlainValue(value);
    else if (name == String(u"creatim")) doc.created = RtfDate(value);
    else if (name == String(u"revtim")) doc.lastSaved = RtfDate(value);
  }
  return 0;
}

}  // namespace zx
