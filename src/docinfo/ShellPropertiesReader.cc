// The shell's property store, tried first for every document: the summary
// texts and dates. It succeeds when at least one text is there; otherwise the
// format readers run. On Linux there is no store and it always fails.
#include "docinfo/DocReaders.h"
#include "platform/shell_properties.h"

namespace zx {

int ReadShellProperties(clsDocu& doc, const String& path) {
  plat::ShellProperty values[plat::kShellPropertyCount];
  if (!plat::ReadShellSummaryProperties(path.wchar(), values)) return -1;
  enum : unsigned short { kEmpty = 0, kNarrowText = 30, kFileTime = 64 };
  clsVariant* const texts[] = {&doc.title, &doc.author, &doc.keywords, &doc.subject};
  plat::SystemTime* const dates[] = {&doc.created, &doc.lastSaved};
  int found = 0;
  for (size_t i = 0; i < plat::kShellPropertyCount; ++i) {
    const plat::ShellProperty& v = values[i];
    const bool isText = i < 4;
    // A value of another type ends the reading: what follows it is not taken.
    if (v.type != kEmpty && v.type != (isText ? kNarrowText : kFileTime)) break;
    if (v.type == kEmpty) continue;
    if (isText) {
      *texts[i] = String(v.text.c_str());
      if (!v.text.empty()) ++found;
    } else {
      *dates[i - 4] = v.time;
    }
  }
  return found >= 1 ? 0 : -1;
}

}  // namespace zx
