#include "thread/ThreadedJob.h"

#include "core/diag/Diag.h"

namespace zx {

#if defined(__GNUC__) || defined(__clang__)
#define ZX_CLIENT_CALL __attribute__((no_sanitize("vptr"), noinline))
#else
#define ZX_CLIENT_CALL
#endif

namespace com {
ZX_CLIENT_CALL HRESULT QueryInterface(IUnknown* object, const GUID& iid, void** out) {
  return object->QueryInterface(iid, out);
}
ZX_CLIENT_CALL ULONG AddRef(IUnknown* object) { return object->AddRef(); }
ZX_CLIENT_CALL ULONG Release(IUnknown* object) { return object->Release(); }
ZX_CLIENT_CALL HRESULT Dispose(IUnknown* disposable) {
  // Dispose is the eighth slot of the table: IUnknown's three, IDispatch's four,
  // then Dispose. It is called through the table itself, as a client's object
  // has no C++ type this library could name.
  using DisposeFn = HRESULT(ZX_COMCALL*)(IUnknown*);
  constexpr int kDisposeSlot = 7;
  return (*reinterpret_cast<DisposeFn* const*>(disposable))[kDisposeSlot](disposable);
}
ZX_CLIENT_CALL HRESULT Run(IUTThreadedJob* job) { return job->Run(); }
ZX_CLIENT_CALL HRESULT GetResult(IUTThreadedJob* job) { return job->GetResult(); }
ZX_CLIENT_CALL DWORD GetGroup(IUTThreadedJob* job) { return job->GetGroup(); }
ZX_CLIENT_CALL DWORD CanRunThreaded(IUTThreadedJob* job) { return job->CanRunThreaded(); }
ZX_CLIENT_CALL HRESULT OnJobFinished(IUTThreadedJobHost* host, const char16_t* name, IUTThreadedJob* job) {
  return host->OnJobFinished(name, job);
}
ZX_CLIENT_CALL DWORD WaitForJobs(IUTThreadedJobHost* host, void* event) { return host->WaitForJobs(event); }
}  // namespace com

void ReportEmptyInterface() { DiagLine(u"ERROR: Interface pointer is NULL, GPF will follow!"); }

void clsUTThreadedJob::Run() const {
  if (!m_pJob) return;
  try {
    com::Run(m_pJob.Get());
  } catch (...) {
    DiagFormat(u"ERR: clsUTThreadedJob('%s')::Run: the job threw an exception", m_sName.wchar());
  }
}

}  // namespace zx
