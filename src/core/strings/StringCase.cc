// Locale case mapping of String (ToUpper, ToLower and the general mapper).
#include <atomic>
#include <memory>

#include "core/diag/Diag.h"
#include "core/registry/Registry.h"
#include "core/strings/String.h"
#include "platform/errors.h"
#include "platform/locale.h"

namespace zx {
namespace {

constexpr uint32_t kUpperFlags = plat::kLcMapLinguisticCasing | plat::kLcMapUppercase;   // 0x1000200
constexpr uint32_t kLowerFlags = plat::kLcMapLinguisticCasing | plat::kLcMapLowercase;   // 0x1000100
constexpr int kStackChars = 200;
constexpr uint32_t kVista = 0x0600;
constexpr uint32_t kWin7 = 0x0601;

// Which mapper serves the invariant locale: 0 unknown, 1 classic, 2 extended.
std::atomic<int> g_flavour{0};

}  // namespace

int DecideMapStringFlavour(uint32_t systemVersion) {
  if (systemVersion < kVista) return 1;
  if (systemVersion >= kWin7) return 2;
  return RegReadBool(plat::Hive::LocalMachine, u"software\\zarnik", u"EnableMapStringEx", false) ? 2 : 1;
}

int MapStringFlavour(uint32_t locale) {
  if (locale != plat::kLocaleInvariant) return 1;
  int f = g_flavour.load(std::memory_order_relaxed);
  if (f == 0) {
    f = DecideMapStringFlavour(plat::SystemVersion());
    g_flavour.store(f, std::memory_order_relaxed);
  }
  return f;
}

void ResetMapStringFlavourForTests() { g_flavour.store(0); }

void String::ToUpper() { MapString(kUpperFlags, plat::kLocaleUserDefault); }
void String::ToLower() { MapString(kLowerFlags, plat::kLocaleUserDefault); }

int String::MapString(uint32_t flags, uint32_t locale) {
  if (length == 0) return 0;
  // Both flavours reach the platform's one locale mapper, which serves the
  // invariant locale the way the extended call does.
  (void)MapStringFlavour(locale);
  const int srcLen = static_cast<int>(length) + 1;   // with the terminator
  const int need = plat::MapStringLocale(locale, flags, wchar(), srcLen, nullptr, 0);
  int done = 0;
  if (need > 0) {
    char16_t stack[kStackChars];
    std::unique_ptr<char16_t[]> heap;
    char16_t* dst = stack;
    if (need > kStackChars) {
      heap.reset(new (std::nothrow) char16_t[static_cast<size_t>(need)]);
      dst = heap.get();
    }
    if (dst) done = plat::MapStringLocale(locale, flags, wchar(), srcLen, dst, need);
    if (done > 0) {
      Assign(dst, 0, done);
      return done;
    }
  }
  const uint32_t error = plat::LastError();
  DiagFormat(u"ERR: String::LCMapString[Ex](0x%x) failed: %d/%d/%d : %s! (Even if SUCCEEDED is "
             u"returned, the result is garbage)",
             flags, srcLen, need, done, SystemMessage(error).wchar());
  return 0;
}

}  // namespace zx
