#include "core/identity/Identity.h"

#include "platform/locale.h"
#include "platform/process.h"
#include "platform/startup.h"
#include "platform/version_info.h"

namespace zx {
namespace {

constexpr int64_t kMaxPath = 260;
constexpr int64_t kMaxBaseName = 256;

int64_t NameStart(const String& path) {
  int64_t i = path.Length();
  while (i > 0 && path.GetAt(i - 1) != u'\\' && path.GetAt(i - 1) != u'/') --i;
  return i;
}

void Describe(const std::u16string& raw, bool library, String& path, String& fileName, String& baseName,
              String& folder) {
  path = String(std::u16string_view(raw)).Left(kMaxPath);
  path.ToUpper();
  fileName = FileNameOfPath(path);
  baseName = (library ? BaseNameOfLibrary(fileName) : BaseNameOfFile(fileName)).Left(kMaxBaseName);
  folder = FolderOfPath(path);
}

scIdentity Build() {
  scIdentity id;
  Describe(plat::ExecutablePath(), false, id.processPath, id.processFileName, id.processBaseName,
           id.processFolder);
  Describe(plat::LibraryPath(), true, id.libraryPath, id.libraryFileName, id.libraryBaseName,
           id.libraryFolder);
  id.windowsVersion = plat::SystemVersion();
  id.session = plat::RemoteSessionId();
  return id;
}

}  // namespace

String FileNameOfPath(const String& path) { return path.Mid(NameStart(path)); }
String FolderOfPath(const String& path) { return path.Left(NameStart(path)); }

String BaseNameOfFile(const String& fileName) {
  int64_t dot = fileName.Length();
  while (dot > 0 && fileName.GetAt(dot - 1) != u'.') --dot;
  return dot > 1 ? fileName.Left(dot - 1) : fileName;
}

String BaseNameOfLibrary(const String& fileName) {
  // The loader opens a versioned shared object by its SONAME (libzxUT22.so.22): the
  // ".<digits>" groups after ".so" go before the extension does.
  auto digit = [&](int64_t i) { return fileName.GetAt(i) >= u'0' && fileName.GetAt(i) <= u'9'; };
  int64_t cut = fileName.Length();
  for (;;) {
    int64_t dot = cut;
    while (dot > 0 && digit(dot - 1)) --dot;
    if (dot == cut || dot < 1 || fileName.GetAt(dot - 1) != u'.') break;
    cut = dot - 1;
  }
  const bool so = cut >= 3 && fileName.GetAt(cut - 3) == u'.' && (fileName.GetAt(cut - 2) | 0x20) == u's' &&
                  (fileName.GetAt(cut - 1) | 0x20) == u'o';
  return BaseNameOfFile(so ? fileName.Left(cut) : fileName);
}

const scIdentity& Identity() {
  static const scIdentity id = Build();
  return id;
}

String ModuleVersionText(const char16_t* path) {
  String upper(path ? path : u"");
  upper.ToUpper();
  std::u16string fileVersion, build;
  if (!path || !plat::ModuleVersionStrings(path, &fileVersion, &build)) {
    String text = FileNameOfPath(upper);
    text.Append(u" <no version info>");
    return text;
  }
  if (fileVersion.empty()) return String();
  String text = upper;
  text.Append(u' ');
  text.Append(fileVersion.c_str());
  if (!build.empty()) {
    text.Append(u' ');
    text.Append(build.c_str());
  }
  return text;
}

}  // namespace zx
