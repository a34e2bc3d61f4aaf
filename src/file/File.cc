// clsFile: construction, opening and closing, positions, reads and writes.
#include "file/File.h"

#include <cstring>

#include "core/diag/Diag.h"
#include "platform/clock.h"
#include "platform/errors.h"

namespace zx {
namespace {

constexpr uint32_t kMaxErrorText = 1024;

// The error kind of a failed open.
uint32_t ClassifyOpenError(uint32_t error) {
  switch (error) {
    case plat::kErrPathNotFound:
    case plat::kErrInvalidDrive:
    case plat::kErrBadNetPath:
    case plat::kErrDevNotExist: return kFileErrPath;
    case plat::kErrSharingViolation:
    case plat::kErrLockViolation: return kFileErrInUse;
    case plat::kErrAlreadyExists: return kFileErrExists;
    case plat::kErrAccessDenied:
    case plat::kErrWriteProtect: return kFileErrAccess;
    default: return kFileErrOther;
  }
}

// The system's text of an error, without its line end, at most 1024 characters.
String OpenErrorText(uint32_t error) {
  std::u16string text;
  if (!plat::SystemErrorText(error, 0, text)) return String::SystemMessage(error).Left(kMaxErrorText);
  while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r' || text.back() == u' ')) text.pop_back();
  if (text.size() > kMaxErrorText) text.resize(kMaxErrorText);
  return String(std::u16string_view(text));
}

uint32_t DesiredAccess(uint32_t access) {
  switch (access) {
    case 0: return plat::kGenericRead;
    case 1: return plat::kGenericWrite;
    case 2: return plat::kGenericRead | plat::kGenericWrite;
    default: return 0;
  }
}

uint32_t Disposition(uint32_t create) {
  switch (create) {
    case 0: return plat::kOpenExisting;
    case 1: return plat::kOpenAlways;
    case 2: return plat::kCreateAlways;
    default: return 0;
  }
}

uint32_t ShareMode(uint32_t share) {
  switch (share) {
    case 2: return plat::kShareRead;
    case 3: return plat::kShareRead | plat::kShareWrite;
    default: return 0;
  }
}

}  // namespace

uint32_t TranslateFileFlags(uint32_t flags) {
  static constexpr struct {
    uint32_t own;
    uint32_t system;
  } kTable[] = {
      {kFileWriteThrough, plat::kFlagWriteThrough},   {kFileSequentialScan, plat::kFlagSequentialScan},
      {kFileDeleteOnClose, plat::kFlagDeleteOnClose}, {kFileRandomAccess, plat::kFlagRandomAccess},
      {kFileNormal, plat::kAttrNormal},               {kFileHidden, plat::kAttrHidden},
      {kFileReadOnly, plat::kAttrReadOnly},           {kFileTemporary, plat::kAttrTemporary},
  };
  uint32_t out = 0;
  for (const auto& e : kTable)
    if (flags & e.own) out |= e.system;
  return out;
}

clsFile::clsFile() = default;

clsFile::clsFile(const String& name, uint32_t access, uint32_t create, uint32_t share, uint32_t flags) {
  Open(name, access, create, share, flags);
}

clsFile::clsFile(IStream* stream) {
  if (!stream) return;
  m_pStream.Attach(stream);
  LARGE_INTEGER zero;
  zero.QuadPart = 0;
  m_pStream->Seek(zero, STREAM_SEEK_SET, nullptr);
}

clsFile::clsFile(plat::FileHandle handle) {
  m_hFile.Set(handle, true);
  m_bOwned = true;
}

clsFile::~clsFile() {
  if (IsOpen() && m_pLocks) {
    DiagFormat(u"portions of the file '%s' are still locked. they will be unlocked automatically...",
               DiagName());
    while (m_pLocks) Unlock(m_pLocks);
  }
  Close();
  for (scFileLock* list : {m_pLocks, m_pRetired}) {
    while (list) {
      scFileLock* next = list->next;
      delete list;
      list = next;
    }
  }
}

HRESULT clsFile::NonDelegatingQueryInterface(const IID& iid, void** out) {
  if (out && plat::SameGuid(iid, plat::kIID_IStream)) {
    IStream* face = static_cast<IStream*>(this);
    face->AddRef();
    *out = face;
    return plat::kS_OK;
  }
  return clsIUnknownImpl::NonDelegatingQueryInterface(iid, out);
}

plat::FileHandle clsFile::CreateHandle(const String& name, uint32_t access, uint32_t share,
                                       uint32_t disposition, uint32_t flags) {
  plat::NoOpenFileErrorBox noErrorBox;
  m_sName = name;
  if (name.IsEmpty()) return nullptr;
  if (!IsValidFileName(name)) {
    m_eError = kFileErrReserved;
    return nullptr;
  }
  return plat::FileOpen(name.wchar(), access, share, disposition, flags);
}

int32_t clsFile::Open(const String& name, uint32_t access, uint32_t create, uint32_t share, uint32_t flags) {
  Close();
  m_sName = name;
  m_dwFlags = flags;
  m_eError = kFileErrNone;
  m_sError.Clear();

  const uint32_t systemFlags = TranslateFileFlags(flags);
  const uint32_t desired = DesiredAccess(access);
  const uint32_t disposition = Disposition(create);
  const uint32_t shareMode = ShareMode(share);
  if ((create == 1 || create == 2) && access == 0)
    DiagLine(u"creating a file without write access does not make much sense");

  if (!IsValidFileName(name)) {
    m_eError = kFileErrReserved;
    m_sError = u"file name is reserved by Windows";
  } else {
    for (int attempt = 0; attempt < 3; ++attempt) {
      plat::SetLastError(0);
      m_hFile.Set(CreateHandle(name, desired, shareMode, disposition, systemFlags), true);
      if (m_hFile.Valid()) break;
      if (m_eError == kFileErrReserved) {   // a subclass's name test
        m_sError = u"file name is reserved by Windows";
        break;
      }
      const uint32_t error = plat::LastError();
      m_eError = ClassifyOpenError(error);
      m_sError = OpenErrorText(error);
      plat::SetLastError(error);
      if ((systemFlags & plat::kAttrTemporary) &&
          (error == plat::kErrSharingViolation || error == plat::kErrLockViolation))
        plat::SleepMs(100);
    }
  }

  const uint32_t lastError = plat::LastError();
  if (!m_sError.IsEmpty() && DeveloperMode() && !m_sName.IsEmpty())
    DiagFormat(u"clsFile::Open('%s') failed: '%s'", DiagName(), m_sError.wchar());
  const bool got = m_hFile.Valid();
  if (got) m_bOwned = true;
  plat::SetLastError(lastError);
  return got ? 0 : -1;
}

void clsFile::Close() {
  const bool wasOpen = IsOpen();
  if (m_hFile.Valid()) {
    if (m_bOwned && m_hFile.Closes()) m_hFile.Reset();
    else m_hFile.Detach();
  }
  // Only a file this object had open is deleted: a failed open must not remove
  // somebody else's file of the same name.
  const bool deleteIt = wasOpen && (m_dwFlags & kFileDeleteOnClose) && !m_sName.IsEmpty();
  if (deleteIt && !m_pStorage) plat::RemoveFile(m_sName.wchar());
  m_pStream.Reset();
  if (m_pStorage) {
    if (deleteIt) m_pStorage->DestroyElement(reinterpret_cast<const OLECHAR*>(m_sName.wchar()));
    m_pStorage.Reset();
  }
  m_bOwned = false;
}

void clsFile::AttachStorage(IStorage* storage, const String& elementName) {
  Close();
  m_pStorage.Attach(storage);
  m_sName = elementName;
}

bool clsFile::IsOpen() const { return m_hFile.Valid() || m_pStorage || m_pStream; }

const char16_t* clsFile::DiagName() const { return m_pStream ? u"(Stream)" : m_sName.wchar(); }

uint64_t clsFile::GetSize() {
  if (m_hFile.Valid()) {
    uint64_t size = 0;
    return plat::FileSize(m_hFile.Get(), &size) ? size : kAllOnes64;
  }
  if (m_pStream) {
    STATSTG st;
    std::memset(&st, 0, sizeof(st));
    return m_pStream->Stat(&st, STATFLAG_NONAME) >= 0 ? static_cast<uint64_t>(st.cbSize.QuadPart) : kAllOnes64;
  }
  return kAllOnes64;
}

uint64_t clsFile::RawPos() {
  if (m_hFile.Valid()) {
    uint64_t pos = 0;
    return plat::FileSeek(m_hFile.Get(), 0, plat::kSeekCurrent, &pos) ? pos : kAllOnes64;
  }
  if (m_pStream) {
    LARGE_INTEGER zero;
    zero.QuadPart = 0;
    ULARGE_INTEGER pos;
    pos.QuadPart = 0;
    return m_pStream->Seek(zero, STREAM_SEEK_CUR, &pos) >= 0 ? static_cast<uint64_t>(pos.QuadPart) : kAllOnes64;
  }
  return kAllOnes64;
}

// The position is answered in full 64 bits also past 4 GB (a 32-bit answer would
// make every caller misplace data in large files).
uint64_t clsFile::GetPos() { return RawPos(); }

uint64_t clsFile::SetPos(uint64_t pos) {
  if (m_hFile.Valid()) {
    uint64_t now = 0;
    return plat::FileSeek(m_hFile.Get(), static_cast<int64_t>(pos), plat::kSeekBegin, &now) ? now : 0;
  }
  if (m_pStream) {
    LARGE_INTEGER move;
    move.QuadPart = static_cast<int64_t>(pos);
    ULARGE_INTEGER now;
    now.QuadPart = 0;
    return m_pStream->Seek(move, STREAM_SEEK_SET, &now) >= 0 ? static_cast<uint64_t>(now.QuadPart) : kAllOnes64;
  }
  return kAllOnes64;
}

uint64_t clsFile::SeekRel(int64_t delta) {
  if (m_hFile.Valid()) {
    uint64_t now = 0;
    return plat::FileSeek(m_hFile.Get(), delta, plat::kSeekCurrent, &now) ? now : 0;
  }
  if (m_pStream) {
    LARGE_INTEGER move;
    move.QuadPart = delta;
    ULARGE_INTEGER now;
    now.QuadPart = 0;
    return m_pStream->Seek(move, STREAM_SEEK_CUR, &now) >= 0 ? static_cast<uint64_t>(now.QuadPart) : kAllOnes64;
  }
  return kAllOnes64;
}

uint32_t clsFile::Read(void* buffer, uint32_t count) {
  uint32_t got = 0;
  if (m_hFile.Valid() && !plat::FileRead(m_hFile.Get(), buffer, count, &got)) got = 0;
  if (m_pStream) {
    ULONG n = 0;
    if (m_pStream->Read(buffer, count, &n) >= 0) got = n;
  }
  return got;
}

uint32_t clsFile::Write(const void* buffer, uint32_t count, const int64_t* offset) {
  if (offset && *offset != -1) {
    if (m_hFile.Valid()) {
      plat::FileSeek(m_hFile.Get(), *offset, plat::kSeekBegin, nullptr);
    } else if (m_pStream) {
      LARGE_INTEGER move;
      move.QuadPart = *offset;
      m_pStream->Seek(move, STREAM_SEEK_SET, nullptr);
    }
  }
  const auto* bytes = static_cast<const unsigned char*>(buffer);
  uint32_t total = 0;
  if (m_hFile.Valid()) {
    while (total < count) {
      uint32_t done = 0;
      const bool ok = plat::FileWrite(m_hFile.Get(), bytes + total, count - total, &done);
      total += done;
      if (!ok || done == 0) {
        const uint32_t error = plat::LastError();
        DiagFormat(u"clsFile(%s)::Write(): write failure... %d/%d (%s)", DiagName(), total, count,
                   OpenErrorText(error).wchar());
        plat::SetLastError(error);
        return total;
      }
    }
  }
  if (m_pStream) {
    total = 0;
    while (total < count) {
      ULONG done = 0;
      const HRESULT hr = m_pStream->Write(bytes + total, count - total, &done);
      if (hr >= 0) total += done;
      if (hr < 0 || done == 0) {
        DiagFormat(u"clsFile(%s)::Write(): write failure... %d/%d (%s)", DiagName(), total, count,
                   OpenErrorText(static_cast<uint32_t>(hr)).wchar());
        return total;
      }
    }
  }
  return total;
}

uint32_t clsFile::WriteString(const char16_t* text, uint32_t count) {
  if (!IsOpen()) return 0xFFFFFFFFu;
  uint64_t chars = 0;
  if (text) {
    if (count == 0xFFFFFFFFu) {
      while (text[chars]) ++chars;
    } else {
      chars = count;
    }
  }
  if (chars > 0x7FFFFFFFu) chars = 0x7FFFFFFFu;   // the byte count must fit the write
  return Write(text, static_cast<uint32_t>(chars * 2)) / 2;
}

uint32_t clsFile::WriteString(const char* text, uint32_t count) {
  size_t bytes = 0;
  if (text) bytes = count == 0xFFFFFFFFu ? std::strlen(text) : count;
  if (bytes > 0xFFFFFFFEu) bytes = 0xFFFFFFFEu;
  return Write(text, static_cast<uint32_t>(bytes));
}

void clsFile::SetEOF() {
  if (m_hFile.Valid()) {
    if (!plat::FileSetEnd(m_hFile.Get())) DiagLine(u"ERR: SetEOF() failed!");
  } else if (m_pStream) {
    const uint64_t pos = RawPos();
    ULARGE_INTEGER size;
    size.QuadPart = pos;
    if (m_pStream->SetSize(size) < 0) DiagFormat(u"ERR: Stream->SetEOF(%I64d) failed!", static_cast<int64_t>(pos));
  }
}

bool clsFile::Flush() {
  if (!IsWritable()) return true;
  if (m_hFile.Valid()) return plat::FileFlush(m_hFile.Get());
  if (m_pStream) return m_pStream->Commit(0) >= 0;
  if (m_pStorage) return m_pStorage->Commit(0) >= 0;
  return false;
}

}  // namespace zx
