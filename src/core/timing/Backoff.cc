#include "core/timing/Backoff.h"

#include "core/diag/Diag.h"
#include "platform/clock.h"
#include "platform/thread.h"
#include "core/timing/TickCount.h"

namespace zx {

clsBackoff::~clsBackoff() {
  if (m_bPeriodRaised) plat::TimerPeriodEnd(1);
}

void clsBackoff::SleepOne() {
  if (!m_bPeriodRaised) m_bPeriodRaised = plat::TimerPeriodBegin(1);
  plat::SleepMs(1);
}

void clsBackoff::Idle(int32_t mode) {
  switch (mode) {
    case kSleep1:
      SleepOne();
      return;
    case kSwitch:
      plat::SwitchThread();
      return;
    case kSleep0:
      plat::SleepMs(0);
      return;
    case kSpin:
      for (int32_t i = 0; i < m_nSpin; ++i) plat::CpuPause();
      return;
    case kSwitchOrTimed:
      if (plat::SwitchThread()) return;
      [[fallthrough]];
    case kTimed: {
      // A real sleep about ten times a second, cheap yields in between.
      const uint64_t tick = UtilTickCount64();
      const bool newBlock = m_qwLastTick != 0 && tick / 100 != m_qwLastTick / 100;
      m_qwLastTick = tick;
      if (newBlock)
        SleepOne();
      else
        plat::SleepMs(0);
      return;
    }
    default:
      return;
  }
}

bool clsBackoff::WaitUntil(const std::function<bool()>& predicate, const std::function<void()>& step,
                           uint32_t dwTimeoutMs) {
  if (!predicate) {
    DiagLine(u"ERR: clsBackoff::WaitUntil: no predicate");
    return false;
  }
  if (predicate()) return true;
  const bool limited = dwTimeoutMs != 0xFFFFFFFFu;
  const uint64_t deadline = limited ? UtilTickCount64() + dwTimeoutMs : 0;
  for (;;) {
    if (limited && UtilTickCount64() >= deadline) return false;
    if (step) step();
    Idle(m_nMode);
    if (predicate()) return true;
  }
}

}  // namespace zx
