#include "platform/window_update.h"

namespace plat {

void* ActiveTopLevelWindow() { return nullptr; }
WindowUpdateLock::WindowUpdateLock(void*) {}
WindowUpdateLock::~WindowUpdateLock() = default;

}  // namespace plat
