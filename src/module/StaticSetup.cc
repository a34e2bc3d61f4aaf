#include "module/StaticSetup.h"

#include <atomic>

#include "core/format/Format.h"
#include "platform/debugout.h"
#include "platform/window_names.h"

namespace zx {
namespace {

std::atomic<uint32_t> g_contextHelpMessage{0};
std::atomic<uint32_t> g_profClipboardFormat{0};

struct Counter {
  const char* name;
  std::atomic<int32_t> count;
};
// In the order of CountedClass.
Counter g_counters[] = {{"clsTimerQueue::clsTimer", {0}}, {"clsSubclassed", {0}}};

Counter& CounterOf(CountedClass cls) { return g_counters[static_cast<int>(cls)]; }

}  // namespace

void LibraryStaticSetup() {
  for (Counter& c : g_counters) c.count.store(0);
  g_contextHelpMessage.store(plat::RegisterMessageName(u"ZrkUtilGetContextHelpID"));
  g_profClipboardFormat.store(plat::RegisterClipboardFormatName(u"ZrkProfCBFormat"));
}

uint32_t ContextHelpMessage() { return g_contextHelpMessage.load(); }
uint32_t ProfClipboardFormat() { return g_profClipboardFormat.load(); }

void CountInstance(CountedClass cls, int32_t delta) { CounterOf(cls).count.fetch_add(delta); }
int32_t LiveInstances(CountedClass cls) { return CounterOf(cls).count.load(); }

void ReportUndeletedInstances() {
  for (Counter& c : g_counters) {
    const int32_t n = c.count.load();
    if (n == 0) continue;
    char16_t line[128];
    if (FormatTo(line, 128, u"%hs: undeleted objects, count=%d\n", c.name, n) >= 0) plat::DebugOutput(line);
  }
}

}  // namespace zx
