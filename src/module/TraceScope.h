// Trace scopes of the job and heap exports and the leak reports. They share one
// process-wide level, guarded by the job lock (hold it while a scope lives). A line
// reads the scope tag (eight blanks), a colon, the level as indentation and the
// text, and goes through the internal debug printer.
#pragma once

namespace zx {

class scTraceScope {
 public:
  // Prints the opening text and raises the level, when `enabled` (the caller's
  // test: debug output active, and for the exports the module's trace flag).
  scTraceScope(bool enabled, const char16_t* format, ...);
  // Lowers the level again if Close did not.
  ~scTraceScope();
  // A line inside the scope, at its level.
  void Line(const char16_t* format, ...);
  // Lowers the level and prints the closing text at the opening's column.
  void Close(const char16_t* format, ...);
  bool IsOpen() const { return open_; }
  scTraceScope(const scTraceScope&) = delete;
  scTraceScope& operator=(const scTraceScope&) = delete;

 private:
  bool open_;
};

// The current level (tests).
int TraceLevel();

}  // namespace zx
