#include "zip/ZipText.h"

#include "platform/codepage.h"

namespace zx {
namespace {

constexpr uint32_t kCp437 = 437;

bool IsAscii(const String& text) {
  for (char16_t c : text.View())
    if (c >= 0x80) return false;
  return true;
}

}  // namespace

bool IsZipCp437(const String& text) {
  if (IsAscii(text)) return true;
  bool usedDefault = false;
  const int n = plat::WideToMultiByte(kCp437, plat::kWcNoBestFitChars, text.wchar(), static_cast<int>(text.Length()),
                                      nullptr, 0, nullptr, &usedDefault);
  return n > 0 && !usedDefault;
}

std::string EncodeZipText(const String& text, bool utf8) {
  if (text.IsEmpty()) return std::string();
  if (!utf8 && IsAscii(text)) return std::string(text.View().begin(), text.View().end());
  const uint32_t cp = utf8 ? plat::kCpUtf8 : kCp437;
  const uint32_t flags = utf8 ? 0 : plat::kWcNoBestFitChars;
  const int len = static_cast<int>(text.Length());
  const int n = plat::WideToMultiByte(cp, flags, text.wchar(), len, nullptr, 0);
  std::string out(n > 0 ? static_cast<size_t>(n) : 0, '\0');
  if (n > 0) plat::WideToMultiByte(cp, flags, text.wchar(), len, out.data(), n);
  return out;
}

}  // namespace zx
