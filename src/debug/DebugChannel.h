// clsDebugChannel: the debug engine of one loaded copy of the library. It owns the
// viewer connection (the three shared blocks, the old viewer's window and mailslot),
// the log file settings, the thread-name table, and builds and hands out lines.
#pragma once
#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "core/diag/Diag.h"   // DeveloperMode
#include "core/strings/String.h"
#include "core/containers/WCSkipList.h"
#include "debug/Travue.h"
#include "platform/lock.h"
#include "platform/registry.h"
#include "platform/shared_memory.h"
#include "platform/thread_annotations.h"

namespace zx {

class clsDebugChannel {
 public:
  clsDebugChannel();
  ~clsDebugChannel();
  clsDebugChannel(const clsDebugChannel&) = delete;
  clsDebugChannel& operator=(const clsDebugChannel&) = delete;

  // The cheap test. It answers what the locked test answers (IsDebugActiveLocked)
  // without the lock or a clock read while that test could not change anything:
  // a log file set; a viewer block mapped (the re-attach test has nothing to do, the
  // enable word decides); no block, no old viewer and nothing published since the
  // last look-up (the look-up could only fail again).
  bool IsDebugActive() {
    if (logActive_.load(std::memory_order_relaxed)) return true;
    if (fastPathOk_.load(std::memory_order_acquire)) {
      if (const scTRAVUESharedData* view = sharedView_.load(std::memory_order_acquire))
        return ReadEnableWord(view) != 0;
      const uint64_t epoch = epochCounter_ ? epochCounter_->load(std::memory_order_acquire)
                                           : plat::PublicationEpoch();
      if (epoch < lookupDue_.load(std::memory_order_acquire) &&
          (!global_ || plat::SharedLoad(global_->viewerWindow, std::memory_order_relaxed) == 0))
        return false;
    }
    return IsDebugActiveSlow();
  }
  // The locked test under the output lock.
  bool IsDebugActiveSlow();
  // The test itself; the output lock is held.
  bool IsDebugActiveLocked() ZX_REQUIRES(outputLock_);

  // DebugPrintV with this channel (see Debug.h).
  void PrintV(int indentChange, const char16_t* tag, const char16_t* format, va_list args);

  // Process attach: connect to the viewer with the hello line, then the log settings.
  void Attach();
  // Process detach: the goodbye line, the mailslot closed.
  void Detach();

  void SetThreadName(const char* name);
  const char* ThreadName();

  // UtilTRAVUE4Attach / UtilTRAVUE4Detach.
  void SenderAttach();
  void SenderDetach();

  // The library's base name: the tag of the internal printers.
  const char16_t* LibraryTag() const { return libraryBaseName_.wchar(); }
  // The version text of the hello lines, built once.
  const String& VersionText();

  // ---- for tests
  // Turns the lock-free prefix of IsDebugActive off (true: every call runs the
  // locked test, as in developer mode).
  void SetAlwaysLocked(bool on);
  // Output on with every sink switched off: line building alone (benchmarks).
  void SetDiscardSinks(bool on);
  // Replaces the log settings as if read from the registry.
  void SetLogFile(const String& name, bool flush);
  scTRAVUEAppLocal* AppLocal() const { return appLocal_; }
  const scTRAVUESharedData* SharedView() const { return sharedView_.load(std::memory_order_acquire); }
  bool UsesPerformanceCounter();

 private:
  void CreateBlocks();
  void MapSharedBlock(bool ignoreRetry) ZX_REQUIRES(outputLock_);
  void ReattachTest(bool published) ZX_REQUIRES(outputLock_);
  void Connect() ZX_REQUIRES(outputLock_);
  void SayHello();
  void ReadLogSettings();
  void UpdateFastPath() ZX_REQUIRES(outputLock_);
  TravueSenderContext SenderContext() const;
  int32_t AddIndent(int32_t delta);
  int32_t CurrentIndent() const;
  void FormattedLine(int indentChange, int32_t indentation, const char16_t* tag,
                     const char16_t* format, va_list args) ZX_REQUIRES(outputLock_);
  void Sinks(char16_t* line, int32_t length) ZX_REQUIRES(outputLock_);
  void OldViewerSink(const char* text) ZX_REQUIRES(outputLock_);
  void OldViewerLine(const char* text, uint32_t length) ZX_REQUIRES(outputLock_);
  void AppendToLogFile(const char16_t* line, int32_t length) ZX_REQUIRES(outputLock_);
  void InitTiming();
  void ChooseTiming();   // InitTiming's first call, under the timing lock

