#include <windows.h>

#include <new>

#include "platform/system_pool.h"

namespace plat {
namespace {

struct Pool {
  TP_CALLBACK_ENVIRON env;
  PTP_POOL pool = nullptr;
  PTP_CLEANUP_GROUP group = nullptr;
};

struct Work {
  PTP_WORK work = nullptr;
  SystemWorkCallback callback;
  void* context;
};

void CALLBACK Trampoline(PTP_CALLBACK_INSTANCE instance, PVOID context, PTP_WORK) {
  auto* w = static_cast<Work*>(context);
  w->callback(instance, w->context);
}

}  // namespace

SystemPool::SystemPool() {
  auto* p = new (std::nothrow) Pool;
  if (!p) return;
  InitializeThreadpoolEnvironment(&p->env);
  p->pool = ::CreateThreadpool(nullptr);
  p->group = p->pool ? ::CreateThreadpoolCleanupGroup() : nullptr;
  if (!p->group) {
    if (p->pool) ::CloseThreadpool(p->pool);
    delete p;
    return;
  }
  SetThreadpoolCallbackPool(&p->env, p->pool);
  SetThreadpoolCallbackCleanupGroup(&p->env, p->group, nullptr);
  impl_ = p;
}

SystemPool::~SystemPool() {
  auto* p = static_cast<Pool*>(impl_);
  if (!p) return;
  ::CloseThreadpoolCleanupGroupMembers(p->group, TRUE, nullptr);
  ::CloseThreadpoolCleanupGroup(p->group);
  ::CloseThreadpool(p->pool);
  DestroyThreadpoolEnvironment(&p->env);
  delete p;
}

SystemWork::SystemWork(SystemPool& pool, SystemWorkCallback callback, void* context) {
  auto* p = static_cast<Pool*>(pool.Impl());
  if (!p) return;
  auto* w = new (std::nothrow) Work{nullptr, callback, context};
  if (!w) return;
  w->work = ::CreateThreadpoolWork(&Trampoline, w, &p->env);
  if (!w->work) {
    delete w;
    return;
  }
  impl_ = w;
}

SystemWork::~SystemWork() {
  auto* w = static_cast<Work*>(impl_);
  if (!w) return;
  ::CloseThreadpoolWork(w->work);
  delete w;
}

void SystemWork::Submit() {
  if (auto* w = static_cast<Work*>(impl_)) ::SubmitThreadpoolWork(w->work);
}

void SystemWork::Wait(bool cancelPending) {
  if (auto* w = static_cast<Work*>(impl_)) ::WaitForThreadpoolWorkCallbacks(w->work, cancelPending ? TRUE : FALSE);
}

bool CallbackMayRunLong(void* instance) {
  return instance && ::CallbackMayRunLong(static_cast<PTP_CALLBACK_INSTANCE>(instance)) != FALSE;
}

}  // namespace plat
