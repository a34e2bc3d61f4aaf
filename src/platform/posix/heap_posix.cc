// Private heaps on Linux.
//
// Small blocks (up to 4 KiB) are carved from the heap's own chunks of 256 KiB, each
// behind a 16-byte header; a freed one waits in the free list of its 16-byte size
// class. Chunks stay mapped until the heap is destroyed, so a pointer into one can
// always be read: a second free, or a pointer into the middle of a block, is told by
// the header's mark without a fault. Larger blocks come from the system allocator
// one by one and are kept in an ordered map, which also answers whether an address
// lies inside one of them. Nothing is read at an address the heap does not hold.
//
// A walk visits the chunks in the order they were taken, block by block, and then
// the large blocks in address order.
#include <malloc.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>

#include "platform/compiler.h"
#include "platform/errors.h"
#include "platform/heap.h"
#include "platform/lock_word.h"

namespace plat {
namespace {

constexpr uint64_t kHeapMark = 0x5a58555448454150ULL;    // "ZXUTHEAP"
constexpr uint64_t kBusyMark = 0x5a585554424c4f4bULL;    // "ZXUTBLOK"
constexpr uint64_t kFreeMark = 0x5a58555446524545ULL;    // "ZXUTFREE"
constexpr uint64_t kChunkMark = 0x5a58555443484e4bULL;   // "ZXUTCHNK"

constexpr size_t kChunkBytes = size_t{256} << 10;
constexpr uintptr_t kChunkMask = ~static_cast<uintptr_t>(kChunkBytes - 1);
constexpr size_t kGrain = 16;
constexpr size_t kSmallMax = 4096;
constexpr size_t kClasses = kSmallMax / kGrain;
// Larger requests than this are refused at once.
constexpr size_t kLargestRequest = size_t{1} << 47;

struct alignas(16) SmallHeader {
  uint32_t size;   // the requested bytes
  uint32_t cls;    // the block holds (cls + 1) * 16 bytes
  uint64_t mark;   // kBusyMark or kFreeMark, each ^ the block's address
};
static_assert(sizeof(SmallHeader) == kGrain, "headers keep blocks 16-byte aligned");

struct alignas(64) Chunk {
  uint64_t mark;   // kChunkMark ^ address
  Chunk* next;     // in the order the heap took them
  uint8_t* end;    // end of the carved blocks (the newest chunk: see the heap's bump)
};
constexpr size_t kFirstBlock = sizeof(Chunk);

// The bases of a heap's chunks: open addressing, at most half full, never shrinks.
class ChunkSet {
 public:
  ~ChunkSet() { delete[] slots_; }
  bool Contains(uintptr_t base) const {
    if (!slots_) return false;
    for (size_t i = Slot(base);; i = (i + 1) & (capacity_ - 1)) {
      if (slots_[i] == base) return true;
      if (slots_[i] == 0) return false;
    }
  }
  bool Insert(uintptr_t base) {
    if ((count_ + 1) * 2 > capacity_ && !Grow()) return false;
    Place(slots_, capacity_, base);
    ++count_;
    return true;
  }

