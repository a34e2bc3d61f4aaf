// Counts every allocation of the process through operator new, so a benchmark can
// show how many allocations an operation costs. Include in exactly one file of a
// benchmark program: it replaces the global allocation functions.
#pragma once
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace zxbench {
inline std::atomic<uint64_t> g_allocations{0};
}  // namespace zxbench

void* operator new(size_t n) {
  zxbench::g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void* operator new[](size_t n) { return operator new(n); }
void* operator new(size_t n, const std::nothrow_t&) noexcept {
  zxbench::g_allocations.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(n ? n : 1);
}
void* operator new[](size_t n, const std::nothrow_t& t) noexcept { return operator new(n, t); }
void* operator new(size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
  zxbench::g_allocations.fetch_add(1, std::memory_order_relaxed);
  const size_t al = static_cast<size_t>(a);
  return std::aligned_alloc(al, (n + al - 1) & ~(al - 1));
}
void* operator new(size_t n, std::align_val_t a) {
  if (void* p = operator new(n, a, std::nothrow)) return p;
  throw std::bad_alloc();
}
// These deletes are the pair of the news above, which take their memory from
// malloc; the compiler sees only the default pairing and warns.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, size_t, std::align_val_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop
