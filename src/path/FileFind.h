// clsFileFind: the entries of a folder that match a pattern ("dir\*.htm"), one by
// one. A plain extension in the pattern is taken literally: "*.htm" finds no
// ".html" file (the system's short names would let it). Optionally only folders
// (without "." and ".."), and optionally only names a regular expression matches.
// Errors: Next() gives false at the end and when nothing matched at all.
// Threads: one object on one thread.
//
//   clsFileFind find(u"C:\\tmp\\_22_*", false);
//   while (find.Next()) Use(find.Name(), find.Info().lastWrite);
#pragma once
#include <cstdint>
#include <memory>

#include "core/regex/RegEx.h"
#include "core/strings/String.h"
#include "platform/file.h"

namespace zx {

class clsFileFind {
 public:
  clsFileFind(const String& pattern, bool bDirsOnly);
  ~clsFileFind();
  clsFileFind(const clsFileFind&) = delete;
  clsFileFind& operator=(const clsFileFind&) = delete;

  // Only names this expression matches (options as clsRegEx has them).
  bool SetFilter(const String& expression, uint32_t options = 0);
  // The next entry; false at the end.
  bool Next();
  String Name() const { return String(std::u16string_view(m_FindData.name)); }
  const plat::FileInfo& Info() const { return m_FindData.info; }
  bool IsFolder() const { return (m_FindData.info.attributes & plat::kAttrDirectory) != 0; }

 private:
  plat::FindEntry m_FindData;
  std::unique_ptr<plat::FileFinder> m_hFind;
  bool m_bDirsOnly;
  std::unique_ptr<clsRegEx> m_rxFilter;
  IString m_sExtension;
};

}  // namespace zx
