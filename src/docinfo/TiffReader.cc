#include "docinfo/TiffReader.h"

#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "core/diag/Diag.h"
#include "core/strings/CharsetConversion.h"
#include "docinfo/DocReaders.h"

namespace zx {
namespace {

enum : uint16_t {
  kTagImageWidth = 256,
  kTagImageLength = 257,
  kTagDocumentName = 269,
  kTagImageDescription = 270,
  kTagModel = 272,
  kTagDateTime = 306,
  kTagArtist = 315,
  kTagCopyright = 33432,
  kTagExposureTime = 33434,
  kTagFNumber = 33437,
  kTagExifIfd = 34665,
  kTagDateTimeOriginal = 36867,
  kTagSubjectDistance = 37382,
  kTagUserComment = 37510,
};

struct scTiffEntry {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  uint8_t value[4];  // in file order
};

// One file's walk: byte order, base offset and what is left of the bounds.
class clsTiffWalk {
 public:
  clsTiffWalk(clsDocu& doc, clsFile& file, bool bigEndian, uint64_t base)
      : m_doc(doc), m_file(file), m_big(bigEndian), m_base(base) {}

  // The directory at `offset` (from the base); the next one's offset, 0 at the
  // end, on an error or past a bound.
  uint32_t ReadDirectory(uint32_t offset, uint32_t depth);

 private:
  uint16_t U16(const uint8_t* p) const { return m_big ? uint16_t(p[0] << 8 | p[1]) : uint16_t(p[1] << 8 | p[0]); }
  uint32_t U32(const uint8_t* p) const {
    return m_big ? uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]
                 : uint32_t(p[3]) << 24 | uint32_t(p[2]) << 16 | uint32_t(p[1]) << 8 | p[0];
  }
  uint32_t IntegerValue(const scTiffEntry& e) const;
  String TextValue(const scTiffEntry& e);
  double RationalValue(const scTiffEntry& e);
  // Up to `count` bytes at `offset` from the base, within the value budget.
  std::string ReadAt(uint32_t offset, uint64_t count);
  void SetDate(const String& text, plat::SystemTime* target);
  void AppendComment(const char* text);

