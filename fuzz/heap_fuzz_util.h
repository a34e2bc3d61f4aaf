// Shared by the heap targets: sizes read from the input, and the system's heap
// services with a ceiling.
//
// The ceiling: a block above kMaxBlock bytes is
// refused, as an exhausted heap refuses it. A fuzzed size of gigabytes (a negative
// one goes on as unsigned) then takes the library's out-of-memory path instead of
// the machine's memory and libFuzzer's malloc limit.
#pragma once
#include <cstddef>
#include <cstdint>
#include <limits>

#include "module/HeapNode.h"
#include "platform/heap.h"

namespace fuzzheap {

constexpr size_t kMaxBlock = size_t{4} << 20;

inline void* CappedAlloc(plat::SysHeap heap, uint32_t flags, size_t size) {
  return size > kMaxBlock ? nullptr : plat::SystemHeapServices().alloc(heap, flags, size);
}

inline void InstallCappedHeapServices() {
  static const plat::HeapServices capped = [] {
    plat::HeapServices s = plat::SystemHeapServices();
    s.alloc = &CappedAlloc;
    return s;
  }();
  zx::SetHeapServicesForTests(&capped);
}

// Whether an object of `size` (as the library takes it: unsigned 32 bits) fits under
// the ceiling with any header (at most 48 bytes), or fits with none (at least 4).
inline bool FitsAlways(int32_t size) { return uint64_t{static_cast<uint32_t>(size)} + 48 <= kMaxBlock; }
inline bool FitsNever(int32_t size) { return uint64_t{static_cast<uint32_t>(size)} + 4 > kMaxBlock; }

// A size as a client might pass it: mostly small, sometimes up to 64K or 16M, any
// 32-bit value, or one of the edges (negative, the header sizes, the ceiling).
template <class Input>
int32_t ReadSize(Input& in) {
  static const int32_t kEdges[] = {-1, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max(),
                                   -4, -48, -49, 4092, 4093, 4096,
                                   static_cast<int32_t>(kMaxBlock - 48), static_cast<int32_t>(kMaxBlock - 4),
                                   static_cast<int32_t>(kMaxBlock)};
  const auto b = [&in] { return static_cast<uint32_t>(in.Byte()); };
  switch (b() % 8) {
    case 4: return static_cast<int32_t>(b() | b() << 8);
    case 5: return static_cast<int32_t>(b() | b() << 8 | b() << 16);
    case 6: return static_cast<int32_t>(b() | b() << 8 | b() << 16 | b() << 24);
    case 7: return kEdges[b() % (sizeof kEdges / sizeof kEdges[0])];
    default: return static_cast<int32_t>(b());
  }
}

}  // namespace fuzzheap
