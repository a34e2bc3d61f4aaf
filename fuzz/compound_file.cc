// A whole file through the compound-file reader, the summary information reader
// and the stored-message reader; the same bytes also as a summary information
// stream of their own. Every storage's children are listed and every stream read.
#include <cstdint>
#include <memory>
#include <string>

#include "docinfo/CompoundMail.h"
#include "docinfo/PropertySet.h"
#include "fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  zx::scSummaryValue values[zx::kSummaryValueCount];
  zx::ParseSummaryInformation(bytes, values);

  zx::clsCompoundFile cf;
  if (cf.Open(std::make_unique<zx::clsMemorySource>(bytes)) != 0) return 0;
  zx::clsDocu doc(zx::String(u"fuzz.msg"), 0, 0, nullptr);
  zx::ReadPropertySetFrom(doc, cf);
  zx::ReadCompoundMailFrom(doc, cf);
  for (size_t i = 0; i < cf.EntryCount(); ++i) {
    const auto children = cf.Children(static_cast<int32_t>(i));
    if (children.size() > cf.EntryCount()) fuzzutil::Fail(__FILE__, __LINE__, "more children than entries");
    std::string stream;
    if (cf.ReadStream(static_cast<int32_t>(i), 1u << 20, &stream) && stream.size() != cf.Entry(i).size)
      fuzzutil::Fail(__FILE__, __LINE__, "stream size differs from its entry");
  }
  return 0;
}
