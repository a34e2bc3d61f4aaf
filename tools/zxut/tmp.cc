// zxut tmp sweep --dry-run: what the temporary-file manager's housekeeping would
// delete from the product's temporary folder, and whether it would run now.
#include <cstdio>
#include <cstring>
#include <string>

#include "command.h"
#include "file/FileAttributes.h"
#include "platform/file.h"
#include "tempfile/TempFileRemover.h"
#include "text.h"

int RunTmp(int argc, char** argv);

namespace {

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"tmp", "what the housekeeping of the temporary folder would delete",
     "usage: zxut tmp sweep --dry-run\n"
     "  lists the library's files in the temporary folder that a sweep would delete,\n"
     "  and whether a process starting now would sweep\n",
     &RunTmp});

int UsageError() { return zxut::UsageError("tmp"); }

std::string Text(const zx::String& s) { return Utf8(std::u16string(s.View())); }

}  // namespace

int RunTmp(int argc, char** argv) {
  if (argc != 2 || std::strcmp(argv[0], "sweep") != 0 || std::strcmp(argv[1], "--dry-run") != 0)
    return UsageError();
  const zx::String activity = zx::clsTempFileRemover::ProductActivityFile();
  const uint64_t now = plat::FileTimeNow();
  plat::FileInfo info;
  std::printf("activity file %s\n", Text(activity).c_str());
  if (!zx::ReadFileAttributes(activity, &info)) {
    std::printf("  absent: a process starting now would sweep\n");
  } else {
    const uint64_t minutes = now > info.lastWrite ? (now - info.lastWrite) / 600000000ull : 0;
    std::printf("  last written %llu minutes ago: a process starting now would %s\n",
                static_cast<unsigned long long>(minutes),
                info.lastWrite + zx::clsTempFileRemover::kIdleForSweep < now ? "sweep"
                                                                            : "not sweep (another run was active within 3 hours)");
  }
  const auto names = zx::clsTempFileRemover::SweepCandidates(activity, {});
  std::printf("files older than one hour that a sweep deletes: %zu\n", names.size());
  for (const zx::String& name : names) std::printf("  %s\n", Text(name).c_str());
  return 0;
}
