// What kind of session the process runs in: the user's name, the groups of the
// process's token, the window station's visibility, the user's registry root.
// Linux has no tokens or window stations: a process with a desktop (DISPLAY or
// WAYLAND_DISPLAY) or a terminal on one of its standard streams counts as
// interactive, any other as a service; the station is never known.
// Errors: through the return values; ProcessSessionKind reports the failing call's
// Windows error number.
// Threads: any thread.
//
//   uint32_t err = 0; int step = 0;
//   if (plat::ProcessSessionKind(&err, &step) == plat::SessionKind::Failed) ...
#pragma once
#include <cstdint>
#include <string>

#include "platform/registry.h"

namespace plat {

// GetUserNameW (Linux: the effective user's login name); empty on failure.
std::u16string UserName();

enum class SessionKind {
  Interactive,   // the token holds the well-known interactive group first
  Service,       // the service group, or neither of the two
  Failed,        // the token could not be asked; see *error and *step
};
// Step 1: the groups' size could not be asked; step 2: their data; 0: anything
// else (opening the token, making the identifiers).
SessionKind ProcessSessionKind(uint32_t* error, int* step);

// 1 the process's window station is visible, 0 it is not, -1 unknown.
int WindowStationVisible();

// The key "Software" opens below the root of `hive`.
bool UserSoftwareKeyOpens(Hive hive);

}  // namespace plat
