// The reference-counting base of the library's COM-style objects and a small
// owner of interface pointers.
// Threads: the reference count is atomic: AddRef and Release from any thread.
#pragma once
#include <atomic>
#include <cstdint>

#include "platform/com.h"

namespace zx {

// Holds one reference of an interface pointer and releases it at the end.
template <typename T>
class clsComRef {
 public:
  clsComRef() = default;
  ~clsComRef() { Reset(); }
  clsComRef(const clsComRef&) = delete;
  clsComRef& operator=(const clsComRef&) = delete;
  // Takes a new reference of p (AddRef) and drops the old one.
  void Attach(T* p) {
    if (p) p->AddRef();
    Reset();
    ptr_ = p;
  }
  // Takes over a reference the caller already holds.
  void Adopt(T* p) {
    Reset();
    ptr_ = p;
  }
  void Reset() {
    T* p = ptr_;
    ptr_ = nullptr;
    if (p) p->Release();
  }
  T* Get() const { return ptr_; }
  T* operator->() const { return ptr_; }
  explicit operator bool() const { return ptr_ != nullptr; }

 private:
  T* ptr_ = nullptr;
};

class INonDelegatingUnknown {
 public:
  virtual HRESULT NonDelegatingQueryInterface(const IID& iid, void** out) = 0;
  virtual ULONG NonDelegatingAddRef() = 0;
  virtual ULONG NonDelegatingRelease() = 0;
};

// The count starts at 0; the last NonDelegatingRelease deletes the object unless
// SetDeleteOnRelease(false) was called (an object on the stack or inside another).
class clsIUnknownImpl : public INonDelegatingUnknown {
 public:
  explicit clsIUnknownImpl(IUnknown* outer = nullptr) { m_pOuter.Attach(outer); }
  HRESULT NonDelegatingQueryInterface(const IID& iid, void** out) override;
  ULONG NonDelegatingAddRef() override;
  ULONG NonDelegatingRelease() override;
  virtual ~clsIUnknownImpl() = default;

  void SetDeleteOnRelease(bool deletes) { m_bDeleteOnRelease = deletes; }
  uint32_t RefCount() const { return m_nRefs.load(std::memory_order_acquire); }
  IUnknown* Outer() const { return m_pOuter.Get(); }

 protected:
  // The IUnknown that identity queries answer with.
  virtual IUnknown* IdentityUnknown() = 0;

 private:
  std::atomic<uint32_t> m_nRefs{0};
  bool m_bDeleteOnRelease = true;
  clsComRef<IUnknown> m_pOuter;
};

}  // namespace zx
