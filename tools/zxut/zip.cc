// zxut zip: files and folders into a new archive.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "platform/file.h"
#include "command.h"
#include "text.h"

int RunZip(int argc, char** argv);

namespace {

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"zip", "write a ZIP archive of files and folders, or list one",
     "usage: zxut zip [--comment TEXT] OUT.zip PATH...\n"
     "       zxut zip --list ARCHIVE\n"
     "  writes a new archive OUT.zip (an existing file is replaced): a file goes in under\n"
     "  its path as given, a folder with all it holds under names relative to it;\n"
     "  --list prints the entries of ARCHIVE as unzip -l does\n",
     &RunZip});

int UsageError(const char* why) { return zxut::UsageError("zip", why); }

bool IsFolder(const std::u16string& path) {
  plat::FileInfo info;
  return plat::FileInfoByName(path.c_str(), &info) && (info.attributes & plat::kAttrDirectory);
}

}  // namespace

int RunZipList(int argc, char** argv);   // unzip.cc

// zxut zip [--comment TEXT] OUT.zip PATH...: a file goes in under the path as
// given; a folder with all it holds, under names relative to it.
// zxut zip --list ARCHIVE: the entries, as unzip -l prints them.
int RunZip(int argc, char** argv) {
  if (argc > 0 && std::strcmp(argv[0], "--list") == 0) return RunZipList(argc, argv);
  std::u16string comment;
  std::vector<std::u16string> args;
  for (int i = 0; i < argc; ++i) {
    if (std::strcmp(argv[i], "--comment") == 0 && i + 1 < argc) comment = Wide(argv[++i]);
    else if (argv[i][0] == '-' && argv[i][1]) return UsageError("unknown option");
    else args.push_back(Wide(argv[i]));
  }
  if (args.size() < 2) return UsageError("needs an archive and at least one path");
  HZIPFILE zip = UtilZIPCreate(W(args[0]), W(comment));
  if (!zip) {
    std::fprintf(stderr, "zxut: cannot create '%s'\n", Utf8(args[0]).c_str());
    return 1;
  }
  int failed = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    if (IsFolder(args[i])) {
      UtilZIPAppendList(zip, W(args[i]), nullptr, ZXUT_ZIP_RECURSE);
      continue;
    }
    const LONG rc = UtilZIPAppend(zip, W(args[i]), nullptr, nullptr);
    if (rc != 0) {
      std::fprintf(stderr, "zxut: '%s' left out: %s (%ld)\n", Utf8(args[i]).c_str(),
                   rc == -1 ? "cannot be opened" : "cannot be compressed or is larger than 4 GB", (long)rc);
      failed = 1;
    }
  }
  if (UtilZIPClose(zip) != 0) {
    std::fprintf(stderr, "zxut: writing '%s' failed (-3: a write failed or the archive is larger than 4 GB)\n",
                 Utf8(args[0]).c_str());
    return 1;
  }
  return failed;
}
