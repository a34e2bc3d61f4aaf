// The system's thread pool for run-once work items: a private pool with a
// clean-up group, work objects submitted to it, and a wait for their callbacks.
// Windows: CreateThreadpool and its family (system version 6.0 and later). Linux:
// a small pool of our own (up to two threads, started with the first submit).
// Errors: IsValid false when the pool or the work object couldn't be made.
// Threads: any thread submits and waits; a callback may submit again. Waiting for a
// work item from inside its own callback would never return: don't.
//
//   plat::SystemPool pool;
//   plat::SystemWork work(pool, [](void*, void* ctx) { Dump(ctx); }, ctx);
//   work.Submit(); work.Wait(false);
#pragma once
#include <cstdint>

namespace plat {

// `instance` is the callback's instance (for CallbackMayRunLong), `context` the
// work's own pointer.
using SystemWorkCallback = void (*)(void* instance, void* context);

class SystemPool {
 public:
  SystemPool();
  // Closes the clean-up group's members with their pending callbacks cancelled,
  // waits for running ones, then closes the group and the pool.
  ~SystemPool();
  SystemPool(const SystemPool&) = delete;
  SystemPool& operator=(const SystemPool&) = delete;
  bool IsValid() const { return impl_ != nullptr; }
  void* Impl() const { return impl_; }
  // Lets the pool go without closing it or waiting for its threads (at process
  // exit); the destructor then does nothing.
  void Abandon() { impl_ = nullptr; }

 private:
  void* impl_ = nullptr;
};

class SystemWork {
 public:
  SystemWork(SystemPool& pool, SystemWorkCallback callback, void* context);   // CreateThreadpoolWork
  ~SystemWork();                                                                // CloseThreadpoolWork
  SystemWork(const SystemWork&) = delete;
  SystemWork& operator=(const SystemWork&) = delete;
  bool IsValid() const { return impl_ != nullptr; }
  void Submit();                       // SubmitThreadpoolWork
  void Wait(bool cancelPending);       // WaitForThreadpoolWorkCallbacks

 private:
  void* impl_ = nullptr;
};

// CallbackMayRunLong: true when the pool may start another thread for the others.
bool CallbackMayRunLong(void* instance);

}  // namespace plat
