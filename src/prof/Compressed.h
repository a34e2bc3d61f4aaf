// The compressed form of a profile: the magic "PRZB", then a raw deflate stream
// (no zlib header, no checksum) of the whole serialised profile. Written at level
// 9, window 15, memory level 9, default strategy; input and output pass through
// buffers of 1 MiB.
// Reading it takes two steps: CopyRest puts the compressed bytes behind the magic
// into memory in one piece (sized from the source, so without growing by small
// steps), and InflateProfile inflates them into the target in 1 MiB steps.
// Errors: DeflateProfile gives false when the sink refused bytes or zlib failed.
// CopyRest gives kCopyTooLarge when the rest passes its bound and kCopyNoMemory.
// InflateProfile gives kInflateOk, kInflateTooLarge when the output would pass
// `limit` (a deflate bomb: what was written stays, the rest is not produced),
// kInflateBadData for a damaged or cut stream (what came out before stays) and
// kInflateInitFailed / kInflateWriteFailed.
// Threads: any thread; all state is local.
//
//   DeflateProfile(image.data(), image.size(), [&](const uint8_t* p, uint32_t n) { ... });
//   prof::CompressedBytes packed;
//   if (prof::CopyRest(source, prof::kMaxCompressedRest, packed) == prof::kCopyOk)
//     prof::InflateProfile(packed.data.get(), packed.size, temp, prof::kMaxInflatedProfile);
#pragma once
#include <cstdint>
#include <functional>
#include <memory>

namespace zx {
class clsFile;
}

namespace zx::prof {

inline constexpr char kCompressedMagic[4] = {'P', 'R', 'Z', 'B'};
inline constexpr uint32_t kCompressedBuffer = 0x100000;
// The most a compressed profile may inflate to (1 GiB): far beyond any profile a
// job can hold in memory comfortably, and it stops a bomb long before the disk.
inline constexpr uint64_t kMaxInflatedProfile = uint64_t(1) << 30;
// The longest compressed rest a load copies into memory: 1 GiB and an eighth.
// A deflater's output is at worst about as long as its input (stored blocks; fixed
// codes spend 9 bits on a byte), so a longer rest inflates past the bound above or
// is padding no deflater writes; refusing it keeps the copy's memory bounded.
inline constexpr uint64_t kMaxCompressedRest = kMaxInflatedProfile + (kMaxInflatedProfile >> 3);
// How many compressed forms one load follows inside each other.
inline constexpr int kMaxCompressedNesting = 4;

using ByteSink = std::function<bool(const uint8_t* data, uint32_t size)>;

// Writes the magic, then the deflated `size` bytes at `data`.
bool DeflateProfile(const void* data, uint64_t size, const ByteSink& sink);

// The compressed bytes of one load, held in memory.
struct CompressedBytes {
  std::unique_ptr<uint8_t[]> data;
  uint64_t size = 0;
};

enum CopyResult : int { kCopyOk = 0, kCopyTooLarge, kCopyNoMemory };

// Copies `source` from its position to its end into `copy`; at most `bound` bytes.
CopyResult CopyRest(clsFile& source, uint64_t bound, CompressedBytes& copy);

enum InflateResult : int { kInflateOk = 0, kInflateBadData, kInflateTooLarge, kInflateInitFailed, kInflateWriteFailed };

// Inflates the `size` bytes at `data` into `target` at its position.
InflateResult InflateProfile(const uint8_t* data, uint64_t size, clsFile& target, uint64_t limit);
// Both steps: the rest of `source` (at most kMaxCompressedRest; a longer one is
// kInflateTooLarge, no memory kInflateInitFailed), inflated into `target`.
InflateResult InflateProfile(clsFile& source, clsFile& target, uint64_t limit);

}  // namespace zx::prof
