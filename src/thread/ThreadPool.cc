#include "thread/ThreadPool.h"

#include "core/diag/StaticCleanup.h"
#include "platform/process.h"

namespace zx {

clsThreadPool::~clsThreadPool() {
  if (StaticCleanupBegun()) m_Pool.Abandon();
}

clsThreadPoolWorkerBaseRunOnce::clsThreadPoolWorkerBaseRunOnce(clsThreadPool& pool)
    : m_Pool(pool), m_Work(pool.Pool(), &Callback, this) {}

clsThreadPoolWorkerBaseRunOnce::~clsThreadPoolWorkerBaseRunOnce() { WaitForCallback(true); }

void clsThreadPoolWorkerBaseRunOnce::Callback(void* instance, void* context) {
  auto* self = static_cast<clsThreadPoolWorkerBaseRunOnce*>(context);
  {
    plat::Lock guard(self->m_Lock);
    self->m_pInstance = instance;
    self->m_dwCallbackThread = plat::ThreadId();
  }
  self->Run();
  plat::Lock guard(self->m_Lock);
  self->m_pInstance = nullptr;
}

void clsThreadPoolWorkerBaseRunOnce::WaitForCallback(bool cancelPending) {
  {
    plat::Lock guard(m_Lock);
    if (m_pInstance && m_dwCallbackThread == plat::ThreadId()) return;   // inside Run itself
  }
  m_Work.Wait(cancelPending);
}

bool clsThreadPoolWorkerBaseRunOnce::CallbackMayRunLong() {
  plat::Lock guard(m_Lock);
  return m_pInstance && plat::CallbackMayRunLong(m_pInstance);
}

uint32_t clsThreadPoolWorkerBaseRunOnce::CallbackThreadId() {
  plat::Lock guard(m_Lock);
  return m_dwCallbackThread;
}

}  // namespace zx
