// Text at the tool's edges: arguments and output are UTF-8, the library's text is
// UTF-16, and WCHAR is wchar_t on Windows and char16_t elsewhere.
#pragma once
#include <string>

#include "zxUT22.h"

std::string Utf8(const std::u16string& text);
std::u16string Wide(const char* utf8);

inline LPCWSTR W(const std::u16string& text) { return reinterpret_cast<LPCWSTR>(text.c_str()); }
inline std::u16string FromW(LPCWSTR text) {
  return text ? std::u16string(reinterpret_cast<const char16_t*>(text)) : std::u16string();
}
