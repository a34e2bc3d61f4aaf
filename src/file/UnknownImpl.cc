#include "file/UnknownImpl.h"

namespace zx {

HRESULT clsIUnknownImpl::NonDelegatingQueryInterface(const IID& iid, void** out) {
  if (!out) return plat::kE_POINTER;
  if (plat::SameGuid(iid, plat::kIID_IUnknown)) {
    IUnknown* u = IdentityUnknown();
    NonDelegatingAddRef();
    *out = u;
    return plat::kS_OK;
  }
  *out = nullptr;
  return plat::kE_NOINTERFACE;
}

ULONG clsIUnknownImpl::NonDelegatingAddRef() {
  return m_nRefs.fetch_add(1, std::memory_order_acq_rel) + 1;
}

ULONG clsIUnknownImpl::NonDelegatingRelease() {
  const uint32_t left = m_nRefs.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0 && m_bDeleteOnRelease) delete this;
  return left;
}

}  // namespace zx
