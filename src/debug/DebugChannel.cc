// The channel's life: construction on first use, the shared blocks, the viewer
// look-up and re-attach test, the cheap activity test, hello and goodbye, the log
// settings, thread names and the sender's attach count.
#include "debug/DebugChannel.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "core/format/Format.h"
#include "core/registry/Registry.h"
#include "debug/Debug.h"
#include "debug/Ods.h"
#include "core/identity/Identity.h"
#include "platform/clock.h"
#include "platform/compiler.h"
#include "platform/debugout.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "platform/legacy_viewer.h"
#include "platform/process.h"
#include "platform/registry.h"

namespace zx {
namespace {

constexpr uint64_t kRetryMs = 5000;
constexpr char16_t kOldViewerClass[] = u"ZrkClsTRAVUE16";
constexpr char16_t kMailslotName[] = u"\\\\.\\mailslot\\travue";

std::atomic<bool> g_channelGone{false};

plat::CriticalSection& ConstructionLock() {
  static plat::CriticalSection lock;
  return lock;
}

void DestroyChannel() {
  g_channelGone.store(true, std::memory_order_release);
  delete g_debugChannel.exchange(nullptr, std::memory_order_acq_rel);
}

String SystemText(uint32_t code) { return String::SystemMessage(code); }

bool StartsWithNoCase(const String& text, const char16_t* prefix, int count) {
  for (int i = 0; i < count; ++i) {
    char16_t a = text.GetAt(i), b = prefix[i];
    if (a >= u'a' && a <= u'z') a = static_cast<char16_t>(a - 32);
    if (b >= u'a' && b <= u'z') b = static_cast<char16_t>(b - 32);
    if (a != b || b == 0) return false;
  }
  return true;
}

}  // namespace

std::atomic<clsDebugChannel*> g_debugChannel{nullptr};

clsDebugChannel* ConstructDebugChannel() {
  if (g_channelGone.load(std::memory_order_acquire)) return nullptr;
  plat::Lock guard(ConstructionLock());
  clsDebugChannel* ch = g_debugChannel.load(std::memory_order_acquire);
  if (ch) return ch;
  // A failed construction leaves the guard clear: the next call tries again.
  ch = new (std::nothrow) clsDebugChannel();
  if (!ch) return nullptr;
  g_debugChannel.store(ch, std::memory_order_release);
  DebugTakeOverDiagnostics();
  static const bool registered = (std::atexit(&DestroyChannel), true);
  (void)registered;
  return ch;
}

clsDebugChannel::clsDebugChannel() {
  developerMode_ = DeveloperMode();
  const scIdentity& id = Identity();
  processPath_ = id.processPath;
  processFileName_ = id.processFileName;
  libraryPath_ = id.libraryPath;
  libraryFileName_ = id.libraryFileName;
  libraryBaseName_ = id.libraryBaseName;
  libraryFolder_ = id.libraryFolder;
  CreateBlocks();
  plat::Lock lock(outputLock_);
  MapSharedBlock(false);
  UpdateFastPath();
}

clsDebugChannel::~clsDebugChannel() {
  if (appLocal_) {
    if (appLocal_->refCount.fetch_sub(1) == 1) {
      uint64_t mutex = appLocal_->mutex;
      {
        TravueMutexLock m(appLocal_);
        appLocal_->info.CloseSocket(SenderContext());
        appLocal_->info.DropCache(false);
      }
      appLocal_->mutex = 0;
      plat::MutexClose(mutex);
      appLocalBlock_.RemoveName();   // the process's block goes with its last copy
    }
  }
  sharedView_.store(nullptr);
  if (mailslot_ != plat::kNoMailslot) plat::CloseMailslot(mailslot_);
}

void clsDebugChannel::CreateBlocks() {
  bool existed = false;
  if (!globalBlock_.Create(kGlobalDataName, sizeof(scTRAVUEGlobalData), &existed)) {
    Ods(u"TRAVUE global info struct cannot be created: %s\n", SystemText(plat::LastError()).wchar());
  } else {
    global_ = static_cast<scTRAVUEGlobalData*>(globalBlock_.View());
    globalCreated_ = !existed;
    if (!existed) plat::SharedStore(global_->viewerWindow, 0, std::memory_order_release);
  }
  // Blocks of processes that ended without their clean-up.
  plat::RemoveStaleBlocks(u"ZrkTRAVUEAppLocalData_");
  char16_t name[80];
  FormatTo(name, 80, kAppLocalNameFormat,
           reinterpret_cast<void*>(static_cast<uintptr_t>(plat::ProcessId())),
           static_cast<int>(sizeof(scTRAVUEAppLocal)));
  if (!appLocalBlock_.Create(name, sizeof(scTRAVUEAppLocal), &existed)) {
    Ods(u"_hTRAVUEInfoAppLocal FAIL\n");
    return;
  }
  appLocal_ = static_cast<scTRAVUEAppLocal*>(appLocalBlock_.View());
  appLocal_->refCount.fetch_add(1);
  if (!existed) {
    appLocal_->info.InitFresh();
    appLocal_->mutex = plat::MutexCreate();
  }
}

TravueSenderContext clsDebugChannel::SenderContext() const {
  return TravueSenderContext{sharedView_.load(std::memory_order_acquire), libraryBaseName_.wchar(),
                             libraryFileName_.wchar(),
                             appLocal_ ? &appLocal_->counter : nullptr};
}

void clsDebugChannel::UpdateFastPath() {
  fastPathOk_.store(!developerMode_ && !alwaysLocked_ && viewerWindow_ == 0 &&
                        mailslot_ == plat::kNoMailslot,
                    std::memory_order_release);
}

void clsDebugChannel::MapSharedBlock(bool ignoreRetry) {
  if (sharedBlock_.IsOpen()) return;
  const uint64_t tick = plat::TickCount64();
  if (!ignoreRetry && tick <= retryTime_) return;
  bool ok = sharedBlock_.OpenReadOnly(kSharedDataLocalName);
  if (!ok && plat::LastError() == plat::kErrAccessDenied) plat::DebugOutput(u"Hallo\n");
  if (!ok) {
    ok = sharedBlock_.OpenReadOnly(kSharedDataGlobalName);
    if (!ok && plat::LastError() == plat::kErrAccessDenied) plat::DebugOutput(u"Hallo\n");
  }
  if (!ok) {
    if (developerMode_)
      Ods(u"'TRAVUE4_SharedData' not found: %s\n", SystemText(plat::LastError()).wchar());
    retryTime_ = tick + kRetryMs;
    return;
  }
  auto* view = static_cast<const scTRAVUESharedData*>(sharedBlock_.MapReadOnly(24));
  if (view) {
    uint32_t size = plat::SharedLoad(view->size, std::memory_order_acquire);
    if (size > 24) view = static_cast<const scTRAVUESharedData*>(sharedBlock_.MapReadOnly(size));
  }
  if (!view) {
    Ods(u"'TRAVUE4_SharedData' cannot be accessed: %s\n", SystemText(plat::LastError()).wchar());
    // Not left half-open: the next look-up, 5000 ms on, tries again.
    sharedBlock_.Close();
    retryTime_ = tick + kRetryMs;
    return;
  }
  sharedView_.store(view, std::memory_order_release);
  if (appLocal_) {
    TravueMutexLock m(appLocal_);
    ++appLocal_->info.attachCount;
    if (!appLocal_->info.SocketOpen()) appLocal_->info.OpenSocket(SenderContext());
  }
}

bool clsDebugChannel::IsDebugActiveSlow() {
  plat::Lock lock(outputLock_);
  return IsDebugActiveLocked();
}

bool clsDebugChannel::IsDebugActiveLocked() {
  if (!logFileName_.IsEmpty() || discardSinks_) return true;
  const uint64_t epoch = plat::PublicationEpoch();
  const bool published = epoch >= lookupDue_.load(std::memory_order_relaxed);
  const uint64_t tick = plat::TickCount64();
  if (tick >= nextCheck_) {
    ReattachTest(published);
    nextCheck_ = tick;
  }
  lookupDue_.store(plat::PublicationNextDue(epoch, retryTime_), std::memory_order_release);
  if (const scTRAVUESharedData* view = sharedView_.load(std::memory_order_acquire))
    return ReadEnableWord(view) != 0;
  return mailslot_ != plat::kNoMailslot || viewerWindow_ != 0;
}

void clsDebugChannel::ReattachTest(bool published) {
  if (!sharedView_.load(std::memory_order_acquire))
    MapSharedBlock(published && plat::PublicationLiftsBackoff());
  uint64_t window = 0;
  if (!sharedView_.load(std::memory_order_acquire) && global_)
    window = plat::SharedLoad(global_->viewerWindow, std::memory_order_acquire);
  if (window == viewerWindow_ && (window == 0 || plat::IsViewerWindow(window))) return;
  plat::DebugOutput(u"trying to reattach to TRAVUE16");
  if (mailslot_ != plat::kNoMailslot) {
    plat::CloseMailslot(mailslot_);
    mailslot_ = plat::kNoMailslot;
  }
  if (plat::IsViewerWindow(window)) Connect();
  UpdateFastPath();
}

void clsDebugChannel::Connect() {
  MapSharedBlock(false);
  if (!global_) {
    viewerMode_ = 0;
    return;
  }
  viewerWindow_ = plat::SharedLoad(global_->viewerWindow, std::memory_order_acquire);
  if (viewerWindow_ != 0) {
    mailslot_ = plat::OpenMailslot(kMailslotName);
    if (mailslot_ == plat::kNoMailslot) plat::DebugOutput(u"DebugPipe FAIL");
    uint64_t reply = 0;
    plat::SendCopyData(viewerWindow_, 6, u"", 0, &reply);
    codePage_ = reply ? 65001 : 0;
    reply = 0;
    plat::SendCopyData(viewerWindow_, 7, u"", 0, &reply);
    viewerMode_ = static_cast<int32_t>(reply);
  } else {
    viewerMode_ = 0;
  }
  UpdateFastPath();
  SayHello();
}

void clsDebugChannel::SayHello() {
  if (StartsWithNoCase(processFileName_, u"resbinder", 9)) return;
  const String& version = VersionText();
  if (processPath_.Compare(libraryPath_) != 0)
    DebugPrint(u"++%s [%s] [%s]", version.wchar(), processPath_.wchar(), libraryFolder_.wchar());
  else
    DebugPrint(u"++%s [%s]", version.wchar(), processPath_.wchar());
}

void clsDebugChannel::Attach() {
  {
    plat::Lock lock(outputLock_);
    if (global_ && globalCreated_)
      plat::SharedStore(global_->viewerWindow, plat::FindViewerWindow(kOldViewerClass),
                        std::memory_order_release);
    Connect();
  }
  ReadLogSettings();
}

void clsDebugChannel::Detach() {
  plat::Lock lock(outputLock_);
  if (!global_) return;
  if (!StartsWithNoCase(processFileName_, u"resbinder", 8))
    DebugPrint(u"--%s [%s]", VersionText().wchar(), processPath_.wchar());
  if (mailslot_ != plat::kNoMailslot) {
    plat::CloseMailslot(mailslot_);
    mailslot_ = plat::kNoMailslot;
  }
  UpdateFastPath();
}

const String& clsDebugChannel::VersionText() {
  plat::Lock lock(outputLock_);
  if (versionBuilt_) return version_;
  versionBuilt_ = true;
  version_ = ModuleVersionText(std::u16string(plat::LibraryPath()).c_str());
  return version_;
}

void clsDebugChannel::ReadLogSettings() {
  std::u16string value;
  bool haveName = RegReadString(plat::Hive::LocalMachine, u"software\\zarnik", u"Debug.LogFilename", value);
  bool flushOn = RegReadBool(plat::Hive::LocalMachine, u"software\\zarnik", u"Debug.LogFile.Flush", false);
  String name;
  if (haveName && !value.empty()) name.Assign(value.data(), 0, static_cast<int64_t>(value.size()));
  std::u16string temp;
  if (!name.IsEmpty() && FolderOfPath(name).IsEmpty() && plat::SystemTempPath(temp)) {
    String full(temp.c_str());
    full.Append(name);
    name = full;
  }
  SetLogFile(name, flushOn);
}

void clsDebugChannel::SetLogFile(const String& name, bool flush) {
  plat::Lock lock(outputLock_);
  logFileName_ = name;
  flush_ = flush ? 1 : 0;
  logActive_.store(discardSinks_ || !logFileName_.IsEmpty(), std::memory_order_release);
}

void clsDebugChannel::SetDiscardSinks(bool on) {
  plat::Lock lock(outputLock_);
  discardSinks_ = on;
  logActive_.store(discardSinks_ || !logFileName_.IsEmpty(), std::memory_order_release);
}

void clsDebugChannel::SetAlwaysLocked(bool on) {
  plat::Lock lock(outputLock_);
  alwaysLocked_ = on;
  lookupDue_.store(0);
  UpdateFastPath();
}

void clsDebugChannel::SetThreadName(const char* name) {
  plat::Lock lock(threadNameLock_);
  keyScratch_ = CurrentThreadId();
  threadNames_.remove(keyScratch_);
  if (name) threadNames_.insert(keyScratch_, name);
}

const char* clsDebugChannel::ThreadName() {
  plat::Lock lock(threadNameLock_);
  keyScratch_ = CurrentThreadId();
  const char* name = nullptr;
  return threadNames_.find(keyScratch_, name) ? name : nullptr;
}

void clsDebugChannel::SenderAttach() {
  if (!appLocal_) return;
  TravueMutexLock m(appLocal_);
  ++appLocal_->info.attachCount;
  if (!appLocal_->info.SocketOpen()) appLocal_->info.OpenSocket(SenderContext());
}

void clsDebugChannel::SenderDetach() {
  if (!appLocal_) return;
  TravueMutexLock m(appLocal_);
  if (appLocal_->info.attachCount-- == 1) appLocal_->info.CloseSocket(SenderContext());
}

// ---- the free functions of Debug.h that concern the channel's life

bool IsDebugActive() { return DebugActiveInline(); }

void DebugSetThreadName(const char* name) {
  if (clsDebugChannel* ch = DebugChannel()) ch->SetThreadName(name);
}

void DebugChannelAttach() {
  if (clsDebugChannel* ch = DebugChannel()) ch->Attach();
}

void DebugChannelDetach() {
  if (clsDebugChannel* ch = DebugChannel()) ch->Detach();
}

void DebugViewerAttach() {
  if (clsDebugChannel* ch = DebugChannel()) ch->SenderAttach();
}

void DebugViewerDetach() {
  if (clsDebugChannel* ch = DebugChannel()) ch->SenderDetach();
}

}  // namespace zx
