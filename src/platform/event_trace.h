// The system's event tracing for a manifest-based provider: register, write,
// unregister. Windows has it (EventRegister, EventWrite, EventUnregister); other
// systems have no backend and SystemEventTrace answers null.
// Errors: Win32 error numbers as results (0: success); nothing sets plat::LastError.
// Threads: the backend may be called from any thread; the enable callback comes on
// a thread of the system's choosing.
//
//   if (plat::IEventTrace* t = plat::SystemEventTrace()) t->Register(guid, &OnEnable, this, &handle);
#pragma once
#include <cstdint>

namespace plat {

struct TraceGuid {
  uint32_t data1;
  uint16_t data2, data3;
  uint8_t data4[8];
};

struct TraceEventDescriptor {
  uint16_t id;
  uint8_t version, channel, level, opcode;
  uint16_t task;
  uint64_t keyword;
};

struct TraceDataBlock {
  const void* ptr;
  uint32_t size;
};

// What the system's enable callback delivers.
struct TraceEnableState {
  bool enabled;
  uint8_t level;
  uint64_t matchAnyKeyword, matchAllKeyword;
};
using TraceEnableCallback = void (*)(void* context, const TraceEnableState& state);

class IEventTrace {
 public:
  virtual ~IEventTrace() = default;
  // Win32 error numbers: 0 is success.
  virtual uint32_t Register(const TraceGuid& provider, TraceEnableCallback callback, void* context,
                            uint64_t* handle) = 0;
  virtual uint32_t Write(uint64_t handle, const TraceEventDescriptor& descriptor, uint32_t count,
                         const TraceDataBlock* data) = 0;
  virtual uint32_t Unregister(uint64_t handle) = 0;
};

// The system's backend, or null where there is none.
IEventTrace* SystemEventTrace();

}  // namespace plat
