// The common load and the text format (format 0) with its INI path.
#include "prof/Load.h"

#include <cstring>
#include <new>
#include <string_view>

#include <zlib.h>

#include "core/diag/Diag.h"
#include "debug/Debug.h"
#include "file/File.h"
#include "prof/Compressed.h"
#include "prof/LoadException.h"
#include "prof/LoadParser.h"
#include "prof/Masking.h"
#include "prof/ProfJob.h"
#include "prof/ProfReader.h"

namespace zx {
namespace {

constexpr int32_t kErrParse = -7;
constexpr int32_t kErrMemory = -8;

// Holds the byte at offset 0 for the time of the load.
class ByteLock {
 public:
  explicit ByteLock(clsFile& f) : file_(f), node_(f.Lock(0, 1)) {}
  ~ByteLock() {
    if (node_) file_.Unlock(node_);
  }
  bool Held() const { return node_ != nullptr; }

 private:
  clsFile& file_;
  scFileLock* node_;
};

// The byte-order mark at offset 0 only (no guess from the content): 1 for FF FE,
// 2 for FE FF, 3 for EF BB BF, else 0. The position is left behind the mark.
int32_t ReadByteOrderMark(clsFile& file) {
  const uint64_t size = file.GetSize();
  if (size < 2 || size == kAllOnes64 || file.GetPos() != 0) return kUtfNone;
  uint8_t b[3] = {0, 0, 0};
  const uint32_t got = file.Read(b, size == 2 ? 2 : 3);
  if (got >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) return kUtf8;
  int32_t mark = kUtfNone;
  if (got >= 2 && b[0] == 0xFF && b[1] == 0xFE) mark = kUtf16LE;
  if (got >= 2 && b[0] == 0xFE && b[1] == 0xFF) mark = kUtf16BE;
  file.SetPos(mark == kUtfNone ? 0 : 2);
  return mark;
}

// Whether `line` (of `fullLength` units) is the start of `header` over its own length.
bool StartsHeader(const std::u16string& line, size_t fullLength, std::u16string_view header) {
  return fullLength <= header.size() && header.substr(0, line.size()) == line && line.size() == fullLength;
}

const char16_t* DiagFileName(const clsFile& file) { return file.Stream() ? u"(Stream)" : file.Name().wchar(); }

}  // namespace

int LoadProfileAt(clsProfJob& job, clsFile& file, int depth);
namespace {
int LoadCompressed(clsProfJob& job, clsFile& file, int depth);
}

// ---- the parser's frame loop and the text format

void clsLoadParser::Run(clsItemList* list, int32_t level, int32_t format) {
  frames_.assign(1, Frame{level, list, format});
  while (!frames_.empty()) {
    ++line;
    char16_t* text = reader_.NextLine();
    if (text == nullptr) return;  // the end of the data ends every level without an error
    const Frame f = frames_.back();
    switch (f.format) {
      case kProfFormatText: TextLine(text, f); break;
      case kProfFormatXml: XmlLine(text, f); break;
      default: XfdfLine(text, f); break;
    }
  }
}

bool clsLoadParser::RunIni(clsItemList* list) {
  for (;;) {
    ++line;
    const char16_t* text = reader_.NextLine();
    if (text == nullptr) return false;
    if (text[0] == u'[') break;  // the first section's name is dropped
  }
  fieldPath_.clear();
  Run(list, 0, kProfFormatText);
  return true;
}

void clsLoadParser::TextLine(char16_t* text, const Frame& f) {
  if (f.level < 0) {
    // Only the root's section line counts here, exactly "[/]".
    if (std::u16string_view(text) == std::u16string_view(u"[/]")) Replace(Frame{0, f.list, kProfFormatText});
    return;
  }
  switch (text[0]) {
    case u'#':
    case u';':
    case u'{': return;
    case u'}': Return(); return;
    case u'[': Enter(f.list, text, kWholeString, f); return;
    default: break;
  }
  char16_t* value = text;
  while (*value && *value != u'=') ++value;
  if (*value) *value++ = 0;
  prof::UnmaskTextName(text);
  prof::UnmaskTextValue(value);
  AppendValue(f.list, text, kWholeString, value, kWholeString);
}

void clsLoadParser::Enter(clsItemList* into, const char16_t* name, int64_t length, const Frame& f) {
  clsItemList* l = into->AppendNewList(name, length);
  if (l == nullptr) Fail(u"out of memory");
  frames_.push_back(Frame{f.level + 1, l, f.format});
}

void clsLoadParser::AppendValue(clsItemList* into, const char16_t* name, int64_t nameLength,
                                const char16_t* value, int64_t valueLength) {
  clsItem* item = new (&job_) clsItem(&job_, into);
  if (item != nullptr) {
    item->name = job_.MakeName(name, nameLength);
    item->value = job_.MakeValue(value, valueLength);
    if (item->name && item->value && into->AppendItem(item)) return;
    delete item;
  }
  Fail(u"out of memory");
}

void clsLoadParser::Fail(const char16_t* message) { throw clsLoadException(line, message, JoinedFieldPath()); }

String clsLoadParser::JoinedFieldPath() const {
  std::u16string joined;
  for (const String& name : fieldPath_) {
    if (!joined.empty()) joined += u'.';
    joined += name.View();
  }
  return String(std::u16string_view(joined));
}

// ---- the common load

int LoadProfile(clsProfJob& job, clsFile& file) { return LoadProfileAt(job, file, 0); }

namespace {

// The rest of `file` behind the magic, copied into memory and inflated from there
// into a temporary file that is then loaded as a whole (its content may be
// compressed again, up to a few times).
int LoadCompressed(clsProfJob& job, clsFile& file, int depth) {
  job.wasCompressed = true;
  if (depth >= prof::kMaxCompressedNesting) {
    DiagFormat(u"%s: compressed more than %d times inside itself", DiagFileName(file), prof::kMaxCompressedNesting);
    job.lastError = kErrParse;
    return 0;
  }
  prof::CompressedBytes packed;
  switch (prof::CopyRest(file, prof::kMaxCompressedRest, packed)) {
    case prof::kCopyTooLarge:
      DiagFormat(u"%s: the compressed data is longer than %d MiB; not loaded", DiagFileName(file),
                 static_cast<int>(prof::kMaxCompressedRest >> 20));
      job.lastError = kErrMemory;
      return 0;
    case prof::kCopyNoMemory:
      DiagFormat(u"%s: error '%s' in line %d", DiagFileName(file), u"out of memory", 0);
      job.lastError = kErrMemory;
      return 0;
    default: break;
  }
  clsFileRWTemp inner(String(u"PRF"), String(u"prf"));
  if (!inner.IsOpen()) {
    DiagFormat(u"%s: no temporary file for the inflated profile", DiagFileName(file));
    job.lastError = kErrMemory;
    return 0;
  }
  const prof::InflateResult inflated =
      prof::InflateProfile(packed.data.get(), packed.size, inner, prof::kMaxInflatedProfile);
  packed = prof::CompressedBytes();  // the parse needs the memory more
  switch (inflated) {
    case prof::kInflateInitFailed:
      DebugPrint(u"ERR: ZLIB init error '%d'", Z_MEM_ERROR);
      break;
    case prof::kInflateTooLarge:
      DiagFormat(u"%s: the compressed profile inflates to more than %d MiB; not loaded", DiagFileName(file),
                 static_cast<int>(prof::kMaxInflatedProfile >> 20));
      job.lastError = kErrMemory;
      return 0;
    case prof::kInflateWriteFailed:
      DiagFormat(u"%s: the inflated profile could not be written", DiagFileName(file));
      job.lastError = kErrMemory;
      return 0;
    default: break;  // damaged data: the parse judges what came out
  }
  if (inner.GetSize() == 0) {
    if (inflated == prof::kInflateOk) return 1;  // an empty profile
    DiagFormat(u"%s: the compressed data does not inflate", DiagFileName(file));
    job.lastError = kErrParse;
    return 0;
  }
  inner.SetPos(0);
  // What came out may be too short to be a profile at all: that is damaged data.
  const int loaded = LoadProfileAt(job, inner, depth + 1);
  if (loaded == 0 && job.lastError == 0) job.lastError = kErrParse;
  return loaded;
}

}  // namespace

int LoadProfileAt(clsProfJob& job, clsFile& file, int depth) {
  ByteLock lock(file);
  if (!lock.Held()) return 0;

  int32_t encoding;
  if (job.baseLevel == 0) {
    file.SetPos(0);
    char magic[4];
    if (file.Read(magic, 4) < 4) return 0;
    if (std::memcmp(magic, prof::kCompressedMagic, 4) == 0) return LoadCompressed(job, file, depth);
    file.SetPos(0);
    encoding = ReadByteOrderMark(file);
  } else {
    ReadByteOrderMark(file);
    encoding = kUtf16LE;  // stream objects are always UTF-16
  }

  clsProfReader reader(file, encoding);
  if (!reader.Ok()) {
    DiagFormat(u"%s: error '%s' in line %d", DiagFileName(file), u"out of memory", 0);
    job.lastError = kErrParse;
    return 0;
  }

  size_t fullLength = 0;
  const std::u16string first = reader.PeekLine(&fullLength);
  int32_t format = kProfFormatText;
  bool ini = false;
  if (fullLength == 0 || StartsHeader(first, fullLength, kXmlHeaderLine)) {
    format = kProfFormatXml;
  } else if (StartsHeader(first, fullLength, kXfdfHeaderLine)) {
    format = kProfFormatXfdf;
  } else if (job.rootList.name.View() == std::u16string_view(u"/") && first[0] == u'[' &&
             !(fullLength == 3 && first == u"[/]")) {
    ini = true;
  }

  clsLoadParser parser(job, reader);
  try {
    if (ini) {
      try {
        parser.RunIni(&job.rootList);
      } catch (const clsLoadException& e) {
        DiagFormat(u"INI: error '%s' in line %d", e.message.wchar(), static_cast<int>(e.line));
        job.lastError = kErrParse;
        return 0;
      }
    } else {
      parser.Run(&job.rootList, job.baseLevel - 1, format);
    }
  } catch (const clsLoadException& e) {
    DiagFormat(u"%s: error '%s' in line %d", DiagFileName(file), e.message.wchar(), static_cast<int>(e.line));
    job.lastError = kErrParse;
    return 0;
  } catch (const std::bad_alloc&) {
    DiagFormat(u"%s: error '%s' in line %d", DiagFileName(file), u"out of memory", static_cast<int>(parser.line));
    job.lastError = kErrParse;
    return 0;
  }
  return 1;
}

}  // namespace zx
