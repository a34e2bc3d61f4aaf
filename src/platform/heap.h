// Private system heaps: what the tracked heaps need of them. On Windows these are
// the real heap functions; on Linux each heap is our own list of blocks over the
// system allocator, so that validation and walks see exactly the blocks it handed
// out. Every operation is reached through a table, because the walk, validation,
// compaction and lock functions are late-bound on Windows and may be missing.
// Errors: as the system's heap functions answer them: null, false, 0 or
// kHeapBadBlock.
// Threads: a heap created without kHeapNoSerialize may be used from any thread (its
// own lock serialises); with it, the caller serialises every call on that heap.
//
//   const plat::HeapServices& h = plat::SystemHeapServices();
//   plat::SysHeap heap = h.create(0, 0, 0); void* p = h.alloc(heap, plat::kHeapZeroMemory, 64);
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/compiler.h"

namespace plat {

class LockWord;
using SysHeap = void*;

// Heap options and allocation flags, with the system's values.
constexpr uint32_t kHeapNoSerialize = 0x1;
constexpr uint32_t kHeapGenerateExceptions = 0x4;
constexpr uint32_t kHeapZeroMemory = 0x8;

// HeapBlockSize's answer for a pointer that is no block of the heap.
constexpr size_t kHeapBadBlock = static_cast<size_t>(-1);

struct HeapWalkEntry {
  void* data;     // start of the block as the heap handed it out
  size_t size;    // its size in bytes
  bool busy;      // an allocated block (a walk may also report free regions)
};
// Returns false to end the walk.
using HeapWalkFn = bool (*)(void* context, const HeapWalkEntry& entry);

struct HeapServices {
  // Always present.
  SysHeap (*create)(uint32_t options, size_t initialSize, size_t maximumSize);
  bool (*destroy)(SysHeap heap);
  void* (*alloc)(SysHeap heap, uint32_t flags, size_t size);
  bool (*free)(SysHeap heap, uint32_t flags, void* block);
  size_t (*size)(SysHeap heap, uint32_t flags, const void* block);   // kHeapBadBlock on failure
  // Late-bound: null when the system lacks the function.
  bool (*validate)(SysHeap heap, uint32_t flags, const void* block);   // block null: the whole heap
  size_t (*compact)(SysHeap heap, uint32_t flags);                     // 0 on failure
  bool (*walk)(SysHeap heap, HeapWalkFn fn, void* context);            // false when it could not run
  bool (*lock)(SysHeap heap);
  bool (*unlock)(SysHeap heap);
  // Whether [at, at + n) lies in memory the heap keeps mapped, so that reading it
  // cannot fault, freed blocks included. Null where the heap cannot tell (Windows):
  // the callers then read as the system's own heap code would.
  bool (*holds)(SysHeap heap, const void* at, size_t n);
  // Makes a serialised heap take `lock` instead of a lock of its own, for callers
  // that hold that lock around every call anyway: their calls then enter it again
  // (recursively, without an atomic operation). Null where the system heap has its
  // own lock that cannot be shared (Windows).
  void (*share_lock)(SysHeap heap, LockWord* lock);
};

// The services of this system, resolved once.
const HeapServices& SystemHeapServices();

// Whether [at, at + n) can be read without a fault, asked of the system (a slow
// call, for error paths).
bool MemoryReadable(const void* at, size_t n);

}  // namespace plat

// Reads from memory that the caller may no longer own, such as the prefix of a
// block that was already freed (a second free is told by what it finds there).
// The address sanitizer does not see these reads; the memory must be mapped.
#if ZX_ASAN
#  define ZXUT_PROBE_ATTR inline __attribute__((noinline, no_sanitize("address")))
#else
#  define ZXUT_PROBE_ATTR inline
#endif

namespace plat {

ZXUT_PROBE_ATTR uint8_t ProbeRead8(const void* at) { return *static_cast<const uint8_t*>(at); }
ZXUT_PROBE_ATTR uint32_t ProbeRead32(const void* at) {
  uint32_t v;
  __builtin_memcpy(&v, at, sizeof v);
  return v;
}
ZXUT_PROBE_ATTR uint64_t ProbeRead64(const void* at) {
  uint64_t v;
  __builtin_memcpy(&v, at, sizeof v);
  return v;
}

}  // namespace plat
