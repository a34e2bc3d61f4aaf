// Loading a profile into a job from an open clsFile: the byte lock, the encoding
// by byte-order mark, the format detection (text, INI, XML, XFDF) and the parse.
// Errors: the result is 1 for success and 0 for failure; a parse error sets the
// job's lastError to PROF_ERR_PARSE (-7) and leaves in the tree what was read;
// a lock that cannot be had or fewer than 4 bytes fail without a code. Nothing
// throws.
// Threads: the job's rule (prof/Prof.h); the file is used by this call alone.
//
//   clsFileRO file(name, 0, 0, 3, kFileSequentialScan | kFileNormal);
//   if (file.IsOpen() && file.GetSize() > 0 && !LoadProfile(*job, file)) ...
#pragma once

namespace zx {

class clsFile;
class clsProfJob;

int LoadProfile(clsProfJob& job, clsFile& file);

}  // namespace zx
