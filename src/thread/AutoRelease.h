// clsAutoRelease<T>: the library's holder of one reference of a counted object.
// Two kinds of object go in it:
//   - COM interfaces (T is the interface, e.g. clsAutoRelease<IUTThreadedJob>),
//     often taken by QueryInterface from a client's object; every call into
//     them goes through com:: below;
//   - the library's own counted objects with AddRef and Release members,
//     written as a pointer type (clsAutoRelease<clsDocu*>).
// Copies share the object (one more reference each). With the dispose flag set,
// the release that drops the last reference other than the holder's own first
// asks the object for IDisposable and calls its Dispose (so that a managed
// object is disposed of at a known time); objects that aren't COM objects have
// no such interface and the flag does nothing for them.
// Errors: Checked() on an empty holder writes "ERROR: Interface pointer is NULL,
// GPF will follow!" and gives null.
// Threads: the object's count is its own affair (atomic in the library's
// objects); one holder is used by one thread at a time.
//
//   clsAutoRelease<clsDocu*> doc(new clsDocu(name, 60, 10, list));   // count 1
//   clsAutoRelease<clsDocu*> other = doc;                            // count 2
#pragma once
#include <type_traits>
#include <utility>

#include "platform/com.h"

// {805D7A98-D4AF-3F0F-967F-E5CF45312D2C}
inline constexpr GUID IID_IDisposable = {0x805D7A98, 0xD4AF, 0x3F0F,
                                         {0x96, 0x7F, 0xE5, 0xCF, 0x45, 0x31, 0x2D, 0x2C}};

namespace zx {

// A client may write its objects in C (a table of function pointers): they
// carry no C++ type information, so the sanitizer's check of the dynamic type
// is off for these calls alone.
namespace com {
HRESULT QueryInterface(IUnknown* object, const GUID& iid, void** out);
ULONG AddRef(IUnknown* object);
ULONG Release(IUnknown* object);
// IDisposable's Dispose, the eighth slot (after IUnknown's three and IDispatch's four).
HRESULT Dispose(IUnknown* disposable);
}  // namespace com

void ReportEmptyInterface();

template <class T>
class clsAutoRelease {
 public:
  using Object = std::remove_pointer_t<T>;
  static constexpr bool kIsCom = std::is_base_of_v<IUnknown, Object>;

  clsAutoRelease() = default;
  // The interface `iid` of `object` (QueryInterface); empty when it has none.
  clsAutoRelease(IUnknown* object, const GUID& iid) {
    static_assert(kIsCom, "QueryInterface needs a COM interface");
    void* p = nullptr;
    if (object && com::QueryInterface(object, iid, &p) >= 0) m_p = static_cast<Object*>(p);
  }
  // A new reference of `object` (null: empty).
  explicit clsAutoRelease(Object* object, bool dispose = false) : m_p(object), m_bDispose(dispose) {
    if (m_p) AddRefOf(m_p);
  }
  clsAutoRelease(const clsAutoRelease& o) : m_p(o.m_p), m_bDispose(o.m_bDispose) {
    if (m_p) AddRefOf(m_p);
  }
  clsAutoRelease(clsAutoRelease&& o) noexcept : m_p(std::exchange(o.m_p, nullptr)), m_bDispose(o.m_bDispose) {}
  clsAutoRelease& operator=(const clsAutoRelease& o) {
    if (this != &o) {
      if (o.m_p) AddRefOf(o.m_p);
      Reset();
      m_p = o.m_p;
      m_bDispose = o.m_bDispose;
    }
    return *this;
  }
  clsAutoRelease& operator=(clsAutoRelease&& o) noexcept {
    if (this != &o) {
      Reset();
      m_p = std::exchange(o.m_p, nullptr);
      m_bDispose = o.m_bDispose;
    }
    return *this;
  }
  ~clsAutoRelease() { Reset(); }

  // Drops the reference (disposing first when asked and it was the last one).
  void Reset() {
    Object* p = std::exchange(m_p, nullptr);
    if (!p) return;
    if constexpr (kIsCom) {
      if (m_bDispose) DisposeIfLast(p);
    }
    ReleaseOf(p);
  }
  void SetDispose(bool dispose) { m_bDispose = dispose; }
  bool Dispose() const { return m_bDispose; }

  Object* Get() const { return m_p; }
  Object* operator->() const { return m_p; }
  Object& operator*() const { return *m_p; }
  explicit operator bool() const { return m_p != nullptr; }
  // The pointer for a call; null (with the error line) when the holder is empty.
  Object* Checked() const {
    if (!m_p) ReportEmptyInterface();
    return m_p;
  }

 private:
  static void AddRefOf(Object* p) {
    if constexpr (kIsCom) com::AddRef(p);
    else p->AddRef();
  }
  static void ReleaseOf(Object* p) {
    if constexpr (kIsCom) com::Release(p);
    else p->Release();
  }
  // Held by nobody else: AddRef then Release gives back 1.
  static void DisposeIfLast(IUnknown* p) {
    com::AddRef(p);
    if (com::Release(p) != 1) return;
    void* d = nullptr;
    if (com::QueryInterface(p, IID_IDisposable, &d) < 0 || !d) return;
    com::Dispose(static_cast<IUnknown*>(d));
    com::Release(static_cast<IUnknown*>(d));
  }

  Object* m_p = nullptr;
  bool m_bDispose = false;
};

}  // namespace zx
