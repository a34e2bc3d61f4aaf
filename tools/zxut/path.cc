// zxut path: what the path exports return for one argument.
#include <cstdio>
#include <cstring>
#include <string>

#include "command.h"
#include "platform/bstr.h"
#include "text.h"

int RunPath(int argc, char** argv);

namespace {

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"path", "what the path exports return for one argument",
     "usage: zxut path split PATH | merge DRIVE DIR NAME EXT | full PATH | unc PATH | local PATH\n"
     "                 | fsinfo ROOT | expand TEXT | kind TARGET\n"
     "  split, merge, full: UtilSplitpath, UtilMergepath, UtilFullpath; unc, local:\n"
     "  UtilEnsureUNCPath, UtilEnsureLocalPath; fsinfo: UtilGetFSInfo; expand: the folder\n"
     "  tokens; kind: UtilClassifyPath\n",
     &RunPath});

int UsageError() { return zxut::UsageError("path"); }

// An export with a BSTR result: the text and the result value.
int PrintBstr(LONG (*call)(LPCWSTR, BSTR*), const std::u16string& arg) {
  BSTR out = nullptr;
  const LONG rc = call(W(arg), &out);
  std::printf("%s\nresult %ld\n", out ? Utf8(FromW(out)).c_str() : "(nothing stored)", (long)rc);
  plat::SysFree(reinterpret_cast<plat::Bstr>(out));
  return rc == -1 ? 1 : 0;
}

int Split(const std::u16string& path) {
  WCHAR drive[ZXUT_MAX_DRIVE], dir[ZXUT_MAX_DIR], name[ZXUT_MAX_FNAME], ext[ZXUT_MAX_EXT];
  const LONG rc = UtilSplitpath(W(path), drive, dir, name, ext);
  std::printf("drive %s\ndir   %s\nname  %s\next   %s\nresult %ld\n", Utf8(FromW(drive)).c_str(),
              Utf8(FromW(dir)).c_str(), Utf8(FromW(name)).c_str(), Utf8(FromW(ext)).c_str(), (long)rc);
  return rc ? 1 : 0;
}

int Merge(char** parts) {
  const std::u16string drive = Wide(parts[0]), dir = Wide(parts[1]), name = Wide(parts[2]), ext = Wide(parts[3]);
  WCHAR out[ZXUT_MAX_PATH];
  const LONG rc = UtilMergepath(out, W(drive), W(dir), W(name), W(ext));
  std::printf("%s\nresult %ld\n", Utf8(FromW(out)).c_str(), (long)rc);
  return rc ? 1 : 0;
}

int Full(const std::u16string& path) {
  WCHAR out[4096];
  UtilFullpath(out, W(path), 4096);
  std::printf("%s\n", Utf8(FromW(out)).c_str());
  return out[0] ? 0 : 1;
}

int FsInfo(const std::u16string& root) {
  UTIL_FSINFO info = {sizeof(UTIL_FSINFO), 0, 0, 0, 0};
  const DWORD rc = UtilGetFSInfo(root.empty() ? nullptr : W(root), &info);
  std::printf("max path %lu\nmax drive %lu\nmax component %lu\nflags 0x%lx:%s%s%s%s%s\nresult %lu\n",
              (unsigned long)info.dwMaxPath, (unsigned long)info.dwMaxDrive, (unsigned long)info.dwMaxComponent,
              (unsigned long)info.dwFlags, info.dwFlags & ZXUT_FS_CASE_SENSITIVE ? " case-sensitive" : "",
              info.dwFlags & ZXUT_FS_CASE_PRESERVED ? " case-preserved" : "",
              info.dwFlags & ZXUT_FS_UNICODE ? " unicode" : "", info.dwFlags & ZXUT_FS_LONG_NAMES ? " long-names" : "",
              info.dwFlags & ZXUT_FS_COMPRESSED ? " compressed" : "", (unsigned long)rc);
  return 0;
}

int Kind(const std::u16string& target) {
  static const char* const kKinds[] = {"not there", "file", "folder", "printer port", "serial port", "?", "USB target"};
  const LONG kind = UtilClassifyPath(W(target));
  std::printf("%ld (%s)\n", (long)kind, kind >= 0 && kind <= 6 ? kKinds[kind] : "?");
  return 0;
}

}  // namespace

// zxut path COMMAND ARG...: each prints what its export returns.
int RunPath(int argc, char** argv) {
  if (argc < 1) return UsageError();
  const std::string cmd = argv[0];
  if (cmd == "merge") return argc == 5 ? Merge(argv + 1) : UsageError();
  if (argc != 2) return UsageError();
  const std::u16string arg = Wide(argv[1]);
  if (cmd == "split") return Split(arg);
  if (cmd == "full") return Full(arg);
  if (cmd == "unc") return PrintBstr(&UtilEnsureUNCPath, arg);
  if (cmd == "local") return PrintBstr(&UtilEnsureLocalPath, arg);
  if (cmd == "expand") return PrintBstr(&UtilExpandDefaultTokensOfFolderPath, arg);
  if (cmd == "fsinfo") return FsInfo(arg);
  if (cmd == "kind") return Kind(arg);
  return UsageError();
}
