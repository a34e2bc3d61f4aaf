// Compiler attributes, builtins and sanitizer checks, spelt once for gcc, clang and mingw, the
// access to words that another process shares with us, and whether the process
// has ever had a second thread.
// Errors: none; everything here is resolved at compile time or is one instruction.
// Threads: the shared-word accessors are atomic; the rest has no state.
//
//   ZX_NOINLINE void* Capture();            // keeps its own stack frame
//   ZX_PREFETCH(node);                      // a hint; never faults
//   uint64_t on = plat::SharedLoad(block->enable, std::memory_order_acquire);
#pragma once
#include <atomic>
#include <type_traits>

#if defined(__GNUC__) || defined(__clang__)   // gcc, clang and mingw-w64 gcc
#define ZX_NOINLINE __attribute__((noinline))
#define ZX_USED __attribute__((used))
#define ZX_PREFETCH(p) __builtin_prefetch(p)
#else
#define ZX_NOINLINE
#define ZX_USED
#define ZX_PREFETCH(p) ((void)(p))
#endif

// ZX_ASAN: 1 when the address sanitizer instruments this build (gcc and clang tell
// it differently).
#if defined(__SANITIZE_ADDRESS__)
#define ZX_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZX_ASAN 1
#endif
#endif
#ifndef ZX_ASAN
#define ZX_ASAN 0
#endif

#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 32))
extern "C" char __libc_single_threaded;
#endif

namespace plat {

// Words inside shared blocks (mapped by several processes) stay plain integers so
// the blocks keep their byte layout; every access goes through std::atomic_ref.
template <class T>
constexpr bool IsSharedWord() {
  static_assert(std::is_integral_v<T>, "shared words are plain integers");
  static_assert(std::atomic_ref<T>::is_always_lock_free,
                "another process cannot see a lock inside this process");
  static_assert(alignof(T) >= std::atomic_ref<T>::required_alignment,
                "a plain field of T is aligned enough for atomic access");
  return true;
}

// Loads a shared word. The field may sit in a read-only view: an atomic load of a
// lock-free word only reads, so the const_cast writes nothing.
template <class T>
inline T SharedLoad(const T& field, std::memory_order order) {
  static_assert(IsSharedWord<T>());
  return std::atomic_ref<T>(const_cast<T&>(field)).load(order);
}

template <class T>
inline void SharedStore(T& field, std::type_identity_t<T> value, std::memory_order order) {
  static_assert(IsSharedWord<T>());
  std::atomic_ref<T>(field).store(value, order);
}

// True while the process has never started a second thread (glibc's
// __libc_single_threaded; false where the C library does not keep it). glibc clears
// the flag in pthread_create before the new thread exists and never sets it again,
// so a counter that changes with plain loads and stores while this is true cannot
// race: every thread started later sees those stores (thread creation orders them
// before its start), and from then on every change is atomic. This is how the C++
// library's shared pointers count.
inline bool OnlyThread() {
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 32))
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

}  // namespace plat
