// Packing the dump: the archive's entry "zarnik64.dmp" and up to three logs, each
// added only when written in the last ten minutes and once it has stopped changing.
#include "gpf/SupportArchive.h"

#include <string>

#include "core/identity/Identity.h"
#include "debug/Debug.h"
#include "file/TempName.h"
#include "gpf/ReportLog.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "zip/ZipFile.h"

namespace zx {
namespace {

// %TEMP% falls back to the temporary folder (Linux has no such variable).
String LogPath(int index) {
  switch (index) {
    case 0: {
      String p = ExpandEnvironment(u"%TEMP%\\TRAVUE.LOG");
      if (p.View().find(u'%') == std::u16string_view::npos) return p;
      String temp = UtilGetTempPath(false);
      temp.Append(u"TRAVUE.LOG");
      return temp;
    }
    case 1: return ExpandEnvironment(u"%WINDIR%\\TRAVUE.LOG");
    default: return ExpandEnvironment(u"%APPDATA%\\ZARNIK.LOG").View().find(u'%') == std::u16string_view::npos
                        ? ExpandEnvironment(u"%APPDATA%\\ZARNIK.LOG")
                        : ReportLogName();
  }
}

uint64_t LastWrite(const String& name) {
  plat::FileInfo info;
  return plat::FileInfoByName(name.wchar(), &info) ? info.lastWrite : 0;
}

}  // namespace

int WriteSupportArchive(clsDBGHelpWrapper& wrapper, char16_t* path, uint32_t size,
                        const plat::ExceptionPointers64* exception, uint32_t exceptionThreadId) {
  DebugPrintIndent(+1, u">pJob->WriteMiniDump()");
  if (!wrapper.WriteMiniDump(path, size, exception, exceptionThreadId)) {
    DebugPrintIndent(-1, u"<pJob->WriteMiniDump() failed");
    return 0;
  }
  const String dump(path);
  String archive = FolderOfPath(dump);
  archive.Append(u"zarnik.dmp.zip");
  plat::RemoveFile(archive.wchar());
  clsZIPFile zip;
  if (zip.Create(archive, String(u"zarnik Crash Information File"))) {
    zip.Append(dump, String(u"DumpFile"), String(u"zarnik64.dmp"));
    const uint64_t now = plat::FileTimeNow();
    for (int i = 0; i < 3; ++i) {
      const String log = LogPath(i);
      plat::FileHandle h = plat::FileOpen(log.wchar(), plat::kGenericRead, plat::kShareRead | plat::kShareWrite,
                                          plat::kOpenExisting, 0);
      if (!plat::IsValidFile(h)) continue;
      plat::FileClose(h);
      uint64_t written = LastWrite(log);
      if (written + kLogRecentLimit < now) continue;
      for (;;) {   // wait until the log has stopped changing
        plat::SleepMs(kLogSettleMs);
        const uint64_t again = LastWrite(log);
        if (again == written) break;
        written = again;
      }
      zip.Append(log, String(u"LogFile"), String(u"travue.log"));
    }
    const std::u16string_view v = archive.View();
    const size_t n = v.size() < size ? v.size() : size - 1;
    std::char_traits<char16_t>::copy(path, v.data(), n);
    path[n] = 0;
    zip.Close();
  }
  plat::RemoveFile(dump.wchar());
  DebugPrintIndent(-1, u"<pJob->WriteMiniDump() succeeded");
  return 1;
}

}  // namespace zx
