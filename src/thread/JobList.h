// The dispatcher's lists of jobs. The links live in the job itself, so queuing a
// job allocates nothing, and a job knows the one list it is on: removal and the
// membership test take constant time.
// Threads: the owner of the lists locks them (the dispatcher's m_Lock).
#pragma once
#include <cstdint>

#include "thread/ThreadedJob.h"

namespace zx {

class JobList {
 public:
  JobList() = default;
  JobList(const JobList&) = delete;
  JobList& operator=(const JobList&) = delete;

  int entries() const { return m_nCount; }
  bool empty() const { return m_nCount == 0; }
  bool contains(const clsUTThreadedJob* job) const { return job->m_pList == this; }
  clsUTThreadedJob* first() const { return m_pHead; }
  static clsUTThreadedJob* next(const clsUTThreadedJob* job) { return job->m_pNext; }

  // A job on another list is left where it is (false).
  bool append(clsUTThreadedJob* job) {
    if (job->m_pList) return false;
    job->m_pList = this;
    job->m_pPrev = m_pTail;
    job->m_pNext = nullptr;
    (m_pTail ? m_pTail->m_pNext : m_pHead) = job;
    m_pTail = job;
    ++m_nCount;
    return true;
  }
  // False when the job is not on this list.
  bool remove(clsUTThreadedJob* job) {
    if (job->m_pList != this) return false;
    (job->m_pPrev ? job->m_pPrev->m_pNext : m_pHead) = job->m_pNext;
    (job->m_pNext ? job->m_pNext->m_pPrev : m_pTail) = job->m_pPrev;
    job->m_pPrev = job->m_pNext = nullptr;
    job->m_pList = nullptr;
    --m_nCount;
    return true;
  }
  // Takes off the job with this address when it is on the list. The address is
  // only compared, never read through: it may be that of a job deleted already.
  bool take(const void* address) {
    for (clsUTThreadedJob* job = m_pHead; job; job = job->m_pNext)
      if (job == address) return remove(job);
    return false;
  }
  // The first job, taken off the list; null when empty.
  clsUTThreadedJob* pop() {
    clsUTThreadedJob* job = m_pHead;
    if (job) remove(job);
    return job;
  }
  bool hasGroup(uint32_t group) const {
    for (clsUTThreadedJob* job = m_pHead; job; job = job->m_pNext)
      if (job->Group() == group) return true;
    return false;
  }

 private:
  clsUTThreadedJob* m_pHead = nullptr;
  clsUTThreadedJob* m_pTail = nullptr;
  int m_nCount = 0;
};

}  // namespace zx
