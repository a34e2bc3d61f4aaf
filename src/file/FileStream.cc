// The IStream face of clsFile. Over a foreign stream every method but Commit
// passes the call through; over a handle it works through the file operations.
// Writing, SetSize and Commit are for clsFileRW only, whatever the access the
// file was opened with. In developer mode each call writes an entry and an exit
// line; otherwise nothing is formatted.
#include <cstdarg>
#include <cstring>

#include "core/format/Format.h"
#include "core/diag/Diag.h"
#include "file/File.h"
#include "file/FileAttributes.h"

namespace zx {
namespace {

class StreamTrace {
 public:
  explicit StreamTrace(const char16_t* format, ...) : m_bOn(DeveloperMode() && DiagTraceActive()) {
    m_szExtra[0] = 0;
    if (!m_bOn) return;
    char16_t text[160];
    va_list args;
    va_start(args, format);
    VFormatTo(text, 160, format, args);
    va_end(args);
    DiagTraceIndent(1, u">%s", text);
  }
  bool On() const { return m_bOn; }
  void Extra(const char16_t* format, ...) {
    if (!m_bOn) return;
    va_list args;
    va_start(args, format);
    VFormatTo(m_szExtra, 96, format, args);
    va_end(args);
  }
  HRESULT Done(HRESULT hr) {
    if (!m_bOn) return hr;
    String result = hr == plat::kS_OK ? String(u"S_OK") : hr == plat::kS_FALSE ? String(u"S_FALSE")
                                                                               : String::SystemMessage(static_cast<uint32_t>(hr));
    if (m_szExtra[0]) DiagTraceIndent(-1, u"<%s (%s)", result.wchar(), m_szExtra);
    else DiagTraceIndent(-1, u"<%s", result.wchar());
    return hr;
  }

 private:
  bool m_bOn;
  char16_t m_szExtra[96];
};

}  // namespace

HRESULT clsFile::QueryInterface(REFIID riid, void** ppv) {
  if (IUnknown* outer = Outer()) return outer->QueryInterface(riid, ppv);
  return NonDelegatingQueryInterface(riid, ppv);
}

ULONG clsFile::AddRef() {
  if (IUnknown* outer = Outer()) return outer->AddRef();
  return NonDelegatingAddRef();
}

ULONG clsFile::Release() {
  if (IUnknown* outer = Outer()) return outer->Release();
  return NonDelegatingRelease();
}

HRESULT clsFile::Read(void* pv, ULONG cb, ULONG* pcbRead) {
  StreamTrace trace(u"clsFile::Stream::Read(%d)", static_cast<int>(cb));
  if (m_pStream) return trace.Done(m_pStream->Read(pv, cb, pcbRead));
  if (!IsOpen()) return trace.Done(plat::kE_HANDLE);
  const uint32_t n = Read(pv, static_cast<uint32_t>(cb));
  if (trace.On()) DiagTraceIndent(0, u"read %d bytes", static_cast<int>(n));
  if (pcbRead) *pcbRead = n;
  return trace.Done(n < cb ? plat::kS_FALSE : plat::kS_OK);
}

HRESULT clsFile::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
  StreamTrace trace(u"clsFile::Stream::Write(%d)", static_cast<int>(cb));
  if (m_pStream) return trace.Done(m_pStream->Write(pv, cb, pcbWritten));
  if (!IsOpen()) return trace.Done(plat::kE_HANDLE);
  if (!IsWritable()) return trace.Done(plat::kE_ACCESSDENIED);
  const int64_t atPosition = -1;
  const uint32_t n = Write(pv, static_cast<uint32_t>(cb), &atPosition);
  if (pcbWritten) *pcbWritten = n;
  return trace.Done(n < cb ? plat::kS_FALSE : plat::kS_OK);
}

HRESULT clsFile::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPos) {
  StreamTrace trace(u"clsFile::Stream::Seek(%I64d,%d)", static_cast<int64_t>(move.QuadPart), static_cast<int>(origin));
  if (m_pStream) return trace.Done(m_pStream->Seek(move, origin, newPos));
  if (!IsOpen()) return trace.Done(plat::kE_HANDLE);
  uint64_t target;
  switch (origin) {
    case STREAM_SEEK_SET: target = static_cast<uint64_t>(move.QuadPart); break;
    case STREAM_SEEK_CUR: target = GetPos() + static_cast<uint64_t>(move.QuadPart); break;
    case STREAM_SEEK_END: target = GetSize() + static_cast<uint64_t>(move.QuadPart); break;
    default: return trace.Done(plat::kE_INVALIDARG);
  }
  SetPos(target);
  if (newPos) newPos->QuadPart = GetPos();
  return trace.Done(plat::kS_OK);
}

