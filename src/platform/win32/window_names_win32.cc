#include <windows.h>

#include "platform/window_names.h"

namespace plat {

uint32_t RegisterMessageName(const char16_t* name) {
  return name ? ::RegisterWindowMessageW(reinterpret_cast<const wchar_t*>(name)) : 0;
}

uint32_t RegisterClipboardFormatName(const char16_t* name) {
  return name ? ::RegisterClipboardFormatW(reinterpret_cast<const wchar_t*>(name)) : 0;
}

}  // namespace plat
