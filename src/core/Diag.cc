#include "core/Diag.h"

#include <atomic>
#include <cstdarg>

#include "core/Format.h"
#include "platform/debugout.h"

namespace zx {
namespace {

void DefaultSink(const char16_t* line, void*) { plat::DebugOutput(line); }

struct SinkSlot {
  DiagSink sink;
  void* context;
};
// Swapped as a whole so that a reader never sees a sink with another's context.
std::atomic<const SinkSlot*> g_slot{nullptr};
const SinkSlot g_default{&DefaultSink, nullptr};

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
  // Slots live for the process: a line in flight on another thread may still read
  // the old one.
  const SinkSlot* next = sink ? new SinkSlot{sink, context} : nullptr;
  const SinkSlot* old = g_slot.exchange(next, std::memory_order_acq_rel);
  if (previousContext) *previousContext = old ? old->context : nullptr;
  return old ? old->sink : nullptr;
}

}  // namespace zx
