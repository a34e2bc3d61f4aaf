// Linux: the in-memory stream and the task allocator of the COM shapes.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "platform/com.h"

namespace plat {
namespace {

class MemoryStream final : public IStream {
 public:
  HRESULT QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return kE_POINTER;
    if (SameGuid(riid, kIID_IUnknown) || SameGuid(riid, kIID_ISequentialStream) || SameGuid(riid, kIID_IStream)) {
      *ppv = static_cast<IStream*>(this);
      AddRef();
      return kS_OK;
    }
    *ppv = nullptr;
    return kE_NOINTERFACE;
  }
  ULONG AddRef() override { return ++refs_; }
  ULONG Release() override {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override {
    if (!pv && cb) return kE_POINTER;
    uint64_t n = pos_ < data_.size() ? data_.size() - pos_ : 0;
    if (n > cb) n = cb;
    if (n) std::memcpy(pv, data_.data() + pos_, n);
    pos_ += n;
    if (pcbRead) *pcbRead = static_cast<ULONG>(n);
    return kS_OK;
  }
  HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
    if (pcbWritten) *pcbWritten = 0;
    if (!pv && cb) return kE_POINTER;
    if (cb == 0) return kS_OK;
    if (pos_ + cb > data_.size() && !Resize(pos_ + cb)) return kSTG_E_MEDIUMFULL;
    std::memcpy(data_.data() + pos_, pv, cb);
    pos_ += cb;
    if (pcbWritten) *pcbWritten = cb;
    return kS_OK;
  }
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* newPos) override {
    int64_t base;
    switch (origin) {
      case STREAM_SEEK_SET: base = 0; break;
      case STREAM_SEEK_CUR: base = static_cast<int64_t>(pos_); break;
      case STREAM_SEEK_END: base = static_cast<int64_t>(data_.size()); break;
      default: return kSTG_E_INVALIDFUNCTION;
    }
    const int64_t target = base + move.QuadPart;
    if (target < 0) return kSTG_E_INVALIDFUNCTION;
    pos_ = static_cast<uint64_t>(target);
    if (newPos) newPos->QuadPart = pos_;
    return kS_OK;
  }
  HRESULT SetSize(ULARGE_INTEGER size) override {
    return Resize(size.QuadPart) ? kS_OK : kSTG_E_MEDIUMFULL;
  }
  HRESULT CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) override {
    if (!target) return kSTG_E_INVALIDFUNCTION;
    uint64_t n = pos_ < data_.size() ? data_.size() - pos_ : 0;
    if (n > cb.QuadPart) n = cb.QuadPart;
    uint64_t written = 0;
    HRESULT hr = kS_OK;
    while (written < n) {
      const ULONG piece = static_cast<ULONG>(n - written > 0x40000000 ? 0x40000000 : n - written);
      ULONG done = 0;
      hr = target->Write(data_.data() + pos_ + written, piece, &done);
      written += done;
      if (hr < 0 || done != piece) break;
    }
    pos_ += n;
    if (pcbRead) pcbRead->QuadPart = n;
    if (pcbWritten) pcbWritten->QuadPart = written;
    return hr < 0 ? hr : kS_OK;
  }
  HRESULT Commit(DWORD) override { return kS_OK; }
  HRESULT Revert() override { return kS_OK; }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return kSTG_E_INVALIDFUNCTION; }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return kSTG_E_INVALIDFUNCTION; }
  HRESULT Stat(STATSTG* st, DWORD) override {
    if (!st) return kSTG_E_INVALIDFUNCTION;
    std::memset(st, 0, sizeof(*st));
    st->type = STGTY_STREAM;
    st->cbSize.QuadPart = data_.size();
    st->grfMode = 2;  // read and write
    return kS_OK;
  }
  HRESULT Clone(IStream** out) override {
    if (out) *out = nullptr;
    return kE_NOTIMPL;
  }

 private:
  bool Resize(uint64_t size) {
    if (size > (uint64_t{1} << 40)) return false;
    try {
      data_.resize(static_cast<size_t>(size));
    } catch (const std::bad_alloc&) {
      return false;
    }
    return true;
  }

  std::atomic<ULONG> refs_{1};
  std::vector<unsigned char> data_;
  uint64_t pos_ = 0;
};

}  // namespace

HRESULT CreateMemoryStream(IStream** out) {
  if (!out) return kE_INVALIDARG;
  *out = new (std::nothrow) MemoryStream();
  return *out ? kS_OK : kE_OUTOFMEMORY;
}

namespace {

// A global memory handle: the header, with the data behind a pointer of its own
// so that the handle stays when the data moves.
struct GlobalBlock {
  uint32_t magic;
  size_t size;
  unsigned char* data;
};
constexpr uint32_t kGlobalMagic = 0x62476c5a;

GlobalBlock* BlockOf(HGLOBAL handle) {
  auto* b = static_cast<GlobalBlock*>(handle);
  return b && b->magic == kGlobalMagic ? b : nullptr;
}

}  // namespace

HGLOBAL GlobalAlloc(size_t bytes) {
  auto* b = static_cast<GlobalBlock*>(std::malloc(sizeof(GlobalBlock)));
  if (!b) return nullptr;
  b->data = static_cast<unsigned char*>(std::calloc(bytes ? bytes : 1, 1));
  if (!b->data) {
    std::free(b);
    return nullptr;
  }
  b->magic = kGlobalMagic;
  b->size = bytes;
  return b;
}

void* GlobalLock(HGLOBAL handle) {
  GlobalBlock* b = BlockOf(handle);
  return b ? b->data : nullptr;
}

void GlobalUnlock(HGLOBAL) {}

size_t GlobalSize(HGLOBAL handle) {
  GlobalBlock* b = BlockOf(handle);
  return b ? b->size : 0;
}

HGLOBAL GlobalReAlloc(HGLOBAL handle, size_t bytes) {
  GlobalBlock* b = BlockOf(handle);
  if (!b) return nullptr;
  auto* data = static_cast<unsigned char*>(std::realloc(b->data, bytes ? bytes : 1));
  if (!data) return nullptr;
  if (bytes > b->size) std::memset(data + b->size, 0, bytes - b->size);
  b->data = data;
  b->size = bytes;
  return b;
}

void GlobalFree(HGLOBAL handle) {
  GlobalBlock* b = BlockOf(handle);
  if (!b) return;
  b->magic = 0;
  std::free(b->data);
  std::free(b);
}

void* TaskMemAlloc(size_t bytes) { return std::malloc(bytes ? bytes : 1); }
void TaskMemFree(void* block) { std::free(block); }

HRESULT ComInitializeApartment() { return kE_NOTIMPL; }
void ComUninitialize() {}

}  // namespace plat
