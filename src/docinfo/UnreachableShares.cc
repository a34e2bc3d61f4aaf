#include "docinfo/UnreachableShares.h"

#include "core/containers/WCSkipList.h"
#include "core/regex/RegEx.h"
#include "path/PathServices.h"
#include "platform/lock.h"

namespace zx {
namespace {

struct ShareSet {
  plat::CriticalSection lock{100};
  WCValSkipListSet<IString> shares ZX_GUARDED_BY(lock);
};

ShareSet& Shares() {
  static ShareSet set;
  return set;
}

// The folder test on "<share>\.": on the local name of the share where the path
// mapping knows one (a mounted share on Linux, a connected drive on Windows).
bool ShareFolderExists(const IString& share) {
  String probe = share;
  probe.Append(u"\\.");
  String local;
  if (EnsureLocalPath(probe, local) == 0 && !local.IsEmpty()) probe = local;
  return ClassifyPath(probe) == kPathKindFolder;
}

}  // namespace

bool ShareIsKnownUnreachable(const IString& share) {
  ShareSet& s = Shares();
  plat::Lock l(s.lock);
  return s.shares.contains(share);
}

bool ShareIsUnreachable(const IString& share) {
  if (ShareIsKnownUnreachable(share)) return true;
  if (ShareFolderExists(share)) return false;
  ShareSet& s = Shares();
  plat::Lock l(s.lock);
  s.shares.insert(share);
  return true;
}

IString ShareOfPath(const String& networkPath) {
  // One a call: a thread-local expression would outlive the engine's own
  // per-thread state at thread exit on Windows.
  clsRegEx share(u"^(\\\\\\\\(?:.+?)\\\\(?:.+?))(\\\\.*|)$");
  clsRegExMatchList match;
  if (!share.Match(networkPath, &match)) return IString();
  return IString(match.find(1).text);
}

}  // namespace zx
