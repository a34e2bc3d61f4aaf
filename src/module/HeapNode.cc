// Heap nodes: creation, the walks, the leak listing and destruction, and the heap
// exports that work on a whole heap.
#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <new>

#include "debug/Debug.h"
#include "module/HeapNode.h"
#include "module/JobLock.h"
#include "module/ModuleList.h"
#include "module/TraceScope.h"
#include "platform/compiler.h"

namespace zx {
namespace {

constexpr size_t kInitialHeapSize = 32768;
constexpr uint32_t kDeadHeap = 0x44414544u;   // "DEAD"

// Dead nodes wait here for reuse (job lock).
clsHeapNode* g_freeNodes = nullptr;

// The context of one walk.
struct WalkState {
  clsHeapNode* node;
  clsHeapNode::WalkMode mode;
  int32_t result;
};

bool IsDebugObject(const plat::HeapWalkEntry& e, plat::SysHeap heap) {
  return e.busy && e.size >= static_cast<size_t>(kDebugOverhead) &&
         plat::ProbeRead32(e.data) == kDebugMagic &&
         plat::ProbeRead64(static_cast<const uint8_t*>(e.data) + kDebugOffHeap) ==
             reinterpret_cast<uint64_t>(heap);
}

bool WalkStep(void* context, const plat::HeapWalkEntry& e) {
  auto* s = static_cast<WalkState*>(context);
  const auto* user = static_cast<const uint8_t*>(e.data) + kDebugHeader;
  switch (s->mode) {
    case clsHeapNode::WalkMode::kCheck:
      if (IsDebugObject(e, s->node->heap) && CheckDebugObject(user, e.size) != kRcOk) {
        s->result = kRcBadObject;
        return false;
      }
      return true;
    case clsHeapNode::WalkMode::kDump:
      if (IsDebugObject(e, s->node->heap)) DumpDebugObject(user, e.size);
      return true;
    case clsHeapNode::WalkMode::kCount:
      if (e.busy) ++s->result;
      return true;
    case clsHeapNode::WalkMode::kLastSize:
      if (e.busy) s->result = static_cast<int32_t>(e.size);
      return true;
    case clsHeapNode::WalkMode::kRelease:
      if (IsDebugObject(e, s->node->heap)) ReleaseObjectRecord(user);
      return true;
  }
  return true;
}

const char16_t* ModuleName(const clsHeapNode* heap) {
  return heap->module ? heap->module->name : u"";
}

bool Traced(const clsHeapNode* heap) {
  return heap->module && heap->module->Traced() && IsDebugActive();
}

}  // namespace

const plat::HeapServices& HeapServicesFirstUse() {
  const plat::HeapServices* system = &plat::SystemHeapServices();
  const plat::HeapServices* none = nullptr;
  g_heapServices.compare_exchange_strong(none, system, std::memory_order_acq_rel);
  return *g_heapServices.load(std::memory_order_acquire);
}

void SetHeapServicesForTests(const plat::HeapServices* services) {
  g_heapServices.store(services ? services : &plat::SystemHeapServices(), std::memory_order_release);
}

// ---- the node

// The creation stack is captured one frame up: past this function and AddHeap.
ZX_NOINLINE clsHeapNode* clsHeapNode::New(clsModuleNode* owner, const char16_t* heapName,
                                                        uint32_t heapFlags) {
  void* memory = g_freeNodes;
  if (memory)
    g_freeNodes = g_freeNodes->next;
  else
    memory = std::malloc(sizeof(clsHeapNode));
  if (!memory) return nullptr;
  auto* node = new (memory) clsHeapNode{};
  node->module = owner;
  CopyName(node->name, heapName);
  if (heapFlags & kHeapNeverDebug) heapFlags &= ~kHeapDebug;
  node->flags = heapFlags;
  if (heapFlags & kHeapDebug) node->stack = CaptureStackRecord(1);
  node->heapOptions = ((heapFlags & kHeapNoSerialize) ? plat::kHeapNoSerialize : 0) +
                      ((heapFlags & kHeapExceptions) ? plat::kHeapGenerateExceptions : 0);
  // A failed creation is not tested: every allocation on the heap then fails.
  const plat::HeapServices& sys = HeapServices();
  node->heap = sys.create(node->heapOptions, kInitialHeapSize, 0);
  // Every call on the heap holds the job lock: a serialised heap that can take that
  // lock as its own enters it again rather than a second lock.
  if (node->heap && sys.share_lock && !(node->heapOptions & plat::kHeapNoSerialize))
    sys.share_lock(node->heap, &JobLock());
  node->signature = kLiveHeap;
  return node;
}

void clsHeapNode::Destroy() {
  if (IsDebugHeap()) Walk(WalkMode::kCheck, nullptr);
  if (IsDebugActive() && maximum > 0)
    DebugPrint(u"Heap['%s'/'%s']: max %d, total %d allocations", ModuleName(this), name, maximum, total);
  if (objects != 0 && !(flags & kHeapQuietLeaks)) {
    scTraceScope scope(IsDebugActive(), u"Warning: deleting heap, but objects are left:");
    Listing();
  }
  if (heap) {
    Walk(WalkMode::kRelease, nullptr);
    HeapServices().destroy(heap);
  }
  ReleaseStackRecord(stack);
  stack = nullptr;
  heap = nullptr;
  module = nullptr;
  signature = kDeadHeap;
  next = g_freeNodes;
  g_freeNodes = this;
}

void clsHeapNode::Listing() {
  if (!IsDebugActive()) return;
  scTraceScope scope(true, u"Heap['%s'/'%s']: %d objects", ModuleName(this), name, objects);
  PrintStackRecord(stack, u"Heap allocation");
  Walk(WalkMode::kDump, nullptr);
}

bool clsHeapNode::Walk(WalkMode mode, int32_t* result) {
  const plat::HeapServices& sys = HeapServices();
  if (!sys.walk) return false;
  WalkState state{this, mode, 0};
  if (sys.lock) sys.lock(heap);
  sys.walk(heap, &WalkStep, &state);
  if (sys.unlock) sys.unlock(heap);
  if (result) *result = state.result;
  return true;
}

// ---- the heap exports

clsHeapNode* HeapCreate(clsModuleNode* module, const char16_t* name, uint32_t flags) {
  JobLockHolder lock;
  if (flags & kHeapRefused) return nullptr;
  // The module handle is checked before it is read; an unknown one gets no heap.
  if (!module || !ModuleList().Contains(module)) return nullptr;
  scTraceScope scope(module->Traced() && IsDebugActive(), u"UtilHeapCreate(%#p,'%s',0x%08x)", module,
                     name ? name : u"(NULL)", flags);
  if (IsDebugActive() && ((flags & kHeapDebug) || (module->Traced() && !(flags & kHeapNeverDebug))))
    DebugPrint(u"%s: UtilHeapCreate(..,'%s',..) called with DEBUG bit", module->name, name);
  if ((module->flags & kJobDebugHeaps) && !(flags & kHeapNeverDebug)) flags |= kHeapDebug;
  clsHeapNode* heap = module->AddHeap(name, flags);
  scope.Close(u"->%#p", heap);
  return heap;
}

int32_t HeapDelete(clsHeapNode* heap) {
  if (!heap) return kRcOk;
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) {
    if (IsDebugActive()) DebugPrint(u"Error: clsModuleNode['%s']::DeleteHeap(%#p): Invalid handle", u"", heap);
    return kRcInvalidHandle;
  }
  clsModuleNode* module = heap->module;
  scTraceScope scope(Traced(heap), u"UtilHeapDelete(%#p) ['%s','%s']", heap, module->name, heap->name);
  const int32_t rc = module->DeleteHeap(heap);
  scope.Close(u"->%d", rc);
  return rc;
}

