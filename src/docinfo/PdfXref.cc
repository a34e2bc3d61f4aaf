#include "docinfo/PdfXref.h"

#include <algorithm>
#include <cstring>

#include "docinfo/DocException.h"
#include "docinfo/PdfStream.h"

namespace zx {
namespace {

bool IsScanWhite(uint8_t c) { return IsPdfWhite(c) || c == '\v' || c == '\f'; }

bool ScanInt(const uint8_t*& q, const uint8_t* end, int64_t* value) {
  while (q < end && IsScanWhite(*q)) ++q;
  scPdfCursor c(q, static_cast<size_t>(end - q));
  if (!ReadPdfInteger(c, value)) return false;
  q = c.p;
  return true;
}

// One table entry as "%d %d %c" reads it: the number of fields and the length used.
int ScanEntry(const uint8_t* p, const uint8_t* end, int64_t* offset, size_t* used) {
  const uint8_t* q = p;
  int64_t generation = 0;
  if (!ScanInt(q, end, offset)) return 0;
  if (!ScanInt(q, end, &generation)) return 1;
  while (q < end && IsScanWhite(*q)) ++q;
  if (q >= end) return 2;
  ++q;  // the type character: free entries go in like others
  *used = static_cast<size_t>(q - p);
  return 3;
}

int ClampNumber(int64_t n) { return static_cast<int>(std::clamp<int64_t>(n, INT32_MIN, INT32_MAX)); }

void ParseClassic(scPdfCursor& c, scPdfIndex& index, PdfDict& trailer) {
  c.p += 4;
  c.SkipWhite();
  if (c.AtEnd()) throw clsException(u"premature end of xref");
  int64_t first = 0, count = 0;
  ReadPdfInteger(c, &first);
  ReadPdfInteger(c, &count);
  int number = ClampNumber(first);
  for (;;) {
    int64_t offset = 0;
    size_t used = 0;
    if (ScanEntry(c.p, c.end, &offset, &used) != 3) break;
    if (count-- == 0) break;  // the count is now -1
    index.AddOffset(number++, offset);
    c.p += used;
    c.SkipWhite();
    if (c.AtEnd()) throw clsException(u"premature end of xref");
  }
  if (count != 0) throw clsException(u"bad xref count");
  ParsePdfDictionary(c, "trailer", trailer);
}

// Integers of an array's text ("1 2 1").
std::vector<int64_t> ArrayNumbers(const PdfDict& dict, const char16_t* key) {
  std::vector<int64_t> numbers;
  clsVariant v;
  if (!dict.find(String(key), v) || v.vt != VT_BSTR) return numbers;
  const std::string text = v.Text().narrow();
  scPdfCursor c(text.data(), text.size());
  int64_t n = 0;
  while (numbers.size() < 4096 && ReadPdfInteger(c, &n)) numbers.push_back(n);
  return numbers;
}

bool NameIs(const PdfDict& dict, const char16_t* key, const char16_t* name) {
  String text;
  return PdfValueText(dict, key, &text) && text == String(name);
}

// Behind the dictionary: "stream", an optional carriage return, a line feed.
void SkipToStreamData(scPdfCursor& c, const char16_t* missing) {
  c.SkipWhite();
  if (!c.At("stream")) throw clsException(missing);
  c.p += 6;
  if (c.Peek() == '\r') ++c.p;
  if (c.Peek() != '\n') throw clsException(u"no xref");
  ++c.p;
}

void ParseStream(clsFile& file, uint64_t sectionPos, scPdfCursor& c, scPdfIndex& index, PdfDict& trailer) {
  int64_t number = 0, generation = 0;
  if (!ReadPdfInteger(c, &number) || !ReadPdfInteger(c, &generation)) throw clsException(u"no xref");
  PdfDict parms;
  ParsePdfDictionary(c, "obj", trailer, &parms);
  if (!trailer.contains(String(u"Length")) || !NameIs(trailer, u"Type", u"XRef")) throw clsException(u"no xref");
  SkipToStreamData(c, u"no xref stream");
  index.streamSections.push_back(static_cast<int64_t>(sectionPos));

  const std::vector<int64_t> w = ArrayNumbers(trailer, u"W");
  if (w.size() != 3 || std::any_of(w.begin(), w.end(), [](int64_t x) { return x < 0 || x > 8; }))
    throw clsException(u"no xref");
  std::vector<int64_t> ranges = ArrayNumbers(trailer, u"Index");
  if (ranges.empty()) {
    int64_t size = 0;
    if (!PdfValueNumber(trailer, u"Size", &size)) throw clsException(u"no xref");
    ranges = {0, size};
  }
  if (ranges.size() % 2 != 0) throw clsException(u"no xref");
  const size_t rowBytes = static_cast<size_t>(w[0] + w[1] + w[2]);
  if (rowBytes == 0) return;

  size_t range = 0;
  int64_t next = ranges[0], left = ranges[1];
  uint8_t row[24];
  size_t fill = 0;
  auto field = [&](size_t from, int64_t width, int64_t fallback) {
    if (width == 0) return fallback;
    uint64_t v = 0;
    for (int64_t i = 0; i < width; ++i) v = v << 8 | row[from + static_cast<size_t>(i)];
    return static_cast<int64_t>(v);
  };
  auto takeRow = [&]() -> bool {  // false: every subsection is done
    while (left <= 0) {
      range += 2;
      if (range >= ranges.size()) return false;
      next = ranges[range];
      left = ranges[range + 1];
    }
    const int64_t type = field(0, w[0], 1);
    const int64_t f2 = field(static_cast<size_t>(w[0]), w[1], 0);
    const int64_t f3 = field(static_cast<size_t>(w[0] + w[1]), w[2], 0);
    const int objectNumber = ClampNumber(next);
    if (type == 0 || type == 1)
      index.AddOffset(objectNumber, f2);
    else if (type == 2)
      index.AddPacked(objectNumber, f2, f3);
    ++next;
    --left;
    return true;
  };
  DecodePdfStream(file, sectionPos + c.Offset(), trailer, parms, [&](const uint8_t* p, size_t n) {
    while (n > 0) {
      const size_t take = std::min(n, rowBytes - fill);
      std::memcpy(row + fill, p, take);
      fill += take;
      p += take;
      n -= take;
      if (fill < rowBytes) break;
      fill = 0;
      if (!takeRow()) return false;
    }
    return true;
  });
}

}  // namespace

// Every entry counts toward the limit, also one that an older section shadows.
void scPdfIndex::AddOffset(int number, int64_t offset) {
  if (++entries > kMaxPdfIndexEntries) throw clsException(u"xref too large");
  if (packed.contains(number)) return;
  offsets.insert(number, offset);
}

void scPdfIndex::AddPacked(int number, int64_t stream, int64_t at) {
  if (++entries > kMaxPdfIndexEntries) throw clsException(u"xref too large");
  if (offsets.contains(number)) return;
  packed.insert(number, static_cast<int64_t>(static_cast<uint64_t>(stream & 0xFFFFFFFF) << 32 | (at & 0xFFFFFFFF)));
}

void ParsePdfXrefSection(clsFile& file, uint64_t sectionPos, scPdfCursor& c, scPdfIndex& index, PdfDict& trailer) {
  if (c.At("xref")) {
    ParseClassic(c, index, trailer);
    return;
  }
  ParseStream(file, sectionPos, c, index, trailer);
}

bool ReadPdfBytes(clsFile& file, uint64_t pos, uint32_t limit, std::string& buffer) {
  buffer.resize(limit);
  if (file.SetPos(pos) != pos) return false;
  buffer.resize(limit == 0 ? 0 : file.Read(buffer.data(), limit));
  return true;
}

void ReadPdfPackedDictionary(clsFile& file, const scPdfIndex& index, int number, int64_t packed, PdfDict& dict) {
  const int stream = static_cast<int>(static_cast<uint64_t>(packed) >> 32);
  int64_t offset = 0;
  std::string buffer;
  if (!index.offsets.find(stream, offset) || offset < 0 || !ReadPdfBytes(file, static_cast<uint64_t>(offset), kPdfBufferLimit, buffer))
    throw clsException(u"no object stream %d", stream);
  scPdfCursor c(buffer.data(), buffer.size());
  PdfDict head, parms;
  ParsePdfDictionary(c, "obj", head, &parms);
  int64_t count = 0, first = 0;
  if (!NameIs(head, u"Type", u"ObjStm") || !PdfValueNumber(head, u"N", &count) || !PdfValueNumber(head, u"First", &first) ||
      first < 0 || first > kPdfBufferLimit || count < 0)
    throw clsException(u"no object stream %d", stream);
  SkipToStreamData(c, u"no object stream");

  // The header (pairs of object number and offset) first, then the object's bytes.
  std::string header, object;
  int64_t start = -1, stop = -1, at = 0;
  auto locate = [&]() {
    scPdfCursor h(header.data(), header.size());
    std::vector<int64_t> pairs;
    int64_t n = 0;
    while (pairs.size() < static_cast<size_t>(count) * 2 && ReadPdfInteger(h, &n)) pairs.push_back(n);
    for (size_t i = 0; i + 1 < pairs.size(); i += 2) {
      if (pairs[i] != number) continue;
      start = first + pairs[i + 1];
      stop = i + 3 < pairs.size() ? first + pairs[i + 3] : INT64_MAX;
      break;
    }
    if (start < first || stop < start || start > int64_t{32} << 20) throw clsException(u"no object %d in stream %d", number, stream);
    stop = std::min<int64_t>(stop, start + kPdfBufferLimit);
  };
  DecodePdfStream(file, static_cast<uint64_t>(offset) + c.Offset(), head, parms, [&](const uint8_t* p, size_t n) {
    const int64_t end = at + static_cast<int64_t>(n);
    if (at < first) header.append(reinterpret_cast<const char*>(p), static_cast<size_t>(std::min(end, first) - at));
    if (start < 0 && end >= first) locate();
    if (start >= 0 && end > start && at < stop) {
      const int64_t from = std::max(at, start), to = std::min(end, stop);
      object.append(reinterpret_cast<const char*>(p + (from - at)), static_cast<size_t>(to - from));
    }
    at = end;
    return start < 0 || at < stop;
  });
  if (start < 0 && static_cast<int64_t>(header.size()) == first) locate();
  scPdfCursor o(object.data(), object.size());
  ParsePdfDictionary(o, nullptr, dict);
}

}  // namespace zx
