#include "docinfo/DocChooser.h"

#include <optional>

#include "core/timing/TickCount.h"
#include "docinfo/DocReaders.h"
#include "docinfo/DocTime.h"

namespace zx {
namespace {

// A reader of the table, and whether its failure fails the document.
struct Choice {
  DocFileReader reader = nullptr;
  bool mayFail = false;
};

Choice ByExtension(const scDocReaderSet& r, const String& ext, bool* known) {
  *known = true;
  if (ext == u".tif") return {r.tiff, true};
  if (ext == u".jpg" || ext == u".jpeg") return {r.jpeg, false};
  if (ext == u".pdf") return {r.pdf, false};
  if (ext == u".htm" || ext == u".html" || ext == u".mht") return {r.html, false};
  if (ext == u".xml") return {r.xmlProperties, true};
  if (ext == u".rtf") return {r.rtf, false};
  if (ext == u".eml" || ext == u".msg") return {r.mail, false};
  *known = false;
  return {};
}

// By the first four bytes, little-endian; a file shorter than that has no reader.
DocFileReader ByContent(const scDocReaderSet& r, clsFile& file) {
  uint8_t head[4];
  if (file.SetPos(0) != 0 || file.Read(head, 4) != 4) return nullptr;
  const uint32_t magic = head[0] | (uint32_t{head[1]} << 8) | (uint32_t{head[2]} << 16) | (uint32_t{head[3]} << 24);
  switch (magic) {
    case 0x002A4949u: return r.tiff;           // "II*" 0
    case 0x002DA5DBu: return r.word2;
    case 0x04034B50u: return r.officePackage;  // ZIP local header
    case 0x435057FFu: return r.wordPerfect;    // FF "WPC"
    case 0x46445025u: return r.pdf;            // "%PDF"
    default: return (magic & 0xFFFFu) == 0xD8FFu ? r.jpeg : nullptr;
  }
}

// A reader never lets an exception out to the list; one that does has failed.
int Call(DocFileReader reader, clsDocu& doc, clsFile& file) {
  try {
    return reader(doc, file);
  } catch (...) {
    return -1;
  }
}
int Call(DocPathReader reader, clsDocu& doc, const String& path) {
  try {
    return reader(doc, path);
  } catch (...) {
    return -1;
  }
}

}  // namespace

String DocumentExtension(const String& path) {
  const std::u16string_view v = path.View();
  const size_t dot = v.find_last_of(u'.');
  const size_t sep = v.find_last_of(u"\\/");
  if (dot == std::u16string_view::npos || (sep != std::u16string_view::npos && sep > dot)) return String();
  std::u16string ext(v.substr(dot));
  for (char16_t& c : ext)
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
  return String(std::u16string_view(ext));
}

void ReadDocument(clsDocu& doc, plat::CriticalSection* lock) {
  std::optional<plat::Lock> held;
  auto hold = [&] {
    if (lock && !held) held.emplace(*lock);
  };
  const String path = doc.resolvedPath;
  clsDocFile file;
  if (file.OpenDocument(path) != 0) {
    hold();
    if (file.GetLastErrorKind() == kFileErrInUse) doc.lastCheck = 0;   // locked: the old information stays
    else doc.Reset();
    return;
  }
  doc.exists = 1;
  STATSTG st{};
  plat::SystemTime written;
  const bool timed = file.Stat(&st, STATFLAG_NONAME) >= 0 &&
                     FileTimeToUtc((uint64_t{st.mtime.dwHighDateTime} << 32) | st.mtime.dwLowDateTime, &written);
  hold();
  if (!timed) {
    doc.Reset();
    return;
  }
  if (doc.lastCheck != 0 && SameTime(written, doc.fileTime)) return;   // unchanged
  doc.fileTime = written;
  doc.lastSaved = written;
  doc.lastCheck = UtilTickCount64();
  file.Close();

  const scDocReaderSet& r = DocReaders();
  if (r.shellProperties && Call(r.shellProperties, doc, path) >= 0) return;
  const String ext = DocumentExtension(path);
  if (r.isCompoundFile && r.isCompoundFile(path)) {
    const DocPathReader reader = ext == u".msg" ? r.compoundMail : r.propertySet;
    if (reader && Call(reader, doc, path) >= 0) return;
  }
  if (file.OpenDocument(path) != 0) {
    doc.lastCheck = 0;
    return;
  }
  bool known = false;
  Choice choice = ByExtension(r, ext, &known);
  if (!known) choice = {ByContent(r, file), false};
  const int rc = choice.reader ? Call(choice.reader, doc, file) : 0;
  file.Close();
  if (choice.mayFail && rc < 0) doc.Reset();
}

}  // namespace zx
