// The registry store's file parser: any bytes parse; bytes that decode are written
// back as they were, and the written form is a fixed point (parse, write, parse,
// write gives the same text).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/internal/regfile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  plat::regfile::Document doc = plat::regfile::Parse(bytes);
  const std::string once = plat::regfile::Serialize(doc);
  bool decodes = true;
  for (const auto& p : doc.problems)
    decodes &= p.what.find("UTF") == std::string::npos;
  if (decodes && once != bytes) std::abort();
  plat::regfile::Document again = plat::regfile::Parse(once);
  const std::string twice = plat::regfile::Serialize(again);
  if (once != twice) std::abort();
  // Every value of the first document is found in the second (names with lone
  // surrogates from a UTF-16 file come back as U+FFFD: those are left out).
  auto lossless = [](std::u16string_view s) {
    for (char16_t c : s)
      if (c >= 0xD800 && c <= 0xDFFF) return false;
    return true;
  };
  for (const auto& key : doc.keys)
    for (const auto& e : key.entries) {
      if (e.raw || !lossless(key.root) || !lossless(key.path) || !lossless(e.name)) continue;
      const auto* f = plat::regfile::FindValue(again, key.root, key.path, e.name, nullptr);
      if (!f) std::abort();
    }
  return 0;
}
