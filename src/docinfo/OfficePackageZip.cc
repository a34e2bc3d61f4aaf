#include "docinfo/OfficePackageZip.h"

#include <zlib.h>

#include <algorithm>
#include <memory>

#include "core/diag/Diag.h"
#include "core/strings/CharsetConversion.h"
#include "core/strings/String.h"
#include "zip/ZipFormat.h"

namespace zx {
namespace {

// The records the ZIP writer lays out; the data descriptor only other writers add.
constexpr uint32_t kEndSignature = scZIPEndRecord{}.signature;
constexpr uint32_t kCentralSignature = scZIPCentralHeader{}.signature;
constexpr uint32_t kLocalSignature = scZIPLocalHeader{}.signature;
constexpr uint32_t kDescriptorSignature = 0x08074B50;
constexpr uint32_t kEndSize = sizeof(scZIPEndRecord), kCentralSize = sizeof(scZIPCentralHeader),
                   kLocalSize = sizeof(scZIPLocalHeader), kDescriptorSize = 16;
constexpr uint32_t kBlock = 0x100000;

uint16_t U16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
uint32_t U32(const uint8_t* p) {
  return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24;
}

bool ReadExactly(clsFile& file, void* buffer, uint32_t count) {
  return count == 0 || file.Read(buffer, count) == count;
}

// Puts the file back where it was when the entry read began.
class clsPositionKeeper {
 public:
  explicit clsPositionKeeper(clsFile& file) : m_file(file), m_pos(file.GetPos()) {}
  ~clsPositionKeeper() { m_file.SetPos(m_pos); }

