// Test helpers of the document readers: a file made of given bytes (an
// in-memory stream behind clsFile), and the text of a property.
#pragma once
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "core/strings/CharsetConversion.h"
#include "docinfo/Docu.h"
#include "platform/com.h"
#include "support/support_test_util.h"

namespace zxtest {

inline std::unique_ptr<zx::clsFile> BytesFile(std::string_view bytes) {
  IStream* stream = nullptr;
  if (plat::CreateMemoryStream(&stream) < 0 || !stream) return nullptr;
  ULONG written = 0;
  if (!bytes.empty()) stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written);
  return std::make_unique<zx::clsFile>(stream);
}

// A property as UTF-8 (empty for an empty variant).
inline std::string Utf8Of(const zx::clsVariant& v) {
  const zx::String s = v.Text();
  zx::clsCharsetConversionStringCP utf8(plat::kCpUtf8, s.wchar());
  return utf8.narrow();
}

inline std::string DateText(const plat::SystemTime& t) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%04u-%02u-%02u %02u:%02u:%02u", t.year, t.month, t.day, t.hour, t.minute,
                t.second);
  return buf;
}

// A fresh document for a reader.
inline zx::clsDocu NewDoc() { return zx::clsDocu(zx::String(u"test.bin"), 0, 0, nullptr); }

}  // namespace zxtest
