// COM shapes the file class and its stream face need: GUID, IUnknown,
// ISequentialStream, IStream, IStorage, STATSTG and the status values, and global
// memory handles. On Windows
// they are the system's own; elsewhere layout-compatible definitions of ours with
// the same slot order, so that a stream made here can be handed to any consumer.
// Errors: HRESULTs, as COM has them; nothing sets plat::LastError.
// Threads: the objects implementing these say their own rule; the types have none.
//
//   IStream* s = ...; ULONG got = 0; if (s->Read(buf, n, &got) < 0) ...
#pragma once
#include <cstddef>
#include <cstdint>

#include "zxut22/types.h"

#if defined(_WIN32)
#define ZX_COMCALL STDMETHODCALLTYPE
#else
#define ZX_COMCALL

typedef char16_t OLECHAR;
// A global memory handle: a block of ours that GlobalLock turns into its address.
typedef void* HGLOBAL;
typedef OLECHAR* LPOLESTR;

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;
typedef const IID& REFIID;
inline bool operator==(const GUID& a, const GUID& b) {
  if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
  for (int i = 0; i < 8; ++i)
    if (a.Data4[i] != b.Data4[i]) return false;
  return true;
}

typedef union _LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
} LARGE_INTEGER;
typedef union _ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
} ULARGE_INTEGER;

typedef struct _FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
} FILETIME;

typedef struct tagSTATSTG {
  LPOLESTR pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
} STATSTG;
static_assert(sizeof(STATSTG) == 80, "STATSTG is 80 bytes");

enum { STREAM_SEEK_SET = 0, STREAM_SEEK_CUR = 1, STREAM_SEEK_END = 2 };
enum { STATFLAG_DEFAULT = 0, STATFLAG_NONAME = 1 };
// LOCK_WRITE (1) is left out: glibc's <fcntl.h> has a macro of that name.
enum { LOCK_EXCLUSIVE = 2, LOCK_ONLYONCE = 4 };
enum { STGTY_STORAGE = 1, STGTY_STREAM = 2 };

struct IUnknown {
  virtual HRESULT ZX_COMCALL QueryInterface(REFIID riid, void** ppv) = 0;
  virtual ULONG ZX_COMCALL AddRef() = 0;
  virtual ULONG ZX_COMCALL Release() = 0;
};

struct ISequentialStream : IUnknown {
  virtual HRESULT ZX_COMCALL Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
  virtual HRESULT ZX_COMCALL Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;
};

struct IStream : ISequentialStream {
  virtual HRESULT ZX_COMCALL Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) = 0;
  virtual HRESULT ZX_COMCALL SetSize(ULARGE_INTEGER libNewSize) = 0;
  virtual HRESULT ZX_COMCALL CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                    ULARGE_INTEGER* pcbWritten) = 0;
  virtual HRESULT ZX_COMCALL Commit(DWORD grfCommitFlags) = 0;
  virtual HRESULT ZX_COMCALL Revert() = 0;
  virtual HRESULT ZX_COMCALL LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  virtual HRESULT ZX_COMCALL UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) = 0;
  virtual HRESULT ZX_COMCALL Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
  virtual HRESULT ZX_COMCALL Clone(IStream** ppstm) = 0;
};

