// The memory of the dispatcher's jobs. A job is made on the client's thread and
// deleted on a worker: from the general heap that is a free on a thread other
// than the allocating one for every job, the dearest case of the heap. Here the
// blocks freed on a thread gather in batches of kBatch; a full batch goes to a
// shared shelf, and a thread that has no block of its own takes a whole batch
// from it: one round of a lock for kBatch jobs. Blocks of another size, all
// blocks in sanitizer builds (so that a use after free is still found) and all
// blocks on Windows (whose heap takes such frees cheaply) go to the general heap.
// Errors: Allocate gives null when the heap is out of memory.
// Threads: any thread; each keeps its own blocks (returned to the heap when it
// ends), the shelf has a lock.
#pragma once
#include <cstddef>

namespace zx::jobblocks {

constexpr size_t kBatch = 64;
constexpr size_t kShelfBatches = 256;  // at most this many batches (2 MiB) wait on the shelf

constexpr size_t kBlockSize = 128;     // requests up to this size share the blocks

// A block of at least `size` bytes; Free takes the same size back.
void* Allocate(size_t size) noexcept;
void Free(void* block, size_t size) noexcept;

// Tests: blocks on the shelf now.
size_t ShelvedForTests();

}  // namespace zx::jobblocks
