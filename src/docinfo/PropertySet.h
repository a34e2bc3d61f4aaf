// The summary information property set ("\005SummaryInformation", format
// identifier {F29F85E0-4FF9-1068-AB91-08002B27B3D9}) of a compound file: its
// 18 values with their types, and the document's properties and dates made of
// them. Narrow strings are read in the code page that the set names (property
// 1), or the default narrow code page when it names none.
// Errors: a stream that is not a property set, or lacks this set, fails (-1)
// and sets nothing; a value that runs past its stream is left out.
// Threads: any; nothing shared.
//
//   clsDocu doc(path, 0, 0, nullptr);
//   if (ReadPropertySetInfo(doc, path) == 0) ... doc.title, doc.created ...
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "docinfo/CompoundFile.h"
#include "docinfo/Docu.h"

namespace zx {

constexpr size_t kSummaryValueCount = 18;

struct scSummaryName {
  const char16_t* name;
  uint32_t id;
};
// The 18 names and identifiers, in the order in which they are asked for.
extern const scSummaryName kSummaryNames[kSummaryValueCount];

// One value: its type (0 for a property the set lacks), its text by type, and
// for type 64 (a file time) the time.
struct scSummaryValue {
  uint16_t type = 0;
  String text;
  uint64_t fileTime = 0;
};

// The 18 values of a summary information stream, in the order of kSummaryNames.
// False when the stream holds no summary information set.
bool ParseSummaryInformation(std::string_view stream, scSummaryValue (&values)[kSummaryValueCount]);

// The values into the document: texts into the six properties, identifiers 12
// and 13 into `created` and `lastSaved`; empty values leave their target alone.
void ApplySummaryValues(clsDocu& doc, const scSummaryValue (&values)[kSummaryValueCount]);

// The summary information of an open compound file into the document: 0, or -1
// when the file has no readable summary information set.
int ReadPropertySetFrom(clsDocu& doc, clsCompoundFile& storage);

// The reader of the table (DocReaders.h): opens the storage (a copy when the
// file is held), reads the set. 0 or negative.
int ReadPropertySetInfo(clsDocu& doc, const String& path);

}  // namespace zx
