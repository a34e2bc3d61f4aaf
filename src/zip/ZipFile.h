// clsZIPFile: an archive being written. Entries are compressed at once into
// spills and wait in a list, in the order they were added; Close lays out the
// whole archive in one pass: every local header with its name and data, the
// central directory in the same order, the end record and the archive comment.
// The file is opened (and an existing one emptied) by Create; nothing is written
// into it before Close, so an archive that is never closed stays empty.
// Errors: the results of Append and Close, and ERR lines on the debug channel.
// Threads: one archive belongs to one thread from Create to Close.
//
//   clsZIPFile zip;
//   if (zip.Create(u"out.zip", u"") && zip.Append(u"C:\\logs\\a.txt", u"", u"") == 0) ...
//   zip.Close();
#pragma once
#include <cstdint>

#include "core/containers/WCList.h"
#include "core/regex/RegEx.h"
#include "core/strings/String.h"
#include "file/File.h"
#include "packed/FileDeflate.h"
#include "zip/ZipEntry.h"
#include "zip/ZipSpill.h"

namespace zx {

constexpr uint32_t kZipRecurse = 1;

class clsZIPFile : public WCPtrSList<clsZIPFileEntry> {
 public:
  clsZIPFile();
  ~clsZIPFile();
  clsZIPFile(const clsZIPFile&) = delete;
  clsZIPFile& operator=(const clsZIPFile&) = delete;

  // Opens the archive for reading and writing, replacing a file of that name.
  bool Create(const String& path, const String& comment);
  // 0 done; -1 the source cannot be opened; -2 the entry failed and is left out.
  int32_t Append(const String& sourcePath, const String& comment, const String& entryName);
  // The files of `folder` that match `mask`; with kZipRecurse every sub-folder as
  // a folder entry and all of its files. Files that fail are left out.
  void AppendList(const String& folder, const String& mask, uint32_t flags);
  // 0 done; -3 with an ERR line when a write failed or the archive is too large.
  int32_t Close();

  // The limit of the format's 32-bit sizes (0xFFFFFFFF); tests lower it to reach
  // the failure paths without files of 4 GiB.
  void SetSizeLimit(uint64_t limit) { m_qwMaxSize = limit; }
  const clsFile& Archive() const { return m_file; }

 private:
  // The entry name: the given one, or the source path; a drive or "\\server" in
  // front dropped (the backslash behind it stays) and backslashes made slashes.
  String EntryName(const String& entryName, const String& sourcePath);
  void AppendFolder(const plat::FindEntry& folder, const String& sourcePath, const String& entryName);
  void Walk(const String& root, const String& relative, const String& mask, uint32_t flags);
  // "%s" of the ERR lines: the archive's path, or "(Stream)".
  const char16_t* ArchiveLabel() const;

  clsFileRW m_file;
  String m_sComment;
  clsRegEx m_driveRule;
  clsRegEx m_serverRule;
  clsFileDeflater m_deflater;
  scZIPSpillBudget m_budget;
  clsZIPCopyBuffer m_copyBuffer;
  uint64_t m_qwMaxSize = 0xFFFFFFFFu;

  friend class clsZIPLayout;
};

}  // namespace zx
