// clsAutoRelease: copies share one object by its count, the last holder releases
// it, and with the dispose flag the release that leaves the holder alone with the
// object first calls IDisposable's Dispose (the eighth slot).
#include <gtest/gtest.h>

#include "thread/AutoRelease.h"

using zx::clsAutoRelease;

namespace {

// A counted object of the library's own kind.
struct Counted {
  int refs = 0;
  bool* gone;
  unsigned long AddRef() { return ++refs; }
  unsigned long Release() {
    const int left = --refs;
    if (left == 0) {
      *gone = true;
      delete this;
    }
    return left;
  }
};

// A COM object with IDisposable behind IDispatch's four slots.
struct Disposable : IUnknown {
  ULONG refs = 1;
  int disposed = 0;
  HRESULT ZX_COMCALL QueryInterface(REFIID iid, void** out) override {
    if (!(iid == IID_IDisposable)) return static_cast<HRESULT>(0x80004002);
    AddRef();
    *out = this;
    return 0;
  }
  ULONG ZX_COMCALL AddRef() override { return ++refs; }
  ULONG ZX_COMCALL Release() override { return --refs; }
  virtual HRESULT ZX_COMCALL GetTypeInfoCount(void*) { return 0; }
  virtual HRESULT ZX_COMCALL GetTypeInfo(void*, void*, void*) { return 0; }
  virtual HRESULT ZX_COMCALL GetIDsOfNames(void*, void*, void*, void*, void*) { return 0; }
  virtual HRESULT ZX_COMCALL Invoke(void*, void*, void*, void*, void*, void*, void*, void*) { return 0; }
  virtual HRESULT ZX_COMCALL Dispose() {
    ++disposed;
    return 0;
  }
};

TEST(AutoRelease, CopiesShareTheObjectAndTheLastOneReleasesIt) {
  bool gone = false;
  auto* object = new Counted{0, &gone};
  {
    clsAutoRelease<Counted*> a(object);
    EXPECT_EQ(object->refs, 1);
    clsAutoRelease<Counted*> b = a;
    EXPECT_EQ(object->refs, 2);
    clsAutoRelease<Counted*> c(std::move(b));
    EXPECT_FALSE(b);
    EXPECT_EQ(object->refs, 2);
    c = a;   // the same object: the count stays
    EXPECT_EQ(object->refs, 2);
    a.Reset();
    EXPECT_EQ(object->refs, 1);
    EXPECT_FALSE(gone);
  }
  EXPECT_TRUE(gone);
  clsAutoRelease<Counted*> empty;
  EXPECT_EQ(empty.Get(), nullptr);
}

TEST(AutoRelease, DisposeAtTheLastReferenceOnly) {
  Disposable object;   // the test's own reference keeps it
  {
    clsAutoRelease<IUnknown> holder(&object, true);
    clsAutoRelease<IUnknown> copy = holder;
    EXPECT_EQ(object.refs, 3u);
    copy.Reset();                  // the test's reference and the holder's remain
    EXPECT_EQ(object.disposed, 0);
  }
  EXPECT_EQ(object.disposed, 0);   // the test still held it
  EXPECT_EQ(object.refs, 1u);
  object.refs = 0;                 // now the holder's will be the only one
  {
    clsAutoRelease<IUnknown> holder(&object, true);
  }
  EXPECT_EQ(object.disposed, 1);
  EXPECT_EQ(object.refs, 0u);
  {
    clsAutoRelease<IUnknown> holder(&object);   // no flag: no dispose
  }
  EXPECT_EQ(object.disposed, 1);
}

}  // namespace
