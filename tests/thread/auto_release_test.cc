// clsAutoRelease with the dispose flag: a managed object held by nobody else is
// disposed of (IDisposable, eighth slot) before its last reference goes; one still
// held elsewhere, or held without the flag, is only released.
#include <gtest/gtest.h>

#include "thread/AutoRelease.h"

using namespace zx;

namespace {

// IDisposable as a managed object's table has it: IUnknown, IDispatch, Dispose.
struct IDisposableTable : IUnknown {
  virtual HRESULT ZX_COMCALL GetTypeInfoCount(void*) = 0;
  virtual HRESULT ZX_COMCALL GetTypeInfo(void*, void*, void*) = 0;
  virtual HRESULT ZX_COMCALL GetIDsOfNames(void*, void*, void*, void*, void*) = 0;
  virtual HRESULT ZX_COMCALL Invoke(void*, void*, void*, void*, void*, void*, void*, void*) = 0;
  virtual HRESULT ZX_COMCALL Dispose() = 0;
};

class Managed : public IDisposableTable {
 public:
  explicit Managed(bool disposable) : disposable_(disposable) {}
  HRESULT ZX_COMCALL QueryInterface(REFIID iid, void** out) override {
    *out = nullptr;
    if (plat::SameGuid(iid, IID_IDisposable) && !disposable_) return static_cast<HRESULT>(0x80004002);
    AddRef();
    *out = static_cast<IDisposableTable*>(this);
    return 0;
  }
  ULONG ZX_COMCALL AddRef() override { return ++refs; }
  ULONG ZX_COMCALL Release() override { return --refs; }
  HRESULT ZX_COMCALL GetTypeInfoCount(void*) override { return 0; }
  HRESULT ZX_COMCALL GetTypeInfo(void*, void*, void*) override { return 0; }
  HRESULT ZX_COMCALL GetIDsOfNames(void*, void*, void*, void*, void*) override { return 0; }
  HRESULT ZX_COMCALL Invoke(void*, void*, void*, void*, void*, void*, void*, void*) override { return 0; }
  HRESULT ZX_COMCALL Dispose() override {
    ++disposed;
    refsAtDispose = refs;
    return 0;
  }
  int refs = 1;   // the creator's
  int disposed = 0;
  int refsAtDispose = 0;

 private:
  bool disposable_;
};

TEST(AutoRelease, DisposesAManagedObjectAtItsLastReference) {
  Managed object(true);
  {
    clsAutoRelease<IUnknown> holder(&object, plat::kIID_IUnknown);
    holder.SetDispose(true);
    ASSERT_TRUE(holder);
    EXPECT_EQ(object.refs, 2);
    object.Release();   // the creator lets go: the holder's is the last reference
  }
  EXPECT_EQ(object.disposed, 1);
  EXPECT_EQ(object.refsAtDispose, 2);   // the holder's and the IDisposable asked for
  EXPECT_EQ(object.refs, 0);
}

TEST(AutoRelease, AnObjectHeldElsewhereOrWithoutTheFlagIsOnlyReleased) {
  Managed shared(true), unflagged(true), plain(false);
  {
    clsAutoRelease<IUnknown> a(&shared, plat::kIID_IUnknown);
    a.SetDispose(true);
    clsAutoRelease<IUnknown> b(&unflagged, plat::kIID_IUnknown);
    clsAutoRelease<IUnknown> c(&plain, plat::kIID_IUnknown);
    c.SetDispose(true);
    unflagged.Release();
    plain.Release();   // c's reference is the last one
  }
  EXPECT_EQ(shared.disposed, 0);
  EXPECT_EQ(shared.refs, 1);
  EXPECT_EQ(unflagged.disposed, 0);
  EXPECT_EQ(unflagged.refs, 0);
  EXPECT_EQ(plain.disposed, 0);   // no IDisposable: released all the same
  EXPECT_EQ(plain.refs, 0);
}

}  // namespace
