// The debug channel: the one engine through which every diagnostic line of the
// library goes. Lines carry time, thread, processor, a rolling digit and an
// indentation that follows the call depth; they reach the viewer, the log file or
// nobody. While nobody listens a call costs a few loads and formats nothing.
// Errors: none reported; a line that cannot be delivered is dropped (the sinks
// report their own trouble through the system's debug output).
// Threads: every function may be called from any thread at any time, also while the
// job lock is held; lines are serialised by the channel's output lock, which is
// recursive, so a line printed while a line is being written is no dead-lock.
//
//   DebugSetThreadName("loader");
//   if (IsDebugActive()) DebugPrint(u"read %d items from '%s'", n, name.wchar());
#pragma once
#include <cstdarg>
#include <cstdint>

namespace zx {

// True while somebody listens: a log file is set, or a viewer wants output.
bool IsDebugActive();

// The internal printer: the library's base name as tag, indent change 0.
void DebugPrint(const char16_t* format, ...);
// The internal printer with an indent change: +1 prints and then indents, -1
// unindents and then prints (so a closing line stands at its opening column). A
// null format only changes the indentation.
void DebugPrintIndent(int indentChange, const char16_t* format, ...);
// The general form behind every printer and the UtilDebug* exports. A null tag
// means no tag on the formatted line and the library's base name on the wire.
void DebugPrintV(int indentChange, const char16_t* tag, const char16_t* format, va_list args);

// Names the calling thread in every later line ("[name] "); null removes the name.
// The text is not copied: it must live until it is removed.
void DebugSetThreadName(const char* name);

// A trace scope: prints its opening text (by convention ">Name(...)") with +1, and
// at its end a closing line with -1: the Close text, or "<" and the opening text
// without its ">". Nothing is formatted, and the indentation is not touched, when
// debug output was off at the opening.
class DebugScope {
 public:
  DebugScope(const char16_t* format, ...);
  ~DebugScope();
  // A line inside the scope, at its indentation.
  void Line(const char16_t* format, ...);
  // Prints the closing line now (e.g. u"<Foo->%d"); the destructor then prints none.
  void Close(const char16_t* format, ...);
  DebugScope(const DebugScope&) = delete;
  DebugScope& operator=(const DebugScope&) = delete;
 private:
  bool open_;
  bool closed_;
  char16_t text_[128];
};

// The abstract printing interface (stack dumps print through it).
class clsDebugOutput {
 public:
  virtual ~clsDebugOutput() = default;
  virtual void Printf(const char16_t* format, ...) = 0;
};
// Forwards to the internal printer with indent change 0.
class clsDebugOutput_zrk_debug final : public clsDebugOutput {
 public:
  void Printf(const char16_t* format, ...) override;
};
// The one global instance.
clsDebugOutput& DebugOutputObject();

// The process-attach step of the channel: construct it (if not yet), find the
// viewer, say hello, read the log settings. Called once by the library's start
// sequence; until then the channel is constructed on first use.
void DebugChannelAttach();
// Process detach: the viewer's goodbye. Exit-time teardown follows separately.
void DebugChannelDetach();
// Exit-time destruction has begun: the internal printers return at once from now
// on (UtilDebug* still test the channel).
void DebugDisallow();

// UtilTRAVUE4Attach / UtilTRAVUE4Detach: raise / lower the sender's attach count.
void DebugViewerAttach();
void DebugViewerDetach();

}  // namespace zx
