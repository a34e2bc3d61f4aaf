// Internal: the hook slot shared by both OS files of the last-resort channel.
#pragma once
#include "platform/debugout.h"

namespace plat::detail {

// Calls the installed hook, if any, with one line.
void CallDebugOutputHook(const char16_t* text);

}  // namespace plat::detail
