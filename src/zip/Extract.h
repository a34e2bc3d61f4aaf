// Extraction of a whole ZIP archive into a folder.
//
// Every name is checked before anything is written: one refused name (see
// SplitEntryPath in zip/EntryName.h) fails the call with nothing extracted. Then the
// entries are written in archive order; folders are made as needed, the
// destination too, and existing files are overwritten. A failure stops the
// extraction: the files extracted before it stay, the file of the failing entry is
// removed. File times and attributes are not restored.
// Errors: ExtractZip throws std::runtime_error with one of these texts (UTF-8):
//   "Error loading zip file!"                          no archive, or not a ZIP
//   "Error, couln't get the current entry info"        a damaged central directory
//   " refusing internal file 'N' in zip: <reason>"     a name that would leave the folder
//   " opening internal file 'N' in zip"                a bad local header, an unknown
//                                                      method (": encrypted entries are
//                                                      not supported" for those)
//   " reading internal file 'N' in zip"                damaged or truncated data
//   " closing internal file 'N' in zip"                a wrong CRC or size
//   " creating folder 'P' (error E)", " creating file 'P' (error E)",
//   " writing file 'P' (error E)"                      the destination's system errors
// Threads: any thread; calls share nothing but the files they write.
#pragma once
#include "core/strings/String.h"

namespace zx {

void ExtractZip(const String& archivePath, const String& destinationFolder);

// ExtractZip for the C boundary: 1 when every entry was extracted, otherwise 0 and
// the error's text as one diagnostic line.
int ExtractZipReporting(const String& archivePath, const String& destinationFolder);

}  // namespace zx
