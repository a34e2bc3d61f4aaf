// Linux has no window hooks: nothing can be installed, and nothing is there to remove.
#include "platform/cbt_hook.h"

namespace plat {

bool SetCbtHook(CbtCallback callback, void*) { return callback == nullptr; }

}  // namespace plat
