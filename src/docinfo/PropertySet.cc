#include "docinfo/PropertySet.h"

#include <cstring>

#include "core/strings/CharsetConversion.h"
#include "docinfo/CompoundStorage.h"
#include "docinfo/DocTime.h"
#include "text/Date.h"

namespace zx {

const scSummaryName kSummaryNames[kSummaryValueCount] = {
    {u"Title", 2},        {u"Subject", 3},       {u"Author", 4},          {u"Keywords", 5},
    {u"Comments", 6},     {u"Template", 7},      {u"LastAuthor", 8},      {u"Revision Number", 9},
    {u"Edit Time", 10},   {u"Last printed", 11}, {u"Created", 12},        {u"Last Saved", 13},
    {u"Word Count", 15},  {u"Char Count", 16},   {u"Thumbnail", 17},      {u"Page Count", 14},
    {u"AppName", 18},     {u"Doc Security", 19},
};

namespace {

constexpr uint8_t kSummaryFmtid[16] = {0xE0, 0x85, 0x9F, 0xF2, 0xF9, 0x4F, 0x68, 0x10,
                                       0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9};
constexpr uint32_t kCodePageId = 1;
constexpr uint32_t kUtf16CodePage = 1200;
// A summary information stream is a few KiB; a thumbnail may make it larger.
constexpr uint64_t kStreamLimit = 16u << 20;

uint16_t U16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
uint32_t U32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}
uint64_t U64(const uint8_t* p) { return U32(p) | static_cast<uint64_t>(U32(p + 4)) << 32; }

String Utf16Text(const uint8_t* p, size_t chars) {
  std::u16string s;
  for (size_t i = 0; i < chars; ++i) {
    const char16_t c = static_cast<char16_t>(U16(p + 2 * i));
    if (c == 0) break;
    s.push_back(c);
  }
  return String(std::u16string_view(s));
}

// The value behind a type word: `p` at the value, `avail` bytes up to the end of
// the stream. False when it runs past the end.
bool ReadValue(uint16_t type, const uint8_t* p, size_t avail, uint32_t codePage, scSummaryValue* v) {
  v->type = type;
  switch (type) {
    case 2:
      if (avail < 2) return false;
      v->text = String(kFormat, u"%d", static_cast<int>(static_cast<int16_t>(U16(p))));
      return true;
    case 3:
      if (avail < 4) return false;
      v->text = String(kFormat, u"%d", static_cast<int>(static_cast<int32_t>(U32(p))));
      return true;
    case 4: {
      if (avail < 4) return false;
      float f;
      const uint32_t bits = U32(p);
      std::memcpy(&f, &bits, 4);
      v->text = String(kFormat, u"%g", static_cast<double>(f));
      return true;
    }
    case 5: {
      if (avail < 8) return false;
      double d;
      const uint64_t bits = U64(p);
      std::memcpy(&d, &bits, 8);
      v->text = String(kFormat, u"%g", d);
      return true;
    }
    case 8:     // a string in the set's code page, as type 30
    case 30: {
      if (avail < 4) return false;
      const uint32_t size = U32(p);
      if (size > avail - 4) return false;
      v->text = codePage == kUtf16CodePage
                    ? Utf16Text(p + 4, size / 2)
                    : StringFromNarrow(reinterpret_cast<const char*>(p + 4), size, codePage);
      return true;
    }
    case 31: {
      if (avail < 4) return false;
      const uint32_t chars = U32(p);
      if (chars > (avail - 4) / 2) return false;
      v->text = Utf16Text(p + 4, chars);
      return true;
    }
    case 11:
      if (avail < 2) return false;
      v->text = String(U16(p) != 0 ? u"true" : u"false");
      return true;
    case 18:
      if (avail < 2) return false;
      v->text = String(kFormat, u"%u", static_cast<unsigned>(U16(p)));
      return true;
    case 19:
      if (avail < 4) return false;
      v->text = String(kFormat, u"%u", static_cast<unsigned>(U32(p)));
      return true;
    case 64:
      if (avail < 8) return false;
      v->fileTime = U64(p);
      return true;
    default:    // the empty text
      return true;
  }
}

}  // namespace

