// The compressed profile form: the bytes after "PRZB" go through the loader (a
// raw deflate stream that may be damaged, cut, or hold a profile compressed
// again) and through the inflater with a small bound. Checks: the load returns 0
// or 1, and 0 only with a code; the inflater never writes past its bound.
#include <cstdint>
#include <string>

#include "fuzz_util.h"

#include "file/File.h"
#include "prof/Compressed.h"
#include "prof/Load.h"
#include "prof/Prof.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 1 << 14) return 0;  // at most ~16 MB inflated: deflate's ratio is bounded
  const std::string bytes = "PRZB" + std::string(reinterpret_cast<const char*>(data), size);
  {
    zx::clsFileRWTempStream in, out;
    in.Write(bytes.data() + 4, static_cast<uint32_t>(size));
    in.SetPos(0);
    const uint64_t bound = 1 << 16;
    const zx::prof::InflateResult r = zx::prof::InflateProfile(in, out, bound);
    FUZZ_CHECK(out.GetSize() <= bound);
    FUZZ_CHECK(r != zx::prof::kInflateTooLarge || out.GetSize() == bound);
  }
  zx::clsProfJob* job = zx::clsProfJob::Create(0);
  if (job == nullptr) return 0;
  zx::clsFileRWTempStream file;
  file.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
  file.SetPos(0);
  const int loaded = zx::LoadProfile(*job, file);
  FUZZ_CHECK(loaded == 0 || loaded == 1);
  FUZZ_CHECK(job->wasCompressed);
  job->Release();
  return 0;
}
