// Helpers of the file tests: paths as library strings and the system's error text.
#pragma once
#include <cstdint>
#include <filesystem>
#include <string>

#include "core/strings/String.h"
#include "file/File.h"
#include "platform/errors.h"
#include "support/support_test_util.h"

namespace ftest {

namespace fs = std::filesystem;

inline zx::String Str(const fs::path& p) { return zx::String(std::u16string_view(p.u16string())); }

// The system's text of an error as clsFile keeps it (without the line end).
inline std::u16string ErrorText(uint32_t code) {
  std::u16string text;
  plat::SystemErrorText(code, 0, text);
  while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r' || text.back() == u' ')) text.pop_back();
  return text;
}

}  // namespace ftest
