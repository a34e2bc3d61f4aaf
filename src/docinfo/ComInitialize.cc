#include "docinfo/ComInitialize.h"

#include "core/diag/Diag.h"
#include "core/registry/Registry.h"

namespace zx {

uint32_t clsCOMInitialize::ForcedModel() {
  static const uint32_t model = [] {
    uint32_t value = 2;
    if (!RegReadDword(plat::Hive::LocalMachine, u"Software\\zarnik\\ZRNKRP\\22", u"ApartmentModel", value))
      value = 2;
    return value;
  }();
  return model;
}

clsCOMInitialize::clsCOMInitialize() {
  const uint32_t model = ForcedModel();
  if (model == kNever) return;
  m_result = plat::ComInitializeApartment();
  if (model != 2) DiagLine(u"sorry, requested threading mode differs from the forced one (defined in the registry)");
}

clsCOMInitialize::~clsCOMInitialize() {
  if (Initialized()) plat::ComUninitialize();
}

}  // namespace zx
