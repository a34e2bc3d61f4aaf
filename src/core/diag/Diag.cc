#include "core/diag/Diag.h"

#include <atomic>
#include <cstdarg>

#include "core/format/Format.h"
#include "platform/debugout.h"
#include "platform/process.h"

namespace zx {
namespace {

void DefaultSink(const char16_t* line, void*) { plat::DebugOutput(line); }

struct SinkSlot {
  DiagSink sink;
  void* context;
  const SinkSlot* retired;  // older slots stay reachable: they are never freed
};
// Swapped as a whole so that a reader never sees a sink with another's context.
std::atomic<const SinkSlot*> g_slot{nullptr};
const SinkSlot g_default{&DefaultSink, nullptr, nullptr};

std::atomic<const scDiagTrace*> g_trace{nullptr};

}  // namespace

void DiagLine(const char16_t* line) {
  const SinkSlot* s = g_slot.load(std::memory_order_acquire);
  if (!s) s = &g_default;
  s->sink(line ? line : u"", s->context);
}

void DiagFormat(const char16_t* format, ...) {
  char16_t buf[1100];
  va_list ap;
  va_start(ap, format);
  int n = VFormatTo(buf, sizeof buf / sizeof buf[0], format, ap);
  va_end(ap);
  DiagLine(n < 0 ? u"<printf format error>" : buf);
}

DiagSink SetDiagSink(DiagSink sink, void* context, void** previousContext) {
  // Slots live for the process, since a line in flight on another thread may still
  // read the old one; each slot keeps the one it replaced, so all stay reachable.
  const SinkSlot* old = g_slot.load(std::memory_order_acquire);
  auto* next = new SinkSlot{sink ? sink : &DefaultSink, sink ? context : nullptr, old};
  while (!g_slot.compare_exchange_weak(old, next, std::memory_order_acq_rel)) next->retired = old;
  if (old && old->sink == &DefaultSink) old = nullptr;  // null stands for the default
  if (previousContext) *previousContext = old ? old->context : nullptr;
  return old ? old->sink : nullptr;
}

void SetDiagTrace(const scDiagTrace* trace) { g_trace.store(trace, std::memory_order_release); }

bool DiagTraceActive() {
  const scDiagTrace* t = g_trace.load(std::memory_order_acquire);
  return t && t->active();
}

void DiagTraceIndent(int indentChange, const char16_t* format, ...) {
  const scDiagTrace* t = g_trace.load(std::memory_order_acquire);
  if (!t) return;
  va_list ap;
  va_start(ap, format);
  t->printIndentV(indentChange, format, ap);
  va_end(ap);
}

bool DeveloperMode() {
  static const bool on = [] {
    bool found = false;
    std::u16string v = plat::EnvironmentVariable(u"user", &found);
    return found && v == u"zrk";
  }();
  return on;
}

}  // namespace zx
