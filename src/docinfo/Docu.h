// clsDocu: one document's information as the document list hands it out: two
// dates, six text properties, the path that was really read, and what the list
// needs to decide when to read again. The readers of the single formats
// (DocReaders.h) fill it; the list (DocuList.h) owns, caches and refreshes it.
// Errors: none here; a reader that fails leaves what it has not set as it was.
// Threads: a document has no lock of its own; the list's and the worker's locks
// guard the places where two threads meet (see DocuList.h).
//
//   clsDocu doc(String(u"report.pdf|page2"), 60, 10, nullptr);  // name "report.pdf"
//   doc.title = String(u"Quarterly report");                     // a string variant
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "file/File.h"
#include "platform/timestamp.h"
#include "variant/Variant.h"

namespace zx {

class clsDocuList;

// The unset date: day of week 0xFFFF, every other field 0.
constexpr plat::SystemTime kUnsetSystemTime{0, 0, 0xFFFF, 0, 0, 0, 0, 0};
bool IsUnsetTime(const plat::SystemTime& t);
bool SameTime(const plat::SystemTime& a, const plat::SystemTime& b);

class clsDocu : clsIUnknownImpl {
 public:
  // `askedName` is cut at its first "|": before it the path, behind it the fragment.
  clsDocu(const String& askedName, uint32_t refreshSeconds, uint32_t shareTimeoutSeconds, clsDocuList* owner);
  // Copies every field and enables refreshing.
  clsDocu(const clsDocu& other);
  // Copies every field but refreshEnabled.
  clsDocu& operator=(const clsDocu& other);
  ~clsDocu() override = default;

  ULONG AddRef() { return NonDelegatingAddRef(); }
  ULONG Release() { return NonDelegatingRelease(); }
  using clsIUnknownImpl::RefCount;

  // Forgets what was read: exists 0, both dates unset, the six texts empty,
  // lastCheck 0. fileTime stays, so an unchanged file is not read again.
  void Reset();

  // ---- fields, in their order
  String name;
  uint32_t refreshInterval = 0;  // ms
  uint64_t lastCheck = 0;        // tick of the last read; 0: read again next time
  clsDocuList* owner = nullptr;  // not counted
  uint8_t exists = 0;
  plat::SystemTime fileTime = kUnsetSystemTime;  // last write, UTC
  plat::SystemTime created = kUnsetSystemTime;   // UTC
  plat::SystemTime lastSaved = kUnsetSystemTime; // UTC
  clsVariant fragment;
  clsVariant title, subject, author, lastAuthor, keywords, comments;
  String resolvedPath;
  uint32_t useShellProperties = 1;
  uint32_t shareTimeout = 0;  // ms
  uint8_t refreshEnabled = 1;

 private:
  IUnknown* IdentityUnknown() override { return nullptr; }
  void CopyFields(const clsDocu& other);
};

// The type in which a document is opened: read access, open existing, shared
// for reading, normal attributes.
class clsDocFile : public clsFileRO {
 public:
  clsDocFile() = default;
  // 0 or -1 as clsFile::Open.
  int32_t OpenDocument(const String& path) { return Open(path, 0, 0, 2, kFileNormal); }
};

}  // namespace zx