 private:
  size_t Slot(uintptr_t base) const { return Hash(base) & (capacity_ - 1); }
  static size_t Hash(uintptr_t base) { return (base >> 18) * 0x9E3779B97F4A7C15ULL >> 17; }
  static void Place(uintptr_t* slots, size_t capacity, uintptr_t base) {
    size_t i = Hash(base) & (capacity - 1);
    while (slots[i] != 0) i = (i + 1) & (capacity - 1);
    slots[i] = base;
  }
  bool Grow() {
    const size_t capacity = capacity_ ? capacity_ * 2 : 16;
    auto* slots = new (std::nothrow) uintptr_t[capacity]();
    if (!slots) return false;
    for (size_t i = 0; i < capacity_; ++i)
      if (slots_[i]) Place(slots, capacity, slots_[i]);
    delete[] slots_;
    slots_ = slots;
    capacity_ = capacity;
    return true;
  }
  uintptr_t* slots_ = nullptr;
  size_t capacity_ = 0;
  size_t count_ = 0;
};

struct PosixHeap {
  uint64_t mark = kHeapMark;
  uint32_t options = 0;
  size_t initial = 0;
  size_t maximum = 0;
  size_t used = 0;
  LockWord ownLock{100, true};   // a heap lock: short holds back to back
  LockWord* lock = &ownLock;   // or a caller's lock that it holds around every call
  Chunk* firstChunk = nullptr;
  Chunk* lastChunk = nullptr;
  // lastChunk's address, where most blocks are found. Read without the lock by Holds:
  // a stale value is an older chunk, which stays mapped as long as the heap.
  std::atomic<uintptr_t> lastBase{0};
  uint8_t* bump = nullptr;         // carving point and limit in lastChunk
  uint8_t* limit = nullptr;
  void* freeList[kClasses] = {};   // linked through the first 8 bytes of each block
  ChunkSet chunks;
  std::map<uintptr_t, size_t> large;   // block address -> requested size
};

size_t ClassOf(size_t size) { return size == 0 ? 0 : (size - 1) / kGrain; }
size_t ClassBytes(size_t cls) { return (cls + 1) * kGrain; }
SmallHeader* HeaderOf(const void* data) {
  return reinterpret_cast<SmallHeader*>(const_cast<void*>(data)) - 1;
}
uint64_t Mark(uint64_t kind, const void* data) { return kind ^ reinterpret_cast<uintptr_t>(data); }

PosixHeap* AsHeap(SysHeap heap) {
  auto* h = static_cast<PosixHeap*>(heap);
  return h && ProbeRead64(&h->mark) == kHeapMark ? h : nullptr;
}

bool InChunk(const PosixHeap* h, uintptr_t base) {
  return base == h->lastBase.load(std::memory_order_relaxed) || h->chunks.Contains(base);
}

// The header of the busy small block that `data` starts, or null. Reads only
// memory of the heap's own chunks.
SmallHeader* AsSmallBlock(const PosixHeap* h, const void* data) {
  const uintptr_t at = reinterpret_cast<uintptr_t>(data);
  const uintptr_t base = at & kChunkMask;
  if (at % kGrain != 0 || at - base < kFirstBlock + sizeof(SmallHeader) || !InChunk(h, base))
    return nullptr;
  SmallHeader* header = HeaderOf(data);
  return header->mark == Mark(kBusyMark, data) ? header : nullptr;
}

// The large block that contains [at, at + n), or end().
std::map<uintptr_t, size_t>::const_iterator LargeContaining(const PosixHeap* h, uintptr_t at, size_t n) {
  auto it = h->large.upper_bound(at);
  if (it == h->large.begin()) return h->large.end();
  --it;
  return at + n <= it->first + it->second ? it : h->large.end();
}

class HeapGuard {
 public:
  // A guard the analysis cannot follow: whether it locks depends on the options.
  HeapGuard(PosixHeap* h, uint32_t flags) ZX_NO_THREAD_SAFETY_ANALYSIS
      : h_(((h->options | flags) & kHeapNoSerialize) ? nullptr : h) {
    if (h_) h_->lock->Enter();
  }
  ~HeapGuard() ZX_NO_THREAD_SAFETY_ANALYSIS {
    if (h_) h_->lock->Leave();
  }
  HeapGuard(const HeapGuard&) = delete;
  HeapGuard& operator=(const HeapGuard&) = delete;