int32_t HeapSize(clsHeapNode* heap) {
  if (!heap) return 0;
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) return kRcInvalidHandle;
  scTraceScope scope(Traced(heap), u"UtilHeapSize(%#p) ['%s','%s']", heap, ModuleName(heap), heap->name);
  int32_t rc = 0;
  if (heap->IsDebugHeap()) {
    // The size of the last busy block of the walk, not a total.
    if (!heap->Walk(clsHeapNode::WalkMode::kLastSize, &rc)) rc = heap->bytes;
  } else {
    if (IsDebugActive()) {
      DebugPrint(u"UtilHeapSize will only work for DEBUG heaps, or in NT >= 3.51");
      DebugPrint(u"0x%08x", heap->flags);
    }
    rc = kRcUnavailable;
  }
  scope.Close(u"->%d", rc);
  return rc;
}

int32_t HeapSizeObjects(clsHeapNode* heap) {
  if (!heap) return 0;
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) return kRcInvalidHandle;
  scTraceScope scope(Traced(heap), u"UtilHeapSizeObjects(%#p) ['%s','%s']", heap, heap->name,
                     ModuleName(heap));
  int32_t rc = 0;
  if (!heap->Walk(clsHeapNode::WalkMode::kLastSize, &rc)) {
    if (IsDebugActive()) DebugPrint(u"Error: UtilHeapSizeObjects(...) does only run under NT");
    rc = kRcUnavailable;
  }
  scope.Close(u"->%d", rc);
  return rc;
}

