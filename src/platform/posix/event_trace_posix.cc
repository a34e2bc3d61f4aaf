// Linux: no system event tracing; concurrency markers stay off.
#include "platform/event_trace.h"

namespace plat {

// No system event tracing on Linux: markers stay off unless a test supplies one.
IEventTrace* SystemEventTrace() { return nullptr; }

}  // namespace plat
