// clsThreadPool: a private pool of the system's thread pool, and
// clsThreadPoolWorkerBaseRunOnce, a work item run there once per Submit and
// awaited at its end. Nothing to do with the job dispatcher: its user is the
// Ctrl-Break dump, which needs a run-once item it can wait for.
// Threads: Submit from any thread; a derived class's destructor calls
// WaitForCallback first (its Run may still be going), unless it runs inside Run.
#pragma once
#include <cstdint>

#include "platform/lock.h"
#include "platform/system_pool.h"

namespace zx {

class clsThreadPool {
 public:
  clsThreadPool() = default;
  // Closes the pending callbacks (cancelled), waits for running ones, closes the
  // pool; once the library's static clean-up has begun it skips all that.
  ~clsThreadPool();
  clsThreadPool(const clsThreadPool&) = delete;
  clsThreadPool& operator=(const clsThreadPool&) = delete;
  bool IsValid() const { return m_Pool.IsValid(); }
  plat::SystemPool& Pool() { return m_Pool; }

 private:
  plat::SystemPool m_Pool;
};

class clsThreadPoolWorkerBaseRunOnce {
 public:
  explicit clsThreadPoolWorkerBaseRunOnce(clsThreadPool& pool);
  virtual ~clsThreadPoolWorkerBaseRunOnce();
  clsThreadPoolWorkerBaseRunOnce(const clsThreadPoolWorkerBaseRunOnce&) = delete;
  clsThreadPoolWorkerBaseRunOnce& operator=(const clsThreadPoolWorkerBaseRunOnce&) = delete;

  // The work, on a thread of the pool.
  virtual void Run() = 0;

  bool IsValid() const { return m_Work.IsValid(); }
  void Submit() { m_Work.Submit(); }
  // Waits for the callback (not from inside it); pending runs are cancelled or not.
  void WaitForCallback(bool cancelPending = false);
  // From inside Run: lets the pool start another thread for the rest.
  bool CallbackMayRunLong();
  // The thread of the running (or last) callback; 0 before the first.
  uint32_t CallbackThreadId();

 private:
  static void Callback(void* instance, void* context);

  clsThreadPool& m_Pool;
  plat::CriticalSection m_Lock;
  plat::SystemWork m_Work;
  void* m_pInstance ZX_GUARDED_BY(m_Lock) = nullptr;
  uint32_t m_dwCallbackThread ZX_GUARDED_BY(m_Lock) = 0;
};

}  // namespace zx
