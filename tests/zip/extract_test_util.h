// Helpers of the extraction tests: the test archives, extraction through the
// export and the internal function, and a tree's contents as comparable text.
#pragma once
#include <filesystem>
#include <string>

#include "support/support_test_util.h"

namespace ziptest {

namespace fs = std::filesystem;

// An archive of tests/zip/data (e.g. "python_mixed.zip", "hostile/absolute.zip").
fs::path DataFile(const std::string& leaf);

// The library's text of a path, and its UTF-8 text (names in messages).
std::u16string Wide(const fs::path& p);
std::string Utf8(const fs::path& p);

// UtilExtractZip (the export) with filesystem paths.
long ExtractExport(const fs::path& archive, const fs::path& destination);

// The lines "D name" for folders and "F name size crc32" for files below `root`,
// names relative with "/" in UTF-8, sorted by bytes: the form of data/*.manifest.
std::string TreeManifest(const fs::path& root);

// Every path below `root`, relative, one a line, sorted.
std::string TreeListing(const fs::path& root);

}  // namespace ziptest