bool ParseSummaryInformation(std::string_view stream, scSummaryValue (&values)[kSummaryValueCount]) {
  for (scSummaryValue& v : values) v = scSummaryValue{};
  const auto* s = reinterpret_cast<const uint8_t*>(stream.data());
  const size_t n = stream.size();
  if (n < 28 || U16(s) != 0xFFFE) return false;
  const uint32_t sets = U32(s + 24);
  size_t setOffset = 0;
  bool found = false;
  for (uint32_t i = 0; i < sets && 28 + (i + 1) * size_t{20} <= n; ++i) {
    const uint8_t* entry = s + 28 + i * size_t{20};
    if (std::memcmp(entry, kSummaryFmtid, 16) == 0) {
      setOffset = U32(entry + 16);
      found = true;
      break;
    }
  }
  if (!found || setOffset > n || n - setOffset < 8) return false;
  const uint8_t* set = s + setOffset;
  const size_t setAvail = n - setOffset;
  const uint32_t count = U32(set + 4);
  const size_t pairs = std::min<size_t>(count, (setAvail - 8) / 8);
  // Where each property stands; the code page first, as the strings need it.
  auto offsetOf = [&](uint32_t id) -> size_t {
    for (size_t k = 0; k < pairs; ++k)
      if (U32(set + 8 + 8 * k) == id) return U32(set + 12 + 8 * k);
    return 0;
  };
  uint32_t codePage = 0;
  if (size_t at = offsetOf(kCodePageId); at >= 8 && at <= setAvail - 6 && U16(set + at) == 2)
    codePage = U16(set + at + 4);
  for (size_t i = 0; i < kSummaryValueCount; ++i) {
    const size_t at = offsetOf(kSummaryNames[i].id);
    if (at < 8 || at > setAvail - 4) continue;
    scSummaryValue v;
    if (ReadValue(U16(set + at), set + at + 4, setAvail - at - 4, codePage, &v)) values[i] = std::move(v);
  }
  return true;
}

void ApplySummaryValues(clsDocu& doc, const scSummaryValue (&values)[kSummaryValueCount]) {
  for (size_t i = 0; i < kSummaryValueCount; ++i) {
    const scSummaryValue& v = values[i];
    if (v.type == 0) continue;
    plat::SystemTime t = kUnsetSystemTime;
    if (v.type == 64 && !FileTimeToUtc(v.fileTime, &t)) t = kUnsetSystemTime;
    switch (kSummaryNames[i].id) {
      case 2: doc.title = v.text; break;
      case 3: doc.subject = v.text; break;
      case 4: doc.author = v.text; break;
      case 5: doc.keywords = v.text; break;
      case 6: doc.comments = v.text; break;
      case 8: doc.lastAuthor = v.text; break;
      case 12: doc.created = t; break;
      case 13: doc.lastSaved = t; break;
      default: break;
    }
  }
}

int ReadPropertySetFrom(clsDocu& doc, clsCompoundFile& storage) {
  const int32_t entry = storage.FindChild(storage.Root(), u"\005SummaryInformation");
  std::string bytes;
  if (entry < 0 || !storage.ReadStream(entry, kStreamLimit, &bytes)) return -1;
  scSummaryValue values[kSummaryValueCount];
  if (!ParseSummaryInformation(bytes, values)) return -1;
  ApplySummaryValues(doc, values);
  return 0;
}

int ReadPropertySetInfo(clsDocu& doc, const String& path) {
  return ReadCompoundStorage(path, [&](clsCompoundFile& storage) { return ReadPropertySetFrom(doc, storage); });
}

}  // namespace zx
