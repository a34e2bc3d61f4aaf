// Building and handing out one debug line: indentation, the UDP path, the formatted
// path (time, thread, processor, rolling digit, marker, thread name), and the sinks
// (log file, old viewer, viewer cache) behind the re-entrance guard.
#include <cstdlib>
#include <cstring>

#include "core/diag/Diag.h"
#include "core/format/Format.h"
#include "core/registry/Registry.h"
#include "debug/Debug.h"
#include "debug/DebugChannel.h"
#include "file/File.h"
#include "platform/clock.h"
#include "platform/codepage.h"
#include "platform/debugout.h"
#include "platform/errors.h"
#include "platform/legacy_viewer.h"
#include "platform/process.h"
#include "platform/timestamp.h"

namespace zx {
namespace {

constexpr int32_t kLineChars = 1025;     // the line buffer; longer text is cut
constexpr int32_t kMaxIndent = 50;
constexpr char16_t kMarkerChar = 0x25A0;
constexpr uint64_t kLogDeadlineMs = 100;

std::atomic<uint8_t> g_debugAllowed{1};

// The timing source, chosen on the first formatted line of the process.
struct TimingSource {
  bool chosen = false;
  bool performance = false;
  int64_t frequency = 0;
  int64_t origin = 0;
};
TimingSource g_timing;
std::atomic<bool> g_timingChosen{false};          // g_timing is filled in: no lock needed to read it
plat::CriticalSection* g_timingLock = nullptr;   // created under an output lock

// What a thread's lines share from one line to the next: the stamp text of the
// last millisecond it printed in, and its thread field ("%08x/%02x", the processor
// may change). Each is made through the formatter once and then copied.
struct LineParts {
  uint64_t stampKey = ~uint64_t{0};
  int32_t stampLength = 0;
  char16_t stamp[16];
  uint32_t thread = 0, processor = ~0u;
  bool threadKnown = false;
  int32_t threadLength = 0;
  char16_t threadField[16];   // "%08x/%02x "
};
thread_local LineParts t_parts;

constexpr char16_t kBlanks[] = u"                                                    ";   // kMaxIndent + 2
static_assert(sizeof(kBlanks) / sizeof(char16_t) - 1 >= kMaxIndent + 1, "room for the widest indentation");

// Appends to a line, cut at its end.
struct LineWriter {
  char16_t* at;
  char16_t* end;
  void Put(const char16_t* text, int64_t n) {
    if (n > end - at) n = end - at;
    if (n <= 0) return;
    std::memcpy(at, text, static_cast<size_t>(n) * sizeof(char16_t));
    at += n;
  }
  void Put(char16_t c) {
    if (at < end) *at++ = c;
  }
};

int32_t Clip(int n, int32_t capacity) {
  if (n < 0) return 0;
  return n < capacity - 1 ? n : capacity - 1;
}

void DiagToChannel(const char16_t* line, void*) { DebugPrint(u"%s", line); }

}  // namespace

void DebugResetTiming() {
  if (g_timingLock) {
    plat::Lock lock(*g_timingLock);
    g_timing = TimingSource{};
    g_timingChosen.store(false, std::memory_order_release);
  } else {
    g_timing = TimingSource{};
    g_timingChosen.store(false, std::memory_order_release);
  }
}

bool clsDebugChannel::UsesPerformanceCounter() {
  plat::Lock lock(outputLock_);
  InitTiming();
  return g_timing.performance;
}

void clsDebugChannel::InitTiming() {
  if (g_timingChosen.load(std::memory_order_acquire)) return;
  if (!g_timingLock) g_timingLock = new plat::CriticalSection();
  plat::Lock lock(*g_timingLock);
  if (g_timing.chosen) return;
  g_timing.chosen = true;
  ChooseTiming();
  g_timingChosen.store(true, std::memory_order_release);
}

void clsDebugChannel::ChooseTiming() {
  int64_t now = 0, frequency = 0;
  if (!plat::PerformanceCounter(&now) || !plat::PerformanceFrequency(&frequency) || frequency <= 0)
    return;
  std::u16string value;
  if (!RegReadString(plat::Hive::CurrentUser, u"SOFTWARE\\zarnik", u"ForceUsePerfCounters", value))
    return;
  char16_t first = value.empty() ? 0 : value[0];
  if (first == u'F' || first == u'0') return;
  g_timing.performance = true;
  g_timing.frequency = frequency;
  g_timing.origin = now;
}

int32_t clsDebugChannel::AddIndent(int32_t delta) {
  std::atomic<int32_t>& cell = appLocal_ ? appLocal_->indentation : localIndent_;
  return cell.fetch_add(delta) + delta;
}

int32_t clsDebugChannel::CurrentIndent() const {
  return appLocal_ ? appLocal_->indentation.load() : localIndent_.load();
}

void clsDebugChannel::PrintV(int change, const char16_t* tag, const char16_t* format, va_list args) {
  if (!format) {
    if (change > 0)
      AddIndent(1);
    else if (change < 0)
      AddIndent(-1);
    return;
  }
  const int32_t indentation = change < 0 ? AddIndent(-1) : CurrentIndent();
  const int32_t lineIndent = indentation < 0 ? 0 : indentation > kMaxIndent ? kMaxIndent : indentation;
  const scTRAVUESharedData* view = sharedView_.load(std::memory_order_acquire);
  if (view && appLocal_ && appLocal_->info.SocketOpen()) {
    // The UDP path: time, thread, processor and tag travel in the packet header.
    if (ReadEnableWord(view) == 0) return;
    char16_t line[kLineChars];
    int32_t pos = 0;
    if (const char* name = ThreadName()) pos = Clip(FormatTo(line, kLineChars, u"[%hs] ", name), kLineChars);
    va_list copy;
    va_copy(copy, args);
    int n = VFormatTo(line + pos, static_cast<size_t>(kLineChars - pos), format, copy);
    va_end(copy);
    const int32_t message = Clip(n, kLineChars - pos);
    if (message > 0 || change == 0) {
      plat::Lock lock(outputLock_);
      TravueMutexLock m(appLocal_);
      appLocal_->info.SendData(SenderContext(), tag, 1, 0, lineIndent, line, pos + message);
    }
  } else {
    // The cheap test first, so that a line nobody wants does not wait for the lock.
    if (!IsDebugActive()) return;
    plat::Lock lock(outputLock_);
    if (!IsDebugActiveLocked()) return;
    FormattedLine(change, lineIndent, tag, format, args);
  }
  if (change > 0) AddIndent(1);
}

void clsDebugChannel::FormattedLine(int, int32_t lineIndent, const char16_t* tag,
                                    const char16_t* format, va_list args) {
  // The text before a marker character stands in front of the indentation.
  const char16_t* marker = format;
  int64_t markerLength = 0;
  const char16_t* text = format;
  for (const char16_t* p = format; *p; ++p) {
    if (*p == kMarkerChar) {
      markerLength = p - format;
      text = p + 1;
      break;
    }
  }
  const char* name = ThreadName();
  // Room behind the line: the viewer-cache sink reads twice the line's length.
  char16_t line[2 * kLineChars + 2];
  LineWriter out{line, line + kLineChars - 1};
  if (tag) out.at += Clip(FormatTo(line, kLineChars, u"%-8s: ", tag), kLineChars);
  InitTiming();
  std::atomic<int32_t>& counter = appLocal_ ? appLocal_->counter : localCounter_;
  const char16_t digit = static_cast<char16_t>(u'0' + static_cast<uint32_t>(counter.fetch_add(1)) % 10);
  LineParts& parts = t_parts;
  // The stamp: "mm:ss.mmm " from the performance counter, else "hh:mm:ss.mmm ".
  if (g_timing.performance) {
    int64_t now = 0;
    plat::PerformanceCounter(&now);
    const int64_t ticks = now - g_timing.origin;
    const uint64_t ms = static_cast<uint64_t>(ticks / g_timing.frequency * 1000 +
                                              ticks % g_timing.frequency * 1000 / g_timing.frequency);
    const uint64_t key = (ms % 3600000) | (uint64_t{1} << 63);
    if (key != parts.stampKey) {
      parts.stampLength = FormatTo(parts.stamp, 16, u"%02u:%02u.%03u ", static_cast<unsigned>(ms / 60000 % 60),
                                   static_cast<unsigned>(ms / 1000 % 60), static_cast<unsigned>(ms % 1000));
      parts.stampKey = key;
    }
  } else {
    plat::SystemTime st;
    plat::LocalTimeNow(&st);
    const uint64_t key = ((uint64_t{st.hour} * 60 + st.minute) * 60 + st.second) * 1000 + st.milliseconds;
    if (key != parts.stampKey) {
      parts.stampLength = FormatTo(parts.stamp, 16, u"%02u:%02u:%02u.%03u ", unsigned{st.hour},
                                   unsigned{st.minute}, unsigned{st.second}, unsigned{st.milliseconds});
      parts.stampKey = key;
    }
  }
  out.Put(parts.stamp, parts.stampLength);
  const uint32_t processor = plat::CurrentProcessor();
  if (!parts.threadKnown || processor != parts.processor) {
    if (!parts.threadKnown) parts.thread = CurrentThreadId();
    parts.threadLength = FormatTo(parts.threadField, 16, u"%08x/%02x ", parts.thread, processor);
    parts.processor = processor;
    parts.threadKnown = true;
  }
  out.Put(parts.threadField, parts.threadLength);
  out.Put(digit);
  out.Put(u' ');
  out.Put(marker, markerLength);
  out.Put(kBlanks, lineIndent + (markerLength ? 1 : 0));
  if (name) out.at += Clip(FormatTo(out.at, static_cast<size_t>(out.end - out.at) + 1, u"[%hs] ", name),
                           static_cast<int32_t>(out.end - out.at) + 1);
  const int32_t pos = static_cast<int32_t>(out.at - line);
  int n = VFormatTo(line + pos, static_cast<size_t>(kLineChars - pos), text, args);
  if (n < 0) n = FormatTo(line + pos, static_cast<size_t>(kLineChars - pos), u"<printf format error>");
  const int32_t length = pos + Clip(n, kLineChars - pos);
  line[length] = 0;
  Sinks(line, length);
}

void clsDebugChannel::Sinks(char16_t* line, int32_t length) {
  if (reentrance_.fetch_add(1) + 1 != 1 || discardSinks_) {
    reentrance_.fetch_sub(1);
    return;   // a line caused by writing a line
  }
  if (!logFileName_.IsEmpty()) AppendToLogFile(line, length);
  const scTRAVUESharedData* view = sharedView_.load(std::memory_order_acquire);
  if (!view) {
    const int capacity = 6 * length + 1;
    char* narrow = static_cast<char*>(std::malloc(static_cast<size_t>(capacity)));
    int n = narrow ? plat::WideToMultiByte(codePage_, 0, line, length, narrow, capacity) : 0;
    if (length > 0 && n <= 0) {
      plat::DebugOutput(u"ERR converting TRAVUE output");
    } else if (narrow) {
      narrow[n] = 0;
      legacyUsed_ = 1;
      OldViewerSink(narrow);
    }
    std::free(narrow);
  } else if (appLocal_) {
    // The viewer is there but the socket is not: the line goes (with its length in
    // bytes where characters are counted) to SendData, and so to the cache. What
    // lies behind the text is made readable and blank.
    std::memset(line + length + 1, 0, sizeof(char16_t) * static_cast<size_t>(length));
    TravueMutexLock m(appLocal_);
    appLocal_->info.SendData(SenderContext(), nullptr, 1, 0, 0, line, 2 * length);
  }
  reentrance_.fetch_sub(1);
}

void clsDebugChannel::OldViewerSink(const char* text) {
  static char buffer[512];
  uint32_t n = 0;
  while (*text == '\r' || *text == '\n') ++text;
  for (const char* p = text; *p; ++p) {
    const char c = *p;
    if (c == 7) {
      plat::Beep(0);
      continue;
    }
    if (c == '\r' || c == '\n') {
      OldViewerLine(buffer, n);
      n = 0;
      if (p[1] == '\r' || p[1] == '\n') ++p;
      continue;
    }
    buffer[n++] = c;
    if (n == 510) {
      OldViewerLine(buffer, n);
      n = 0;
    }
  }
  if (n) OldViewerLine(buffer, n);
}

void clsDebugChannel::OldViewerLine(const char* text, uint32_t length) {
  char* line = const_cast<char*>(text);   // the static buffer of OldViewerSink
  if (mailslot_ != plat::kNoMailslot) {
    line[length] = '\r';
    line[length + 1] = 0;
    uint32_t written = 0;
    plat::WriteMailslot(mailslot_, line, length + 1, &written);
    if (written != length + 1) plat::DebugOutput(u"TRAVUE: cannot write data!");
    return;
  }
  line[length] = 0;
  if (viewerWindow_) {
    uint64_t reply = 0;
    plat::SendCopyData(viewerWindow_, 0, line, length + 1, &reply);
  }
  if (!plat::IsViewerWindow(viewerWindow_)) {
    viewerWindow_ = 0;
    UpdateFastPath();
  }
}

void clsDebugChannel::AppendToLogFile(const char16_t* line, int32_t length) {
  // Written for reading by others, opened anew for every line (OPEN_ALWAYS, normal
  // file, sequential scan): the file can be moved away, and processes take turns.
  constexpr uint32_t kWrite = 1, kOpenAlways = 1, kShareRead = 2;
  constexpr uint32_t kOpenMode = kFileNormal | kFileSequentialScan;
  const uint64_t deadline = plat::TickCount64() + kLogDeadlineMs;
  clsFileRW file;
  // The deadline bounds the loop on a real clock; the round count on a clock that
  // does not move. A reserved name is never opened, so it fails at once each round.
  for (int round = 0; round < 100000; ++round) {
    if (file.Open(logFileName_, kWrite, kOpenAlways, kShareRead, kOpenMode) == 0 ||
        plat::TickCount64() >= deadline)
      break;
    plat::SleepMs(0);
  }
  if (!file.IsOpen()) {
    plat::Beep(0xFFFFFFFF);
    return;
  }
  file.SetPos(file.GetSize());
  char16_t* out = static_cast<char16_t*>(std::malloc(sizeof(char16_t) * (static_cast<size_t>(length) + 3)));
  if (out) {
    const int n = FormatTo(out, static_cast<size_t>(length) + 3, u"%s\r\n", line);
    if (n > 0) file.Write(out, static_cast<uint32_t>(2 * n));
    std::free(out);
  }
  if (flush_) file.Flush();
  file.Close();
}

// ---- the printers

void DebugPrintV(int indentChange, const char16_t* tag, const char16_t* format, va_list args) {
  if (clsDebugChannel* ch = DebugChannel()) ch->PrintV(indentChange, tag, format, args);
}

namespace {

// A line of the library itself, under its own tag, while internal lines are allowed.
void PrintLibraryLine(int indentChange, const char16_t* format, va_list args) {
  if (!g_debugAllowed.load(std::memory_order_relaxed)) return;
  if (clsDebugChannel* ch = DebugChannel()) ch->PrintV(indentChange, ch->LibraryTag(), format, args);
}

// The trace face of the layers below the channel (files, waits), registered
// whenever the channel is linked into the program.
const scDiagTrace kTrace{&IsDebugActive, &PrintLibraryLine};
[[maybe_unused]] const bool g_traceRegistered = (SetDiagTrace(&kTrace), true);

}  // namespace

void DebugPrint(const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  PrintLibraryLine(0, format, ap);
  va_end(ap);
}

void DebugPrintIndent(int indentChange, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  PrintLibraryLine(indentChange, format, ap);
  va_end(ap);
}

void DebugDisallow() { g_debugAllowed.store(0, std::memory_order_relaxed); }

void DebugTakeOverDiagnostics() { SetDiagSink(&DiagToChannel, nullptr); }

void clsDebugOutput_zrk_debug::Printf(const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  PrintLibraryLine(0, format, ap);
  va_end(ap);
}

clsDebugOutput& DebugOutputObject() {
  static clsDebugOutput_zrk_debug instance;
  return instance;
}

}  // namespace zx
