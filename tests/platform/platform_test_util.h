// Helpers shared by the platform tests.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>
#ifdef _WIN32
#include <windows.h>
#endif

#include "support/support_test_util.h"

// A call that must fail (return 0) and set the given last-error number.
#define EXPECT_FAILS_WITH(call, error)          \
  do {                                          \
    plat::SetLastError(0);                      \
    EXPECT_EQ((call), 0) << #call;              \
    EXPECT_EQ(plat::LastError(), (error)) << #call; \
  } while (0)

namespace ptest {

#ifndef _WIN32
// Sets the locale variables for one scope and restores them.
class ScopedLocaleEnv : public zxsupport::ScopedEnv {
 public:
  ScopedLocaleEnv(const char* lcAll, const char* lang)
      : ScopedEnv({{"LC_ALL", lcAll}, {"LC_MESSAGES", nullptr}, {"LANG", lang}}) {}
};
#endif

// What an outside judge makes of narrow text: iconv on Linux, the system's own
// converter on Windows.
inline bool ReferenceToWide(uint32_t codePage, const std::string& bytes, std::u16string& out) {
#ifdef _WIN32
  int n = ::MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
  if (n <= 0) return false;
  std::wstring w(static_cast<size_t>(n), L'\0');
  ::MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), w.data(), n);
  out.assign(reinterpret_cast<const char16_t*>(w.data()), w.size());
  return true;
#else
  std::string name = codePage == 65001 ? "UTF-8" : "CP" + std::to_string(codePage);
  std::string raw;
  if (!zxsupport::RunFilter("iconv -f " + name + " -t UTF-16LE", bytes, raw)) return false;
  out = zxsupport::FromUtf16LeBytes(raw);
  return true;
#endif
}

inline bool ReferenceToUtf8(const std::u16string& text, std::string& out) {
#ifdef _WIN32
  auto w = reinterpret_cast<const wchar_t*>(text.data());
  int n = ::WideCharToMultiByte(CP_UTF8, 0, w, static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  if (n <= 0) return false;
  out.assign(static_cast<size_t>(n), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, w, static_cast<int>(text.size()), out.data(), n, nullptr, nullptr);
  return true;
#else
  return zxsupport::RunFilter("iconv -f UTF-16LE -t UTF-8", zxsupport::Utf16LeBytes(text), out);
#endif
}

}  // namespace ptest
