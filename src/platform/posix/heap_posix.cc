// Private heaps on Linux: each heap keeps its own doubly linked list of blocks taken
// from the system allocator, so that it can tell its blocks from anything else, walk
// them, and release them all at once when it is destroyed. A block carries a
// 48-byte header in front of what the heap hands out (16-byte alignment is kept).
// A block that was freed, or that belongs to another heap, is refused by every
// operation without being touched: its header no longer carries this heap's mark.
// As the system's heaps do, a heap keeps freed small blocks in lists by size for
// its next allocations; compaction gives them back to the system.
#include <malloc.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/errors.h"
#include "platform/heap.h"
#include "platform/stamps.h"

namespace plat {
namespace {

constexpr uint64_t kHeapMark = 0x5a58555448454150ULL;    // "ZXUTHEAP"
constexpr uint64_t kBlockMark = 0x5a585554424c4f4bULL;   // "ZXUTBLOK"
constexpr uint64_t kCachedMark = 0x5a58555446524545ULL;  // "ZXUTFREE"
// Freed blocks up to 1 KiB wait for reuse, in lists of 16-byte size classes, at
// most 32 a class.
constexpr size_t kClassBytes = 16;
constexpr size_t kClasses = 64;
constexpr uint32_t kMaxCached = 32;

// A recursive lock that costs one atomic exchange when free: the job lock above
// already serialises the tracked heaps, so waiting is rare.
class RecursiveSpinLock {
 public:
  void Lock() {
    const uintptr_t me = ThreadToken();
    if (owner_.load(std::memory_order_relaxed) == me) {
      ++depth_;
      return;
    }
    for (unsigned spins = 0;; ++spins) {
      uintptr_t expected = 0;
      if (owner_.compare_exchange_weak(expected, me, std::memory_order_acquire,
                                       std::memory_order_relaxed))
        break;
      if (spins < 64) {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#endif
      } else {
        sched_yield();
      }
    }
    depth_ = 1;
  }
  void Unlock() {
    if (--depth_ == 0) owner_.store(0, std::memory_order_release);
  }

 private:
  std::atomic<uintptr_t> owner_{0};
  uint32_t depth_ = 0;
};

struct PosixHeap;

struct alignas(16) Block {
  Block* prev;
  Block* next;
  PosixHeap* owner;
  size_t size;
  uint64_t mark;    // kBlockMark ^ address while the block is live
  uint64_t unused;
};
static_assert(sizeof(Block) == 48, "block header keeps 16-byte alignment");

struct PosixHeap {
  uint64_t mark = kHeapMark;
  uint32_t options = 0;
  size_t initial = 0;
  size_t maximum = 0;
  size_t used = 0;
  RecursiveSpinLock lock;
  Block head{};   // sentinel of the circular list of live blocks
  Block* cached[kClasses] = {};   // freed blocks by class, linked through `next`
  uint32_t cachedCount[kClasses] = {};
};

// The class of a request, or kClasses when it is too large to be kept.
size_t ClassOf(size_t size) { return size == 0 ? 0 : (size - 1) / kClassBytes; }

void ReleaseCached(PosixHeap* h) {
  for (size_t c = 0; c < kClasses; ++c) {
    for (Block* b = h->cached[c]; b;) {
      Block* next = b->next;
      std::free(b);
      b = next;
    }
    h->cached[c] = nullptr;
    h->cachedCount[c] = 0;
  }
}

uint64_t BlockMark(const Block* b) { return kBlockMark ^ reinterpret_cast<uintptr_t>(b); }

PosixHeap* AsHeap(SysHeap heap) {
  auto* h = static_cast<PosixHeap*>(heap);
  return h && ProbeRead64(&h->mark) == kHeapMark ? h : nullptr;
}

// The live block of `h` that `data` starts, or null.
Block* AsBlock(PosixHeap* h, const void* data) {
  // Blocks are handed out 16-byte aligned, never this low.
  const uintptr_t at = reinterpret_cast<uintptr_t>(data);
  if (at < 0x10000 + sizeof(Block) || at % alignof(Block) != 0) return nullptr;
  auto* b = reinterpret_cast<Block*>(const_cast<void*>(data)) - 1;
  if (ProbeRead64(&b->mark) != BlockMark(b)) return nullptr;
  if (reinterpret_cast<PosixHeap*>(ProbeRead64(&b->owner)) != h) return nullptr;
  return b;
}

class HeapGuard {
 public:
  HeapGuard(PosixHeap* h, uint32_t flags)
      : h_(((h->options | flags) & kHeapNoSerialize) ? nullptr : h) {
    if (h_) h_->lock.Lock();
  }
  ~HeapGuard() {
    if (h_) h_->lock.Unlock();
  }
  HeapGuard(const HeapGuard&) = delete;
  HeapGuard& operator=(const HeapGuard&) = delete;

