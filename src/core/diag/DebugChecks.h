// bDebugChecks: the library-wide switch of extra checks (lines for buffers that
// are too small, destinations cleared before they are written). Off from the
// start and set by nothing in the library: its branches are dormant, there for a
// build or a test that turns it on.
// Threads: set it before any thread uses the library.
#pragma once

namespace zx {

inline bool bDebugChecks = false;

}  // namespace zx
