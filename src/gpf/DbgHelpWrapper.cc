// The wrapper's command protocol, its worker loop and the locks around the engine.
#include "gpf/DbgHelpWrapper.h"

#include <memory>
#include <new>
#include <string>

#include "debug/Debug.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/process.h"
#include "platform/window_update.h"

namespace zx {
namespace {

std::atomic<void (*)(uint32_t)> g_commandHook{nullptr};

plat::CriticalSection& EngineLock() {
  static auto* lock = new plat::CriticalSection;   // crash reports run during exit as well
  return *lock;
}

// Tries a lock in a tight loop on the library clock.
bool EnterWithin(plat::CriticalSection& lock, uint32_t limitMs) ZX_NO_THREAD_SAFETY_ANALYSIS {
  const uint64_t deadline = plat::TickCount64() + limitMs;
  while (!lock.TryEnter()) {
    if (plat::TickCount64() >= deadline) return false;
    plat::SleepMs(1);
  }
  return true;
}

// A stack walk on a thread of its own, awaited without limit.
class clsDbgHelpGetStackTraceThread final : public clsThreadBase {
 public:
  clsDbgHelpGetStackTraceThread(clsDBGHELP* engine, const plat::ContextAmd64& context, uint32_t limit,
                                uint32_t flags, IDBGStackTraceList** out)
      : clsThreadBase("DebugHelp::GetStackTrace"), engine_(engine), context_(context), limit_(limit),
        flags_(flags), out_(out) {}
  bool ok = false;

 protected:
  uint32_t ThreadProc() override {
    ok = engine_->GetStackTrace(context_, limit_, flags_, out_);
    return 0;
  }

 private:
  clsDBGHELP* engine_;
  const plat::ContextAmd64& context_;   // the worker block's copy
  uint32_t limit_, flags_;
  IDBGStackTraceList** out_;
};

}  // namespace

plat::CriticalSection& DbgHelpThreadingLock() {
  static auto* lock = new plat::CriticalSection;
  return *lock;
}

void clsDBGHelpWrapper::SetCommandHookForTests(void (*hook)(uint32_t)) { g_commandHook.store(hook); }

// The engine, the command and its arguments, the two events: all that a command
// touches. Counted: a worker thread that had to be given up keeps it alive and
// leaves without touching its wrapper.
struct clsDBGHelpWrapper::Worker {
  std::atomic<int> refs{1};
  std::atomic<bool> quit{false};
  std::atomic<bool> abandoned{false};
  clsEvent request{true, false};
  clsEvent done{true, false};
  clsDBGHELP* engine = nullptr;
  bool engineLocked = false;
  std::atomic<int> result{0};
  std::atomic<uint32_t> command{0};
  // What the wrapper's slots and fields said when the command was stored.
  uint32_t engineMode = 0xFFFFFFFFu;
  uint32_t stackFlags = 0xFFFFFFFFu;
  uint32_t frameLimit = 100;
  void* window = nullptr;   // redrawing held back during a walk
  bool secondThread = true;
  uint32_t creator = 0;
  // Arguments and results of the running command, copies of the caller's: a
  // given-up worker may still finish its command after the caller has left.
  plat::ContextAmd64 context{};
  IDBGStackTraceList* list = nullptr;
  IDBGModuleList* modules = nullptr;
  std::u16string dumpPath;
  const plat::ExceptionPointers64* exception = nullptr;
  uint32_t exceptionThread = 0;
  uint32_t requester = 0;
  const plat::ContextAmd64* requesterContext = nullptr;