 private:
  PosixHeap* h_;
};

SysHeap Create(uint32_t options, size_t initialSize, size_t maximumSize) {
  auto* h = new (std::nothrow) PosixHeap;
  if (!h) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  h->options = options;
  h->initial = initialSize;
  h->maximum = maximumSize;
  h->head.prev = h->head.next = &h->head;
  return h;
}

bool Destroy(SysHeap heap) {
  PosixHeap* h = AsHeap(heap);
  if (!h) {
    SetLastError(kErrInvalidHandle);
    return false;
  }
  {
    HeapGuard guard(h, 0);
    for (Block* b = h->head.next; b != &h->head;) {
      Block* next = b->next;
      b->mark = 0;
      std::free(b);
      b = next;
    }
    ReleaseCached(h);
    h->head.prev = h->head.next = &h->head;
    h->mark = 0;
  }
  delete h;
  return true;
}

void* Alloc(SysHeap heap, uint32_t flags, size_t size) {
  PosixHeap* h = AsHeap(heap);
  if (!h) {
    SetLastError(kErrInvalidHandle);
    return nullptr;
  }
  if (size > (static_cast<size_t>(1) << 47)) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  HeapGuard guard(h, flags);
  if (h->maximum && h->used + size > h->maximum) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  const size_t cls = ClassOf(size);
  Block* b = cls < kClasses ? h->cached[cls] : nullptr;
  if (b) {
    h->cached[cls] = b->next;
    --h->cachedCount[cls];
    if (flags & kHeapZeroMemory) std::memset(b + 1, 0, size);
  } else {
    // A block that may be kept later is taken at its class's full size.
    const size_t bytes = cls < kClasses ? (cls + 1) * kClassBytes : size;
    void* raw = (flags & kHeapZeroMemory) ? std::calloc(1, sizeof(Block) + bytes)
                                          : std::malloc(sizeof(Block) + bytes);
    if (!raw) {
      SetLastError(kErrNotEnoughMemory);
      return nullptr;
    }
    b = static_cast<Block*>(raw);
  }
  b->owner = h;
  b->size = size;
  b->mark = BlockMark(b);
  b->next = &h->head;
  b->prev = h->head.prev;
  h->head.prev->next = b;
  h->head.prev = b;
  h->used += size;
  return b + 1;
}

bool Free(SysHeap heap, uint32_t flags, void* data) {
  if (!data) return true;
  PosixHeap* h = AsHeap(heap);
  if (!h) {
    SetLastError(kErrInvalidHandle);
    return false;
  }
  HeapGuard guard(h, flags);
  Block* b = AsBlock(h, data);
  if (!b) {
    SetLastError(kErrInvalidParameter);
    return false;
  }
  b->prev->next = b->next;
  b->next->prev = b->prev;
  h->used -= b->size;
  const size_t cls = ClassOf(b->size);
  if (cls < kClasses && h->cachedCount[cls] < kMaxCached) {
    b->mark = kCachedMark;
    b->next = h->cached[cls];
    h->cached[cls] = b;
    ++h->cachedCount[cls];
  } else {
    b->mark = 0;
    std::free(b);
  }
  return true;
}

size_t Size(SysHeap heap, uint32_t flags, const void* data) {
  PosixHeap* h = AsHeap(heap);
  if (!h) return kHeapBadBlock;
  HeapGuard guard(h, flags);
  const Block* b = AsBlock(h, data);
  return b ? b->size : kHeapBadBlock;
}

bool Validate(SysHeap heap, uint32_t flags, const void* data) {
  PosixHeap* h = AsHeap(heap);
  if (!h) return false;
  HeapGuard guard(h, flags);
  if (data) return AsBlock(h, data) != nullptr;
  for (const Block* b = h->head.next; b != &h->head; b = b->next) {
    if (b->mark != BlockMark(b) || b->owner != h || b->next->prev != b) return false;
  }
  return true;
}

// The kept blocks and unused memory go back to the system. The answer (the largest
// free block) is the heap's initial reserve, at least a page.
size_t Compact(SysHeap heap, uint32_t flags) {
  PosixHeap* h = AsHeap(heap);
  if (!h) {
    SetLastError(kErrInvalidHandle);
    return 0;
  }
  HeapGuard guard(h, flags);
  ReleaseCached(h);
  ::malloc_trim(0);
  const size_t page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
  return h->initial > page ? (h->initial + page - 1) / page * page : page;
}

bool Walk(SysHeap heap, HeapWalkFn fn, void* context) {
  PosixHeap* h = AsHeap(heap);
  if (!h) {
    SetLastError(kErrInvalidHandle);
    return false;
  }
  HeapGuard guard(h, 0);
  for (Block* b = h->head.next; b != &h->head;) {
    Block* next = b->next;   // the callback may not free, but be safe about it
    if (!fn(context, HeapWalkEntry{b + 1, b->size, true})) break;
    b = next;
  }
  return true;
}

bool LockHeap(SysHeap heap) {
  PosixHeap* h = AsHeap(heap);
  if (!h) return false;
  h->lock.Lock();
  return true;
}

bool UnlockHeap(SysHeap heap) {
  PosixHeap* h = AsHeap(heap);
  if (!h) return false;
  h->lock.Unlock();
  return true;
}

}  // namespace

const HeapServices& SystemHeapServices() {
  static const HeapServices services{&Create, &Destroy, &Alloc,   &Free, &Size,
                                     &Validate, &Compact, &Walk, &LockHeap, &UnlockHeap};
  return services;
}

}  // namespace plat
