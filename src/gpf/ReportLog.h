// The report log of crash reports, "%APPDATA%\ZARNIK.LOG" (the temporary folder's
// "ZARNIK.LOG" when that can't be written), UTF-16LE without byte-order mark, one
// line "yyyy-mm-dd, hh:mm.ss.mmm <library file name> <text>" ended by CR LF each.
// Threads: any thread; each line opens, appends and closes the file.
#pragma once
#include "core/strings/String.h"

namespace zx {

// %NAME% replaced by the environment's value; an unknown name stays as it is.
String ExpandEnvironment(const char16_t* text);

// The log's name, chosen once (at most 259 characters).
const String& ReportLogName();
// Appends one line; false when the file cannot be written.
bool AppendReportLog(const char16_t* text);

// Tests: choose the name again on next use.
void ResetReportLogNameForTests();

}  // namespace zx
