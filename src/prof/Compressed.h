// The compressed form of a profile: the magic "PRZB", then a raw deflate stream
// (no zlib header, no checksum) of the whole serialised profile. Written at level
// 9, window 15, memory level 9, default strategy; input and output pass through
// buffers of 1 MiB.
// Errors: DeflateProfile gives false when the sink refused bytes or zlib failed.
// InflateProfile gives kInflateOk, kInflateTooLarge when the output would pass
// `limit` (a deflate bomb: what was written stays, the rest is not produced),
// kInflateBadData for a damaged or cut stream (what came out before stays) and
// kInflateInitFailed / kInflateWriteFailed.
// Threads: any thread; all state is local.
//
//   DeflateProfile(image.data(), image.size(), [&](const uint8_t* p, uint32_t n) { ... });
//   InflateProfile(source, temp, kMaxInflatedProfile);
#pragma once
#include <cstdint>
#include <functional>

namespace zx {
class clsFile;
}

namespace zx::prof {

inline constexpr char kCompressedMagic[4] = {'P', 'R', 'Z', 'B'};
inline constexpr uint32_t kCompressedBuffer = 0x100000;
// The most a compressed profile may inflate to (1 GiB): far beyond any profile a
// job can hold in memory comfortably, and it stops a bomb long before the disk.
inline constexpr uint64_t kMaxInflatedProfile = uint64_t(1) << 30;
// How many compressed forms one load follows inside each other.
inline constexpr int kMaxCompressedNesting = 4;

using ByteSink = std::function<bool(const uint8_t* data, uint32_t size)>;

// Writes the magic, then the deflated `size` bytes at `data`.
bool DeflateProfile(const void* data, uint64_t size, const ByteSink& sink);

enum InflateResult : int { kInflateOk = 0, kInflateBadData, kInflateTooLarge, kInflateInitFailed, kInflateWriteFailed };

// Inflates from `source`'s position to its end into `target` at its position.
InflateResult InflateProfile(clsFile& source, clsFile& target, uint64_t limit);

}  // namespace zx::prof