  // ---- fields in the order of the data model
  // Taken before appLocal_'s mutex, after the job lock; recursive: a line printed
  // while it is held (hello, goodbye) takes it again.
  plat::CriticalSection outputLock_;
  plat::CriticalSection threadNameLock_;
  plat::SharedBlock globalBlock_;
  scTRAVUEGlobalData* global_ = nullptr;
  plat::SharedBlock appLocalBlock_;
  scTRAVUEAppLocal* appLocal_ = nullptr;
  uint8_t legacyUsed_ ZX_GUARDED_BY(outputLock_) = 0;
  plat::SharedBlock sharedBlock_ ZX_GUARDED_BY(outputLock_);
  std::atomic<const scTRAVUESharedData*> sharedView_{nullptr};
  uint64_t retryTime_ ZX_GUARDED_BY(outputLock_) = 0;
  uint64_t nextCheck_ ZX_GUARDED_BY(outputLock_) = 0;
  String version_ ZX_GUARDED_BY(outputLock_);
  bool versionBuilt_ ZX_GUARDED_BY(outputLock_) = false;
  int32_t viewerMode_ ZX_GUARDED_BY(outputLock_) = 0;
  uint32_t codePage_ ZX_GUARDED_BY(outputLock_) = 0;
  intptr_t mailslot_ ZX_GUARDED_BY(outputLock_) = -1;
  uint64_t viewerWindow_ ZX_GUARDED_BY(outputLock_) = 0;
  String logFileName_ ZX_GUARDED_BY(outputLock_);
  uint8_t flush_ ZX_GUARDED_BY(outputLock_) = 0;
  std::atomic<int32_t> reentrance_{0};
  WCValSkipListDict<uint32_t, const char*> threadNames_ ZX_GUARDED_BY(threadNameLock_);
  uint32_t keyScratch_ ZX_GUARDED_BY(threadNameLock_) = 0;

  // ---- state of this copy beyond the data model
  bool globalCreated_ = false;        // this copy created the global block
  bool developerMode_ = false;
  std::atomic<bool> logActive_{false};
  std::atomic<bool> fastPathOk_{false};   // no developer mode, no old viewer state
  std::atomic<uint64_t> lookupDue_{0};    // PublicationEpoch() from which to look again
  const std::atomic<uint64_t>* epochCounter_ = plat::PublicationCounter();
  bool alwaysLocked_ ZX_GUARDED_BY(outputLock_) = false;
  bool discardSinks_ ZX_GUARDED_BY(outputLock_) = false;
  std::atomic<int32_t> localIndent_{0};    // stand-ins while scTRAVUEAppLocal is missing
  std::atomic<int32_t> localCounter_{0};
  String libraryPath_, libraryFileName_, libraryBaseName_, libraryFolder_;
  String processPath_, processFileName_;
};

// The channel of this copy, constructed on first use (null when construction failed
// or exit-time destruction has run).
extern std::atomic<clsDebugChannel*> g_debugChannel;
clsDebugChannel* ConstructDebugChannel();
inline clsDebugChannel* DebugChannel() {
  clsDebugChannel* ch = g_debugChannel.load(std::memory_order_acquire);
  return ch ? ch : ConstructDebugChannel();
}
// IsDebugActive of Debug.h, inline for the exports.
inline bool DebugActiveInline() {
  clsDebugChannel* ch = DebugChannel();
  return ch && ch->IsDebugActive();
}

// Sends the library's diagnostic lines (core/Diag.h) through the channel.
void DebugTakeOverDiagnostics();

// Forgets the timing source so that the next line chooses it again (tests).
void DebugResetTiming();

}  // namespace zx
