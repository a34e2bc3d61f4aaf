// clsDocuAsync: one read of a document on a network share, on a thread of its
// own, so that the caller waits at most the share time-out for a share that
// doesn't answer. The thread reads a private copy of the document; the copy goes
// to the document that asked only when the thread has finished within the
// time-out. A worker still running then is kept by the document list, which
// destroys it once its thread has ended.
// Errors: none; a share that doesn't answer leaves the document as it was.
// Threads: Run on the caller's thread; the worker's lock guards the private copy
// and its hand-over.
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "docinfo/Docu.h"
#include "platform/lock.h"
#include "thread/AutoRelease.h"
#include "thread/ThreadBase.h"

namespace zx {

class clsDocuAsync : public clsThreadBase {
 public:
  // Takes a reference to `asking` and makes the private copy (a worker without a
  // copy, out of memory, reads nothing).
  clsDocuAsync(clsDocu& asking, const IString& share);
  // Waits for the thread, however long it takes.
  ~clsDocuAsync() override;

  // Starts the read and waits for it up to the time-out; hands the result over
  // when the thread has ended.
  void Run();

  // Tests: called on the worker's thread before the file is opened, with the path
  // it reads (a share that doesn't answer blocks here). Null: nothing.
  static void SetBeforeReadHookForTests(void (*hook)(const String& path));

 private:
  uint32_t ThreadProc() override;
  // The readers parse on this thread: the base's 16 KiB would not hold them.
  uint32_t ThreadGetStackSize() override { return 1u << 20; }

  plat::CriticalSection m_cs{100};
  uint32_t m_timeout;
  clsAutoRelease<clsDocu*> m_asking;
  clsAutoRelease<clsDocu*> m_copy;
  IString m_share;
};

}  // namespace zx
