#include "thread/JobBlocks.h"

#include <new>

#include "platform/lock.h"

// Windows: the system heap's low-fragmentation front end takes a free from
// another thread without the cost the Linux heap has, and a thread-local object
// with a destructor hung thread exits of the MinGW runtime under wine.
#if defined(_WIN32) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZX_JOB_BLOCKS_FROM_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define ZX_JOB_BLOCKS_FROM_HEAP 1
#endif
#endif

namespace zx::jobblocks {
namespace {

struct FreeBlock {
  FreeBlock* next;
};

[[maybe_unused]] void* HeapBlock() noexcept { return ::operator new(kBlockSize, std::nothrow); }
[[maybe_unused]] void HeapFree(void* block) noexcept { ::operator delete(block); }

[[maybe_unused]] void FreeChain(FreeBlock* chain) noexcept {
  while (chain) {
    FreeBlock* next = chain->next;
    HeapFree(chain);
    chain = next;
  }
}

// Full batches (chains of kBatch blocks) waiting for a thread that allocates.
struct Shelf {
  plat::CriticalSection lock{100};
  FreeBlock* batches[kShelfBatches] = {};
  size_t count = 0;
};
Shelf& TheShelf() {
  static Shelf* shelf = new Shelf;   // lives for the process: threads end after static clean-up
  return *shelf;
}

// The calling thread's blocks: those it allocates from, and those it freed.
struct Local {
  FreeBlock* ready = nullptr;
  FreeBlock* freed = nullptr;
  size_t freedCount = 0;
  ~Local() {
    FreeChain(ready);
    FreeChain(freed);
  }
};
#ifndef ZX_JOB_BLOCKS_FROM_HEAP
thread_local Local t_blocks;
#endif

}  // namespace

void* Allocate(size_t size) noexcept {
#ifdef ZX_JOB_BLOCKS_FROM_HEAP
  return ::operator new(size, std::nothrow);
#else
  if (size > kBlockSize) return ::operator new(size, std::nothrow);
  Local& local = t_blocks;
  if (!local.ready) {
    Shelf& shelf = TheShelf();
    plat::Lock guard(shelf.lock);
    if (shelf.count > 0) local.ready = shelf.batches[--shelf.count];
  }
  if (FreeBlock* block = local.ready) {
    local.ready = block->next;
    return block;
  }
  // Nothing on the shelf: this thread's own freed blocks, else the heap.
  if (FreeBlock* block = local.freed) {
    local.freed = block->next;
    --local.freedCount;
    return block;
  }
  return HeapBlock();
#endif
}

void Free(void* block, size_t size) noexcept {
  if (!block) return;
#ifdef ZX_JOB_BLOCKS_FROM_HEAP
  (void)size;
  ::operator delete(block);
#else
  if (size > kBlockSize) {
    ::operator delete(block);
    return;
  }
  Local& local = t_blocks;
  auto* b = static_cast<FreeBlock*>(block);
  b->next = local.freed;
  local.freed = b;
  if (++local.freedCount < kBatch) return;
  FreeBlock* batch = local.freed;
  local.freed = nullptr;
  local.freedCount = 0;
  {
    Shelf& shelf = TheShelf();
    plat::Lock guard(shelf.lock);
    if (shelf.count < kShelfBatches) {
      shelf.batches[shelf.count++] = batch;
      return;
    }
  }
  FreeChain(batch);   // the shelf is full: the heap takes the batch back
#endif
}

size_t ShelvedForTests() {
  Shelf& shelf = TheShelf();
  plat::Lock guard(shelf.lock);
  return shelf.count * kBatch;
}

}  // namespace zx::jobblocks
