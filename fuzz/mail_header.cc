// The mail header reader on an arbitrary file: the header block, the field scan,
// the address tokeniser, encoded words and dates. The reader always answers 0,
// and what it sets is a string variant or a date that passed its range check.
#include <string>

#include "docinfo/DocReaders.h"
#include "docinfo/Docu.h"
#include "file/File.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zx::clsFileRWTempStream file;
  if (size) file.Write(data, static_cast<uint32_t>(size));
  file.SetPos(0);
  zx::clsDocu doc(zx::String(u"fuzz.eml"), 0, 0, nullptr);
  FUZZ_CHECK(zx::ReadMailInfo(doc, file) == 0);
  for (const zx::clsVariant* v : {&doc.author, &doc.lastAuthor, &doc.title}) FUZZ_CHECK(v->vt == 0 || v->vt == 8);
  FUZZ_CHECK(doc.subject.vt == 0 && doc.keywords.vt == 0 && doc.comments.vt == 0);
  FUZZ_CHECK(zx::IsUnsetTime(doc.lastSaved));
  const plat::SystemTime& t = doc.created;
  FUZZ_CHECK(zx::IsUnsetTime(t) || (t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= 31 && t.hour <= 24 &&
                                    t.minute <= 59 && t.second <= 59));
  return 0;
}
