// clsAllocationCountVerifier<T>: counts the live instances of T. At the end of the
// library's life a count above 0 is reported with "%hs: undeleted objects,
// count=%d\n" straight to the system's debug output (the debug channel is gone by
// then). T names itself with a static `kAllocationName`.
// Threads: any thread; the count is atomic.
#pragma once
#include <atomic>
#include <cstdint>

namespace zx {

// Sends the report line for one class; used by the static clean-up below.
void ReportUndeletedObjects(const char* className, int32_t count);

template <class T>
class clsAllocationCountVerifier {
 public:
  clsAllocationCountVerifier() { Counter().count.fetch_add(1, std::memory_order_relaxed); }
  clsAllocationCountVerifier(const clsAllocationCountVerifier&) : clsAllocationCountVerifier() {}
  ~clsAllocationCountVerifier() { Counter().count.fetch_sub(1, std::memory_order_relaxed); }
  static int32_t LiveInstances() { return Counter().count.load(std::memory_order_relaxed); }

 private:
  struct Static {
    std::atomic<int32_t> count{0};
    ~Static() {
      const int32_t left = count.load();
      if (left != 0) ReportUndeletedObjects(T::kAllocationName, left);
    }
  };
  static Static& Counter() {
    static Static counter;
    return counter;
  }
};

}  // namespace zx