HRESULT clsFile::SetSize(ULARGE_INTEGER size) {
  StreamTrace trace(u"clsFile::Stream::SetSize(%I64d)", static_cast<int64_t>(size.QuadPart));
  if (m_pStream) return trace.Done(m_pStream->SetSize(size));
  if (!IsOpen()) return trace.Done(plat::kE_HANDLE);
  if (!IsWritable()) return trace.Done(plat::kE_ACCESSDENIED);
  const uint64_t old = GetPos();
  SetPos(size.QuadPart);
  SetEOF();
  SetPos(old >= size.QuadPart ? 0 : old);
  return trace.Done(plat::kS_OK);
}

HRESULT clsFile::CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) {
  StreamTrace trace(u"clsFile::Stream::CopyTo(%#p,%I64d)", static_cast<void*>(target), static_cast<int64_t>(cb.QuadPart));
  if (!m_pStream) return trace.Done(plat::kE_NOTIMPL);
  ULARGE_INTEGER r, w;
  r.QuadPart = w.QuadPart = 0;
  const HRESULT hr = m_pStream->CopyTo(target, cb, &r, &w);
  trace.Extra(u"r=%I64d, w=%I64d", static_cast<int64_t>(r.QuadPart), static_cast<int64_t>(w.QuadPart));
  if (pcbRead) *pcbRead = r;
  if (pcbWritten) *pcbWritten = w;
  return trace.Done(hr);
}

HRESULT clsFile::Commit(DWORD flags) {
  StreamTrace trace(u"clsFile::Stream::Commit(%u)", static_cast<unsigned>(flags));
  return trace.Done(Flush() ? plat::kS_OK : plat::kE_FAIL);
}

HRESULT clsFile::Revert() {
  StreamTrace trace(u"clsFile::Stream::Revert()");
  if (m_pStream) return trace.Done(m_pStream->Revert());
  return trace.Done(plat::kE_NOTIMPL);
}

HRESULT clsFile::LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) {
  StreamTrace trace(u"clsFile::Stream::LockRegion(%I64u,%I64u)", static_cast<uint64_t>(offset.QuadPart),
                    static_cast<uint64_t>(cb.QuadPart));
  if (m_pStream) return trace.Done(m_pStream->LockRegion(offset, cb, type));
  if (m_hFile.Valid() && plat::FileLockRange(m_hFile.Get(), offset.QuadPart, cb.QuadPart))
    return trace.Done(plat::kS_OK);
  return trace.Done(plat::kE_NOTIMPL);
}

HRESULT clsFile::UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) {
  StreamTrace trace(u"clsFile::Stream::UnlockRegion(%I64u,%I64u)", static_cast<uint64_t>(offset.QuadPart),
                    static_cast<uint64_t>(cb.QuadPart));
  if (m_pStream) return trace.Done(m_pStream->UnlockRegion(offset, cb, type));
  if (m_hFile.Valid() && plat::FileUnlockRange(m_hFile.Get(), offset.QuadPart, cb.QuadPart))
    return trace.Done(plat::kS_OK);
  return trace.Done(plat::kE_NOTIMPL);
}

HRESULT clsFile::Stat(STATSTG* st, DWORD flags) {
  StreamTrace trace(u"clsFile::Stream::Stat(%#p)", static_cast<void*>(st));
  if (m_pStream) return trace.Done(m_pStream->Stat(st, flags));
  if (!st) return trace.Done(plat::kE_INVALIDARG);
  plat::FileInfo info;
  if (!ReadFileAttributes(m_sName, &info)) return trace.Done(2);   // the plain value 2, as it always was
  std::memset(st, 0, sizeof(*st));
  auto toFileTime = [](uint64_t v) {
    FILETIME ft;
    ft.dwLowDateTime = static_cast<DWORD>(v);
    ft.dwHighDateTime = static_cast<DWORD>(v >> 32);
    return ft;
  };
  st->mtime = toFileTime(info.lastWrite);
  st->ctime = toFileTime(info.creation);
  st->atime = toFileTime(info.lastAccess);
  if (!(flags & STATFLAG_NONAME)) {
    const size_t bytes = (static_cast<size_t>(m_sName.Length()) + 1) * sizeof(char16_t);
    void* copy = plat::TaskMemAlloc(bytes);
    if (copy) std::memcpy(copy, m_sName.wchar(), bytes);
    st->pwcsName = static_cast<decltype(st->pwcsName)>(copy);
  }
  st->type = 2;
  st->cbSize.QuadPart = GetSize();
  return trace.Done(plat::kS_OK);
}

HRESULT clsFile::Clone(IStream** out) {
  StreamTrace trace(u"clsFile::Stream::Clone(%#p)", static_cast<void*>(out));
  if (m_pStream) return trace.Done(m_pStream->Clone(out));
  return trace.Done(plat::kE_NOTIMPL);
}

}  // namespace zx
