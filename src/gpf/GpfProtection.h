// Crash protection: the process's unhandled-exception filter, the count of
// protection per thread, the stack of filters replaced by each open, and
// clsGPFProtection, which decides what an exception gets and writes the report to
// debug output and the report log, with a minidump in the support archive.
// Threads: the exports from any thread; the filter runs on the crashed thread
// (Windows) or on the crash filter's thread while the crashed one waits (Linux).
// One report at a time (the report lock).
//
//   UtilExHandlerJobOpen(); UtilExHandlerStartProtection(0); ... work ...; UtilExHandlerEndProtection(0);
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "platform/crash_filter.h"

namespace zx {

class clsGPFProtection {
 public:
  clsGPFProtection() = default;
  virtual ~clsGPFProtection() = default;
  // The verdict for one exception of thread `threadId`.
  virtual long Filter(plat::ExceptionPointers64* pointers, uint32_t threadId);
  // One report line to the channels: bit 0 debug output, bit 1 the report log.
  virtual void Print(uint32_t channels, const char16_t* format, ...);
  virtual uint32_t Channels() { return 3; }

  uint32_t flags_ = 3;   // bit 0: a user may be involved; bit 1: a report is wanted

 private:
  void GenerateExceptionReport(plat::ExceptionPointers64* pointers, uint32_t threadId, bool bCreateMinidumpOnly);
  void PrintCodeBytes(uint64_t instructionPointer);
};

// "Access Violation", ...; other codes from the system's message table.
const char16_t* ExceptionName(uint32_t code);

// The export bodies.
long ExHandlerJobOpen();
void ExHandlerJobClose();
void ExHandlerStartProtection();
void ExHandlerEndProtection();
// The unhandled-exception filter itself.
long UnhandledExceptionFilter(plat::ExceptionPointers64* pointers, uint32_t threadId);
// The thread of the report in progress (0 when none): the dump records it.
uint32_t ReportThreadId(const void* pointers);

// Tests: forget the enable decision and the table (the filter stack must be empty).
void ResetGpfStateForTests();
int ProtectionCountForTests(uint32_t threadId);

}  // namespace zx
