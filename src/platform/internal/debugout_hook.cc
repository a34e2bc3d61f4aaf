#include "platform/internal/debugout_hook.h"

#include <atomic>

#include "platform/internal/keep_alive.h"

namespace plat {
namespace {

struct HookSlot {
  DebugOutputHook hook;
  void* context;
};
// Replaced as a whole so that a line in flight never pairs a hook with another's
// context. Old slots are kept alive for the same reason; a test installs a handful.
std::atomic<const HookSlot*> g_hook{nullptr};

}  // namespace

namespace detail {
void CallDebugOutputHook(const char16_t* text) {
  if (const HookSlot* s = g_hook.load(std::memory_order_acquire))
    s->hook(text ? text : u"", s->context);
}
}  // namespace detail

DebugOutputHook SetDebugOutputHook(DebugOutputHook hook, void* context, void** oldContext) {
  const HookSlot* next = hook ? new HookSlot{hook, context} : nullptr;
  const HookSlot* old = g_hook.exchange(next, std::memory_order_acq_rel);
  detail::KeepAlive(old);
  if (oldContext) *oldContext = old ? old->context : nullptr;
  return old ? old->hook : nullptr;
}

}  // namespace plat
