// Whether the library's static clean-up at process exit has begun. From then on
// owners of system resources that would wait for other threads (thread pools) let
// them go instead: at exit those threads may already be gone, or be blocked behind
// the loader.
// Threads: any thread.
#pragma once

namespace zx {

bool StaticCleanupBegun();
// Set by the library's first exit-time step; tests set and clear it.
void SetStaticCleanupBegun(bool begun);

}  // namespace zx
