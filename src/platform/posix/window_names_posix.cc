// Linux: one table of names for messages and clipboard formats, as the atom table is on
// Windows: the first registration of a name takes the next number from 0xC000.
#include <mutex>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/window_names.h"

namespace plat {
namespace {

constexpr uint32_t kFirstNumber = 0xC000;
constexpr uint32_t kLastNumber = 0xFFFF;

char16_t Fold(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }

bool SameName(const std::u16string& a, const char16_t* b) {
  size_t i = 0;
  for (; i < a.size() && b[i]; ++i)
    if (Fold(a[i]) != Fold(b[i])) return false;
  return i == a.size() && b[i] == 0;
}

uint32_t Register(const char16_t* name) {
  if (!name || !*name) {
    SetLastError(kErrInvalidParameter);
    return 0;
  }
  static std::mutex lock;
  static std::vector<std::u16string>* names = new std::vector<std::u16string>();   // lives to the end
  std::lock_guard<std::mutex> guard(lock);
  for (size_t i = 0; i < names->size(); ++i)
    if (SameName((*names)[i], name)) return kFirstNumber + static_cast<uint32_t>(i);
  if (kFirstNumber + names->size() > kLastNumber) {
    SetLastError(kErrNotEnoughMemory);
    return 0;
  }
  names->emplace_back(name);
  return kFirstNumber + static_cast<uint32_t>(names->size() - 1);
}

}  // namespace

uint32_t RegisterMessageName(const char16_t* name) { return Register(name); }
uint32_t RegisterClipboardFormatName(const char16_t* name) { return Register(name); }

}  // namespace plat
