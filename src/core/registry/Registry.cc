#include "core/registry/Registry.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>

namespace zx {
namespace {

// The hive rule's state: 0 undecided, 1 always HKCU, 2 the thread's user, 3 the
// thread's user failed once: HKCU from then on.
std::atomic<int> g_rule{0};
std::atomic<bool (*)()> g_openCurrentUser{&plat::OpenCurrentUserHive};

plat::Hive Resolve(plat::Hive hive) {
  return hive == plat::Hive::CurrentUser ? UserHive() : hive;
}

// Reads a string value with the 512-byte stack buffer and the heap retry.
bool ReadRaw(plat::Hive hive, const char16_t* key, const char16_t* name, std::u16string& out) {
  char16_t stack[256];
  char16_t* text = stack;
  std::unique_ptr<char16_t[]> heap;
  uint32_t type = 0;
  uint32_t size = sizeof stack;
  long rc = plat::QueryRegValue(hive, key, name, &type, text, &size);
  if (rc == plat::kErrMoreData) {
    heap.reset(new (std::nothrow) char16_t[size / 2 + 1]);
    if (!heap) return false;
    text = heap.get();
    rc = plat::QueryRegValue(hive, key, name, &type, text, &size);
  }
  if (rc != 0 || (type != plat::kRegSz && type != plat::kRegExpandSz)) return false;
  uint32_t units = size / 2;
  while (units > 0 && text[units - 1] == 0) --units;
  out.assign(text, units);
  return true;
}

}  // namespace

plat::Hive UserHive() {
  int rule = g_rule.load(std::memory_order_acquire);
  if (rule == 0) {
    std::u16string value;
    bool aware = ReadRaw(plat::Hive::LocalMachine, u"software\\zarnik", u"Registry.ImpersonationAware",
                         value) &&
                 !value.empty() && value[0] == u'T';
    int expected = 0;
    g_rule.compare_exchange_strong(expected, aware ? 2 : 1, std::memory_order_acq_rel);
    rule = g_rule.load(std::memory_order_acquire);
  }
  if (rule == 2) {
    if (g_openCurrentUser.load(std::memory_order_acquire)()) return plat::Hive::ThreadUser;
    g_rule.store(3, std::memory_order_release);
  }
  return plat::Hive::CurrentUser;
}

void ResetHiveRuleForTests(bool (*openCurrentUser)()) {
  g_openCurrentUser.store(openCurrentUser ? openCurrentUser : &plat::OpenCurrentUserHive);
  g_rule.store(0);
}

bool RegReadString(plat::Hive hive, const char16_t* key, const char16_t* name, std::u16string& out) {
  return ReadRaw(Resolve(hive), key, name, out);
}

bool RegReadBool(plat::Hive hive, const char16_t* key, const char16_t* name, bool absent) {
  std::u16string value;
  if (!RegReadString(hive, key, name, value)) return absent;
  return !value.empty() && value[0] == u'T';
}

bool RegReadDword(plat::Hive hive, const char16_t* key, const char16_t* name, uint32_t& out) {
  uint32_t type = 0, value = 0, size = sizeof value;
  long rc = plat::QueryRegValue(Resolve(hive), key, name, &type, &value, &size);
  if (rc != 0 || type != plat::kRegDword || size != sizeof value) return false;
  out = value;
  return true;
}

long RegWriteString(plat::Hive hive, const char16_t* key, const char16_t* name, const char16_t* text) {
  if (!text) text = u"";
  uint32_t units = 0;
  while (text[units]) ++units;
  return plat::SetRegValue(Resolve(hive), key, name, plat::kRegSz, text, (units + 1) * 2);
}

long RegWriteDword(plat::Hive hive, const char16_t* key, const char16_t* name, uint32_t value) {
  return plat::SetRegValue(Resolve(hive), key, name, plat::kRegDword, &value, sizeof value);
}

}  // namespace zx