  clsDocu& m_doc;
  clsFile& m_file;
  bool m_big;
  uint64_t m_base;
  uint64_t m_valueBytesLeft = scTiffLimits::kValueBytes;
  std::set<uint32_t> m_seen;  // directories read, for loops
};

uint32_t clsTiffWalk::IntegerValue(const scTiffEntry& e) const {
  switch (e.type) {
    case 1: case 6: return e.value[0];
    case 3: case 8: return U16(e.value);
    case 4: case 9: return U32(e.value);
    default: return 0;
  }
}

std::string clsTiffWalk::ReadAt(uint32_t offset, uint64_t count) {
  const uint64_t size = m_file.GetSize();
  const uint64_t at = m_base + offset;
  if (at >= size) return {};
  if (count > size - at) count = size - at;             // a count past the end reads what is there
  if (count > m_valueBytesLeft) count = m_valueBytesLeft;
  m_valueBytesLeft -= count;
  std::string bytes(static_cast<size_t>(count), '\0');
  if (count == 0 || m_file.SetPos(at) != at) return {};
  bytes.resize(m_file.Read(bytes.data(), static_cast<uint32_t>(count)));
  return bytes;
}

String clsTiffWalk::TextValue(const scTiffEntry& e) {
  if (e.type != 2) return String();
  std::string bytes = e.count > 4 ? ReadAt(U32(e.value), e.count)
                                  : std::string(reinterpret_cast<const char*>(e.value), e.count);
  // ASCII values end with a zero byte that is counted; the text ends there.
  return StringFromNarrow(bytes.c_str(), static_cast<int64_t>(strnlen(bytes.c_str(), bytes.size())),
                          String::DefaultCodePage());
}

double clsTiffWalk::RationalValue(const scTiffEntry& e) {
  if (e.type != 5 && e.type != 10) {
    DiagLine(u"bad TIFF data type");
    return 0;
  }
  // Only the first rational is used; a signed one is read with half the bytes
  // its count asks for, so a count of 1 brings its numerator alone.
  const uint64_t want = e.type == 5 ? uint64_t(e.count) * 8 : uint64_t(e.count) * 4;
  const std::string bytes = ReadAt(U32(e.value), want < 8 ? want : 8);
  if (bytes.size() < 8) return 0;
  const auto* p = reinterpret_cast<const uint8_t*>(bytes.data());
  const uint32_t num = U32(p), den = U32(p + 4);
  if (den == 0) return 0;
  if (e.type == 5) return double(num) / double(den);
  return double(int32_t(num)) / double(int32_t(den));
}

// "YYYY:MM:DD hh:mm:ss" at the start of the text (ASCII digits), as the
// expression ^(\d{4}):(\d{2}):(\d{2}) (\d{2}):(\d{2}):(\d{2}) takes it.
void clsTiffWalk::SetDate(const String& text, plat::SystemTime* target) {
  static constexpr char kForm[] = "dddd:dd:dd dd:dd:dd";
  const std::u16string_view s = text.View();
  if (s.size() < sizeof kForm - 1) return;
  for (size_t i = 0; i < sizeof kForm - 1; ++i) {
    const bool digit = s[i] >= u'0' && s[i] <= u'9';
    if (kForm[i] == 'd' ? !digit : s[i] != char16_t(kForm[i])) return;
  }
  auto number = [&](size_t at, size_t n) {
    uint16_t v = 0;
    for (size_t i = 0; i < n; ++i) v = uint16_t(v * 10 + (s[at + i] - u'0'));
    return v;
  };
  *target = plat::SystemTime{number(0, 4), number(5, 2), 0xFFFF, number(8, 2),
                             number(11, 2), number(14, 2), number(17, 2), 0};
}

void clsTiffWalk::AppendComment(const char* text) {
  String comments = m_doc.comments.Text();
  comments.Append(String(StringFromNarrow(text, -1, 1252)), String(u", "));
  m_doc.comments = comments;
}

uint32_t clsTiffWalk::ReadDirectory(uint32_t offset, uint32_t depth) {
  if (offset == 0) return 0;
  if (m_seen.size() >= scTiffLimits::kDirectories || !m_seen.insert(offset).second) return 0;
  const uint64_t at = m_base + offset;
  if (m_file.SetPos(at) != at) {
    DiagLine(u"Seek error accessing TIFF directory");
    return 0;
  }
  uint8_t word[4];
  if (m_file.Read(word, 2) != 2) {
    DiagLine(u"read error directory count");
    return 0;
  }
  const uint32_t count = U16(word);
  std::vector<uint8_t> raw(size_t(count) * 12);   // at most 786,420 bytes
  const uint32_t got = count ? m_file.Read(raw.data(), uint32_t(raw.size())) : 0;
  const uint32_t whole = got / 12;
  if (whole < count)
    DiagFormat(u"Could only read %u of %u entries in directory at offset %#lx", whole, count,
               static_cast<unsigned long>(offset));
  uint32_t next = 0;
  if (whole == count && m_file.Read(word, 4) == 4) next = U32(word);

  uint32_t width = 0, height = 0;
  for (uint32_t i = 0; i < whole; ++i) {
    const uint8_t* p = raw.data() + size_t(i) * 12;
    scTiffEntry e{U16(p), U16(p + 2), U32(p + 4), {p[8], p[9], p[10], p[11]}};
    char buf[64];
    switch (e.tag) {
      case kTagImageWidth: width = IntegerValue(e); break;
      case kTagImageLength: height = IntegerValue(e); break;
      case kTagDocumentName: m_doc.title = TextValue(e); break;
      case kTagImageDescription: m_doc.subject = TextValue(e); break;
      case kTagModel: {
        String author = m_doc.author.Text();
        author.Append(TextValue(e), String(u", "));
        m_doc.author = author;
        break;
      }
      case kTagDateTime:
      case kTagDateTimeOriginal: SetDate(TextValue(e), &m_doc.created); break;
      case kTagArtist: m_doc.author = TextValue(e); break;
      case kTagCopyright: m_doc.comments = TextValue(e); break;
      case kTagExposureTime: {
        const double t = RationalValue(e);
        if (t > 0) {
          if (t >= 1) std::snprintf(buf, sizeof buf, "t=%.2g s", t);
          else std::snprintf(buf, sizeof buf, "t=1/%.0f s", 1 / t);
          AppendComment(buf);
        }
        break;
      }
      case kTagFNumber: {
        const double f = RationalValue(e);
        if (f > 0) {
          std::snprintf(buf, sizeof buf, "f=%.1g", f);
          AppendComment(buf);
        }
        break;
      }
      case kTagSubjectDistance: {
        const double d = RationalValue(e);
        if (d > 0) {
          std::snprintf(buf, sizeof buf, "d=%.3g m", d);
          AppendComment(buf);
        }
        break;
      }
      case kTagExifIfd:
        // Only inside a JPEG's EXIF block; the directory's own position is
        // where the walk goes on afterwards.
        if (m_base != 0 && depth < scTiffLimits::kExifDepth) ReadDirectory(IntegerValue(e), depth + 1);
        break;
      case kTagUserComment:
        if (m_doc.subject.Text().IsEmpty()) m_doc.subject = TextValue(e);
        break;
      default: break;
    }
  }
  if (uint32_t(width * height) != 0) {
    char buf[64];
    const bool empty = m_doc.comments.Text().IsEmpty();
    // Behind other text the size keeps a separator of its own: "..., , (w * h px)".
    std::snprintf(buf, sizeof buf, empty ? "(%d * %d px)" : ", (%d * %d px)", int32_t(width), int32_t(height));
    AppendComment(buf);
  }
  return next;
}

}  // namespace

int ReadTiff(clsDocu& doc, clsFile& file, uint64_t base) {
  uint8_t head[8];
  if (file.SetPos(base) != base || file.Read(head, 8) != 8) {
    DiagLine(u"error reading header");
    return -1;
  }
  const uint16_t order = uint16_t(head[0] | head[1] << 8);
  if (order != 0x4949 && order != 0x4D4D) {
    DiagFormat(u"Not a TIFF file, bad magic number %u (%#x)", unsigned(order), unsigned(order));
    return -1;
  }
  clsTiffWalk walk(doc, file, order == 0x4D4D, base);
  const bool big = order == 0x4D4D;
  const uint16_t version = big ? uint16_t(head[2] << 8 | head[3]) : uint16_t(head[3] << 8 | head[2]);
  if (version != 42) {
    DiagFormat(u"Not a TIFF file, bad version number %u (%#x)", unsigned(order), unsigned(order));
    return -1;
  }
  uint32_t offset = big ? uint32_t(head[4]) << 24 | uint32_t(head[5]) << 16 | uint32_t(head[6]) << 8 | head[7]
                        : uint32_t(head[7]) << 24 | uint32_t(head[6]) << 16 | uint32_t(head[5]) << 8 | head[4];
  if (offset == 0) return 0;
  offset = walk.ReadDirectory(offset, 0);
  // The chain of a plain TIFF file; loops and its length are bounded by the walk.
  while (base == 0 && offset != 0) offset = walk.ReadDirectory(offset, 0);
  return 0;
}

int ReadTiffInfo(clsDocu& doc, clsFile& file) { return ReadTiff(doc, file, 0); }

}  // namespace zx