  void Release() {
    if (refs.fetch_sub(1) == 1) delete this;
  }
  ~Worker() { DropResults(); }
  void DropResults() {
    if (list) list->Release();
    if (modules) modules->Release();
    list = nullptr;
    modules = nullptr;
  }
  int Execute(uint32_t cmd) ZX_NO_THREAD_SAFETY_ANALYSIS;
};

int clsDBGHelpWrapper::Worker::Execute(uint32_t cmd) {
  if (auto hook = g_commandHook.load()) hook(cmd);
  switch (cmd) {
    case kCmdStart:
      if (!EnterWithin(EngineLock(), kDbgLockLimitMs)) return 0;
      engine = new (std::nothrow) clsDBGHELP(plat::ProcessId(), creator);
      if (!engine || !engine->Initialise((engineMode & 1) ? 1 : 2)) {
        delete engine;
        engine = nullptr;
        EngineLock().Leave();
        return 0;
      }
      engineLocked = true;
      return 1;
    case kCmdStop:
      delete engine;
      engine = nullptr;
      if (engineLocked) {
        engineLocked = false;
        EngineLock().Leave();
      }
      return 1;
    case kCmdStackTrace: {
      if (!engine) return 0;
      const plat::WindowUpdateLock holdWindow(window);
      if (!secondThread) return engine->GetStackTrace(context, frameLimit, stackFlags, &list);
      clsDbgHelpGetStackTraceThread walker(engine, context, frameLimit, stackFlags, &list);
      if (!walker.ThreadStart()) return engine->GetStackTrace(context, frameLimit, stackFlags, &list);
      plat::WaitOne(walker.ThreadHandle(), plat::kInfinite);
      walker.ThreadEnd(false, plat::kInfinite, false);
      return walker.ok;
    }
    case kCmdModuleList:
      return engine && engine->GetModuleList(&modules);
    case kCmdMiniDump:
      return engine && engine->WriteMiniDump(dumpPath.data(), static_cast<uint32_t>(dumpPath.size()), exception,
                                             exceptionThread, requester, requesterContext);
    default:
      return 0;
  }
}

clsDBGHelpWrapper::clsDBGHelpWrapper()
    : clsThreadBase("DebugHelp::clsDBGHelpWrapper"), worker_(new Worker) {}

bool clsDBGHelpWrapper::HasEngine() const { return !killed_ && worker_->engine != nullptr; }

bool clsDBGHelpWrapper::Open() ZX_NO_THREAD_SAFETY_ANALYSIS {
  if (!EnterWithin(DbgHelpThreadingLock(), kDbgLockLimitMs)) return false;
  locked_ = true;
  worker_->creator = plat::ThreadId();
  if (!ThreadStart()) {
    DebugPrint(u"problem running thread (usually the GPF happened in an allocator...)");
    useThread_ = false;
    ThreadEnd(false, 0, true);
  }
  Run(kCmdStart);
  return true;
}

clsDBGHelpWrapper::~clsDBGHelpWrapper() ZX_NO_THREAD_SAFETY_ANALYSIS {
  if (locked_ && !killed_) {
    Run(kCmdStop);
    if (useThread_) {
      worker_->quit.store(true);
      worker_->request.Set();
      ThreadEnd(false, 5000, true);
    }
  }
  if (locked_) DbgHelpThreadingLock().Leave();
  worker_->Release();
}

uint32_t clsDBGHelpWrapper::ThreadProc() {
  Worker* w = worker_;   // from here on only the worker block is touched
  w->refs.fetch_add(1);
  for (;;) {
    plat::WaitOne(w->request.Handle(), plat::kInfinite);
    if (w->quit.load()) break;
    w->request.Reset();
    w->result.store(w->Execute(w->command.load()));
    if (w->abandoned.load()) {   // given up: the results, the engine and its lock are this thread's to drop
      w->DropResults();
      w->Execute(kCmdStop);
      break;
    }
    w->done.Set();
  }
  w->Release();
  return 0;
}

int clsDBGHelpWrapper::Run(uint32_t command) {
  if (killed_) return 0;
  Worker* w = worker_;
  w->engineMode = engineMode_;
  w->stackFlags = stackFlags_;
  w->frameLimit = FrameLimit();
  w->window = WindowToLock();
  w->secondThread = UseSecondThreadForStack();
  w->command.store(command);
  if (!useThread_) return w->Execute(command);
  w->request.Set();
  const uint64_t deadline = plat::TickCount64() + kDbgCommandLimitMs;
  while (plat::WaitOne(w->done.Handle(), 20) != 0) {
    if (plat::TickCount64() >= deadline) {
      DebugPrint(u"KILLing dump thread...");
      // The engine and its lock stay with the given-up thread, which leaves once its
      // command returns; the next wrapper's wait for the engine lock runs out.
      killed_ = true;
      w->abandoned.store(true);
      ThreadEnd(false, 0, true);
      return 0;
    }
  }
  w->done.Reset();
  return w->result.load();
}

int clsDBGHelpWrapper::GetStackTrace(IDBGStackTraceList** out, const plat::ContextAmd64& context) {
  if (!HasEngine() || !out) return 0;
  *out = nullptr;
  worker_->context = context;
  worker_->list = nullptr;
  plat::EnableDebugPrivilege();
  const int r = Run(kCmdStackTrace);
  if (r && !killed_) {
    *out = worker_->list;
    worker_->list = nullptr;
  }
  return killed_ ? 0 : r;
}

int clsDBGHelpWrapper::GetModuleList(IDBGModuleList** out) {
  if (!HasEngine() || !out) return 0;
  *out = nullptr;
  worker_->modules = nullptr;
  const int r = Run(kCmdModuleList);
  if (r && !killed_) {
    *out = worker_->modules;
    worker_->modules = nullptr;
  }
  return killed_ ? 0 : r;
}

int clsDBGHelpWrapper::WriteMiniDump(char16_t* path, uint32_t size, const plat::ExceptionPointers64* exception,
                                     uint32_t exceptionThreadId) {
  if (!HasEngine()) return 0;
  // The caller's registers, for a dump without exception; they stay valid while the
  // caller waits for the command, and after (a worker given up may read them late).
  // Kept on the heap: the library's thread-local block must stay small enough for
  // the static TLS that its signal handler's variables need.
  static thread_local std::unique_ptr<plat::ContextAmd64> context(new plat::ContextAmd64());
  plat::ContextAmd64& here = *context;
  plat::CaptureContext(&here);
  Worker* w = worker_;
  w->dumpPath.assign(path, std::char_traits<char16_t>::length(path));
  w->dumpPath.resize(size > w->dumpPath.size() ? size : w->dumpPath.size() + 1, 0);
  w->exception = exception;
  w->exceptionThread = exceptionThreadId ? exceptionThreadId : plat::ThreadId();
  w->requester = plat::ThreadId();
  w->requesterContext = &here;
  plat::EnableDebugPrivilege();
  const int r = Run(kCmdMiniDump);
  if (r && !killed_) {
    const size_t n = std::char_traits<char16_t>::length(w->dumpPath.c_str());
    const size_t keep = n < size ? n : size - 1;
    std::char_traits<char16_t>::copy(path, w->dumpPath.c_str(), keep);
    path[keep] = 0;
  }
  return killed_ ? 0 : r;
}

clsDBGHelpWrapperGPFProt::clsDBGHelpWrapperGPFProt() {
  options_.insert(1, 100);
  options_.insert(2, 1);
  options_.insert(3, 1);
}

void clsDBGHelpWrapperGPFProt::SetOption(uint32_t option, uint32_t value) {
  options_.remove(option);
  options_.insert(option, value);
}

uint32_t clsDBGHelpWrapperGPFProt::Get(uint32_t option, uint32_t fallback) {
  uint32_t v = fallback;
  options_.find(option, v);
  return v;
}

bool clsDBGHelpWrapperGPFProt::UseSecondThreadForStack() { return Get(2, 1) != 0; }
uint32_t clsDBGHelpWrapperGPFProt::FrameLimit() { return Get(1, 100); }
uint32_t clsDBGHelpWrapperGPFProt::Option3() { return Get(3, 1); }

}  // namespace zx
