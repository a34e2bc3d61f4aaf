#include "path/PathServices.h"

#include <string>
#include <vector>

#include "core/regex/RegEx.h"
#include "file/FileAttributes.h"
#include "path/PathRuntime.h"
#include "platform/file.h"
#include "platform/path.h"

namespace zx {
namespace {

constexpr size_t kNormalizeRoom = 260;

std::u16string Text(const String& s) { return std::u16string(s.View()); }

bool SameCaseless(const String& a, const String& b) { return IString(a).Compare(b) == 0; }

// The `clsShellFolderReplace` of the token expansion: a user's known folder, or the
// match as it was.
class clsShellFolderReplace : public IclsRegExGSubCB {
 public:
  bool Replace(const clsRegExMatchList& list, String& replacement) override {
    std::u16string folder;
    if (plat::ShellFolder(Text(list.find(1).text), folder)) replacement = String(std::u16string_view(folder));
    else replacement = list.find(0).text;
    return true;
  }
};

}  // namespace

String NormalizePath(const String& path) {
  std::u16string full = FullPathName(path.View(), SystemPathContext());
  if (full.empty() || full.size() >= kNormalizeRoom) return path;
  String out{std::u16string_view(full)};
  out.ReplaceAll(u"\\.\\", u"\\");
  std::u16string canonical;
  if (plat::CanonicalizePath(Text(out), canonical)) out = String(std::u16string_view(canonical));
  return out;
}

int32_t EnsureUNCPath(const String& path, String& out) {
  const String normal = NormalizePath(path);
  std::u16string universal;
  switch (plat::ToUniversalName(Text(normal), universal)) {
    case 1:
      out = String(std::u16string_view(universal));
      return 0;
    case 0:
      out = normal;
      return 0;
    default:
      return -1;
  }
}

int32_t EnsureLocalPath(const String& path, String& out) {
  const String normal = NormalizePath(path);
  // Ungreedy, so ".*?" is the greedy form: group 1 takes what it can.
  clsRegEx share(u"^(\\\\\\\\(?:.*?)\\\\(?:.*?))(\\\\.*|)$", kRegExUngreedy);
  clsRegExMatchList match;
  if (!share.Match(normal, &match)) {
    out = normal;
    return 0;
  }
  std::vector<plat::NetworkShare> shares;
  if (!plat::RememberedShares(shares)) return -1;
  const String group1 = match.find(1).text;
  const String group2 = match.find(2).text;
  out = normal;
  for (const plat::NetworkShare& s : shares) {
    const String remote{std::u16string_view(s.remote)};
    String rest;
    if (SameCaseless(group1, remote)) {
      rest = group2;
    } else if (plat::SharesCoverSubfolders() && group1.Length() > remote.Length() &&
               group1.GetAt(remote.Length()) == u'\\' && SameCaseless(group1.Left(remote.Length()), remote)) {
      rest = group1.Mid(remote.Length());
      rest.Append(group2);
    } else {
      continue;
    }
    if (plat::PathsUsePosixRoot()) rest.ReplaceChar(u'\\', u'/');
    out = String(std::u16string_view(s.local));
    out.Append(rest);
    break;
  }
  return 0;
}

String ExpandDefaultTokensOfFolderPath(const String& text) {
  if (text.View().find(u'%') == std::u16string_view::npos) return text;
  String expanded{std::u16string_view(plat::ExpandEnvironment(Text(text)))};
  if (expanded.View().find(u'%') == std::u16string_view::npos) return expanded;
  clsRegEx token(u"%([A-Z0-9_ ]+)%", kRegExCaseless | kRegExUngreedy);
  clsShellFolderReplace replace;
  return token.Substitute(expanded, replace);
}

int32_t ClassifyPath(const String& target) {
  String path = target;
  const size_t colon = path.View().find(u':');
  if (colon != std::u16string_view::npos && colon > 1) {
    static const struct {
      const char16_t* pattern;
      int32_t kind;
    } kPorts[] = {{u"^LPT\\d+:$", kPathKindPrinterPort}, {u"^COM\\d+:$", kPathKindSerialPort}, {u"^USB:", kPathKindUsb}};
    for (const auto& port : kPorts)
      if (clsRegEx(port.pattern, kRegExCaseless).Match(path, nullptr)) return port.kind;
    if (clsRegEx(u"^FILE:(.*)", kRegExCaseless | kRegExDotAll).Match(path, nullptr)) path = path.Mid(5);
  }
  plat::FileInfo info;
  if (!ReadFileAttributes(path, &info)) return kPathKindNone;
  return (info.attributes & plat::kAttrDirectory) ? kPathKindFolder : kPathKindFile;
}

uint32_t GetFSInfo(const String& root, scFSInfo* info) {
  if (!info || info->dwSize != sizeof(scFSInfo)) return kFSInfoWrongSize;
  info->dwMaxPath = 260;
  info->dwMaxDrive = 3;
  uint32_t component = 0, flags = 0;
  if (!plat::VolumeInformation(Text(root), &component, &flags)) component = flags = 0;
  info->dwMaxComponent = component;
  info->dwFlags = ((flags & plat::kFsCaseSensitive) ? kFSInfoCaseSensitive : 0) |
                  ((flags & plat::kFsCasePreserved) ? kFSInfoCasePreserved : 0) |
                  ((flags & plat::kFsUnicode) ? kFSInfoUnicode : 0) | (component > 12 ? kFSInfoLongNames : 0) |
                  ((flags & plat::kFsVolumeCompressed) ? kFSInfoCompressed : 0);
  return (info->dwFlags & kFSInfoCaseSensitive) ? 1 : 0;
}

}  // namespace zx
