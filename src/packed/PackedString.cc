#include "packed/PackedString.h"

#include <zlib.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "core/diag/Diag.h"
#include "packed/Base64.h"
#include "packed/Blowfish.h"

namespace zx {

namespace {

constexpr char kMarker[] = "Zrk_Packed";   // stored with its zero byte
constexpr size_t kHeader = 4 + sizeof kMarker;  // 15
constexpr size_t kOldHeader = 4;
// deflate's best case: about 1032 output bytes for one input byte. A stated length
// beyond this cannot be real and is not allocated.
constexpr uint64_t kMaxInflateRatio = 1032;

void StoreLe32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

uint32_t LoadLe32(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

bool ReadAll(clsFile& file, uint8_t* to, uint64_t size) {
  file.SetPos(0);
  while (size) {
    const uint32_t piece = size > 0x40000000u ? 0x40000000u : static_cast<uint32_t>(size);
    const uint32_t got = file.Read(to, piece);
    if (got != piece) return false;
    to += got;
    size -= got;
  }
  return true;
}

bool WriteAll(clsFile& file, const uint8_t* from, uint64_t size) {
  file.SetPos(0);
  while (size) {
    const uint32_t piece = size > 0x40000000u ? 0x40000000u : static_cast<uint32_t>(size);
    if (file.Write(from, piece) != piece) return false;
    from += piece;
    size -= piece;
  }
  return true;
}

// The "@2@" data: header and one deflate call with finish into a buffer of the
// source plus 10 % plus 23 bytes. 0 when the compressor fails.
size_t Compress(const uint8_t* source, size_t size, uint8_t* out) {
  StoreLe32(out, static_cast<uint32_t>(size));
  std::memcpy(out + 4, kMarker, sizeof kMarker);
  z_stream z{};
  if (deflateInit2(&z, 9, Z_DEFLATED, 15, 9, Z_FILTERED) != Z_OK) return 0;
  z.next_in = const_cast<Bytef*>(source);
  z.avail_in = static_cast<uInt>(size);
  z.next_out = out + kHeader;
  z.avail_out = static_cast<uInt>(size + size / 10 + 23);
  const int rc = deflate(&z, Z_FINISH);
  const size_t produced = z.total_out;
  deflateEnd(&z);
  return rc == Z_STREAM_END ? produced + kHeader : 0;
}

// Inflates `size` bytes of zlib stream into exactly `expected` bytes; false for
// any other outcome.
bool Inflate(const uint8_t* source, size_t size, uint8_t* out, uint32_t expected) {
  z_stream z{};
  if (inflateInit2(&z, 15) != Z_OK) return false;
  z.next_in = const_cast<Bytef*>(source);
  z.avail_in = static_cast<uInt>(size);
  z.next_out = out;
  z.avail_out = expected;
  int rc = inflate(&z, Z_FINISH);
  // An empty original has no room to write into; zlib then reports a buffer error
  // although the stream is complete.
  if (rc == Z_BUF_ERROR && expected == 0) {
    uint8_t spare;
    z.next_out = &spare;
    z.avail_out = 1;
    rc = inflate(&z, Z_FINISH);
  }
  const bool ok = rc == Z_STREAM_END && z.total_out == expected;
  inflateEnd(&z);
  return ok;
}

}  // namespace

String Pack(clsFile& file, bool compress, const String& password) {
  const uint64_t size = file.GetSize();
  if (size == 0) return String();
  // The stated length has 32 bits, and deflate takes one call.
  if (size > 0xF0000000u) {
    DiagFormat(u"Pack: %s is too large to pack", file.Name().wchar());
    return String();
  }
  std::unique_ptr<uint8_t[]> source(new (std::nothrow) uint8_t[size]);
  if (!source || !ReadAll(file, source.get(), size)) {
    DiagFormat(u"Pack: %s cannot be read", file.Name().wchar());
    return String();
  }
  std::unique_ptr<uint8_t[]> packed;
  uint8_t* data = source.get();
  size_t length = size;
  if (compress) {
    packed.reset(new (std::nothrow) uint8_t[kHeader + size + size / 10 + 23]);
    length = packed ? Compress(source.get(), size, packed.get()) : 0;
    data = packed.get();
    source.reset();
  }
  if (length >= 8 && !password.IsEmpty()) {
    clsBlowfish cipher;
    cipher.SetPassword(password.narrow());
    cipher.Encode(data, length);
  }
  std::u16string text;
  if (compress) text = u"@2@";
  Base64Encode(data, length, text);
  return String(std::u16string_view(text));
}

namespace {

// `strict` refuses what does not check out; otherwise a compressed form without
// its marker is written as it decoded, and one that does not inflate writes nothing.
UnpackResult UnpackData(clsFile& target, const String& text, const String& password, bool strict) {
  if (text.IsEmpty()) return UnpackResult::kEmpty;
  std::u16string_view body = text.View();
  bool compressed = false, oldForm = false;
  if (body[0] == u'@' && (text.Compare(u"@2@", 3) == 0 || text.Compare(u"@1@", 3) == 0)) {
    compressed = true;
    oldForm = body[1] == u'1';
    body.remove_prefix(3);
  }
  const size_t capacity = Base64DecodeCapacity(body.size());
  std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[capacity]);
  if (!buffer) {
    DiagLine(u"Unpack: no memory for the decoded text");
    return UnpackResult::kWriteFailed;
  }
  const int64_t decoded = Base64Decode(body, buffer.get(), capacity, oldForm);
  if (decoded < 0) {
    DiagLine(u"ERR: Base64 string has bad format!");
    return UnpackResult::kUndecodable;
  }
  size_t length = static_cast<size_t>(decoded);
  // The reader deciphers from 12 bytes up, the writer from 8: values of 8 to 11
  // enciphered bytes stay enciphered, as they always have.
  if (!password.IsEmpty() && length >= 12) {
    clsBlowfish cipher;
    cipher.SetPassword(password.narrow());
    cipher.Decode(buffer.get(), length);
  }
  const uint8_t* data = buffer.get();
  std::unique_ptr<uint8_t[]> inflated;
  const size_t header = oldForm ? kOldHeader : kHeader;
  const bool marked = oldForm ? length >= kOldHeader
                              : length >= kHeader && std::memcmp(data + 4, kMarker, sizeof kMarker) == 0;
  if (compressed && marked) {
    const uint32_t original = LoadLe32(data);
    const size_t streamSize = length - header;
    if (original <= (streamSize + 1) * kMaxInflateRatio)
      inflated.reset(new (std::nothrow) uint8_t[original ? original : 1]);
    const bool ok = inflated && Inflate(data + header, streamSize, inflated.get(), original);
    if (!ok && strict) return UnpackResult::kUndecodable;
    length = ok ? original : 0;
    data = inflated.get();
  } else if (compressed && strict) {
    return UnpackResult::kUndecodable;  // no marker: a wrong password or damage
  }
  return WriteAll(target, data, length) ? UnpackResult::kWritten : UnpackResult::kWriteFailed;
}

}  // namespace

bool Unpack(clsFile& target, const String& text, const String& password) {
  const UnpackResult r = UnpackData(target, text, password, false);
  return r == UnpackResult::kWritten || r == UnpackResult::kUndecodable;
}

UnpackResult UnpackChecked(clsFile& target, const String& text, const String& password) {
  return UnpackData(target, text, password, true);
}

}  // namespace zx
