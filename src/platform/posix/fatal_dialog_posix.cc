// No message boxes on Linux: the assertion is told on standard error and through
// the last-resort debug channel.
#include <unistd.h>

#include <string>

#include "platform/codepage.h"
#include "platform/debugout.h"
#include "platform/fatal_dialog.h"

namespace plat {

int ShowAssertionBox(const char16_t* caption, const char16_t* text) {
  std::u16string box = caption ? caption : u"";
  box += u": ";
  box += text ? text : u"";
  std::string bytes = Utf16ToUtf8(box) + "\n";
  for (size_t done = 0; done < bytes.size();) {
    ssize_t n = ::write(2, bytes.data() + done, bytes.size() - done);
    if (n <= 0) break;
    done += static_cast<size_t>(n);
  }
  DebugOutput(box.c_str());
  return kIdCancel;
}

int ShowMessageBox(const char16_t*, const char16_t*, uint32_t) { return kNoBox; }
bool OpenFolder(const char16_t*) { return false; }

void EndProcess(int code) { ::_exit(code); }

}  // namespace plat
