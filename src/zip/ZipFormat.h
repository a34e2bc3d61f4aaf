// The records of a ZIP archive as this writer lays them out: little-endian,
// without gaps, written as one block each. No data descriptors, no ZIP64, no
// extra fields.
#pragma once
#include <bit>
#include <cstdint>

namespace zx {

static_assert(std::endian::native == std::endian::little, "the records are written as they lie in memory");

constexpr uint16_t kZipVersionNeeded = 20;
constexpr uint16_t kZipVersionMadeBy = 0x0A14;   // 2.0, made on a system of kind 10
constexpr uint16_t kZipMethodStored = 0;
constexpr uint16_t kZipMethodDeflated = 8;
// Lengths of names and comments: the format's 16 bits.
constexpr uint32_t kZipMaxTextLength = 0xFFFF;

#pragma pack(push, 1)
struct scZIPLocalHeader {
  uint32_t signature = 0x04034B50;
  uint16_t versionNeeded = kZipVersionNeeded;
  uint16_t flags = 0;
  uint16_t method = kZipMethodDeflated;
  uint16_t time = 0;
  uint16_t date = 0;
  uint32_t crc32 = 0;
  uint32_t compressedSize = 0;
  uint32_t uncompressedSize = 0;
  uint16_t nameLength = 0;
  uint16_t extraLength = 0;
};

struct scZIPCentralHeader {
  uint32_t signature = 0x02014B50;
  uint16_t versionMadeBy = kZipVersionMadeBy;
  uint16_t versionNeeded = kZipVersionNeeded;
  uint16_t flags = 0;
  uint16_t method = 0;
  uint16_t time = 0;
  uint16_t date = 0;
  uint32_t crc32 = 0;
  uint32_t compressedSize = 0;
  uint32_t uncompressedSize = 0;
  uint16_t nameLength = 0;
  uint16_t extraLength = 0;
  uint16_t commentLength = 0;
  uint16_t diskNumberStart = 0;
  uint16_t internalAttributes = 0;
  uint32_t externalAttributes = 0;
  uint32_t localHeaderOffset = 0;
};

struct scZIPEndRecord {
  uint32_t signature = 0x06054B50;
  uint16_t diskNumber = 0;
  uint16_t centralDirectoryDisk = 0;
  uint16_t entriesOnDisk = 0;
  uint16_t entriesTotal = 0;
  uint32_t centralDirectorySize = 0;
  uint32_t centralDirectoryOffset = 0;
  uint16_t commentLength = 0;
};
#pragma pack(pop)

static_assert(sizeof(scZIPLocalHeader) == 30);
static_assert(sizeof(scZIPCentralHeader) == 46);
static_assert(sizeof(scZIPEndRecord) == 22);

}  // namespace zx