// Only the slots up to DestroyElement are used here; the others keep the layout.
struct IStorage : IUnknown {
  virtual HRESULT ZX_COMCALL CreateStream(const OLECHAR*, DWORD, DWORD, DWORD, IStream**) = 0;
  virtual HRESULT ZX_COMCALL OpenStream(const OLECHAR*, void*, DWORD, DWORD, IStream**) = 0;
  virtual HRESULT ZX_COMCALL CreateStorage(const OLECHAR*, DWORD, DWORD, DWORD, IStorage**) = 0;
  virtual HRESULT ZX_COMCALL OpenStorage(const OLECHAR*, IStorage*, DWORD, void*, DWORD, IStorage**) = 0;
  virtual HRESULT ZX_COMCALL CopyTo(DWORD, const IID*, void*, IStorage*) = 0;
  virtual HRESULT ZX_COMCALL MoveElementTo(const OLECHAR*, IStorage*, const OLECHAR*, DWORD) = 0;
  virtual HRESULT ZX_COMCALL Commit(DWORD) = 0;
  virtual HRESULT ZX_COMCALL Revert() = 0;
  virtual HRESULT ZX_COMCALL EnumElements(DWORD, void*, DWORD, void**) = 0;
  virtual HRESULT ZX_COMCALL DestroyElement(const OLECHAR* pwcsName) = 0;
  virtual HRESULT ZX_COMCALL RenameElement(const OLECHAR*, const OLECHAR*) = 0;
  virtual HRESULT ZX_COMCALL SetElementTimes(const OLECHAR*, const FILETIME*, const FILETIME*, const FILETIME*) = 0;
  virtual HRESULT ZX_COMCALL SetClass(const CLSID&) = 0;
  virtual HRESULT ZX_COMCALL SetStateBits(DWORD, DWORD) = 0;
  virtual HRESULT ZX_COMCALL Stat(STATSTG*, DWORD) = 0;
};
#endif

namespace plat {

constexpr HRESULT kS_OK = 0;
constexpr HRESULT kS_FALSE = 1;
constexpr HRESULT kE_NOTIMPL = static_cast<HRESULT>(0x80004001);
constexpr HRESULT kE_NOINTERFACE = static_cast<HRESULT>(0x80004002);
constexpr HRESULT kE_POINTER = static_cast<HRESULT>(0x80004003);
constexpr HRESULT kE_FAIL = static_cast<HRESULT>(0x80004005);
constexpr HRESULT kE_ACCESSDENIED = static_cast<HRESULT>(0x80070005);
constexpr HRESULT kE_HANDLE = static_cast<HRESULT>(0x80070006);
constexpr HRESULT kE_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
constexpr HRESULT kE_INVALIDARG = static_cast<HRESULT>(0x80070057);
constexpr HRESULT kSTG_E_INVALIDFUNCTION = static_cast<HRESULT>(0x80030001);
constexpr HRESULT kSTG_E_MEDIUMFULL = static_cast<HRESULT>(0x80030070);

inline constexpr GUID kIID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID kIID_ISequentialStream = {0x0c733a30, 0x2a1c, 0x11ce, {0xad, 0xe5, 0x00, 0xaa, 0x00, 0x44, 0x77, 0x3d}};
inline constexpr GUID kIID_IStream = {0x0000000c, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

inline bool SameGuid(const GUID& a, const GUID& b) {
  const auto* x = reinterpret_cast<const unsigned char*>(&a);
  const auto* y = reinterpret_cast<const unsigned char*>(&b);
  for (size_t i = 0; i < sizeof(GUID); ++i)
    if (x[i] != y[i]) return false;
  return true;
}

// CreateStreamOnHGlobal(nullptr, TRUE, out): a growing in-memory stream with one
// reference for the caller. Its LockRegion answers STG_E_INVALIDFUNCTION.
HRESULT CreateMemoryStream(IStream** out);

// Moveable global memory: GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT), GlobalLock,
// GlobalUnlock, GlobalSize, GlobalReAlloc (contents kept, null on failure with the
// old handle still valid) and GlobalFree. On Windows the system's own handles.
HGLOBAL GlobalAlloc(size_t bytes);
void* GlobalLock(HGLOBAL handle);
void GlobalUnlock(HGLOBAL handle);
size_t GlobalSize(HGLOBAL handle);
HGLOBAL GlobalReAlloc(HGLOBAL handle, size_t bytes);
void GlobalFree(HGLOBAL handle);

// CoTaskMemAlloc / CoTaskMemFree (for STATSTG names).
void* TaskMemAlloc(size_t bytes);
void TaskMemFree(void* block);

// CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED) for the calling thread, and
// CoUninitialize for a successful one. Linux has no COM: the first answers
// E_NOTIMPL, so there is never anything to undo.
HRESULT ComInitializeApartment();
void ComUninitialize();

}  // namespace plat
