// Names registered with the window system: window messages and clipboard formats.
// Windows hands out one number per name from its atom table (0xC000 to 0xFFFF, the
// same number for a message and a format of the same name, letter case ignored).
// Elsewhere a table of this process hands them out by the same rules.
// Errors: 0 when no number can be given. Threads: any thread (the table is locked).
//
//   uint32_t msg = plat::RegisterMessageName(u"ZrkUtilGetContextHelpID");
#pragma once
#include <cstdint>

namespace plat {

// The name's number, or 0 when none can be given (null or empty name, table full).
uint32_t RegisterMessageName(const char16_t* name);
uint32_t RegisterClipboardFormatName(const char16_t* name);

}  // namespace plat
