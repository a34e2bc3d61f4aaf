// Bases of the WC container family. Containers derive from WCExcept, iterators
// from WCIterExcept. Each carries one word of exception state that starts at 0
// and is never raised: nothing in the family throws. Failures are reported by
// return values (false, null, a default element) and leave the container as it
// was.
#pragma once

class WCExcept {
 public:
  WCExcept() = default;
  WCExcept(const WCExcept&) : exceptState(0) {}
  WCExcept& operator=(const WCExcept&) { return *this; }
  virtual ~WCExcept() = default;

  // The requested exception state; kept for callers that set it, never acted on.
  int exceptions() const { return exceptState; }
  int exceptions(int state) {
    int old = exceptState;
    exceptState = state;
    return old;
  }

 protected:
  int exceptState = 0;
};

class WCIterExcept {
 public:
  WCIterExcept() = default;
  WCIterExcept(const WCIterExcept&) : exceptState(0) {}
  WCIterExcept& operator=(const WCIterExcept&) { return *this; }
  virtual ~WCIterExcept() = default;

  int exceptions() const { return exceptState; }
  int exceptions(int state) {
    int old = exceptState;
    exceptState = state;
    return old;
  }

 protected:
  int exceptState = 0;
};

// A default element handed out by reference where there is none (misuse, failed
// growth). Reset on each use, one per thread, so a caller that writes to it
// harms nothing.
template <class T>
T& WCDefaultElement() {
  static thread_local T value{};
  value = T{};
  return value;
}
