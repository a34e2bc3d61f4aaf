#include <windows.h>
#include <evntprov.h>

#include <cstring>
#include <mutex>
#include <unordered_map>

#include "platform/event_trace.h"

namespace plat {
namespace {

struct Registration {
  TraceEnableCallback callback;
  void* context;
};

void NTAPI EnableCallback(LPCGUID, ULONG isEnabled, UCHAR level, ULONGLONG matchAny, ULONGLONG matchAll,
                          PEVENT_FILTER_DESCRIPTOR, PVOID context) {
  auto* r = static_cast<Registration*>(context);
  r->callback(r->context, TraceEnableState{isEnabled != 0, level, matchAny, matchAll});
}

class SystemTrace final : public IEventTrace {
 public:
  uint32_t Register(const TraceGuid& provider, TraceEnableCallback callback, void* context,
                    uint64_t* handle) override {
    GUID g;
    static_assert(sizeof g == sizeof provider, "GUID layout");
    std::memcpy(&g, &provider, sizeof g);
    auto* r = new Registration{callback, context};
    REGHANDLE h = 0;
    ULONG rc = ::EventRegister(&g, &EnableCallback, r, &h);
    if (rc != ERROR_SUCCESS) {
      delete r;
      return rc;
    }
    std::lock_guard<std::mutex> l(lock_);
    registrations_[h] = r;
    *handle = h;
    return 0;
  }
  uint32_t Write(uint64_t handle, const TraceEventDescriptor& d, uint32_t count,
                 const TraceDataBlock* data) override {
    EVENT_DESCRIPTOR desc;
    EventDescCreate(&desc, d.id, d.version, d.channel, d.level, d.task, d.opcode, d.keyword);
    EVENT_DATA_DESCRIPTOR blocks[8];
    if (count > 8) return ERROR_INVALID_PARAMETER;
    for (uint32_t i = 0; i < count; ++i) EventDataDescCreate(&blocks[i], data[i].ptr, data[i].size);
    return ::EventWrite(handle, &desc, count, blocks);
  }
  uint32_t Unregister(uint64_t handle) override {
    ULONG rc = ::EventUnregister(handle);
    std::lock_guard<std::mutex> l(lock_);
    auto it = registrations_.find(handle);
    if (it != registrations_.end()) {
      delete it->second;
      registrations_.erase(it);
    }
    return rc;
  }

 private:
  std::mutex lock_;
  std::unordered_map<uint64_t, Registration*> registrations_;
};

}  // namespace

IEventTrace* SystemEventTrace() {
  static SystemTrace* trace = new SystemTrace;   // lives for the process
  return trace;
}

}  // namespace plat
