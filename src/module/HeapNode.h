// Tracked heaps: a clsHeapNode per heap of a module, over a private system heap,
// and the two object forms recognised by the word in front of the user pointer.
// Everything here runs under the job lock.
#pragma once
#include <atomic>
#include <cstdint>

#include "module/StackRecord.h"
#include "platform/heap.h"

namespace zx {

class clsModuleNode;

// Heap creation flags.
constexpr uint32_t kHeapNoSerialize = 0x10;
constexpr uint32_t kHeapExceptions = 0x20;
constexpr uint32_t kHeapNeverDebug = 0x40;
constexpr uint32_t kHeapRefused = 0x80;
constexpr uint32_t kHeapQuietLeaks = 0x100;
constexpr uint32_t kHeapDebug = 0x40000000u;
// Object flags.
constexpr uint32_t kObjZero = 0x1;
constexpr uint32_t kObjFillF5 = 0x2;
constexpr uint32_t kObjNoStack = 0x4;
constexpr uint32_t kObjPlain = 0x40;
constexpr uint32_t kObjDebug = 0x40000000u;

// The object formats.
constexpr uint32_t kPlainMagic = 0xFAAFFAAFu;
constexpr uint32_t kDebugMagic = 0xC0FFEEEEu;
constexpr uint32_t kDebugUserMagic = 0xAFFEAFFEu;
constexpr uint32_t kFence = 0xE5E55E5Eu;
constexpr int kPlainHeader = 4;
constexpr int kDebugHeader = 44;
constexpr int kDebugOverhead = 48;
constexpr int kDebugOffHeap = 8;
constexpr int kDebugOffTick = 16;
constexpr int kDebugOffStack = 24;
constexpr int kDebugOffTag = 32;
constexpr int kDebugOffSize = 36;
constexpr int kDebugOffUserMagic = 40;
constexpr uint8_t kFillNew = 0xF5;
constexpr uint8_t kFillFreed = 0xCC;
// Addresses this low are never objects: reading in front of them would fault.
constexpr uintptr_t kLowestObject = 0x10000;

inline const plat::HeapServices& HeapServices();   // below: the services in use

class clsHeapNode {
 public:
  clsModuleNode* module;
  char16_t name[33];
  uint32_t flags;
  uint32_t heapOptions;
  scStackRecord* stack;
  plat::SysHeap heap;
  int32_t objects;
  int32_t bytes;
  int32_t total;
  int32_t maximum;
  clsHeapNode* next;
  clsHeapNode* prev;
  uint32_t signature;   // kLiveHeap while the node is in use: handles are checked by it

  static constexpr uint32_t kLiveHeap = 0x50414548u;   // "HEAP"

  // Node memory is never given back, only reused for later nodes, so that a stale
  // handle still reads a node, one whose signature says it is gone.
  static clsHeapNode* New(clsModuleNode* owner, const char16_t* heapName, uint32_t heapFlags);
  // Checks, reports and destroys the node (the system heap with all objects).
  void Destroy();
  static bool IsLive(const clsHeapNode* node) {
    return node && plat::ProbeRead32(&node->signature) == kLiveHeap;
  }

  bool IsDebugHeap() const { return (flags & kHeapDebug) != 0; }
  uint32_t FreeOptions() const { return heapOptions & plat::kHeapNoSerialize; }

  // Either form, as the flags and the heap say.
  void* AllocObject(int32_t size, uint32_t objectFlags, uint32_t tag);
  // A debug heap makes debug objects unless told plain; any heap makes one on request.
  bool WantsDebugForm(uint32_t objectFlags) const {
    return (objectFlags & kObjDebug) || (IsDebugHeap() && !(objectFlags & kObjPlain));
  }
  void* AllocPlainObject(int32_t size, uint32_t objectFlags);
  int32_t FreeObject(void* user);
  int32_t SizeObject(void* user);
  // The word in front of a user pointer (which tells the object's form), or 0 when
  // it cannot be read: a wild or stale pointer gets its error code, not a fault.
  // (Inline: every free and size asks it first.)
  uint32_t WordInFront(const void* user) {
    const auto* at = static_cast<const uint8_t*>(user);
    return reinterpret_cast<uintptr_t>(at) >= kLowestObject && CanRead(at - 4, 4) ? plat::ProbeRead32(at - 4) : 0;
  }
  // Whether [at, at + n) can be read: the system heap knows its own memory; other
  // addresses are asked of the system (error paths only).
  bool CanRead(const void* at, size_t n) { return HeapHolds(at, n) || plat::MemoryReadable(at, n); }
  // The heap's own answer alone (no system call): true when it holds [at, at + n)
  // or cannot tell.
  bool HeapHolds(const void* at, size_t n) {
    const plat::HeapServices& sys = HeapServices();
    return !sys.holds || sys.holds(heap, at, n);
  }
  // The leak listing: a scope with the count, the heap's stack, the debug objects.
  void Listing();

  // Walks (false when the system cannot walk).
  // kRelease (not one of the reports): the objects' stack records go with the heap.
  enum class WalkMode { kCheck, kDump, kCount, kLastSize, kRelease };
  bool Walk(WalkMode mode, int32_t* result);

 private:
  // headerHeld: the heap holds the whole header (else it is asked again).
  int32_t FreeDebugObject(uint8_t* user, bool headerHeld);
  int32_t FreePlainObject(uint8_t* user);
  // Counts the allocation (a failed one too) and tells a failure.
  void* Counted(uint8_t* user, bool debug, int32_t size);
  void PrintError(const char16_t* method, const void* user, const char16_t* reason, ...);
};

// The checks and the dump of one debug object (user pointer) in a block of
// `blockSize` bytes; nothing beyond the block is read.
int32_t CheckDebugObject(const uint8_t* user, size_t blockSize);
void DumpDebugObject(const uint8_t* user, size_t blockSize, bool withStack = true);
// Releases the stack record of a debug object, if it has one.
void ReleaseObjectRecord(const uint8_t* user);

// The system heap services the heaps use (tests replace them; null restores).
// The system heap services in use: the system's, or a test's. Read on every heap
// call, so the pointer is kept here rather than asked of the platform each time.
constinit inline std::atomic<const plat::HeapServices*> g_heapServices{nullptr};
const plat::HeapServices& HeapServicesFirstUse();
inline const plat::HeapServices& HeapServices() {
  const plat::HeapServices* s = g_heapServices.load(std::memory_order_acquire);
  return s ? *s : HeapServicesFirstUse();
}
void SetHeapServicesForTests(const plat::HeapServices* services);

// The exports of the heap family.
clsHeapNode* HeapCreate(clsModuleNode* module, const char16_t* name, uint32_t flags);
int32_t HeapDelete(clsHeapNode* heap);
void* HeapObjectAlloc(clsHeapNode* heap, int32_t size, uint32_t flags, uint32_t tag);
int32_t HeapObjectFree(clsHeapNode* heap, void* user);
int32_t HeapObjectSize(clsHeapNode* heap, void* user);
int32_t HeapSize(clsHeapNode* heap);
int32_t HeapSizeObjects(clsHeapNode* heap);
int32_t HeapValidate(clsHeapNode* heap, void* user);
int32_t HeapShrink(clsHeapNode* heap);

}  // namespace zx
