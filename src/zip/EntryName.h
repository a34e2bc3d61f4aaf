// The name an entry of an archive is extracted under: the stored bytes decoded, and
// the path below the destination folder, or the reason it is refused.
// Threads: any thread; no state.
#pragma once
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/strings/String.h"

namespace zx {

// The stored name as text: UTF-8 when the entry has flag 0x0800; otherwise the
// UTF-8 name of an Info-ZIP Unicode path field (extra 0x7075, version 1) whose CRC
// matches the stored bytes, as `zip` writes next to a name in the local charset;
// otherwise code page 437. Bytes that are not valid UTF-8 become U+FFFD.
String DecodeEntryName(std::string_view raw, uint16_t flag, std::string_view extra);

// Splits a decoded name into the folder names and file name it makes below the
// destination. "." and empty components (a trailing "/", "a//b") are dropped. Null
// when the name is fine, otherwise why it is refused: an absolute path, a drive
// letter or any ':' (a drive or a stream on Windows), a backslash (a separator on
// Windows, and on Linux to the file layer), a component of dots and spaces other
// than "." ("..", and what Windows trims to it), a control character, a device
// name (CON, PRN, AUX, NUL, COM1-9, LPT1-9, also with an extension), or a file
// name without any component ("", "."). A folder name of none ("./") is fine. The rules are the same on every platform, so an archive
// extracts alike everywhere.
const char* SplitEntryPath(const String& name, std::vector<String>& parts);

}  // namespace zx
