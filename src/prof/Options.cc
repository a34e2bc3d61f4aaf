// Process-wide options of the profile store.
#include "prof/Prof.h"

namespace zx::prof {

namespace {
constexpr int32_t kOptionCodePage = 1;
}

void SetOption(int32_t option, uint16_t value) {
  if (option == kOptionCodePage) String::SetDefaultCodePage(value);  // takes the option lock
}

int32_t GetOption(int32_t option) {
  return option == kOptionCodePage ? static_cast<int32_t>(String::DefaultCodePage()) : 0;
}

}  // namespace zx::prof
