// The cross-reference of a PDF file as the information reader walks it: the
// classic table ("xref", one subsection, then "trailer"), the cross-reference
// stream of PDF 1.5 and later (W widths, Index subsections, FlateDecode with PNG
// predictors), and objects packed into object streams.
// Newer sections are read first and win: an object number already in the index
// keeps its entry.
// Errors: clsException with the reader's words ("premature end of xref", "bad
// xref count", "no xref", "no xref stream", "no object" ...); what was entered
// before stays.
// Threads: any; all state is the caller's.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "core/containers/WCSkipList.h"
#include "docinfo/PdfTokens.h"
#include "file/File.h"

namespace zx {

// All index entries of one file together: a crafted stream cannot grow the
// index without bound.
constexpr int kMaxPdfIndexEntries = 1 << 18;
// The reader's buffers: a section or an object is read 64 KiB at most.
constexpr uint32_t kPdfBufferLimit = 65536;

struct scPdfIndex {
  WCValSkipListDict<int, int64_t> offsets;  // object number -> file offset (free entries too)
  WCValSkipListDict<int, int64_t> packed;   // object number -> stream number << 32 | index
  std::vector<int64_t> streamSections;      // offsets of cross-reference streams: object ends too
  int entries = 0;

  bool Has(int number) const { return offsets.contains(number) || packed.contains(number); }
  void AddOffset(int number, int64_t offset);
  void AddPacked(int number, int64_t stream, int64_t at);
};

// The section at `c` (which begins at file offset `sectionPos`) into the index,
// its trailer (or stream dictionary) into `trailer`.
void ParsePdfXrefSection(clsFile& file, uint64_t sectionPos, scPdfCursor& c, scPdfIndex& index, PdfDict& trailer);

// Reads up to `limit` bytes at `pos` into `buffer` (resized to what was read).
bool ReadPdfBytes(clsFile& file, uint64_t pos, uint32_t limit, std::string& buffer);

// The dictionary of object `number` packed in object stream `packed` (as the
// index holds it) into `dict`.
void ReadPdfPackedDictionary(clsFile& file, const scPdfIndex& index, int number, int64_t packed, PdfDict& dict);

}  // namespace zx
