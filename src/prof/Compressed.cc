// Raw deflate of the compressed profile form, in 1 MiB steps both ways.
#include "prof/Compressed.h"

#include <zlib.h>

#include <algorithm>
#include <memory>
#include <new>

#include "file/File.h"

namespace zx::prof {

bool DeflateProfile(const void* data, uint64_t size, const ByteSink& sink) {
  if (!sink(reinterpret_cast<const uint8_t*>(kCompressedMagic), 4)) return false;
  std::unique_ptr<uint8_t[]> out(new (std::nothrow) uint8_t[kCompressedBuffer]);
  if (!out) return false;
  z_stream z{};
  if (deflateInit2(&z, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY) != Z_OK) return false;
  const auto* in = static_cast<const uint8_t*>(data);
  uint64_t left = size;
  bool ok = true;
  int rc = Z_OK;
  while (ok && rc != Z_STREAM_END) {
    if (z.avail_in == 0 && left > 0) {
      const uint32_t piece = static_cast<uint32_t>(std::min<uint64_t>(left, kCompressedBuffer));
      z.next_in = const_cast<Bytef*>(in);
      z.avail_in = piece;
      in += piece;
      left -= piece;
    }
    z.next_out = out.get();
    z.avail_out = kCompressedBuffer;
    rc = deflate(&z, left == 0 ? Z_FINISH : Z_NO_FLUSH);
    if (rc != Z_OK && rc != Z_STREAM_END && rc != Z_BUF_ERROR) ok = false;
    const uint32_t produced = kCompressedBuffer - z.avail_out;
    if (ok && produced > 0 && !sink(out.get(), produced)) ok = false;
  }
  deflateEnd(&z);
  return ok;
}

InflateResult InflateProfile(clsFile& source, clsFile& target, uint64_t limit) {
  std::unique_ptr<uint8_t[]> in(new (std::nothrow) uint8_t[kCompressedBuffer]);
  std::unique_ptr<uint8_t[]> out(new (std::nothrow) uint8_t[kCompressedBuffer]);
  if (!in || !out) return kInflateInitFailed;
  z_stream z{};
  if (inflateInit2(&z, -15) != Z_OK) return kInflateInitFailed;
  InflateResult result = kInflateBadData;
  uint64_t written = 0;
  for (;;) {
    if (z.avail_in == 0) {
      z.avail_in = source.Read(in.get(), kCompressedBuffer);
      z.next_in = in.get();
      if (z.avail_in == 0) break;  // the data ended before the stream did
    }
    z.next_out = out.get();
    z.avail_out = kCompressedBuffer;
    const int rc = inflate(&z, Z_NO_FLUSH);
    if (rc != Z_OK && rc != Z_STREAM_END && rc != Z_BUF_ERROR) break;
    uint32_t produced = kCompressedBuffer - z.avail_out;
    if (written + produced > limit) {
      produced = static_cast<uint32_t>(limit - written);
      result = kInflateTooLarge;
    }
    if (produced > 0 && target.Write(out.get(), produced) != produced) {
      result = kInflateWriteFailed;
      break;
    }
    written += produced;
    if (result == kInflateTooLarge) break;
    if (rc == Z_STREAM_END) {
      result = kInflateOk;
      break;
    }
  }
  inflateEnd(&z);
  return result;
}

}  // namespace zx::prof
