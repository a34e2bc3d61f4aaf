#include "file/TempName.h"

#include <chrono>
#include <cstdint>

#include "file/FileAttributes.h"
#include "platform/errors.h"
#include "platform/lock.h"
#include "platform/process.h"

namespace zx {
namespace {

constexpr uint32_t kMaxAttempts = 0xFFFFF;
constexpr uint64_t kFileTimePerDay = 864000000000ull;   // 100 ns units
constexpr int kLibraryMajorVersion = 22;

plat::CriticalSection& TempPathLock() {
  static plat::CriticalSection* lock = new plat::CriticalSection(4000);   // lives for the process
  return *lock;
}
String g_tempShort;
String g_tempLong;

bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }

// Where the file-name part of a path begins (behind the drive and the last separator).
int64_t NameStart(const String& path) {
  for (int64_t i = path.Length(); i > 0; --i)
    if (IsSeparator(path.GetAt(i - 1)) || (i == 2 && path.GetAt(1) == u':')) return i;
  return 0;
}

// Errors after which no other number can help: the folder is not there.
bool Hopeless(uint32_t error) {
  return error == plat::kErrPathNotFound || error == plat::kErrInvalidName || error == plat::kErrFilenameExcedRange;
}

uint64_t DaysApart(uint64_t a, uint64_t b) { return a > b ? a - b : b - a; }

// Any fast, rising 64-bit number.
uint64_t TimeStampCounter() {
  return static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

}  // namespace

String UtilGetTempPath(bool longForm) {
  plat::Lock guard(TempPathLock());
  String& cache = longForm ? g_tempLong : g_tempShort;
  if (!cache.IsEmpty()) return cache;
  std::u16string path;
  if (!plat::SystemTempPath(path)) {
    path = plat::EnvironmentVariable(u"TEMP");
    if (path.empty() || path.back() != u'\\') path += u'\\';
  }
  if (longForm) {
    std::u16string longPath;
    if (plat::LongPathName(path, longPath)) path = longPath;
  }
  cache = String(std::u16string_view(path));
  return cache;
}

void UtilResetTempPathCache() {
  plat::Lock guard(TempPathLock());
  g_tempShort.Clear();
  g_tempLong.Clear();
}

String UtilCreateTempName(const String& folders, const String& base, const String& extension, uint32_t flags,
                          clsFileHandleHolder* holder) {
  String root = UtilGetTempPath(true);
  while (!root.IsEmpty() && IsSeparator(root.GetAt(root.Length() - 1))) root = root.Left(root.Length() - 1);
  String path = root;
  int64_t start = 0;
  while (start <= folders.Length() && !folders.IsEmpty()) {
    int64_t end = start;
    while (end < folders.Length() && folders.GetAt(end) != u'\\') ++end;
    if (end > start) {
      path.Append(u'\\');
      path.Append(folders.Mid(start, end - start));
      if (!plat::MakeFolder(path.wchar()) && plat::LastError() != plat::kErrAlreadyExists) {
        path = root;
        break;
      }
    }
    start = end + 1;
  }
  path.Append(u'\\');
  path.Append(base);
  return UtilMakeTempName(path, extension, flags, holder);
}

String UtilMakeTempName(const String& path, const String& extension, uint32_t flags, clsFileHandleHolder* holder) {
  const int64_t nameStart = NameStart(path);
  String folder = path.Left(nameStart);
  if (folder.IsEmpty()) folder = UtilGetTempPath((flags & kTempLongFolder) != 0);
  String base = path.IsEmpty() ? String(u"zrk") : path.Mid(nameStart);
  if (!(flags & kTempNoPrefix)) {
    String prefixed(kFormat, u"_%d_", kLibraryMajorVersion);
    prefixed.Append(base);
    base = prefixed;
  }
  String ext = extension;
  if (ext.GetAt(0) == u'.') ext = ext.Mid(1);

  uint32_t createFlags = plat::kAttrNormal;
  if (holder) createFlags |= plat::kAttrTemporary | plat::kFlagDeleteOnClose;
  createFlags |= (flags & kTempRandomAccess) ? plat::kFlagRandomAccess : plat::kFlagSequentialScan;

  const uint64_t now = plat::FileTimeNow();
  const uint64_t staleAfter = 7 * kFileTimePerDay;
  for (uint32_t attempt = 0; attempt < kMaxAttempts; ++attempt) {
    String name = (flags & kTempPlainFirst) && attempt == 0
                      ? String(kFormat, u"%s%s.%s", folder.wchar(), base.wchar(), ext.wchar())
                      : String(kFormat, u"%s%s%I64x.%s", folder.wchar(), base.wchar(), TimeStampCounter(), ext.wchar());
    plat::FileHandle h = plat::FileOpen(name.wchar(), plat::kGenericRead | plat::kGenericWrite, 0,
                                        plat::kCreateNew, createFlags);
    if (plat::IsValidFile(h)) {
      if (holder) holder->Set(h, true);
      else plat::FileClose(h);
      return name;
    }
    const uint32_t error = plat::LastError();
    if (Hopeless(error)) break;
    if (!holder) continue;
    plat::FileInfo info;
    if (!ReadFileAttributes(name, &info) || DaysApart(now, info.lastWrite) <= staleAfter) continue;
    h = plat::FileOpen(name.wchar(), plat::kGenericRead | plat::kGenericWrite, 0, plat::kOpenExisting, createFlags);
    if (!plat::IsValidFile(h)) continue;
    uint64_t written = 0;
    if (plat::FileTimes(h, nullptr, nullptr, &written) && DaysApart(now, written) > staleAfter) {
      plat::FileSetEnd(h);
      holder->Set(h, true);
      return name;
    }
    plat::FileClose(h);
  }
  return String();
}

clsFileRWTemp::clsFileRWTemp(const String& prefix, const String& extension) {
  clsFileHandleHolder holder;
  m_sName = UtilCreateTempName(String(u"zarnik"), prefix, extension, kTempLongFolder, &holder);
  if (holder.Valid()) {
    m_hFile.Set(holder.Detach(), true);
    m_bOwned = true;
  }
}

clsFileRWTempStream::clsFileRWTempStream() {
  IStream* stream = nullptr;
  if (plat::CreateMemoryStream(&stream) >= 0 && stream) {
    m_pStream.Attach(stream);
    stream->Release();
  }
}

}  // namespace zx
