// clsBackoff: the idle helper of polling loops, with six ways to pass the time.
#pragma once
#include <cstdint>
#include <functional>

namespace zx {

class clsBackoff {
 public:
  // Idle modes.
  enum : int32_t {
    kSleep1 = 1,          // Sleep(1) with a raised timer period
    kSwitch = 2,          // SwitchToThread
    kSleep0 = 3,          // Sleep(0)
    kSpin = 4,            // busy loop of m_nSpin rounds
    kSwitchOrTimed = 5,   // SwitchToThread; when nobody else ran, as mode 6
    kTimed = 6,           // Sleep(1) once per new 100 ms block of the tick, else Sleep(0)
  };
  explicit clsBackoff(int32_t mode = kTimed, int32_t spin = 100) : m_nMode(mode), m_nSpin(spin) {}
  ~clsBackoff();
  clsBackoff(const clsBackoff&) = delete;
  clsBackoff& operator=(const clsBackoff&) = delete;

  void Idle(int32_t mode);
  // Polls `predicate` (required) until it says true or `dwTimeoutMs` passed (all
  // ones: no limit), calling `step` (optional) and Idle(m_nMode) between polls.
  bool WaitUntil(const std::function<bool()>& predicate, const std::function<void()>& step,
                 uint32_t dwTimeoutMs);

  int32_t Mode() const { return m_nMode; }
  void SetSpin(int32_t spin) { m_nSpin = spin; }
  bool PeriodRaised() const { return m_bPeriodRaised; }

 private:
  void SleepOne();

  int32_t m_nMode;
  volatile int32_t m_nSpin;   // re-read at each round of the busy loop
  bool m_bPeriodRaised = false;
  uint64_t m_qwLastTick = 0;
};

}  // namespace zx
