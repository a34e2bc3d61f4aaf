// GrowBy (with the repair of streams that move their position in SetSize) and
// CopyFrom.
#include <cstdlib>

#include "core/diag/Diag.h"
#include "file/File.h"

namespace zx {
namespace {

constexpr uint64_t kMaxCopyBuffer = 0x6400000;   // 100 MiB

}  // namespace

void clsFile::GrowBy(uint64_t delta) {
  if (m_pStream) {
    const uint64_t p = RawPos();
    ULARGE_INTEGER size;
    size.QuadPart = p + delta;
    if (m_pStream->SetSize(size) < 0)
      DiagFormat(u"ERR: Stream->SetSize(%I64d+%I64d) failed!", static_cast<int64_t>(p), static_cast<int64_t>(delta));
    const uint64_t q = RawPos();
    if (q != p) {
      DiagLine(u"WRN: need to correct Outlook stream implementation error, cross your fingers to proceed");
      SetPos(p);
    }
    return;
  }
  const uint64_t p = RawPos();
  SeekRel(static_cast<int64_t>(delta));
  SetEOF();
  if (m_hFile.Valid()) plat::FileSeek(m_hFile.Get(), static_cast<int64_t>(p), plat::kSeekBegin, nullptr);
}

bool clsFile::CopyFrom(clsFile& source) {
  const uint64_t size = source.GetSize();
  if (!source.IsOpen() || size == 0 || size == kAllOnes64) {
    SetEOF();
    return true;
  }
  const uint64_t pos = source.GetPos();
  if (pos == kAllOnes64 || pos >= size) {   // nothing behind the position
    SetEOF();
    return true;
  }
  const uint64_t remaining = size - pos;
  uint64_t bufferSize = remaining < kMaxCopyBuffer ? remaining : kMaxCopyBuffer;
  void* buffer = nullptr;
  while (bufferSize && !(buffer = std::calloc(1, static_cast<size_t>(bufferSize)))) bufferSize /= 2;
  if (!buffer) return false;

  GrowBy(remaining);
  for (uint64_t done = 0; done < remaining;) {
    const uint32_t piece = static_cast<uint32_t>(remaining - done < bufferSize ? remaining - done : bufferSize);
    if (source.Read(buffer, piece) != piece || Write(buffer, piece) != piece) {
      std::free(buffer);
      return false;
    }
    done += piece;
  }
  SetEOF();
  std::free(buffer);
  return true;
}

}  // namespace zx
