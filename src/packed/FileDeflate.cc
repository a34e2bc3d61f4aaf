#include "packed/FileDeflate.h"

#include <zlib.h>

#include <algorithm>
#include <vector>

namespace zx {

struct clsFileDeflater::State {
  z_stream z{};
  bool ready = false;
  std::vector<uint8_t> in;
  std::vector<uint8_t> out;
  ~State() {
    if (ready) deflateEnd(&z);
  }
};

clsFileDeflater::clsFileDeflater() : m_state(std::make_unique<State>()) {}
clsFileDeflater::~clsFileDeflater() = default;

int32_t clsFileDeflater::Deflate(clsFile& in, const Sink& sink, uint32_t* crc) {
  State& s = *m_state;
  if (!s.ready) {
    if (deflateInit2(&s.z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
      return Z_MEM_ERROR;
    s.ready = true;
    s.in.resize(kBlock);
    s.out.resize(kBlock);
  } else if (deflateReset(&s.z) != Z_OK) {
    return Z_STREAM_ERROR;
  }
  const uint64_t size = in.GetSize();
  const uint64_t pos = in.GetPos();
  uint64_t left = size != kAllOnes64 && pos != kAllOnes64 && size > pos ? size - pos : 0;
  uLong sum = crc32(0, Z_NULL, 0);
  int rc = Z_OK;
  int flush = Z_NO_FLUSH;
  while (flush != Z_FINISH) {
    const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(left, kBlock));
    if (want && in.Read(s.in.data(), want) != want) return Z_DATA_ERROR;   // a short read
    left -= want;
    sum = crc32(sum, s.in.data(), want);
    flush = left == 0 ? Z_FINISH : Z_NO_FLUSH;
    s.z.next_in = s.in.data();
    s.z.avail_in = want;
    do {
      s.z.next_out = s.out.data();
      s.z.avail_out = kBlock;
      rc = deflate(&s.z, flush);
      if (rc == Z_STREAM_ERROR) return rc;
      const uint32_t have = kBlock - s.z.avail_out;
      if (have && !sink(s.out.data(), have)) return Z_ERRNO;
    } while (s.z.avail_out == 0);
  }
  if (crc) *crc = static_cast<uint32_t>(sum);
  return rc;
}

int32_t clsFileDeflater::Deflate(clsFile& in, clsFile& out, uint32_t* crc) {
  return Deflate(in, [&out](const uint8_t* data, uint32_t size) { return out.Write(data, size) == size; }, crc);
}

}  // namespace zx
