#include "thread/ThreadedJob.h"

#include "core/diag/Diag.h"

namespace zx {

void ReportEmptyInterface() { DiagLine(u"ERROR: Interface pointer is NULL, GPF will follow!"); }

void clsUTThreadedJob::Run() const {
  if (!m_pJob) return;
  try {
    m_pJob->Run();
  } catch (...) {
    DiagFormat(u"ERR: clsUTThreadedJob('%s')::Run: the job threw an exception", m_sName.wchar());
  }
}

}  // namespace zx
