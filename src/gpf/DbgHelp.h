// clsDBGHELP: the debug help engine over the system's symbol services. It turns a
// machine context into a stack-trace list, lists the loaded modules once, and
// writes minidumps. One engine exists at a time (the wrapper's locks see to that).
// Errors: false and 0 results; the trace lines of the engine go to debug output.
// Threads: one thread at a time (the wrapper's worker, or its caller).
#pragma once
#include <cstdint>
#include <memory>

#include "core/strings/String.h"
#include "gpf/DebugLists.h"
#include "platform/debug_help.h"

namespace zx {

// Flags of a walk: bit 0 module details, bit 1 symbols, bit 2 parameters.
enum : uint32_t { kWalkModule = 1, kWalkSymbol = 2, kWalkParams = 4 };
// The default minidump mode (GPFMiniDumpMode when the value is missing).
constexpr uint32_t kDefaultMiniDumpMode = 670375;   // 0xA3AA7
// The flags an older symbol library refuses; the second attempt goes without them.
constexpr uint32_t kMiniDumpRetryMask = 0x33C00;

class clsDBGHELP {
 public:
  clsDBGHELP(uint32_t processId, uint32_t threadId);
  virtual ~clsDBGHELP();

  // Mode bit 0: build the symbol search path; bit 1: line numbers, no version look-ups.
  bool Initialise(uint32_t mode);
  bool Initialised() const { return services_ != nullptr; }

  // A new list (one reference) of the stack of `context`, up to `frameLimit` frames.
  bool GetStackTrace(const plat::ContextAmd64& context, uint32_t frameLimit, uint32_t flags,
                     IDBGStackTraceList** out);
  // The module list, filled on first use; the caller gets its own reference.
  bool GetModuleList(IDBGModuleList** out);
  // A dump into `path` (empty: a new temporary "mdmp*.dmp", copied back into the
  // buffer of `size` characters). True on success.
  // Without an exception the dump records the requesting thread and its registers.
  bool WriteMiniDump(char16_t* path, uint32_t size, const plat::ExceptionPointers64* exception,
                     uint32_t exceptionThreadId, uint32_t requesterThreadId,
                     const plat::ContextAmd64* requesterContext);

  // The symbol search path for mode bit 0 (see Initialise).
  static String SymbolSearchPath();
  // Tests: the services the next engines use (null: the system's).
  using ServicesFactory = std::unique_ptr<plat::SymbolServices> (*)(const std::u16string& path, bool lines);
  static void SetServicesForTests(ServicesFactory factory);

  uint32_t ProcessId() const { return processId_; }
  uint32_t ThreadId() const { return threadId_; }

 private:
  void FillFrame(const plat::Frame& frame, bool innermost, const plat::ContextAmd64& context, uint32_t flags,
                 DBGStackTraceItem* item);
  void FillModule(const plat::ModuleInfo& info, DBGModuleItem* item);

  uint32_t processId_;
  uint32_t threadId_;
  String deferredModule_;
  uint32_t mode_ = 0;
  std::unique_ptr<plat::SymbolServices> services_;
  clsDBGModuleList* modules_ = nullptr;
};

// Interned engine texts: a pointer stays valid for the life of the library.
const char16_t* InternEngineText(const char16_t* text);

}  // namespace zx
