// clsDocuList: the handle of UtilDocInfoOpen. Answers "what is this document?"
// with two dates, six text properties and the path that was read, caches the
// answers by the name asked for (without regard to case) for the refresh time of
// the list, drops expired ones on its thread "DocuList::Reload" (lowest priority,
// a pass a second), and reads documents on network shares through clsDocuAsync
// workers bounded by the caller's share time-out.
//
// Beyond the plain design:
//   - a document is refreshed and handed out under one of a few locks of the list
//     chosen by the document, so that callers asking for the same document at
//     once take turns instead of writing it side by side; the reload pass skips a
//     document whose lock is taken (it is being read, so it isn't stale);
//   - a caller adding a worker to a full list (20) first collects the finished
//     workers itself, so a list without its thread (refresh 0) never waits for
//     good; with 20 workers all still running it waits at most
//     kWorkerListWaitLimitMs and then keeps the new one too.
// Errors: none reported; Get answers 0 for whatever went wrong.
// Threads: Get from any number of threads at once; the list's lock guards the
// dictionary and the worker list and is never held during a read.
//
//   clsDocuList list(60);
//   scDocInfoData data{sizeof data};
//   VARIANT title; plat::VariantInit(&title); data.Title = &title;
//   if (list.Get(u"report.pdf", &data, 10) == 1) ...
#pragma once
#include <cstddef>
#include <cstdint>

#include "core/containers/WCSkipList.h"
#include "core/strings/String.h"
#include "docinfo/Docu.h"
#include "platform/lock.h"
#include "platform/variant.h"
#include "thread/AutoRelease.h"
#include "thread/ThreadBase.h"

namespace zx {

// The result block of UtilDocInfoGet: `size` as the caller knows the block, then
// the caller's variants; a null pointer isn't wanted.
struct scDocInfoData {
  uint32_t size;
  VARIANT* Created;
  VARIANT* LastSaved;
  VARIANT* Title;
  VARIANT* Subject;
  VARIANT* Author;
  VARIANT* LastAuthor;
  VARIANT* Keywords;
  VARIANT* Comments;
  VARIANT* ResolvedPath;
};
// The block up to Comments, and with ResolvedPath.
constexpr uint32_t kDocInfoSizeBase = static_cast<uint32_t>(offsetof(scDocInfoData, ResolvedPath));
constexpr uint32_t kDocInfoSizeWithPath = static_cast<uint32_t>(sizeof(scDocInfoData));

constexpr uint32_t kMaxDocuWorkers = 20;
constexpr uint32_t kWorkerListWaitLimitMs = 10000;

class clsDocuList : clsThreadBase {
 public:
  explicit clsDocuList(uint32_t refreshSeconds);
  // Ends the thread, empties the cache and destroys every worker (waiting for each).
  ~clsDocuList() override;

  // 1 if the document exists (the block filled in when given and large enough);
  // 0 if it doesn't or couldn't be read.
  int32_t Get(const String& askedName, scDocInfoData* data, uint32_t shareTimeoutSeconds);
  // -1 not on a share (or null), 0 its share is known to be unreachable, 1 otherwise.
  static int32_t ShareAccessibility(const char16_t* path);

  // One pass of the list's thread: drops expired documents and finished workers.
  void ReloadPass();

  // ---- for tests
  uint32_t RefreshSeconds() const { return m_refreshSeconds; }
  int CachedCount();
  int WorkerCount();
  bool ReloadThreadRuns() { return ThreadGetState() == 1; }

 private:
  uint32_t ThreadProc() override;
  void Refresh(clsDocu& doc);
  void AddWorker(clsThreadBase* worker);
  // Removes the workers whose thread has ended; the caller destroys them.
  void TakeFinishedWorkers(WCValSList<clsThreadBase*>& out) ZX_REQUIRES(m_cs);
  plat::CriticalSection& DocumentLock(const clsDocu* doc);
  static void HandOut(const clsDocu& doc, scDocInfoData& data);

  plat::CriticalSection m_cs{100};   // first: the annotations below name it
  WCValSkipListDict<IString, clsAutoRelease<clsDocu*>> m_dict ZX_GUARDED_BY(m_cs);
  IString m_key ZX_GUARDED_BY(m_cs);
  uint32_t m_refreshSeconds;
  WCValSList<clsThreadBase*> m_workers ZX_GUARDED_BY(m_cs);
  static constexpr int kDocumentLocks = 16;
  plat::CriticalSection m_docLocks[kDocumentLocks];
};

}  // namespace zx
