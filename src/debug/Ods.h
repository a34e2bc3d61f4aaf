// A formatted line to the last-resort debug channel (OutputDebugStringW), for what
// the debug channel says about itself: it cannot print through itself.
// Threads: any thread.
#pragma once

namespace zx {

void Ods(const char16_t* format, ...);

}  // namespace zx
