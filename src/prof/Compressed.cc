// Raw deflate of the compressed profile form, in 1 MiB steps both ways.
#include "prof/Compressed.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "file/File.h"

namespace zx::prof {

namespace {
// The next piece of the input, at most one buffer long, handed to zlib.
void FeedPiece(z_stream& z, const uint8_t*& data, uint64_t& left) {
  const uint32_t piece = static_cast<uint32_t>(std::min<uint64_t>(left, kCompressedBuffer));
  z.next_in = const_cast<Bytef*>(data);
  z.avail_in = piece;
  data += piece;
  left -= piece;
}
}  // namespace

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
    if (z.avail_in == 0 && left > 0) FeedPiece(z, in, left);
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

namespace {

// Moves the copy to a block of `capacity` bytes (not zero-filled: every byte used
// is read over).
bool Regrow(CompressedBytes& copy, uint64_t used, uint64_t capacity) {
  if (capacity > SIZE_MAX) return false;
  std::unique_ptr<uint8_t[]> bigger(new (std::nothrow) uint8_t[static_cast<size_t>(capacity)]);
  if (!bigger) return false;
  if (used > 0) std::memcpy(bigger.get(), copy.data.get(), static_cast<size_t>(used));
  copy.data = std::move(bigger);
  return true;
}

}  // namespace

CopyResult CopyRest(clsFile& source, uint64_t bound, CompressedBytes& copy) {
  copy.data.reset();
  copy.size = 0;
  // The size the source reports, and one byte more: a read that fills the block
  // then says the source has grown since. A source that cannot tell starts at one
  // buffer's worth. Either way the block doubles while data keeps coming.
  const uint64_t size = source.GetSize();
  const uint64_t pos = source.GetPos();
  const bool known = size != kAllOnes64 && pos != kAllOnes64 && pos <= size;
  if (known && size - pos > bound) return kCopyTooLarge;  // refused before any read
  const uint64_t capacity0 = known ? size - pos + 1 : kCompressedBuffer;
  uint64_t capacity = std::min(capacity0, bound + 1);
  if (!Regrow(copy, 0, capacity)) return kCopyNoMemory;
  uint64_t used = 0;
  for (;;) {
    while (used < capacity) {
      // One request at most 1 GiB: Read's count is 32 bits.
      const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(capacity - used, uint64_t(1) << 30));
      const uint32_t got = source.Read(copy.data.get() + used, want);
      if (got == 0) break;  // a stream may hand out less than asked, so only 0 ends it
      used += got;
    }
    if (used < capacity) break;
    if (capacity > bound) return kCopyTooLarge;
    if (!Regrow(copy, used, std::min(capacity * 2, bound + 1))) return kCopyNoMemory;
    capacity = std::min(capacity * 2, bound + 1);
  }
  copy.size = used;
  return kCopyOk;
}

InflateResult InflateProfile(const uint8_t* data, uint64_t size, clsFile& target, uint64_t limit) {
  std::unique_ptr<uint8_t[]> out(new (std::nothrow) uint8_t[kCompressedBuffer]);
  if (!out) return kInflateInitFailed;
  z_stream z{};
  if (inflateInit2(&z, -15) != Z_OK) return kInflateInitFailed;
  InflateResult result = kInflateBadData;
  uint64_t written = 0;
  bool filled = false;  // the last step filled the output: more may come without input
  for (;;) {
    // The input goes in 1 MiB at a time, as the output comes out.
    if (z.avail_in == 0 && size == 0 && !filled) break;  // the data ended before the stream did
    if (z.avail_in == 0 && size > 0) FeedPiece(z, data, size);
    z.next_out = out.get();
    z.avail_out = kCompressedBuffer;
    const int rc = inflate(&z, Z_NO_FLUSH);
    if (rc != Z_OK && rc != Z_STREAM_END && rc != Z_BUF_ERROR) break;
    uint32_t produced = kCompressedBuffer - z.avail_out;
    filled = z.avail_out == 0;
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

InflateResult InflateProfile(clsFile& source, clsFile& target, uint64_t limit) {
  CompressedBytes packed;
  switch (CopyRest(source, kMaxCompressedRest, packed)) {
    case kCopyOk: return InflateProfile(packed.data.get(), packed.size, target, limit);
    case kCopyTooLarge: return kInflateTooLarge;
    default: return kInflateInitFailed;
  }
}

}  // namespace zx::prof
