// Clang's thread-safety annotations: what a lock guards and which functions need
// it held. Clang checks them at compile time (-Wthread-safety); other compilers see
// nothing. Threads: declarations only.
//
//   class ZX_CAPABILITY("mutex") Mutex { void Enter() ZX_ACQUIRE(); void Leave() ZX_RELEASE(); };
//   Mutex lock_;
//   int count_ ZX_GUARDED_BY(lock_);
//   void BumpLocked() ZX_REQUIRES(lock_);
#pragma once

#if defined(__clang__)
#define ZX_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define ZX_THREAD_ANNOTATION(x)
#endif

#define ZX_CAPABILITY(name) ZX_THREAD_ANNOTATION(capability(name))
#define ZX_SCOPED_CAPABILITY ZX_THREAD_ANNOTATION(scoped_lockable)
#define ZX_GUARDED_BY(x) ZX_THREAD_ANNOTATION(guarded_by(x))
#define ZX_PT_GUARDED_BY(x) ZX_THREAD_ANNOTATION(pt_guarded_by(x))
#define ZX_ACQUIRED_BEFORE(...) ZX_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define ZX_ACQUIRED_AFTER(...) ZX_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
#define ZX_REQUIRES(...) ZX_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define ZX_ACQUIRE(...) ZX_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ZX_RELEASE(...) ZX_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define ZX_TRY_ACQUIRE(...) ZX_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define ZX_EXCLUDES(...) ZX_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define ZX_RETURN_CAPABILITY(x) ZX_THREAD_ANNOTATION(lock_returned(x))
#define ZX_ASSERT_CAPABILITY(x) ZX_THREAD_ANNOTATION(assert_capability(x))
#define ZX_NO_THREAD_SAFETY_ANALYSIS ZX_THREAD_ANNOTATION(no_thread_safety_analysis)
