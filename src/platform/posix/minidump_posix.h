// Linux only: the minidump writer, in the file format of the system's dumps with
// the Linux streams (cpu info, status, command line, environment, auxv, maps).
#pragma once
#include "platform/debug_help.h"

namespace plat {

// Writes the dump of this process that `request` describes. Returns 0 or a Windows
// error number; *created tells whether the file could be made.
uint32_t WriteLinuxMiniDump(const DumpRequest& request, bool* created);

}  // namespace plat
