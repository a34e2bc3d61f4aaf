/* The job dispatcher: a client hands in named jobs, COM objects implementing
 * IUTThreadedJob; worker threads started on demand (up to maxThreads) run them, and
 * UtilThreadPoolFinalize hands the finished ones to the client's host on the
 * client's thread. A job whose CanRunThreaded() is 0 runs on the client's thread,
 * in Finalize or Close. Calling order: Open; Add from any thread; optionally
 * Abort; Finalize (returns when everything is through); Close.
 *
 * The interfaces (slot order after IUnknown's three, identifiers as on Windows):
 *   IUTThreadedJob {2989A6CF-0467-49FF-A14A-59E338444756}:
 *     Run(), GetResult() -> HRESULT, GetGroup() -> DWORD, CanRunThreaded() -> DWORD
 *   IUTThreadedJobHost {42D1097D-0FE6-45E5-BB92-7E2058AE45BE}:
 *     OnJobFinished(LPCWSTR name, IUTThreadedJob *job) -> HRESULT: 0 lets the job go
 *       at once (it runs on the worker, with the dispatcher's lock held);
 *     WaitForJobs(HANDLE event) -> DWORD: 1 asks the dispatcher to wait on the
 *       event itself (up to 1,000 ms); anything else says the host has waited.
 * The C forms of their tables are below; C++ clients derive from IUnknown. */
#ifndef ZXUT22_UTIL_THREAD_H
#define ZXUT22_UTIL_THREAD_H

#include "types.h"

#if !defined(_WIN32)
typedef struct IUnknown IUnknown;
#  define ZXUT_COMCALL
#else
#  define ZXUT_COMCALL __stdcall
#endif

/* The layout of a GUID. */
typedef struct tagUTIID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
} UTIID;
#define ZXUT_IID_IUTThreadedJob \
  { 0x2989A6CF, 0x0467, 0x49FF, { 0xA1, 0x4A, 0x59, 0xE3, 0x38, 0x44, 0x47, 0x56 } }
#define ZXUT_IID_IUTThreadedJobHost \
  { 0x42D1097D, 0x0FE6, 0x45E5, { 0xBB, 0x92, 0x7E, 0x20, 0x58, 0xAE, 0x45, 0xBE } }

/* The tables of the two interfaces, slot by slot, for clients written in C. */
typedef struct UTThreadedJobC UTThreadedJobC;
typedef struct UTThreadedJobVtbl {
  HRESULT(ZXUT_COMCALL *QueryInterface)(UTThreadedJobC *self, const UTIID *iid, void **object);
  ULONG(ZXUT_COMCALL *AddRef)(UTThreadedJobC *self);
  ULONG(ZXUT_COMCALL *Release)(UTThreadedJobC *self);
  HRESULT(ZXUT_COMCALL *Run)(UTThreadedJobC *self);
  HRESULT(ZXUT_COMCALL *GetResult)(UTThreadedJobC *self);
  DWORD(ZXUT_COMCALL *GetGroup)(UTThreadedJobC *self);
  DWORD(ZXUT_COMCALL *CanRunThreaded)(UTThreadedJobC *self);
} UTThreadedJobVtbl;
struct UTThreadedJobC {
  const UTThreadedJobVtbl *lpVtbl;
};

typedef struct UTThreadedJobHostC UTThreadedJobHostC;
typedef struct UTThreadedJobHostVtbl {
  HRESULT(ZXUT_COMCALL *QueryInterface)(UTThreadedJobHostC *self, const UTIID *iid, void **object);
  ULONG(ZXUT_COMCALL *AddRef)(UTThreadedJobHostC *self);
  ULONG(ZXUT_COMCALL *Release)(UTThreadedJobHostC *self);
  HRESULT(ZXUT_COMCALL *OnJobFinished)(UTThreadedJobHostC *self, LPCWSTR name, UTThreadedJobC *job);
  DWORD(ZXUT_COMCALL *WaitForJobs)(UTThreadedJobHostC *self, HANDLE event);
} UTThreadedJobHostVtbl;
struct UTThreadedJobHostC {
  const UTThreadedJobHostVtbl *lpVtbl;
};

/* A dispatcher, from UtilThreadPoolOpen to UtilThreadPoolClose. */
typedef struct zxThreadPool *HUTTHREADPOOL;

/* maxThreads 0: the processors the process may use, less one, at least 1. From the
 * eleventh pool alive on, at most 2. Null when out of memory. */
ZXUT_EXPORT HUTTHREADPOOL ZXUT_API UtilThreadPoolOpen(DWORD maxThreads, LPCWSTR name);
/* Queues a job (host may be null). 0, also when the pool was aborted and the job
 * refused (its references are released at once); E_INVALIDARG for a null pool or
 * when out of memory. */
ZXUT_EXPORT DWORD ZXUT_API UtilThreadPoolAdd(HUTTHREADPOOL pool, LPCWSTR name, IUnknown *job, IUnknown *host);
/* Drops the queued, finished and inline jobs of a group (0: all) without telling
 * any host; running jobs finish. From then on every Add is refused; a second Abort
 * does nothing. E_INVALIDARG for a null pool, else 0. */
ZXUT_EXPORT HRESULT ZXUT_API UtilThreadPoolAbort(HUTTHREADPOOL pool, DWORD group);
/* Runs the inline jobs and hands every finished job to host (or the job's own
 * host) until all are through. E_INVALIDARG for a null pool, else 0. */
ZXUT_EXPORT HRESULT ZXUT_API UtilThreadPoolFinalize(HUTTHREADPOOL pool, IUnknown *host);
/* Aborts, deletes queued jobs without running them, waits for running ones (at
 * most 60 s: a pool whose job never returns is left behind, alive) and ends the
 * pool. A null pool does nothing. */
ZXUT_EXPORT void ZXUT_API UtilThreadPoolClose(HUTTHREADPOOL pool);

#endif
