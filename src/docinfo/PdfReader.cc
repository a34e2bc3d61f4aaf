// The PDF information reader: from "startxref" in the file's last 50 bytes
// through the chain of cross-reference sections (newest first, "Prev" followed
// at most kMaxSections times and never to an offset already read) to the
// trailer's "Info" object, whose one dictionary gives title, author, subject,
// keywords and the two dates. Damaged files are not repaired: whatever does not
// fit ends the reading, and what was found by then is kept.
#include <memory>
#include <set>
#include <string>

#include "core/regex/RegEx.h"
#include "debug/Debug.h"
#include "docinfo/DocException.h"
#include "docinfo/DocReaders.h"
#include "docinfo/PdfText.h"
#include "docinfo/PdfXref.h"

namespace zx {
namespace {

constexpr uint32_t kTailBytes = 50;
constexpr int kMaxSections = 64;

void Report(const clsException& e) {
  if (IsDebugActive()) DebugPrint(u"EXCEPTION '%s'", e.Message().wchar());
}

// The offset behind the first "startxref" of the file's last 50 bytes; -1 when none.
int64_t FindStartXref(clsFile& file, uint64_t size) {
  const uint32_t tail = size < kTailBytes ? static_cast<uint32_t>(size) : kTailBytes;
  std::string bytes;
  if (!ReadPdfBytes(file, size - tail, tail, bytes) || bytes.size() != tail) return -1;
  std::u16string text(bytes.size(), u' ');
  for (size_t i = 0; i < bytes.size(); ++i) text[i] = bytes[i] == 0 ? u' ' : static_cast<uint8_t>(bytes[i]);
  thread_local std::unique_ptr<clsRegEx> t_startxref;  // on the heap: the static TLS block is small
  if (!t_startxref) t_startxref = std::make_unique<clsRegEx>(String(u"(?s)startxref\\s+(\\d+)"), kRegExDotAll);
  clsRegEx& startxref = *t_startxref;
  clsRegExMatchList m;
  if (!startxref.Match(String(text), &m)) return -1;
  const std::string digits = m.find(1).text.narrow();
  scPdfCursor c(digits.data(), digits.size());
  int64_t offset = -1;
  ReadPdfInteger(c, &offset);
  return offset;
}

// The chain of sections into the index; the object number of the oldest
// trailer's "Info", or -1.
int64_t ReadSections(clsFile& file, uint64_t size, int64_t offset, uint32_t bufferSize, scPdfIndex& index) {
  int64_t info = -1;
  std::set<int64_t> seen;
  std::string buffer;
  try {
    while (offset != 0 && offset > 0 && static_cast<uint64_t>(offset) < size) {
      if (!seen.insert(offset).second || seen.size() > kMaxSections) {
        if (IsDebugActive()) DebugPrint(u"-PDF: the Prev chain returns to %lld or is too long; reading ends", offset);
        break;
      }
      if (!ReadPdfBytes(file, static_cast<uint64_t>(offset), bufferSize, buffer)) break;
      scPdfCursor c(buffer.data(), buffer.size());
      PdfDict trailer;
      const bool classic = c.At("xref");
      ParsePdfXrefSection(file, static_cast<uint64_t>(offset), c, index, trailer);
      int64_t n = 0;
      offset = PdfValueNumber(trailer, u"Prev", &n) ? n : 0;
      if (PdfValueNumber(trailer, u"Info", &n)) info = n;
      // A file written for both kinds of reader keeps its packed objects in a
      // stream behind the table; the table's entries come first.
      int64_t hybrid = 0;
      if (classic && PdfValueNumber(trailer, u"XRefStm", &hybrid) && hybrid > 0 && static_cast<uint64_t>(hybrid) < size &&
          seen.insert(hybrid).second && ReadPdfBytes(file, static_cast<uint64_t>(hybrid), bufferSize, buffer)) {
        scPdfCursor s(buffer.data(), buffer.size());
        PdfDict streamDict;
        ParsePdfXrefSection(file, static_cast<uint64_t>(hybrid), s, index, streamDict);
      }
    }
  } catch (const clsException& e) {
    Report(e);
  }
  return info;
}

// The information dictionary of a plain object: from its offset to the next
// known offset (or the file's end), at most one buffer.
bool ReadPlainObject(clsFile& file, uint64_t size, const scPdfIndex& index, int number, uint32_t bufferSize, PdfDict& dict) {
  int64_t offset = 0;
  if (!index.offsets.find(number, offset) || !index.Has(number + 1)) return false;
  if (offset < 0 || static_cast<uint64_t>(offset) >= size ||
      static_cast<uint32_t>(file.SetPos(static_cast<uint64_t>(offset))) != static_cast<uint32_t>(offset))
    return false;
  int64_t end = static_cast<int64_t>(size);
  WCValSkipListDictIter<int, int64_t> it(index.offsets);
  while (++it)
    if (it.value() > offset && it.value() < end) end = it.value();
  for (int64_t s : index.streamSections)
    if (s > offset && s < end) end = s;
  const int64_t length = end - offset;
  if (length > bufferSize) return false;
  std::string buffer;
  if (!ReadPdfBytes(file, static_cast<uint64_t>(offset), static_cast<uint32_t>(length), buffer) ||
      static_cast<int64_t>(buffer.size()) != length)
    return false;
  scPdfCursor c(buffer.data(), buffer.size());
  try {
    ParsePdfDictionary(c, "obj", dict);
  } catch (const clsException& e) {
    Report(e);  // the dictionary stays as far as it got
  }
  return true;
}

String ValueText(const PdfDict& dict, const char16_t* key) {
  clsVariant v;
  if (!dict.find(String(key), v)) return String();
  if (v.vt == VT_BSTR) return v.Text();
  return v.ChangeType(VT_BSTR) ? v.Text() : String();
}

}  // namespace

int ReadPdfInfo(clsDocu& doc, clsFile& file) {
  const uint64_t size = file.GetSize();
  if (size == 0 || size == kAllOnes64) return 0;
  const uint32_t bufferSize = size > kPdfBufferLimit ? kPdfBufferLimit : static_cast<uint32_t>(size);
  const int64_t start = FindStartXref(file, size);
  if (start < 0) return 0;

  scPdfIndex index;
  const int64_t info = ReadSections(file, size, start, bufferSize, index);
  if (info < 0 || info >= INT32_MAX) return 0;
  const int number = static_cast<int>(info);

  PdfDict dict;
  int64_t packed = 0;
  if (!index.offsets.contains(number) && index.packed.find(number, packed)) {
    try {
      ReadPdfPackedDictionary(file, index, number, packed, dict);
    } catch (const clsException& e) {
      Report(e);
    }
  } else if (!ReadPlainObject(file, size, index, number, bufferSize, dict)) {
    return 0;
  }
  if (dict.entries() == 0) return 0;

  doc.author = ValueText(dict, u"Author");
  doc.title = ValueText(dict, u"Title");
  doc.subject = ValueText(dict, u"Subject");
  doc.keywords = ValueText(dict, u"Keywords");
  if (dict.contains(String(u"CreationDate"))) doc.created = PdfDateToUtc(ValueText(dict, u"CreationDate"));
  if (dict.contains(String(u"ModDate"))) doc.lastSaved = PdfDateToUtc(ValueText(dict, u"ModDate"));
  return 0;
}

}  // namespace zx
