// Test helpers of the document readers: a file made of given bytes (an
// in-memory stream behind clsFile), and the text of a property.
#pragma once
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "core/strings/CharsetConversion.h"
#include "docinfo/Docu.h"
#include "support/support_test_util.h"

namespace zxtest {

// A file of exactly `bytes` in the temporary folder, open as a document, removed
// at the end. (A real file, not an in-memory stream: the readers seek past the end
// of damaged files, which some hosts' memory streams do not survive.)
class BytesFile {
 public:
  explicit BytesFile(std::string_view bytes) : path_(zxsupport::TempPath("docinfo")) {
    zxsupport::WriteBytes(path_, bytes);
    file_.OpenDocument(zx::StringFromNarrow(path_.c_str(), -1, plat::kCpUtf8));
  }
  ~BytesFile() {
    file_.Close();
    std::error_code ec;
    std::filesystem::remove(path_, ec);
  }
  BytesFile(const BytesFile&) = delete;
  BytesFile& operator=(const BytesFile&) = delete;
  zx::clsFile& operator*() { return file_; }

 private:
  std::string path_;
  zx::clsDocFile file_;
};

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

// A fresh document read from `bytes` by `reader`, which must answer 0.
template <class Reader>
zx::clsDocu ReadBytesWith(Reader reader, const std::string& bytes) {
  zx::clsDocu doc = NewDoc();
  auto file = BytesFile(bytes);
  EXPECT_EQ(0, reader(doc, *file));
  return doc;
}

// A fresh document read from the file at `path` (UTF-8) by `reader`. Its answer goes
// to `result` when given, else it must be 0.
template <class Reader>
zx::clsDocu ReadFileWith(Reader reader, const std::string& path, int32_t* result = nullptr) {
  zx::clsDocu doc = NewDoc();
  zx::clsDocFile file;
  EXPECT_EQ(0, file.OpenDocument(zx::StringFromNarrow(path.c_str(), -1, plat::kCpUtf8))) << path;
  const int32_t rc = reader(doc, file);
  if (result)
    *result = rc;
  else
    EXPECT_EQ(0, rc) << path;
  return doc;
}

}  // namespace zxtest
