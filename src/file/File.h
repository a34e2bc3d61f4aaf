// clsFile: the one file object of the library. A disk file (an operating-system
// handle), a foreign IStream or, for delete-on-close only, a foreign IStorage
// behind one byte-stream interface; the object is itself an IStream, so a disk
// file can go wherever a stream is wanted and the other way round. Opening
// carries the policy the rest of the library relies on: reserved-name
// rejection, a classified error per failed open, retries, the region-lock list
// and text-encoding sniffing.
// Errors: Open returns 0 or -1 and keeps the classified kind (GetLastErrorKind)
// and the system's text (GetLastErrorText), with plat::LastError left as the failed
// open set it; reads and writes return the bytes done (0 on failure), SetPos and
// SeekRel the new position; the IStream methods return HRESULTs.
// Threads: one clsFile is used by one thread at a time (nothing inside locks);
// its COM reference count is atomic, so references may be released anywhere.
//
//   clsFileRW file;
//   if (file.Open(u"out.log", 1, 1, 2, kFileNormal) != 0)
//     DiagFormat(u"cannot write: %s", file.GetLastErrorText().wchar());
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "file/UnknownImpl.h"
#include "platform/com.h"
#include "platform/file.h"
#include "platform/lock.h"

namespace zx {

// Open flags of the library (not the system's).
enum : uint32_t {
  kFileWriteThrough = 0x001,
  kFileSequentialScan = 0x002,
  kFileDeleteOnClose = 0x004,
  kFileRandomAccess = 0x008,
  kFileNormal = 0x100,
  kFileHidden = 0x200,
  kFileReadOnly = 0x400,
  kFileTemporary = 0x800,
};

// Error kinds of the last open.
enum : uint32_t {
  kFileErrNone = 0,
  kFileErrPath = 1,        // 3, 15, 53, 55
  kFileErrInUse = 2,       // 32, 33
  kFileErrExists = 3,      // 183
  kFileErrAccess = 4,      // 5, 19
  kFileErrOther = 5,
  kFileErrReserved = 6,    // the name test failed
};

// Text encodings of GetUTFType.
enum : uint32_t { kUtfNone = 0, kUtf16LE = 1, kUtf16BE = 2, kUtf8 = 3 };

constexpr uint64_t kAllOnes64 = ~uint64_t{0};

// An operating-system handle and whether its holder closes it.
class clsFileHandleHolder {
 public:
  clsFileHandleHolder() = default;
  ~clsFileHandleHolder() { Reset(); }
  clsFileHandleHolder(const clsFileHandleHolder&) = delete;
  clsFileHandleHolder& operator=(const clsFileHandleHolder&) = delete;
  // Closes an older owned handle first.
  void Set(plat::FileHandle h, bool closes) {
    Reset();
    m_hHandle = h;
    m_bCloses = closes;
  }
  void Reset() {
    if (m_bCloses && plat::IsValidFile(m_hHandle)) plat::FileClose(m_hHandle);
    m_hHandle = nullptr;
    m_bCloses = false;
  }
  // Forgets the handle without closing it.
  plat::FileHandle Detach() {
    plat::FileHandle h = m_hHandle;
    m_hHandle = nullptr;
    m_bCloses = false;
    return h;
  }
  plat::FileHandle Get() const { return m_hHandle; }
  bool Valid() const { return plat::IsValidFile(m_hHandle); }
  bool Closes() const { return m_bCloses; }

 private:
  plat::FileHandle m_hHandle = nullptr;
  bool m_bCloses = false;
};

// One live region lock.
struct scFileLock {
  uint64_t offset;
  uint64_t length;
  scFileLock* next;
  scFileLock* prev;
};

class clsFile : public clsIUnknownImpl, public IStream {
 public:
  clsFile();
  clsFile(const String& name, uint32_t access, uint32_t create, uint32_t share, uint32_t flags);
  explicit clsFile(IStream* stream);
  explicit clsFile(plat::FileHandle handle);
  clsFile(const clsFile&) = delete;
  clsFile& operator=(const clsFile&) = delete;

  // ---- primary table
  HRESULT NonDelegatingQueryInterface(const IID& iid, void** out) override;
  ~clsFile() override;
  // The one overridable step of opening; the default calls the system's open.
  virtual plat::FileHandle CreateHandle(const String& name, uint32_t access, uint32_t share,
                                        uint32_t disposition, uint32_t flags);

