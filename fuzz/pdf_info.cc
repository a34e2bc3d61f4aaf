// Arbitrary bytes as a whole PDF file through the information reader, behind an
// in-memory stream: it returns 0, never crashes or hangs, and whatever it sets
// is a string (or empty) and a date that is unset or a calendar date.
#include <cstdint>

#include "docinfo/DocReaders.h"
#include "fuzz_util.h"
#include "text/Date.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zx::clsFileRWTempStream file;
  file.SetDeleteOnRelease(false);
  if (size && file.Write(data, static_cast<uint32_t>(size)) != size) return 0;
  zx::clsDocu doc(zx::String(u"fuzz.pdf"), 0, 0, nullptr);
  FUZZ_CHECK(zx::ReadPdfInfo(doc, file) == 0);
  for (const zx::clsVariant* v : {&doc.title, &doc.author, &doc.subject, &doc.keywords})
    FUZZ_CHECK(v->vt == VT_EMPTY || v->vt == VT_BSTR);
  for (const plat::SystemTime* t : {&doc.created, &doc.lastSaved})
    FUZZ_CHECK(zx::IsUnsetTime(*t) || (zx::clsDate(t->year, t->month, t->day).IsValid() && t->hour < 24 &&
                                       t->minute < 60 && t->second < 60));
  return 0;
}
