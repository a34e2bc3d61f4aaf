// clsDBGHelpWrapper: a debug help engine on a worker thread of its own, driven by
// a small command protocol (0 build the engine, 1 delete it, 2 stack trace, 3 module
// list, 4 minidump). A caller stores the command, sets the request event and waits
// for the done event for at most 60,000 ms on the library clock; a worker that does
// not answer is ended by force. The shared lock (UtilGetDBGHELPThreadingCS) is held
// for the wrapper's life, the engine lock for the engine's; each is tried for at
// most 5,000 ms, after which the wrapper works as if the symbol services were missing.
// Threads: one caller at a time per wrapper; any number of wrappers in a process.
//
//   clsDBGHelpWrapperGPFProt w; if (w.Open() && w.HasEngine()) w.GetModuleList(&list);
#pragma once
#include <atomic>
#include <cstdint>

#include "core/containers/WCSkipList.h"
#include "gpf/DbgHelp.h"
#include "platform/lock.h"
#include "thread/HandleObject.h"
#include "thread/ThreadBase.h"

namespace zx {

constexpr uint32_t kDbgLockLimitMs = 5000;
constexpr uint32_t kDbgCommandLimitMs = 60000;

enum : uint32_t { kCmdStart = 0, kCmdStop = 1, kCmdStackTrace = 2, kCmdModuleList = 3, kCmdMiniDump = 4 };

// The lock that all copies of the library share around the symbol services.
plat::CriticalSection& DbgHelpThreadingLock();

class clsDBGHelpWrapper : public clsThreadBase {
 public:
  clsDBGHelpWrapper();
  ~clsDBGHelpWrapper() override;

  // Takes the shared lock, starts the worker and builds the engine. False when
  // the lock could not be had; HasEngine tells whether the engine came up.
  bool Open();
  bool HasEngine() const;
  bool UsesThread() const { return useThread_; }

  // ---- virtual slots after the thread base's
  virtual bool UseSecondThreadForStack() { return true; }
  virtual void* WindowToLock() { return nullptr; }
  virtual uint32_t FrameLimit() { return 100; }
  virtual uint32_t Reserved1() { return 0; }
  virtual uint32_t Reserved2() { return 0; }
  virtual uint32_t Option3() { return 1; }

  int GetStackTrace(IDBGStackTraceList** out, const plat::ContextAmd64& context);
  int GetModuleList(IDBGModuleList** out);
  // `exceptionThreadId`: the thread the exception belongs to (the caller's when 0).
  int WriteMiniDump(char16_t* path, uint32_t size, const plat::ExceptionPointers64* exception,
                    uint32_t exceptionThreadId);

  uint32_t stackFlags_ = 0xFFFFFFFFu;
  uint32_t engineMode_ = 0xFFFFFFFFu;

  // Tests: a command hook that runs before each command on the executing thread.
  static void SetCommandHookForTests(void (*hook)(uint32_t command));

 protected:
  uint32_t ThreadProc() override;

 private:
  struct Worker;   // what the worker thread touches; outlives a wrapper that gave it up
  int Run(uint32_t command);

  Worker* worker_;
  bool useThread_ = true;
  bool locked_ = false;
  bool killed_ = false;
};

// The wrapper of the UtilDebugHelp* exports: its slots answer from a table of options.
class clsDBGHelpWrapperGPFProt final : public clsDBGHelpWrapper {
 public:
  clsDBGHelpWrapperGPFProt();
  void SetOption(uint32_t option, uint32_t value);
  bool UseSecondThreadForStack() override;
  uint32_t FrameLimit() override;
  uint32_t Option3() override;

 private:
  uint32_t Get(uint32_t option, uint32_t fallback);
  WCValSkipListDict<uint32_t, uint32_t> options_;
};

// The wrapper of DumpStackTraceEx: its own frame count and second-thread flag.
class clsDBGHelpWrapperThis final : public clsDBGHelpWrapper {
 public:
  clsDBGHelpWrapperThis(uint32_t frames, bool secondThread) : frames_(frames), secondThread_(secondThread) {}
  bool UseSecondThreadForStack() override { return secondThread_; }
  uint32_t FrameLimit() override { return frames_; }

 private:
  uint32_t frames_;
  bool secondThread_;
};

}  // namespace zx
