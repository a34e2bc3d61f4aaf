#include "tempfile/TempFileRemover.h"

#include <algorithm>
#include <chrono>

#include "core/diag/Diag.h"
#include "core/timing/TickCount.h"
#include "file/File.h"
#include "file/FileAttributes.h"
#include "file/TempName.h"
#include "path/FileFind.h"
#include "path/PathRuntime.h"
#include "platform/errors.h"

namespace zx {
namespace {

constexpr uint64_t kSweepIntervalMs = 86400000;
constexpr uint64_t kSweepAge = 36000000000ull;        // 1 hour
constexpr uint64_t kGrace = 100000000ull;             // 10 seconds
constexpr uint64_t kBudgetPerEntryMs = 10;
constexpr int kMaxWeightedEntries = 90;
constexpr int kLibraryMajorVersion = 22;

// Times compare as system times do, to the millisecond.
uint64_t Ms(uint64_t fileTime) { return fileTime / 10000; }

String ErrorText(uint32_t error) { return String::SystemMessage(error); }

String ProductFolder() {
  String folder = UtilGetTempPath(true);
  folder.Append(u"zarnik");
  return folder;
}

// "Sunday, 2026-11-22, 10:15 UTC": nobody reads it back; only the write counts.
String TimeText(uint64_t fileTime) {
  static const char16_t* const kDays[] = {u"Sunday",   u"Monday", u"Tuesday", u"Wednesday",
                                          u"Thursday", u"Friday", u"Saturday"};
  constexpr int64_t kDays1601To1970 = 134774;
  const int64_t minutes = static_cast<int64_t>(fileTime / 600000000ull);
  const std::chrono::sys_days day{std::chrono::days{minutes / 1440 - kDays1601To1970}};
  const std::chrono::year_month_day ymd{day};
  const std::chrono::weekday weekday{day};
  return String(kFormat, u"%s, %04d-%02d-%02d, %02d:%02d UTC", kDays[weekday.c_encoding()], static_cast<int>(ymd.year()),
                static_cast<int>(static_cast<unsigned>(ymd.month())), static_cast<int>(static_cast<unsigned>(ymd.day())),
                static_cast<int>(minutes / 60 % 24), static_cast<int>(minutes % 60));
}

}  // namespace

clsTempFileRemover::clsTempFileRemover(const scTempFileRemoverSeams& seams)
    : clsThreadBase("clsTempFileRemover"), m_Seams(seams) {
  const String folder = ProductFolder();
  plat::FileInfo info;
  if (ReadFileAttributes(folder, &info) && (info.attributes & plat::kAttrDirectory)) {
    m_sActivityFile = ProductActivityFile();
    StartThread();
  } else {
    DiagFormat(u"WRN: UTIL: path '%s' does not exist", folder.wchar());
  }
}

clsTempFileRemover::~clsTempFileRemover() {
  ThreadEnd(false, 10000, true);
  plat::Lock guard(m_Lock);
  while (m_lstFiles.entries() > 0) {
    const String name = m_lstFiles.get(0);
    if (m_Seams.removeFile(name.wchar())) continue;
    if (plat::LastError() == plat::kErrFileNotFound) DiagFormat(u"temp file '%s' is gone!", name.wchar());
    else DiagFormat(u"cannot delete '%s', file will most likely remain on your system", name.wchar());
  }
}

void clsTempFileRemover::StartThread() {
  plat::Lock guard(m_Lock);
  if (m_bThreadStarted) return;
  m_bThreadStarted = true;
  ThreadStart(0);
}

bool clsTempFileRemover::ThreadWasStarted() {
  plat::Lock guard(m_Lock);
  return m_bThreadStarted;
}

void clsTempFileRemover::Add(const String& name) {
  {
    plat::Lock guard(m_Lock);
    m_lstFiles.append(IString(name));
  }
  StartThread();
}

std::vector<String> clsTempFileRemover::PendingNames() {
  plat::Lock guard(m_Lock);
  std::vector<String> names;
  for (int i = 0; i < m_lstFiles.entries(); ++i) names.push_back(m_lstFiles.find(i));
  return names;
}

bool clsTempFileRemover::DeleteTempFile(const String& name, const scTempFileRemoverSeams& seams) {
  plat::FileInfo info;
  if (!ReadFileAttributes(name, &info)) {
    const uint32_t error = plat::LastError();
    if (error != plat::kErrFileNotFound && DeveloperMode())
      DiagFormat(u"WRN: clsTempFileRemover: getting file attributes for '%s' failed: %s", name.wchar(),
                 ErrorText(error).wchar());
    plat::SetLastError(error ? error : plat::kErrFileNotFound);
    return false;
  }
  if ((info.attributes & plat::kAttrReadOnly) &&
      !plat::SetAttributesByName(name.wchar(), info.attributes & ~plat::kAttrReadOnly)) {
    const uint32_t error = plat::LastError();
    if (DeveloperMode())
      DiagFormat(u"WRN: clsTempFileRemover: setting file '%s' r/w failed: %s", name.wchar(),
                 ErrorText(error).wchar());
    plat::SetLastError(error);
    return false;
  }
  if (seams.removeFile(name.wchar())) return true;
  const uint32_t error = plat::LastError();
  if (DeveloperMode())
    DiagFormat(u"WRN: clsTempFileRemover: error deleting temp file '%s': %s", name.wchar(), ErrorText(error).wchar());
  plat::SetLastError(error);
  return false;
}

std::vector<String> clsTempFileRemover::SweepCandidates(const String& activityFile,
                                                       const scTempFileRemoverSeams& seams) {
  std::vector<String> old;
  char16_t drive[3], dir[256];
  if (SplitPath(activityFile.wchar(), drive, 3, dir, 256, nullptr, 0, nullptr, 0) != 0) return old;
  String folder(drive);
  folder.Append(dir);
  String pattern = folder;
  pattern.Append(String(kFormat, u"_%d_*", kLibraryMajorVersion));
  const uint64_t limit = Ms(seams.systemTime() - kSweepAge);
  clsFileFind find(pattern, false);
  while (find.Next()) {
    const String name = find.Name();
    const size_t dot = name.View().find_last_of(u'.');
    if (dot != std::u16string_view::npos && IString(name.Mid(static_cast<int64_t>(dot))).Compare(u".signal") == 0)
      continue;
    if (find.IsFolder() || Ms(find.Info().lastWrite) >= limit) continue;
    String full = folder;
    full.Append(name);
    old.push_back(full);
  }
  return old;
}

void clsTempFileRemover::SweepTempFolder(const String& activityFile, const scTempFileRemoverSeams& seams) {
  const std::vector<String> old = SweepCandidates(activityFile, seams);
  if (DeveloperMode())
    DiagFormat(u"deleting %d files from temp directory that are older than one hour", static_cast<int>(old.size()));
  for (const String& name : old) DeleteTempFile(name, seams);
}

String clsTempFileRemover::ProductActivityFile() {
  return String(kFormat, u"%s\\_%d_activity.signal", ProductFolder().wchar(), kLibraryMajorVersion);
}

void clsTempFileRemover::TouchActivityFile(uint64_t now) {
  clsFile file;
  if (file.Open(m_sActivityFile, 1, 1, 2, 0x102) != 0) {
    DiagFormat(u"cannot create/open activity file '%s': %s", m_sActivityFile.wchar(),
               file.GetLastErrorText().wchar());
    return;
  }
  const String text = TimeText(now);
  const int64_t atPosition = -1;
  file.Write(text.wchar(), static_cast<uint32_t>(text.Length() * 2), &atPosition);
  file.Close();
}

void clsTempFileRemover::Pass() {
  const int n = m_lstFiles.entries();
  const uint64_t deadline = UtilTickCount64() + kBudgetPerEntryMs * static_cast<uint64_t>(n);
  const uint64_t now = Ms(m_Seams.systemTime());
  int k = 0;   // entries that failed this pass, to be tried later
  int i = 0;   // the entry looked at
  while (i < m_lstFiles.entries() && k < m_lstFiles.entries() && UtilTickCount64() <= deadline) {
    const String name = m_lstFiles.find(i);
    plat::FileInfo info;
    if (!ReadFileAttributes(name, &info) || now < Ms(info.lastWrite) + Ms(kGrace)) {
      ++i;
      continue;
    }
    if (DeleteTempFile(name, m_Seams) || plat::LastError() == plat::kErrFileNotFound) {
      // The entry at k goes, which is the deleted file's only when no younger
      // entry was passed over: the behaviour the product has always had.
      m_lstFiles.get(k);
      i = k <= 1 ? k : k - 1;
      continue;
    }
    if (DeveloperMode()) DiagFormat(u" ...trying again later");
    ++k;
    ++i;
  }
}

uint32_t clsTempFileRemover::ThreadProc() {
  int32_t result = 0;
  if (!ThreadWait(m_Seams.firstWaitMs, &result, 0)) return 1;
  for (;;) {
    if (!m_sActivityFile.IsEmpty()) {
      const uint64_t tick = UtilTickCount64();
      const uint64_t now = m_Seams.systemTime();
      if (tick > m_qwNextSweepTick) {
        plat::FileInfo info;
        if (!ReadFileAttributes(m_sActivityFile, &info) || info.lastWrite + kIdleForSweep < now)
          SweepTempFolder(m_sActivityFile, m_Seams);
        m_qwNextSweepTick = tick + kSweepIntervalMs;
      }
      TouchActivityFile(now);
    }
    int weighted = 0;
    {
      plat::Lock guard(m_Lock);
      Pass();
      weighted = std::min(m_lstFiles.entries(), kMaxWeightedEntries);
    }
    if (!ThreadWait(static_cast<uint32_t>(100 - weighted) * m_Seams.passWaitUnitMs, &result, 0)) return 1;
  }
}

}  // namespace zx