 private:
  clsFile& m_file;
  uint64_t m_pos;
};

// Raw deflate data of `compressed` bytes at the position, read in blocks. False
// when the output would pass the limit.
bool InflateEntry(clsFile& file, uint32_t compressed, std::string* out) {
  z_stream z{};
  if (inflateInit2(&z, -15) != Z_OK) return false;
  std::unique_ptr<uint8_t[]> in(new uint8_t[kBlock]);
  std::unique_ptr<uint8_t[]> block(new uint8_t[kBlock]);
  bool fits = true;
  int rc = Z_OK;
  uint32_t left = compressed;
  while (rc != Z_STREAM_END && left > 0) {
    const uint32_t got = file.Read(in.get(), std::min(left, kBlock));
    if (got == 0) break;
    left -= got;
    z.next_in = in.get();
    z.avail_in = got;
    do {
      z.next_out = block.get();
      z.avail_out = kBlock;
      rc = inflate(&z, Z_NO_FLUSH);
      if (rc != Z_OK && rc != Z_STREAM_END && rc != Z_BUF_ERROR) break;
      const uint32_t produced = kBlock - z.avail_out;
      if (out->size() + produced > kZipEntryTextLimit) {
        fits = false;
        break;
      }
      out->append(reinterpret_cast<const char*>(block.get()), produced);
    } while (z.avail_out == 0 && rc != Z_STREAM_END);
    if (!fits || (rc != Z_OK && rc != Z_STREAM_END && rc != Z_BUF_ERROR)) break;
  }
  inflateEnd(&z);
  if (!fits) {
    DiagFormat(u"WRN: ZIP entry inflates beyond %u bytes, skipped", kZipEntryTextLimit);
    out->clear();
  }
  return fits;
}

}  // namespace

eOfficePackageKind FindOfficePackageEntry(clsFile& file, scZipCentralEntry* entry) {
  const uint32_t size = static_cast<uint32_t>(file.GetSize());
  if (size < kEndSize) {
    DiagLine(u"WRN: GetZIPFilenames: file has bad format (no finalizer)");
    return kOfficeNone;
  }
  uint8_t end[kEndSize];
  if (file.SetPos(size - kEndSize) != size - kEndSize || !ReadExactly(file, end, kEndSize) ||
      U32(end) != kEndSignature) {
    DiagLine(u"WRN: GetZIPFilenames: read error (no finalizer found)");
    return kOfficeNone;
  }
  const uint16_t count = U16(end + 8);
  const uint32_t directory = U32(end + 16);
  if (static_cast<uint32_t>(file.SetPos(directory)) != directory) {
    DiagLine(u"WRN: GetZIPFilenames: file has bad format (2)");
    return kOfficeNone;
  }
  char variable[3 * 255];
  for (uint32_t i = 0; i < count; ++i) {
    uint8_t c[kCentralSize];
    const uint64_t pos = file.GetPos();
    bool bad = pos + kCentralSize > size || !ReadExactly(file, c, kCentralSize) ||
               U32(c) != kCentralSignature;
    const uint32_t nameLength = bad ? 0 : U16(c + 28);
    const uint32_t extraLength = bad ? 0 : U16(c + 30);
    const uint32_t commentLength = bad ? 0 : U16(c + 32);
    bad = bad || nameLength > 255 || extraLength > 255 || commentLength > 255 ||
          file.GetPos() + nameLength + extraLength + commentLength >= size;
    if (bad || !ReadExactly(file, variable, nameLength + extraLength + commentLength)) {
      DiagLine(u"WRN: GetZIPFilenames: file has bad format");
      return kOfficeNone;
    }
    const IString name(StringFromNarrow(variable, nameLength, 0));
    eOfficePackageKind kind = kOfficeNone;
    if (name == IString(u"meta.xml")) kind = kOfficeOdf;
    else if (name == IString(u"docProps/core.xml")) kind = kOfficeOoxml;
    if (kind != kOfficeNone) {
      entry->flags = U16(c + 8);
      entry->compressedSize = U32(c + 20);
      entry->uncompressedSize = U32(c + 24);
      entry->localHeaderOffset = U32(c + 42);
      return kind;
    }
  }
  return kOfficeNone;
}

std::string ReadZipEntryBytes(clsFile& file, const scZipCentralEntry& entry) {
  clsPositionKeeper keeper(file);
  const uint64_t size = file.GetSize();
  uint8_t h[kLocalSize];
  char variable[255 + 0xFFFF];
  bool bad = file.SetPos(entry.localHeaderOffset) != entry.localHeaderOffset ||
             entry.localHeaderOffset + uint64_t{kLocalSize} > size ||
             !ReadExactly(file, h, kLocalSize) || U32(h) != kLocalSignature;
  const uint32_t nameLength = bad ? 0 : U16(h + 26);
  const uint32_t extraLength = bad ? 0 : U16(h + 28);
  bad = bad || nameLength > 255 || file.GetPos() + nameLength >= size ||
        !ReadExactly(file, variable, nameLength + extraLength);
  if (bad) {
    DiagLine(u"ERR: bad ZIP FILE ENTRY");
    return {};
  }
  const uint16_t method = U16(h + 8);
  uint32_t compressed = U32(h + 18), uncompressed = U32(h + 22);
  if (U16(h + 6) & 0x8) {
    compressed = entry.compressedSize;
    uncompressed = entry.uncompressedSize;
  }
  std::string bytes;
  if (compressed != 0 && uncompressed != 0) {
    if (method == 0) {
      const uint64_t left = size - std::min(size, file.GetPos());
      if (compressed > kZipEntryTextLimit) {
        DiagFormat(u"WRN: ZIP entry inflates beyond %u bytes, skipped", kZipEntryTextLimit);
      } else {
        bytes.resize(static_cast<size_t>(std::min<uint64_t>(compressed, left)));
        bytes.resize(bytes.empty() ? 0 : file.Read(bytes.data(), static_cast<uint32_t>(bytes.size())));
      }
    } else if (method == 8) {
      InflateEntry(file, compressed, &bytes);
    } else {
      DiagFormat(u"unknown compression method %d", method);
    }
  }
  if (entry.flags & 0x80) {
    DiagTraceIndent(0, u"file finalizer: %x %x", static_cast<uint32_t>(file.GetPos()),
                    static_cast<uint32_t>(size));
    uint8_t d[kDescriptorSize];
    if (!ReadExactly(file, d, kDescriptorSize) || U32(d) != kDescriptorSignature)
      DiagLine(u"bad finalizer!");
  }
  return bytes;
}

}  // namespace zx
