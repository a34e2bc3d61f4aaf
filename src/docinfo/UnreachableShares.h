// The process-wide set of network shares ("\\server\share") that could not be
// reached. A share gets in when "<share>\." isn't a folder, and stays until the
// process ends; every document list of the process shares the set.
// Errors: none. Threads: any thread; the set has its own lock.
#pragma once
#include "core/strings/String.h"

namespace zx {

// Is the share in the set? Tests it first when it isn't: a share whose folder
// can't be seen goes in.
bool ShareIsUnreachable(const IString& share);
// Only asks the set.
bool ShareIsKnownUnreachable(const IString& share);
// The "\\server\share" of a path's network form, or empty when the path isn't on
// a share.
IString ShareOfPath(const String& networkPath);

}  // namespace zx
