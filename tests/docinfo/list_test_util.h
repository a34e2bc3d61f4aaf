// Helpers of the document-list tests: fake readers that record their calls, and
// the caller's side of a result block.
#pragma once
#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "docinfo/DocReaders.h"
#include "docinfo/DocuList.h"
#include "platform/variant.h"
#include "support/support_test_util.h"

namespace listtest {

// The readers of one test: each records its name and answers what the test set
// (0 unless told). Installed while the object lives.
class FakeReaders {
 public:
  FakeReaders();
  ~FakeReaders();
  // Every reader of the table is set; clear one to test a null entry.
  zx::scDocReaderSet& set() { return set_; }
  void Answer(const std::string& reader, int rc);
  void CompoundFile(bool is);
  std::vector<std::string> Calls();
  void ClearCalls();
  // Re-installs after editing set().
  void Install() { zx::SetDocReadersForTests(&set_); }

 private:
  zx::scDocReaderSet set_;
};

// A result block with all nine variants of its own.
struct Result {
  VARIANT v[9];
  zx::scDocInfoData data;
  explicit Result(uint32_t size = zx::kDocInfoSizeWithPath);
  ~Result();
  std::u16string Text(int i) const;   // the string of a VT_BSTR member, else "<vt N>"
};
enum { kCreated, kLastSaved, kTitle, kSubject, kAuthor, kLastAuthor, kKeywords, kComments, kResolvedPath };

std::u16string U16(const std::string& utf8);
zx::String Str(const std::filesystem::path& p);

}  // namespace listtest
