#include "text.h"

#include <cstring>

#include "platform/codepage.h"

std::string Utf8(const std::u16string& text) {
  if (text.empty()) return {};
  const int n = plat::WideToMultiByte(plat::kCpUtf8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::string out(static_cast<size_t>(n > 0 ? n : 0), '\0');
  if (n > 0) plat::WideToMultiByte(plat::kCpUtf8, 0, text.data(), static_cast<int>(text.size()), out.data(), n);
  return out;
}

std::u16string Wide(const char* utf8) {
  const int length = static_cast<int>(std::strlen(utf8));
  if (length == 0) return {};
  const int n = plat::MultiByteToWide(plat::kCpUtf8, 0, utf8, length, nullptr, 0);
  std::u16string out(static_cast<size_t>(n > 0 ? n : 0), u'\0');
  if (n > 0) plat::MultiByteToWide(plat::kCpUtf8, 0, utf8, length, out.data(), n);
  return out;
}