  // ---- file operations
  int32_t Open(const String& name, uint32_t access, uint32_t create, uint32_t share, uint32_t flags);
  void Close();
  bool IsOpen() const;
  uint64_t GetSize();
  uint64_t GetPos();
  uint64_t SetPos(uint64_t pos);
  uint64_t SeekRel(int64_t delta);
  uint32_t Read(void* buffer, uint32_t count);
  // `offset` is read through the pointer; null or -1 writes at the position.
  uint32_t Write(const void* buffer, uint32_t count, const int64_t* offset = nullptr);
  uint32_t WriteString(const char16_t* text, uint32_t count = 0xFFFFFFFFu);
  uint32_t WriteString(const char* text, uint32_t count = 0xFFFFFFFFu);
  void SetEOF();
  void GrowBy(uint64_t delta);
  bool CopyFrom(clsFile& source);
  bool Flush();
  scFileLock* Lock(uint64_t offset, uint64_t length);
  void Unlock(scFileLock* node);
  uint32_t GetUTFType();
  uint32_t GetLastErrorKind() const { return m_eError; }
  String GetLastErrorText() const { return m_sError; }

  // ---- observation
  const String& Name() const { return m_sName; }
  uint32_t Flags() const { return m_dwFlags; }
  plat::FileHandle Handle() const { return m_hFile.Get(); }
  IStream* Stream() const { return m_pStream.Get(); }
  bool Owned() const { return m_bOwned; }
  const scFileLock* LockListHead() const { return m_pLocks; }
  // Takes a reference on a storage whose element `Close` destroys with bit 0x4.
  void AttachStorage(IStorage* storage, const String& elementName);
  // Whether the stream face may write, set the size and commit.
  virtual bool IsWritable() const { return false; }

  // ---- the IStream face
  HRESULT ZX_COMCALL QueryInterface(REFIID riid, void** ppv) override;
  ULONG ZX_COMCALL AddRef() override;
  ULONG ZX_COMCALL Release() override;
  HRESULT ZX_COMCALL Read(void* pv, ULONG cb, ULONG* pcbRead) override;
  HRESULT ZX_COMCALL Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
  HRESULT ZX_COMCALL Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPos) override;
  HRESULT ZX_COMCALL SetSize(ULARGE_INTEGER size) override;
  HRESULT ZX_COMCALL CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                            ULARGE_INTEGER* pcbWritten) override;
  HRESULT ZX_COMCALL Commit(DWORD flags) override;
  HRESULT ZX_COMCALL Revert() override;
  HRESULT ZX_COMCALL LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override;
  HRESULT ZX_COMCALL UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override;
  HRESULT ZX_COMCALL Stat(STATSTG* st, DWORD flags) override;
  HRESULT ZX_COMCALL Clone(IStream** out) override;

 protected:
  IUnknown* IdentityUnknown() override { return static_cast<IStream*>(this); }
  // The name for diagnostic lines: "(Stream)" with a stream attached.
  const char16_t* DiagName() const;
  // The stream's position by Seek(0, CUR), or the handle's; all ones on failure.
  uint64_t RawPos();

  String m_sName;
  uint32_t m_dwFlags = 0;
  clsFileHandleHolder m_hFile;
  clsComRef<IStorage> m_pStorage;
  clsComRef<IStream> m_pStream;
  uint32_t m_eError = 0;
  String m_sError;
  bool m_bOwned = false;
  plat::CriticalSection m_Lock;   // no operation takes it; part of the footprint only
  scFileLock* m_pLocks = nullptr;
  scFileLock* m_pLocksTail = nullptr;
  // Unlocked nodes are kept for reuse until the object ends, so that a second
  // Unlock of the same node reads valid memory and only reports.
  scFileLock* m_pRetired = nullptr;

};

// A file opened for reading: its stream face never writes.
class clsFileRO : public clsFile {
 public:
  using clsFile::clsFile;
};

// The marker that lets the stream face write, set the size and commit.
class clsFileRW : public clsFile {
 public:
  using clsFile::clsFile;
  bool IsWritable() const override { return true; }
};

// A fresh temporary file "_22_<prefix><number>.<extension>" under "zarnik" in the
// temporary folder, open for reading and writing and deleted when closed.
class clsFileRWTemp : public clsFileRW {
 public:
  explicit clsFileRWTemp(const String& prefix = String(u"zrk"), const String& extension = String(u"tmp"));
};

// A clsFileRW over a new in-memory stream.
class clsFileRWTempStream : public clsFileRW {
 public:
  clsFileRWTempStream();
};

// The name test: the file-name part must be a legal, non-reserved Windows name.
bool IsValidFileName(const String& name);

// The strict UTF-8 test of GetUTFType: up to the first 0 byte or `size`;
// sequences beyond the basic plane are rejected.
bool IsStrictUtf8(const uint8_t* text, size_t size);

// The system flags of the library's open flags.
uint32_t TranslateFileFlags(uint32_t flags);

}  // namespace zx
