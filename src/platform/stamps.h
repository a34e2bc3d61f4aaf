// Cheap stamps for the hot paths of the tracked heaps: a coarse millisecond tick
// (the allocation time in a debug object's header; a few milliseconds of lag are
// fine) and a token that tells the calling thread from every other live thread
// (the job lock's owner). Neither enters the kernel.
// Errors: none. Threads: any thread; ThreadToken answers for the calling thread.
//
//   const uintptr_t me = plat::ThreadToken();
#pragma once
#include <cstdint>

namespace plat {

// GetTickCount: milliseconds on the monotonic clock, 32 bits, coarse.
uint32_t CoarseTickCount();
// Unique among the threads alive at the same time; not a thread identifier. Inline
// where the compiler reads the thread pointer itself: every lock asks it.
#if defined(_WIN32)
uintptr_t ThreadToken();
#else
inline uintptr_t ThreadToken() { return reinterpret_cast<uintptr_t>(__builtin_thread_pointer()); }
#endif

}  // namespace plat
