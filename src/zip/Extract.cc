#include "zip/Extract.h"

#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/diag/Diag.h"
#include "core/strings/CharsetConversion.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "zip/EntryName.h"
#include "zip/Unzipper.h"
#include "zip/ZipText.h"

namespace zx {
namespace {

std::runtime_error PathError(const char* what, const std::u16string& path, uint32_t error) {
  return std::runtime_error(std::string(what) + " '" + EncodeZipText(String(std::u16string_view(path)), true) +
                            "' (error " + std::to_string(error) + ")");
}

bool IsSeparator(char16_t c) { return c == u'/' || c == u'\\'; }

// Makes a folder and any of its parents that are missing. An existing folder is
// fine; an existing file in its place shows when the entry's file is created.
void MakeFolders(const std::u16string& path) {
  if (plat::MakeFolder(path.c_str()) || plat::LastError() == plat::kErrAlreadyExists) return;
  const uint32_t error = plat::LastError();
  size_t cut = path.size();
  while (cut > 0 && IsSeparator(path[cut - 1])) --cut;
  while (cut > 0 && !IsSeparator(path[cut - 1])) --cut;
  if (error != plat::kErrPathNotFound || cut <= 1) throw PathError(" creating folder", path, error);
  MakeFolders(path.substr(0, cut - 1));
  if (!plat::MakeFolder(path.c_str()) && plat::LastError() != plat::kErrAlreadyExists)
    throw PathError(" creating folder", path, plat::LastError());
}

// The folders below the destination that this call has made or found.
class FolderMaker {
 public:
  explicit FolderMaker(std::u16string root) : root_(std::move(root)) {}

  // The full path of `parts` (the first `count` of them), each folder on the way made.
  std::u16string Make(const std::vector<String>& parts, size_t count) {
    std::u16string path = root_;
    for (size_t i = 0; i < count; ++i) {
      path += u'\\';
      path += parts[i].View();
      if (made_.insert(path).second) MakeFolders(path);
    }
    return path;
  }

 private:
  std::u16string root_;
  std::unordered_set<std::u16string> made_;
};

void WriteEntry(zipper::Unzipper& zip, const zipper::ZipEntry& entry, const std::u16string& path) {
  plat::FileHandle h = plat::FileOpen(path.c_str(), plat::kGenericWrite, plat::kShareRead, plat::kCreateAlways,
                                      plat::kAttrNormal);
  if (!plat::IsValidFile(h)) throw PathError(" creating file", path, plat::LastError());
  try {
    zip.extractEntry(entry, [&](const void* data, size_t size) {
      uint32_t done = 0;
      if (!plat::FileWrite(h, data, static_cast<uint32_t>(size), &done) || done != size)
        throw PathError(" writing file", path, plat::LastError());
    });
  } catch (...) {
    plat::FileClose(h);
    plat::RemoveFile(path.c_str());   // no half file is left to look complete
    throw;
  }
  if (!plat::FileClose(h)) throw PathError(" writing file", path, plat::LastError());
}

}  // namespace

void ExtractZip(const String& archivePath, const String& destinationFolder) {
  zipper::Unzipper zip(archivePath);
  const std::vector<zipper::ZipEntry> entries = zip.entries();
  std::vector<std::vector<String>> paths(entries.size());
  for (size_t i = 0; i < entries.size(); ++i) {
    if (const char* reason = SplitEntryPath(entries[i].name, paths[i]))
      throw std::runtime_error(" refusing internal file '" + EncodeZipText(entries[i].name, true) + "' in zip: " +
                               reason);
  }
  std::u16string root(destinationFolder.View());
  // "C:\" and "/" keep their separator.
  while (root.size() > 1 && IsSeparator(root.back()) && root[root.size() - 2] != u':') root.pop_back();
  plat::FileInfo info;
  if (!plat::FileInfoByName(root.c_str(), &info) || !(info.attributes & plat::kAttrDirectory)) MakeFolders(root);
  FolderMaker folders(root);
  for (size_t i = 0; i < entries.size(); ++i) {
    const std::vector<String>& parts = paths[i];
    if (entries[i].isFolder()) {
      folders.Make(parts, parts.size());
    } else {
      std::u16string path = folders.Make(parts, parts.size() - 1);
      path += u'\\';
      path += parts.back().View();
      WriteEntry(zip, entries[i], path);
    }
  }
  zip.close();
}

int ExtractZipReporting(const String& archivePath, const String& destinationFolder) {
  try {
    ExtractZip(archivePath, destinationFolder);
    return 1;
  } catch (const std::exception& e) {
    DiagLine(StringFromNarrow(e.what(), -1, plat::kCpUtf8).wchar());
  } catch (...) {
    DiagLine(u"Error extracting zip file");
  }
  return 0;
}

}  // namespace zx
