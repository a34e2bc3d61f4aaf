// The COM interfaces a client of the job dispatcher implements, and one job: its
// name, its IUTThreadedJob and its host.
// Threads: a job belongs to one list of its dispatcher at a time; its interfaces
// are called by whoever holds it.
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "platform/com.h"
#include "thread/AutoRelease.h"
#include "thread/AllocationCountVerifier.h"

// {2989A6CF-0467-49FF-A14A-59E338444756}
inline constexpr GUID IID_IUTThreadedJob = {0x2989A6CF, 0x0467, 0x49FF,
                                            {0xA1, 0x4A, 0x59, 0xE3, 0x38, 0x44, 0x47, 0x56}};
// {42D1097D-0FE6-45E5-BB92-7E2058AE45BE}
inline constexpr GUID IID_IUTThreadedJobHost = {0x42D1097D, 0x0FE6, 0x45E5,
                                                {0xBB, 0x92, 0x7E, 0x20, 0x58, 0xAE, 0x45, 0xBE}};

// The slots after IUnknown's three, in this order.
struct IUTThreadedJob : IUnknown {
  virtual HRESULT ZX_COMCALL Run() = 0;            // the result is ignored
  virtual HRESULT ZX_COMCALL GetResult() = 0;
  virtual DWORD ZX_COMCALL GetGroup() = 0;
  virtual DWORD ZX_COMCALL CanRunThreaded() = 0;   // 0: on the client's thread only
};

struct IUTThreadedJobHost : IUnknown {
  // 0: the host has dealt with the job, it may go at once.
  virtual HRESULT ZX_COMCALL OnJobFinished(const char16_t* name, IUTThreadedJob* job) = 0;
  // 1: the dispatcher waits on `event` itself, up to 1,000 ms.
  virtual DWORD ZX_COMCALL WaitForJobs(void* event) = 0;
};

namespace zx {

// Every call into a client's job or host goes through here (see AutoRelease.h
// for why).
namespace com {
HRESULT Run(IUTThreadedJob* job);
HRESULT GetResult(IUTThreadedJob* job);
DWORD GetGroup(IUTThreadedJob* job);
DWORD CanRunThreaded(IUTThreadedJob* job);
HRESULT OnJobFinished(IUTThreadedJobHost* host, const char16_t* name, IUTThreadedJob* job);
DWORD WaitForJobs(IUTThreadedJobHost* host, void* event);
}  // namespace com

class JobList;

class clsUTThreadedJob final : public clsAllocationCountVerifier<clsUTThreadedJob> {
 public:
  static constexpr const char* kAllocationName = "clsUTThreadedJob";
  clsUTThreadedJob(const String& name, IUnknown* job, IUnknown* host)
      : m_sName(name), m_pJob(job, IID_IUTThreadedJob), m_pHost(host, IID_IUTThreadedJobHost) {}
  virtual ~clsUTThreadedJob() = default;

  const String& Name() const { return m_sName; }
  IUTThreadedJob* Job() const { return m_pJob.Get(); }
  IUTThreadedJobHost* Host() const { return m_pHost.Get(); }
  // A job without IUTThreadedJob counts as group 0 and may run anywhere.
  uint32_t Group() const { return m_pJob ? com::GetGroup(m_pJob.Get()) : 0; }
  bool MustRunInline() const { return m_pJob && com::CanRunThreaded(m_pJob.Get()) == 0; }
  // Run() if there is a job interface; an exception out of it ends the run.
  void Run() const;

 private:
  String m_sName;
  clsAutoRelease<IUTThreadedJob> m_pJob;
  clsAutoRelease<IUTThreadedJobHost> m_pHost;
  // The dispatcher's list the job is on (thread/JobList.h).
  friend class JobList;
  clsUTThreadedJob* m_pPrev = nullptr;
  clsUTThreadedJob* m_pNext = nullptr;
  const JobList* m_pList = nullptr;
};

}  // namespace zx
