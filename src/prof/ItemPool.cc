#include "prof/ItemPool.h"

#include <new>

namespace zx {

clsItemPool::clsItemPool(size_t blockBytes)
    : blockBytes_(((blockBytes < sizeof(FreeBlock) ? sizeof(FreeBlock) : blockBytes) + kAlign - 1) / kAlign * kAlign) {}

clsItemPool::~clsItemPool() {
  for (char* slab : slabs_) ::operator delete(slab);
}

void* clsItemPool::Allocate() noexcept {
  if (free_ != nullptr) {
    FreeBlock* b = free_;
    free_ = b->next;
    ++inUse_;
    return b;
  }
  if (unusedInSlab_ == 0) {
    char* slab = static_cast<char*>(::operator new(blockBytes_ * kSlabItems, std::nothrow));
    if (slab == nullptr) return nullptr;
    try {
      slabs_.push_back(slab);
    } catch (...) {
      ::operator delete(slab);
      return nullptr;
    }
    unusedInSlab_ = kSlabItems;
  }
  ++inUse_;
  return slabs_.back() + blockBytes_ * (kSlabItems - unusedInSlab_--);
}

void clsItemPool::Free(void* block) noexcept {
  if (block == nullptr) return;
  auto* b = static_cast<FreeBlock*>(block);
  b->next = free_;
  free_ = b;
  --inUse_;
}

}  // namespace zx
