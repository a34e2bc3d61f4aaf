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
#if defined(__clang__)
#define ZX_TABLE_CALL __attribute__((no_sanitize("vptr", "function"), noinline))
#else
#define ZX_TABLE_CALL ZX_CLIENT_CALL
#endif
ZX_TABLE_CALL HRESULT Dispose(IUnknown* disposable) {
  // Slot 7 of the object's table: IDispatch's four slots stand between IUnknown's
  // and Dispose. Called through the table itself: a C++ type of those slots would
  // have no implementation the compiler knows of.
  using DisposeFn = HRESULT(ZX_COMCALL*)(IUnknown*);
  void* const* table = *reinterpret_cast<void* const* const*>(disposable);
  return reinterpret_cast<DisposeFn>(table[7])(disposable);
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
