#include "docinfo/DocuAsync.h"

#include <atomic>
#include <new>

#include "docinfo/DocChooser.h"
#include "docinfo/UnreachableShares.h"

namespace zx {
namespace {

std::atomic<void (*)(const String&)> g_beforeRead{nullptr};

}  // namespace

void clsDocuAsync::SetBeforeReadHookForTests(void (*hook)(const String& path)) {
  g_beforeRead.store(hook, std::memory_order_release);
}

clsDocuAsync::clsDocuAsync(clsDocu& asking, const IString& share)
    : clsThreadBase("clsDocuAsync"), m_timeout(asking.shareTimeout), m_asking(&asking), m_share(share) {
  if (clsDocu* copy = new (std::nothrow) clsDocu(asking)) m_copy = clsAutoRelease<clsDocu*>(copy);
}

clsDocuAsync::~clsDocuAsync() { ThreadEnd(false, plat::kInfinite, false); }

uint32_t clsDocuAsync::ThreadProc() {
  if (!m_copy) return 0;
  if (auto hook = g_beforeRead.load(std::memory_order_acquire)) hook(m_copy->resolvedPath);
  ReadDocument(*m_copy, &m_cs);
  return 0;
}

void clsDocuAsync::Run() {
  if (ShareIsUnreachable(m_share)) return;
  if (!ThreadStart(0)) return;
  ThreadEnd(false, m_timeout, false);
  // A read that has begun (the file open, its times read) is finished first: the
  // time-out bounds the opening of the file, not the reading.
  plat::Lock l(m_cs);
  if (ThreadGetState() != 1 && m_copy) *m_asking = *m_copy;
}

}  // namespace zx
