#include "platform/shell_properties.h"

namespace plat {

// No shell property store on Linux: the readers after it decide.
bool ReadShellSummaryProperties(const char16_t*, ShellProperty*) { return false; }

}  // namespace plat
