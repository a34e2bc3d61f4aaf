/* A client of the job dispatcher written in C against the public header: its jobs
 * and its host are tables of function pointers in the documented slot order. If
 * the layout were wrong, the library would call the wrong slots. */
#include <string.h>

#include "zxUT22.h"

typedef struct CJob {
  UTThreadedJobC iface;
  int refs;
  DWORD group;
  DWORD threaded;
  int runs;
  int results;
} CJob;

typedef struct CHost {
  UTThreadedJobHostC iface;
  int refs;
  int finished;
  int waits;
} CHost;

static const UTIID kJobIid = ZXUT_IID_IUTThreadedJob;
static const UTIID kHostIid = ZXUT_IID_IUTThreadedJobHost;
static const UTIID kUnknownIid = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

static int Same(const UTIID *a, const UTIID *b) { return memcmp(a, b, sizeof(UTIID)) == 0; }

static HRESULT ZXUT_COMCALL JobQuery(UTThreadedJobC *self, const UTIID *iid, void **out) {
  if (!Same(iid, &kJobIid) && !Same(iid, &kUnknownIid)) {
    *out = 0;
    return (HRESULT)0x80004002L;
  }
  __atomic_add_fetch(&((CJob *)self)->refs, 1, __ATOMIC_SEQ_CST);
  *out = self;
  return 0;
}
static ULONG ZXUT_COMCALL JobAddRef(UTThreadedJobC *self) {
  return (ULONG)__atomic_add_fetch(&((CJob *)self)->refs, 1, __ATOMIC_SEQ_CST);
}
static ULONG ZXUT_COMCALL JobRelease(UTThreadedJobC *self) {
  return (ULONG)__atomic_sub_fetch(&((CJob *)self)->refs, 1, __ATOMIC_SEQ_CST);
}
static HRESULT ZXUT_COMCALL JobRun(UTThreadedJobC *self) {
  __atomic_add_fetch(&((CJob *)self)->runs, 1, __ATOMIC_SEQ_CST);
  return 0;
}
static HRESULT ZXUT_COMCALL JobResult(UTThreadedJobC *self) {
  __atomic_add_fetch(&((CJob *)self)->results, 1, __ATOMIC_SEQ_CST);
  return 0;
}
static DWORD ZXUT_COMCALL JobGroup(UTThreadedJobC *self) { return ((CJob *)self)->group; }
static DWORD ZXUT_COMCALL JobThreaded(UTThreadedJobC *self) { return ((CJob *)self)->threaded; }

static const UTThreadedJobVtbl kJobTable = {JobQuery, JobAddRef, JobRelease, JobRun,
                                            JobResult, JobGroup, JobThreaded};

static HRESULT ZXUT_COMCALL HostQuery(UTThreadedJobHostC *self, const UTIID *iid, void **out) {
  if (!Same(iid, &kHostIid) && !Same(iid, &kUnknownIid)) {
    *out = 0;
    return (HRESULT)0x80004002L;
  }
  __atomic_add_fetch(&((CHost *)self)->refs, 1, __ATOMIC_SEQ_CST);
  *out = self;
  return 0;
}
static ULONG ZXUT_COMCALL HostAddRef(UTThreadedJobHostC *self) {
  return (ULONG)__atomic_add_fetch(&((CHost *)self)->refs, 1, __ATOMIC_SEQ_CST);
}
static ULONG ZXUT_COMCALL HostRelease(UTThreadedJobHostC *self) {
  return (ULONG)__atomic_sub_fetch(&((CHost *)self)->refs, 1, __ATOMIC_SEQ_CST);
}
static HRESULT ZXUT_COMCALL HostFinished(UTThreadedJobHostC *self, LPCWSTR name, UTThreadedJobC *job) {
  (void)job;
  if (name && name[0] == 'c') __atomic_add_fetch(&((CHost *)self)->finished, 1, __ATOMIC_SEQ_CST);
  return 1; /* kept: the client collects it in Finalize */
}
static DWORD ZXUT_COMCALL HostWait(UTThreadedJobHostC *self, HANDLE event) {
  (void)event;
  __atomic_add_fetch(&((CHost *)self)->waits, 1, __ATOMIC_SEQ_CST);
  return 1;
}

static const UTThreadedJobHostVtbl kHostTable = {HostQuery, HostAddRef, HostRelease, HostFinished, HostWait};

/* Runs `count` jobs (every fourth inline) through the exports. Fills: runs of all
 * jobs, GetResult calls, OnJobFinished calls, references still held by the
 * library, and the results of the calls with a null pool. */
void zxtest_RunCClient(int count, int *runs, int *results, int *finished, int *refsLeft, int *nullPoolResults) {
  static const WCHAR kName[] = {'c', 'j', 'o', 'b', 0};
  static const WCHAR kPool[] = {'c', 0};
  CJob jobs[64];
  CHost host = {{&kHostTable}, 1, 0, 0};
  HUTTHREADPOOL pool;
  int i;
  if (count > 64) count = 64;
  pool = UtilThreadPoolOpen(2, kPool);
  for (i = 0; i < count; ++i) {
    jobs[i].iface.lpVtbl = &kJobTable;
    jobs[i].refs = 1;
    jobs[i].group = 1 + (DWORD)(i % 3);
    jobs[i].threaded = i % 4 ? 1 : 0;
    jobs[i].runs = jobs[i].results = 0;
    UtilThreadPoolAdd(pool, kName, (IUnknown *)&jobs[i], (IUnknown *)&host);
  }
  UtilThreadPoolFinalize(pool, (IUnknown *)&host);
  UtilThreadPoolClose(pool);
  *runs = *results = 0;
  *refsLeft = host.refs - 1;
  for (i = 0; i < count; ++i) {
    *runs += jobs[i].runs;
    *results += jobs[i].results;
    *refsLeft += jobs[i].refs - 1;
  }
  *finished = host.finished;
  *nullPoolResults = (UtilThreadPoolAdd(0, kName, 0, 0) == (DWORD)E_INVALIDARG) +
                     (UtilThreadPoolAbort(0, 1) == E_INVALIDARG) + (UtilThreadPoolFinalize(0, 0) == E_INVALIDARG);
  UtilThreadPoolClose(0);
}
