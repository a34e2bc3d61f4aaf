// Heap objects: the plain form (a 4-byte magic in front), the debug form (a 44-byte
// header, a trailing fence and a captured stack), and the untracked form of the
// null heap (the size in 8 bytes in front, from the general allocator).
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unordered_set>

#include "core/format/Format.h"
#include "debug/Debug.h"
#include "debug/DebugChannel.h"
#include "module/HeapNode.h"
#include "module/JobLock.h"
#include "module/ModuleList.h"
#include "module/TraceScope.h"
#include "platform/compiler.h"
#include "platform/stamps.h"
#include "platform/stack.h"

namespace zx {
namespace {

constexpr int kUntrackedHeader = 8;
constexpr int kDumpBytes = 64;
constexpr int kRawTraces = 10;

void Put32(uint8_t* at, uint32_t v) { std::memcpy(at, &v, sizeof v); }
void Put64(uint8_t* at, uint64_t v) { std::memcpy(at, &v, sizeof v); }
int32_t SizeOf(const uint8_t* user) {
  return static_cast<int32_t>(plat::ProbeRead32(user - kDebugHeader + kDebugOffSize));
}
// The stack records of live debug objects (job lock). A record is followed only when
// it is one of them: the pointer in a header may have been overwritten.
std::unordered_set<const scStackRecord*>& ObjectRecords() {
  static auto* records = new std::unordered_set<const scStackRecord*>();   // never destroyed
  return *records;
}
scStackRecord* StackOf(const uint8_t* user) {
  auto* record = reinterpret_cast<scStackRecord*>(plat::ProbeRead64(user - kDebugHeader + kDebugOffStack));
  return record && ObjectRecords().count(record) ? record : nullptr;
}
// Two frames up: past this function and AllocObject, from AllocObject's caller.
ZX_NOINLINE scStackRecord* CaptureObjectRecord() {
  scStackRecord* record = CaptureStackRecord(2);
  if (!record) return nullptr;
  try {
    ObjectRecords().insert(record);
  } catch (const std::bad_alloc&) {   // no room to remember it: the object goes without
    ReleaseStackRecord(record);
    return nullptr;
  }
  return record;
}

}  // namespace

void ReleaseObjectRecord(const uint8_t* user) {
  if (scStackRecord* record = StackOf(user)) {
    ObjectRecords().erase(record);
    ReleaseStackRecord(record);
  }
}

namespace {

bool Plausible(const void* user) { return reinterpret_cast<uintptr_t>(user) >= kLowestObject; }

// The fence of a debug object; a size that reaches past its block counts as a
// changed fence (the header itself was overwritten).
bool FenceIntact(const uint8_t* user, size_t blockSize) {
  const uint64_t size = static_cast<uint32_t>(SizeOf(user));
  if (size + kDebugOverhead > blockSize) return false;
  return plat::ProbeRead32(user + size) == kFence;
}

// A raw stack of the caller: "%d traces", then one address a line.
void PrintRawStack() {
  void* frames[kRawTraces];
  const int n = plat::CaptureStack(1, kRawTraces, frames);
  DebugPrint(u"%d traces", n);
  for (int i = 0; i < n; ++i) DebugPrint(u"  %#p", frames[i]);
}

void* AllocUntracked(int32_t size, uint32_t flags) {
  const uint64_t n = static_cast<uint32_t>(size);
  auto* block = static_cast<uint8_t*>(std::malloc(n + kUntrackedHeader));
  if (!block) return nullptr;
  Put64(block, static_cast<uint64_t>(static_cast<int64_t>(size)));
  uint8_t* user = block + kUntrackedHeader;
  if (flags & kObjZero)
    std::memset(user, 0, n);
  else if (flags & kObjFillF5)
    std::memset(user, kFillNew, n);
  return user;
}

}  // namespace

// ---- one debug object

int32_t CheckDebugObject(const uint8_t* user, size_t blockSize) {
  if (plat::ProbeRead32(user - kDebugHeader) != kDebugMagic) {
    scTraceScope scope(IsDebugActive(), u"Error: Not allocated with UTIL or memory underrun");
    return kRcBadObject;
  }
  if (!FenceIntact(user, blockSize)) {
    scTraceScope scope(IsDebugActive(), u"Error: Memory overrun, fence value has been changed");
    DumpDebugObject(user, blockSize);
    return kRcBadObject;
  }
  return kRcOk;
}

void DumpDebugObject(const uint8_t* user, size_t blockSize, bool withStack) {
  if (!IsDebugActive() || plat::ProbeRead32(user - kDebugHeader) != kDebugMagic) return;
  const int32_t size = SizeOf(user);
  scTraceScope scope(true, u"-Object at %#p, %d(=0x%08x) Bytes", user, size, static_cast<uint32_t>(size));
  // Never beyond the block, whatever the header says.
  const int64_t room = blockSize > static_cast<size_t>(kDebugOverhead) ? static_cast<int64_t>(blockSize) - kDebugOverhead : 0;
  int32_t covered = size < kDumpBytes ? size : kDumpBytes;
  if (covered > room) covered = static_cast<int32_t>(room);
  for (int32_t row = 0; row < covered; row += 8) {
    char16_t line[69];
    int at = 0;
    line[at++] = u' ';
    line[at++] = u' ';
    uint8_t bytes[8];
    for (int i = 0; i < 8; ++i) {
      const bool inside = row + i < covered;
      bytes[i] = inside ? plat::ProbeRead8(user + row + i) : 0;
      if (inside)
        at += FormatTo(line + at, 69 - static_cast<size_t>(at), u"%02x ", bytes[i]);
      else
        for (int k = 0; k < 3; ++k) line[at++] = u' ';
    }
    line[at++] = u' ';
    for (int i = 0; i < 8; ++i) {
      const bool inside = row + i < covered;
      line[at++] = !inside ? u' ' : (bytes[i] >= 0x20 && bytes[i] < 0x7F) ? bytes[i] : u'.';
    }
    line[at] = 0;
    scope.Line(u"%s", line);
  }
  if (withStack) PrintStackRecord(StackOf(user), u"Memory object allocation");
}

// ---- allocation and release on a heap

// The object's stack is captured one frame up: past this function, from its caller.
ZX_NOINLINE void* clsHeapNode::AllocObject(int32_t size, uint32_t objectFlags, uint32_t tag) {
  if (!WantsDebugForm(objectFlags)) return AllocPlainObject(size, objectFlags);
  const plat::HeapServices& sys = HeapServices();
  // A negative size goes on as an unsigned 32-bit number.
  const uint64_t n = static_cast<uint32_t>(size);
  uint8_t* user = nullptr;
  if (size < 0 && IsDebugActive()) {
    DebugPrint(u"Error: clsHeapNode['%s'/'%s']::AllocObject%s(%d)", module->name, name, u"D", size);
    PrintRawStack();
  }
  auto* block = static_cast<uint8_t*>(sys.alloc(heap, FreeOptions(), n + kDebugOverhead));
  if (block) {
    user = block + kDebugHeader;
    Put32(block, kDebugMagic);
    Put64(block + kDebugOffHeap, reinterpret_cast<uint64_t>(heap));
    Put32(block + kDebugOffTick, plat::CoarseTickCount());
    scStackRecord* record = (objectFlags & kObjNoStack) ? nullptr : CaptureObjectRecord();
    Put64(block + kDebugOffStack, reinterpret_cast<uint64_t>(record));
    Put32(block + kDebugOffTag, tag);
    Put32(block + kDebugOffSize, static_cast<uint32_t>(size));
    Put32(block + kDebugOffUserMagic, kDebugUserMagic);
    Put32(user + n, kFence);
    bytes = static_cast<int32_t>(static_cast<uint32_t>(bytes) + static_cast<uint32_t>(size));
    if (objectFlags & kObjZero)
      std::memset(user, 0, n);
    else if (objectFlags & kObjFillF5)
      std::memset(user, kFillNew, n);
  }
  return Counted(user, true, size);
}

// Inline into the export's path: a plain object captures no stack.
inline void* clsHeapNode::AllocPlainObject(int32_t size, uint32_t objectFlags) {
  const uint64_t n = static_cast<uint32_t>(size);
  const uint32_t zero = (objectFlags & kObjZero) ? plat::kHeapZeroMemory : 0;
  auto* block = static_cast<uint8_t*>(HeapServices().alloc(heap, FreeOptions() | zero, n + kPlainHeader));
  uint8_t* user = nullptr;
  if (block) {
    Put32(block, kPlainMagic);
    user = block + kPlainHeader;
    if (!(objectFlags & kObjZero) && (objectFlags & kObjFillF5)) std::memset(user, kFillNew, n);
  }
  return Counted(user, false, size);
}

void* clsHeapNode::Counted(uint8_t* user, bool debug, int32_t size) {
  if (!user && IsDebugActive())
    DebugPrint(u"Error: clsHeapNode['%s'/'%s']::AllocObject%s(%d): Out of memory", module->name, name,
               debug ? u"D" : u"ND", size);
  // A failed allocation counts as a live object too.
  ++objects;
  if (objects > maximum) maximum = objects;
  ++total;
  return user;
}

void clsHeapNode::PrintError(const char16_t* method, const void* user, const char16_t* reason, ...) {
  if (!IsDebugActive()) return;
  DebugPrint(u"Error: clsHeapNode['%s'/'%s']::%s(%#p)", module->name, name, method, user);
  char16_t text[256];
  va_list ap;
  va_start(ap, reason);
  if (VFormatTo(text, 256, reason, ap) < 0) text[0] = 0;
  va_end(ap);
  DebugPrint(u"%s", text);
}

inline int32_t clsHeapNode::FreeObject(void* userPointer) {
  auto* user = static_cast<uint8_t*>(userPointer);
  // The heap is asked for a debug object's whole header first: one look then serves
  // the word in front and the header both. Memory the heap does not vouch for (a
  // plain object at the start of its memory, a wild pointer) is asked for its word
  // alone, as the system can tell.
  const bool headerHeld =
      reinterpret_cast<uintptr_t>(user) >= kLowestObject + kDebugHeader && HeapHolds(user - kDebugHeader, kDebugHeader);
  const uint32_t word = headerHeld ? plat::ProbeRead32(user - 4) : WordInFront(user);
  if (word == kDebugUserMagic) return FreeDebugObject(user, headerHeld);
  if (word == kPlainMagic) return FreePlainObject(user);
  PrintError(u"FreeObject", user, u"bad pointer, or memory underrun (magic=0x%08x)", word);
  return kRcBadObject;
}

int32_t clsHeapNode::FreeDebugObject(uint8_t* user, bool headerHeld) {
  uint8_t* block = user - kDebugHeader;
  if (!(headerHeld || CanRead(block, kDebugHeader)) || plat::ProbeRead32(block) != kDebugMagic) {
    PrintError(u"FreeObjectD", user, u"Not allocated with UTIL or memory underrun (object not freed)");
    return kRcBadObject;
  }
  const plat::HeapServices& sys = HeapServices();
  const int32_t size = SizeOf(user);
  // A block this heap does not hold (freed already, or another heap's) is not
  // touched beyond its header: no fill, no stack record followed.
  const bool ours = plat::ProbeRead64(block + kDebugOffHeap) == reinterpret_cast<uint64_t>(heap);
  const size_t blockSize = ours ? sys.size(heap, FreeOptions(), block) : plat::kHeapBadBlock;
  if (blockSize == plat::kHeapBadBlock) {
    PrintError(u"FreeObjectD", user, u"error freeing object");
    DumpDebugObject(user, 0, false);
    return kRcBadObject;
  }
  const bool fenceIntact = FenceIntact(user, blockSize);
  // The stack record goes at once, whatever the fence says; the dump that may follow
  // finds no pointer to it.
  if (plat::ProbeRead64(block + kDebugOffStack)) ReleaseObjectRecord(user);
  Put64(block + kDebugOffStack, 0);
  if (!fenceIntact) {
    if (IsDebugActive()) {
      PrintError(u"FreeObjectD", user, u"Memory overrun, fence value has been changed (object not freed)");
      DumpDebugObject(user, blockSize);
    }
    return kRcBadObject;
  }
  if (size < 0) {
    PrintError(u"FreeObjectD", user, u"bad size %d", size);
    DumpDebugObject(user, blockSize);
  }
  if (DebugActiveInline()) std::memset(user, kFillFreed, static_cast<uint32_t>(size));
  if (!sys.free(heap, FreeOptions(), block)) {
    PrintError(u"FreeObjectD", user, u"error freeing object");
    DumpDebugObject(user, blockSize);
    return kRcBadObject;
  }
  --objects;
  bytes = static_cast<int32_t>(static_cast<uint32_t>(bytes) - static_cast<uint32_t>(size));
  return kRcOk;
}

inline int32_t clsHeapNode::FreePlainObject(uint8_t* user) {
  uint8_t* block = user - kPlainHeader;
  const plat::HeapServices& sys = HeapServices();
  if (DebugActiveInline()) {
    const size_t blockSize = sys.size(heap, FreeOptions(), block);
    const int64_t n = blockSize == plat::kHeapBadBlock ? -1 : static_cast<int64_t>(blockSize);
    if (n > 0)
      std::memset(block, kFillFreed, static_cast<size_t>(n));
    else
      PrintError(u"FreeObjectND", user, u"bad object size %d", static_cast<int32_t>(n));
  }
  if (!sys.free(heap, FreeOptions(), block)) {
    PrintError(u"FreeObjectND", user, u"error freeing object");
    return kRcBadObject;
  }
  --objects;
  return kRcOk;
}

int32_t clsHeapNode::SizeObject(void* userPointer) {
  auto* user = static_cast<uint8_t*>(userPointer);
  const uint32_t word = WordInFront(user);
  if (word != kDebugUserMagic && word != kPlainMagic) {
    PrintError(u"SizeObject", user, u"bad pointer, or memory underrun (magic=0x%08x)\n", word);
    return kRcBadObject;
  }
  const bool debug = word == kDebugUserMagic;
  const size_t blockSize =
      HeapServices().size(heap, FreeOptions(), user - (debug ? kDebugHeader : kPlainHeader));
  // The system's failure answer is no size: the pointer is no block of this heap.
  if (blockSize == plat::kHeapBadBlock) {
    PrintError(u"SizeObject", user, u"bad pointer, or memory underrun (magic=0x%08x)\n", word);
    return kRcBadObject;
  }
  if (blockSize == 0 && IsDebugHeap()) {
    if (IsDebugActive()) {
      DebugPrint(u"Warning: clsHeapNode['%s'/'%s']::SizeObject(%#p):", module->name, name, user);
      DebugPrint(u"Object has a size of 0 (bad pointer?)\n");
    }
    return 0;
  }
  return static_cast<int32_t>(blockSize - (debug ? kDebugOverhead : kPlainHeader));
}

// ---- the object exports

void* HeapObjectAlloc(clsHeapNode* heap, int32_t size, uint32_t flags, uint32_t tag) {
  if (!heap) return AllocUntracked(size, flags);   // the untracked path takes no lock
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) return nullptr;
  if (!heap->WantsDebugForm(flags)) return heap->AllocPlainObject(size, flags);
  return heap->AllocObject(size, flags, tag);
}

int32_t HeapObjectFree(clsHeapNode* heap, void* user) {
  if (!heap) {
    if (!Plausible(user)) return kRcBadObject;
    std::free(static_cast<uint8_t*>(user) - kUntrackedHeader);
    return kRcOk;
  }
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) return kRcInvalidHandle;
  return heap->FreeObject(user);
}

int32_t HeapObjectSize(clsHeapNode* heap, void* user) {
  if (!heap) {
    if (!Plausible(user)) return kRcBadObject;
    return static_cast<int32_t>(plat::ProbeRead32(static_cast<uint8_t*>(user) - kUntrackedHeader));
  }
  JobLockHolder lock;
  if (!clsHeapNode::IsLive(heap)) return kRcInvalidHandle;
  return heap->SizeObject(user);
}

}  // namespace zx