 private:
  PosixHeap* h_;
};

// A new chunk, aligned to its size so that an address finds its chunk by masking.
bool AddChunk(PosixHeap* h) {
  void* raw = ::mmap(nullptr, 2 * kChunkBytes, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (raw == MAP_FAILED) return false;
  const uintptr_t start = reinterpret_cast<uintptr_t>(raw);
  const uintptr_t base = (start + kChunkBytes - 1) & kChunkMask;
  if (base > start) ::munmap(raw, base - start);
  if (const uintptr_t tail = start + 2 * kChunkBytes - (base + kChunkBytes))
    ::munmap(reinterpret_cast<void*>(base + kChunkBytes), tail);
  if (!h->chunks.Insert(base)) {
    ::munmap(reinterpret_cast<void*>(base), kChunkBytes);
    return false;
  }
  auto* chunk = reinterpret_cast<Chunk*>(base);
  chunk->mark = kChunkMark ^ base;
  chunk->next = nullptr;
  chunk->end = nullptr;
  if (h->lastChunk) {
    h->lastChunk->end = h->bump;
    h->lastChunk->next = chunk;
  } else {
    h->firstChunk = chunk;
  }
  h->lastChunk = chunk;
  h->lastBase.store(base, std::memory_order_relaxed);
  h->bump = reinterpret_cast<uint8_t*>(base) + kFirstBlock;
  h->limit = reinterpret_cast<uint8_t*>(base) + kChunkBytes;
  return true;
}

uint8_t* ChunkEnd(const PosixHeap* h, const Chunk* c) { return c == h->lastChunk ? h->bump : c->end; }

// A block carved fresh from the newest chunk (a new one when it is full). Fresh
// memory of a chunk has never been written: it is zero already.
ZX_NOINLINE void* CarveSmall(PosixHeap* h, size_t cls) {
  const size_t need = sizeof(SmallHeader) + ClassBytes(cls);
  if (static_cast<size_t>(h->limit - h->bump) < need && !AddChunk(h)) return nullptr;
  void* data = h->bump + sizeof(SmallHeader);
  h->bump += need;
  HeaderOf(data)->cls = static_cast<uint32_t>(cls);
  return data;
}

void* AllocSmall(PosixHeap* h, uint32_t flags, size_t size) {
  const size_t cls = ClassOf(size);
  void* data = h->freeList[cls];
  if (data) {
    std::memcpy(&h->freeList[cls], data, sizeof(void*));
    if (flags & kHeapZeroMemory) std::memset(data, 0, size);
  } else if (!(data = CarveSmall(h, cls))) {
    return nullptr;
  }
  SmallHeader* header = HeaderOf(data);
  header->size = static_cast<uint32_t>(size);
  header->mark = Mark(kBusyMark, data);
  return data;
}

ZX_NOINLINE void* AllocLarge(PosixHeap* h, uint32_t flags, size_t size) {
  void* data = (flags & kHeapZeroMemory) ? std::calloc(1, size) : std::malloc(size);
  if (!data) return nullptr;
  try {
    h->large.emplace(reinterpret_cast<uintptr_t>(data), size);
  } catch (const std::bad_alloc&) {
    std::free(data);
    return nullptr;
  }
  return data;
}

SysHeap Create(uint32_t options, size_t initialSize, size_t maximumSize) {
  auto* h = new (std::nothrow) PosixHeap;
  if (!h) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  h->options = options;
  h->initial = initialSize;
  h->maximum = maximumSize;
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
    for (Chunk* c = h->firstChunk; c;) {
      Chunk* next = c->next;
      ::munmap(c, kChunkBytes);
      c = next;
    }
    for (const auto& [at, size] : h->large) std::free(reinterpret_cast<void*>(at));
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
  if (size > kLargestRequest) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  HeapGuard guard(h, flags);
  if (h->maximum && h->used + size > h->maximum) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  void* data = size <= kSmallMax ? AllocSmall(h, flags, size) : AllocLarge(h, flags, size);
  if (!data) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  h->used += size;
  return data;
}

// A large block, or no block of the heap (the heap's lock is held).
ZX_NOINLINE bool FreeLarge(PosixHeap* h, void* data) {
  const auto it = h->large.find(reinterpret_cast<uintptr_t>(data));
  if (it == h->large.end()) {
    SetLastError(kErrInvalidParameter);
    return false;
  }
  h->used -= it->second;
  std::free(data);
  h->large.erase(it);
  return true;
}

bool Free(SysHeap heap, uint32_t flags, void* data) {
  if (!data) return true;
  PosixHeap* h = AsHeap(heap);
  if (!h) {
    SetLastError(kErrInvalidHandle);
    return false;
  }
  HeapGuard guard(h, flags);
  if (SmallHeader* header = AsSmallBlock(h, data)) {
    h->used -= header->size;
    header->mark = Mark(kFreeMark, data);
    std::memcpy(data, &h->freeList[header->cls], sizeof(void*));
    h->freeList[header->cls] = data;
    return true;
  }
  return FreeLarge(h, data);
}

size_t Size(SysHeap heap, uint32_t flags, const void* data) {
  PosixHeap* h = AsHeap(heap);
  if (!h) return kHeapBadBlock;
  HeapGuard guard(h, flags);
  if (const SmallHeader* header = AsSmallBlock(h, data)) return header->size;
  const auto it = h->large.find(reinterpret_cast<uintptr_t>(data));
  return it == h->large.end() ? kHeapBadBlock : it->second;
}

// Holds past the newest chunk: an older chunk or a large block.
ZX_NOINLINE bool HoldsElsewhere(PosixHeap* h, uintptr_t a, size_t n, bool chunkRange) {
  HeapGuard guard(h, 0);
  if (chunkRange && h->chunks.Contains(a & kChunkMask)) return true;
  return LargeContaining(h, a, n) != h->large.end();
}

bool Holds(SysHeap heap, const void* at, size_t n) {
  PosixHeap* h = AsHeap(heap);
  const uintptr_t a = reinterpret_cast<uintptr_t>(at);
  const uintptr_t base = a & kChunkMask;
  if (!h || a + n < a) return false;
  const bool chunkRange = a - base >= kFirstBlock && a + n <= base + kChunkBytes;
  if (chunkRange && base == h->lastBase.load(std::memory_order_relaxed)) return true;
  return HoldsElsewhere(h, a, n, chunkRange);
}

// Every carved block of the heap carries one of the two marks and a class in range.
bool ChunksIntact(const PosixHeap* h) {
  for (const Chunk* c = h->firstChunk; c; c = c->next) {
    if (c->mark != (kChunkMark ^ reinterpret_cast<uintptr_t>(c))) return false;
    const uint8_t* end = ChunkEnd(h, c);
    for (const uint8_t* at = reinterpret_cast<const uint8_t*>(c) + kFirstBlock; at < end;) {
      const auto* header = reinterpret_cast<const SmallHeader*>(at);
      const void* data = header + 1;
      if (header->cls >= kClasses ||
          (header->mark != Mark(kBusyMark, data) && header->mark != Mark(kFreeMark, data)))
        return false;
      at += sizeof(SmallHeader) + ClassBytes(header->cls);
    }
  }
  return true;
}

bool Validate(SysHeap heap, uint32_t flags, const void* data) {
  PosixHeap* h = AsHeap(heap);
  if (!h) return false;
  HeapGuard guard(h, flags);
  if (data) return AsSmallBlock(h, data) || h->large.count(reinterpret_cast<uintptr_t>(data));
  return ChunksIntact(h);
}

// Unused memory goes back to the system. The answer (the largest free block) is the
// heap's initial reserve, at least a page.
size_t Compact(SysHeap heap, uint32_t flags) {
  PosixHeap* h = AsHeap(heap);
  if (!h) {
    SetLastError(kErrInvalidHandle);
    return 0;
  }
  HeapGuard guard(h, flags);
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
  for (const Chunk* c = h->firstChunk; c; c = c->next) {
    const uint8_t* end = ChunkEnd(h, c);
    for (uint8_t* at = const_cast<uint8_t*>(reinterpret_cast<const uint8_t*>(c)) + kFirstBlock; at < end;) {
      auto* header = reinterpret_cast<SmallHeader*>(at);
      void* data = header + 1;
      const bool busy = header->mark == Mark(kBusyMark, data);
      const size_t bytes = busy ? header->size : ClassBytes(header->cls);
      at += sizeof(SmallHeader) + ClassBytes(header->cls);
      if (!fn(context, HeapWalkEntry{data, bytes, busy})) return true;
    }
  }
  // The callback may not free; the next key is looked up anew all the same.
  for (auto it = h->large.begin(); it != h->large.end();) {
    const auto [at, size] = *it;
    if (!fn(context, HeapWalkEntry{reinterpret_cast<void*>(at), size, true})) break;
    it = h->large.upper_bound(at);
  }
  return true;
}

bool LockHeap(SysHeap heap) ZX_NO_THREAD_SAFETY_ANALYSIS {   // left by UnlockHeap
  PosixHeap* h = AsHeap(heap);
  if (!h) return false;
  h->lock->Enter();
  return true;
}

bool UnlockHeap(SysHeap heap) ZX_NO_THREAD_SAFETY_ANALYSIS {
  PosixHeap* h = AsHeap(heap);
  if (!h) return false;
  return h->lock->Leave();
}

void ShareLock(SysHeap heap, LockWord* lock) {
  if (PosixHeap* h = AsHeap(heap)) h->lock = lock ? lock : &h->ownLock;
}

}  // namespace

const HeapServices& SystemHeapServices() {
  static const HeapServices services{&Create,   &Destroy, &Alloc,    &Free,       &Size,  &Validate,
                                     &Compact, &Walk,    &LockHeap, &UnlockHeap, &Holds, &ShareLock};
  return services;
}

namespace {

// Whether every page of [at, at + n) is mapped: mincore fails with ENOMEM on a hole.
bool PagesMapped(const uint8_t* at, size_t n) {
  const uintptr_t page = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
  const uintptr_t first = reinterpret_cast<uintptr_t>(at) & ~(page - 1);
  const uintptr_t last = (reinterpret_cast<uintptr_t>(at) + n - 1) & ~(page - 1);
  unsigned char vec[2];
  for (uintptr_t p = first; p <= last; p += page)
    if (::mincore(reinterpret_cast<void*>(p), page, vec) != 0) return false;
  return true;
}

}  // namespace

// The kernel copies the bytes for us and answers EFAULT where they are not mapped:
// no signal, whatever the address. Where that call is not allowed, the page table
// is asked instead.
bool MemoryReadable(const void* at, size_t n) {
  auto* from = static_cast<const uint8_t*>(at);
  if (n == 0) return true;
  if (reinterpret_cast<uintptr_t>(from) + n < reinterpret_cast<uintptr_t>(from)) return false;
  uint8_t scratch[256];
  while (n > 0) {
    const size_t piece = n < sizeof scratch ? n : sizeof scratch;
    iovec local{scratch, piece};
    iovec remote{const_cast<uint8_t*>(from), piece};
    const ssize_t got = ::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0);
    if (got < 0 && (errno == ENOSYS || errno == EPERM)) return PagesMapped(from, n);
    if (got != static_cast<ssize_t>(piece)) return false;
    n -= piece;
    from += piece;
  }
  return true;
}

}  // namespace plat
