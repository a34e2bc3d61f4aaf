// Profiles through the clipboard: the serialised bytes under the registered
// format "ZrkProfCBFormat", and a marker text under the standard text format.
#include <string>

#include "file/File.h"
#include "platform/clipboard.h"
#include "prof/Load.h"
#include "prof/Prof.h"
#include "prof/ProfWriter.h"
#include "profdata/ProfData.h"

namespace zx::prof {
namespace {

uint32_t ProfileFormat() {
  static const uint32_t id = plat::ClipboardRegister(u"ZrkProfCBFormat");
  return id;
}

// A wide text placed in the narrow format, as readers of the format expect it.
constexpr char16_t kAvailableText[] = u"PROF data available";

}  // namespace

int32_t SaveToClipboard(clsProfJob* job, void* window, uint32_t flags) {
  if (job == nullptr) return kOk;
  std::string image;
  if (!SerializeProfile(*job, FormatOfFlags(flags & 0xF), image)) return kErrWrite;
  plat::ClipboardSession clipboard(window);
  if (!clipboard.IsOpen()) return kOk;  // the clipboard's own failures are not the caller's
  clipboard.Put(ProfileFormat(), image.data(), image.size());
  clipboard.Put(plat::kClipboardText, kAvailableText, sizeof kAvailableText);
  return kOk;
}

clsProfJob* JobOpenClipboard(void* window) {
  clsProfJob* job = clsProfJob::Create(0);
  if (job == nullptr) return nullptr;
  std::string data;
  bool got = false;
  {
    plat::ClipboardSession clipboard(window);
    got = clipboard.IsOpen() && clipboard.Get(ProfileFormat(), data);
  }
  job->lastError = got ? kOk : kErrOpen;
  clsFileRWTempStream file;
  if (!file.IsOpen()) {
    job->lastError = kErrOpen;
    return job;
  }
  // Loaded in any case; trailing zero bytes of the block do not disturb the parse.
  if (!data.empty() && file.Write(data.data(), static_cast<uint32_t>(data.size())) == data.size()) {
    file.SetPos(0);
    LoadProfile(*job, file);
  }
  return job;
}

bool IsClipboardDataAvailable() { return plat::ClipboardHasFormat(ProfileFormat()); }

}  // namespace zx::prof
