// A job's store of item blocks: items are carved from slabs of kSlabItems and a
// freed one goes on a free list for the next, so that a large load makes one
// allocation per slab instead of one per item, and closing the job frees the
// slabs at once. The pool outlives every item of its job.
// Threads: a pool belongs to one job; the job's rule (prof/Prof.h) applies.
#pragma once
#include <cstddef>
#include <vector>

namespace zx {

class clsItemPool {
 public:
  static constexpr size_t kSlabItems = 512;
  // Blocks are aligned for pointers and 64-bit counts, no more.
  static constexpr size_t kAlign = alignof(void*);

  explicit clsItemPool(size_t blockBytes);
  ~clsItemPool();
  clsItemPool(const clsItemPool&) = delete;
  clsItemPool& operator=(const clsItemPool&) = delete;

  // A block of the pool's size; null when memory runs out.
  void* Allocate() noexcept;
  void Free(void* block) noexcept;

  // Observation for tests: blocks handed out and not freed.
  size_t InUse() const { return inUse_; }

 private:
  struct FreeBlock {
    FreeBlock* next;
  };
  size_t blockBytes_;
  std::vector<char*> slabs_;
  FreeBlock* free_ = nullptr;
  size_t unusedInSlab_ = 0;  // blocks of the newest slab never handed out
  size_t inUse_ = 0;
};

}  // namespace zx
