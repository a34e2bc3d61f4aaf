// Trace scopes and the remaining small pieces of the printing interface.
#include <cstdarg>

#include "core/format/Format.h"
#include "debug/Debug.h"

namespace zx {

DebugScope::DebugScope(const char16_t* format, ...) : open_(IsDebugActive()), closed_(false) {
  text_[0] = 0;
  if (!open_) return;   // nothing formatted, and no indentation to undo later
  va_list ap;
  va_start(ap, format);
  VFormatTo(text_, sizeof text_ / sizeof text_[0], format, ap);
  va_end(ap);
  DebugPrintIndent(+1, u"%s", text_);
}

DebugScope::~DebugScope() {
  if (!open_ || closed_) return;
  const char16_t* body = text_[0] == u'>' ? text_ + 1 : text_;
  DebugPrintIndent(-1, u"<%s", body);
}

void DebugScope::Line(const char16_t* format, ...) {
  if (!open_) return;
  char16_t buf[1025];
  va_list ap;
  va_start(ap, format);
  VFormatTo(buf, sizeof buf / sizeof buf[0], format, ap);
  va_end(ap);
  DebugPrint(u"%s", buf);
}

void DebugScope::Close(const char16_t* format, ...) {
  if (!open_ || closed_) return;
  closed_ = true;
  char16_t buf[1025];
  va_list ap;
  va_start(ap, format);
  VFormatTo(buf, sizeof buf / sizeof buf[0], format, ap);
  va_end(ap);
  DebugPrintIndent(-1, u"%s", buf);
}

}  // namespace zx