int32_t HeapValidate(clsHeapNode* heap, void* user) {
  if (!heap) return 0;
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) return kRcInvalidHandle;
  scTraceScope scope(Traced(heap), u"UtilHeapValidate(%#p) ['%s','%s']", heap, heap->name,
                     ModuleName(heap));
  const plat::HeapServices& sys = HeapServices();
  int32_t rc = kRcOk;
  if (!sys.walk) {
    if (IsDebugActive()) DebugPrint(u"Error: UtilHeapValidate(...) does only run under NT");
    rc = kRcUnavailable;
  } else {
    if (user && sys.validate) {
      const auto* p = static_cast<const uint8_t*>(user);
      const uint32_t word = heap->WordInFront(p);
      const uint8_t* block = word == kDebugUserMagic ? p - kDebugHeader
                             : word == kPlainMagic   ? p - kPlainHeader
                                                     : p;
      if (!sys.validate(heap->heap, 0, block)) {
        if (IsDebugActive()) DebugPrint(u" Error: Heap corrupted");
        heap->Listing();
        rc = kRcCorrupted;
      }
    }
    // The walk's verdict does not change the result.
    if (heap->IsDebugHeap()) heap->Walk(clsHeapNode::WalkMode::kCheck, nullptr);
  }
  scope.Close(u"->%d", rc);
  return rc;
}

int32_t HeapShrink(clsHeapNode* heap) {
  if (!heap) return 0;
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) return kRcInvalidHandle;
  scTraceScope scope(Traced(heap), u"UtilHeapShrink(%#p) ['%s','%s']", heap, heap->name, ModuleName(heap));
  const plat::HeapServices& sys = HeapServices();
  int32_t rc = kRcOk;
  if (!sys.compact) {
    if (IsDebugActive()) DebugPrint(u"Error: UtilHeapShrink(...) does only run under NT");
    rc = kRcUnavailable;
  } else if (sys.compact(heap->heap, heap->FreeOptions()) == 0) {
    if (IsDebugActive())
      DebugPrint(u"Error: clsHeapNode['%s'/'%s']::ShrinkHeap(%#p) failed", ModuleName(heap), heap->name, heap);
    rc = kRcInvalidHandle;
  }
  scope.Close(u"->%d", rc);
  return rc;
}

}  // namespace zx
