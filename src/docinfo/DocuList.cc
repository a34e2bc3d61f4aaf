#include "docinfo/DocuList.h"

#include <new>

#include "core/timing/TickCount.h"
#include "docinfo/DocChooser.h"
#include "docinfo/DocTime.h"
#include "docinfo/DocuAsync.h"
#include "docinfo/ShellLink.h"
#include "docinfo/UnreachableShares.h"
#include "path/PathServices.h"
#include "platform/clock.h"

namespace zx {
namespace {

bool Expired(const clsDocu& doc, uint64_t now) {
  return doc.lastCheck == 0 || now > doc.lastCheck + doc.refreshInterval;
}

void CopyText(const clsVariant& from, VARIANT* to) {
  if (to) plat::VariantCopyInd(to, &from);
}

}  // namespace

clsDocuList::clsDocuList(uint32_t refreshSeconds)
    : clsThreadBase("DocuList::Reload"), m_refreshSeconds(refreshSeconds) {}

clsDocuList::~clsDocuList() {
  ThreadEnd(false, plat::kInfinite, true);
  WCValSList<clsThreadBase*> workers;
  {
    plat::Lock l(m_cs);
    m_dict.clear();
    while (!m_workers.isEmpty()) workers.append(m_workers.get());
  }
  while (!workers.isEmpty()) delete workers.get();
}

plat::CriticalSection& clsDocuList::DocumentLock(const clsDocu* doc) {
  return m_docLocks[(reinterpret_cast<uintptr_t>(doc) >> 6) % kDocumentLocks];
}

int32_t clsDocuList::Get(const String& askedName, scDocInfoData* data, uint32_t shareTimeoutSeconds) {
  clsAutoRelease<clsDocu*> doc;
  if (m_refreshSeconds != 0) {
    plat::Lock l(m_cs);
    m_key = askedName;
    m_dict.find(m_key, doc);
  }
  if (!doc) {
    clsDocu* fresh = new (std::nothrow) clsDocu(askedName, m_refreshSeconds, shareTimeoutSeconds, this);
    if (!fresh) return 0;
    doc = clsAutoRelease<clsDocu*>(fresh);
    if (m_refreshSeconds != 0) {
      plat::Lock l(m_cs);
      if (m_dict.isEmpty()) ThreadStart(-15);
      m_key = askedName;
      m_dict[m_key] = doc;
    }
  }
  plat::Lock use(DocumentLock(doc.Get()));
  Refresh(*doc);
  if (!doc->exists) return 0;
  if (data && data->size >= kDocInfoSizeBase) {
    doc->refreshEnabled = 0;
    HandOut(*doc, *data);
    doc->refreshEnabled = 1;
  }
  return 1;
}

void clsDocuList::HandOut(const clsDocu& doc, scDocInfoData& data) {
  if (data.Created) UtcToLocalDateVariant(doc.created, data.Created);
  if (data.LastSaved) UtcToLocalDateVariant(doc.lastSaved, data.LastSaved);
  CopyText(doc.title, data.Title);
  CopyText(doc.subject, data.Subject);
  CopyText(doc.author, data.Author);
  CopyText(doc.lastAuthor, data.LastAuthor);
  CopyText(doc.keywords, data.Keywords);
  CopyText(doc.comments, data.Comments);
  if (data.size >= kDocInfoSizeWithPath && data.ResolvedPath) {
    plat::VariantClear(data.ResolvedPath);
    const clsVariant path(doc.resolvedPath);
    plat::VariantCopy(data.ResolvedPath, &path);
  }
}

void clsDocuList::Refresh(clsDocu& doc) {
  if (!doc.refreshEnabled) return;
  const uint64_t now = UtilTickCount64();
  if (doc.lastCheck != 0 && now <= doc.lastCheck + doc.refreshInterval) return;
  doc.resolvedPath = DocumentExtension(doc.name) == u".lnk" ? ResolveShortcut(doc.name) : doc.name;
  if (doc.resolvedPath.IsEmpty()) {
    doc.Reset();
    return;
  }
  doc.lastCheck = now;
  String local, network;
  if (EnsureLocalPath(doc.resolvedPath, local) == 0) doc.resolvedPath = local;
  if (EnsureUNCPath(doc.resolvedPath, network) != 0) network = doc.resolvedPath;
  const IString share = ShareOfPath(network);
  if (share.IsEmpty()) {
    ReadDocument(doc, nullptr);
    return;
  }
  if (ShareIsUnreachable(share)) return;
  clsDocuAsync* worker = new (std::nothrow) clsDocuAsync(doc, share);
  if (!worker) return;
  worker->Run();
  AddWorker(worker);
}

void clsDocuList::TakeFinishedWorkers(WCValSList<clsThreadBase*>& out) {
  WCValSList<clsThreadBase*> running;
  while (!m_workers.isEmpty()) {
    clsThreadBase* w = m_workers.get();
    if (w->ThreadGetState() == 1) running.append(w);
    else out.append(w);
  }
  m_workers = std::move(running);
}

void clsDocuList::AddWorker(clsThreadBase* worker) {
  const uint64_t giveUp = UtilTickCount64() + kWorkerListWaitLimitMs;
  for (;;) {
    WCValSList<clsThreadBase*> finished;
    bool added = false;
    {
      plat::Lock l(m_cs);
      if (static_cast<uint32_t>(m_workers.entries()) >= kMaxDocuWorkers) TakeFinishedWorkers(finished);
      if (static_cast<uint32_t>(m_workers.entries()) < kMaxDocuWorkers || UtilTickCount64() >= giveUp)
        added = m_workers.append(worker);
    }
    while (!finished.isEmpty()) delete finished.get();
    if (added) return;
    plat::SleepMs(100);
  }
}

uint32_t clsDocuList::ThreadProc() {
  int32_t result = 0;
  while (ThreadWait(1000, &result, 0)) ReloadPass();
  return 0;
}

void clsDocuList::ReloadPass() {
  WCValSList<clsThreadBase*> finished;
  {
    plat::Lock l(m_cs);
    const uint64_t now = UtilTickCount64();
    WCValSList<IString> expired;
    WCValSkipListDictIter<IString, clsAutoRelease<clsDocu*>> it(m_dict);
    while (++it) {
      const clsAutoRelease<clsDocu*> doc = it.value();
      plat::CriticalSection& use = DocumentLock(doc.Get());
      if (!use.TryEnter()) continue;   // being read right now
      const bool stale = Expired(*doc, now);
      use.Leave();
      if (stale) expired.append(it.key());
    }
    while (!expired.isEmpty()) m_dict.remove(expired.get());
    TakeFinishedWorkers(finished);
  }
  while (!finished.isEmpty()) delete finished.get();
}

int clsDocuList::CachedCount() {
  plat::Lock l(m_cs);
  return static_cast<int>(m_dict.entries());
}

int clsDocuList::WorkerCount() {
  plat::Lock l(m_cs);
  return m_workers.entries();
}

int32_t clsDocuList::ShareAccessibility(const char16_t* path) {
  if (!path) return -1;
  String network;
  if (EnsureUNCPath(String(path), network) != 0) return -1;
  const IString share = ShareOfPath(network);
  if (share.IsEmpty()) return -1;
  return ShareIsUnreachable(share) ? 0 : 1;
}

}  // namespace zx
