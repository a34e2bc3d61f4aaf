// Owners of one system handle: the generic holder and the unnamed event.
// Threads: an owner is used by one thread at a time; the handle it owns may be
// waited on and signalled from any thread.
#pragma once
#include "platform/event.h"

namespace zx {

class clsGenericHandleObjectAutoRelease {
 public:
  clsGenericHandleObjectAutoRelease() = default;
  // Takes `handle`; closes it at the end when `owns` is set.
  clsGenericHandleObjectAutoRelease(plat::WaitHandle handle, bool owns) : m_h(handle), m_bOwns(owns) {}
  clsGenericHandleObjectAutoRelease(const clsGenericHandleObjectAutoRelease&) = delete;
  clsGenericHandleObjectAutoRelease& operator=(const clsGenericHandleObjectAutoRelease&) = delete;

  // What the handle is set to after release.
  virtual plat::WaitHandle GetInvalidValue() const { return nullptr; }
  virtual bool CloseObject() { return plat::HandleClose(m_h); }
  // Holds (and owns) a duplicate of `handle` in this process; the old one is released.
  virtual bool Duplicate(plat::WaitHandle handle);
  virtual ~clsGenericHandleObjectAutoRelease() { Release(); }

  plat::WaitHandle Handle() const { return m_h; }
  bool IsValid() const { return plat::HandleIsValid(m_h); }
  bool Owns() const { return m_bOwns; }
  // Closes an owned valid handle; the handle becomes GetInvalidValue(), the flag clear.
  void Release();

 protected:
  void Attach(plat::WaitHandle handle, bool owns) {
    m_h = handle;
    m_bOwns = owns;
  }

 private:
  plat::WaitHandle m_h = nullptr;
  bool m_bOwns = false;
};

// An event without a name that owns its handle.
class clsEvent : public clsGenericHandleObjectAutoRelease {
 public:
  clsEvent(bool manualReset, bool initiallySignalled)
      : clsGenericHandleObjectAutoRelease(plat::EventCreate(manualReset, initiallySignalled), true) {}
  bool Set() { return plat::EventSet(Handle()); }
  bool Reset() { return plat::EventReset(Handle()); }
};

}  // namespace zx
