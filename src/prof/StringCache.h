// A job's string cache: 256 buckets, each a set of shared strings. A string is
// placed by the low 8 bits of its 64-bit hash (the empty string in bucket 0
// without hashing) and found by an ordinal, case-sensitive comparison of the
// texts. Entries stay until the cache ends, so deleting items frees no cached
// strings.
// Inside a bucket the set is an open-addressed table probed linearly from the
// hash's upper bits: a lookup compares texts only where 31 more bits of the hash
// agree, and a text is hashed once per lookup, straight from the caller's
// characters, so a hit allocates nothing. Tables are made on first use and
// doubled at three quarters full.
// Threads: a cache belongs to one job; the job's rule (prof/Prof.h) applies.
#pragma once
#include <cstdint>
#include <memory>
#include <string_view>

#include "prof/SharedString.h"

namespace zx {

class clsStringCache {
 public:
  static constexpr int kBuckets = 256;

  clsStringCache() = default;
  clsStringCache(const clsStringCache&) = delete;
  clsStringCache& operator=(const clsStringCache&) = delete;

  // The cached string equal to `s`, or `s` itself after storing it. An empty
  // pointer, or a store that fails for want of memory, returns `s` uncached.
  SharedString Intern(const SharedString& s);
  // The cached string of this text (which holds no zero character), or a new one
  // made from it and stored. An
  // empty pointer when memory runs out for the string itself; a store that fails
  // gives the new string uncached.
  SharedString Intern(std::u16string_view text);

  // The cache's own 64-bit hash (one multiply per four characters and a final
  // mix that spreads every bit into the low 8): buckets are not kept anywhere, so
  // it need not be String's. 0 for the empty text.
  static uint64_t HashOf(std::u16string_view text);
  static int BucketOf(std::u16string_view text) { return static_cast<int>(HashOf(text) & 0xFF); }
  static int BucketOf(const String& text) { return BucketOf(text.View()); }
  // Observation for tests: the number of strings held.
  unsigned Entries() const;
  unsigned BucketEntries(int bucket) const;

 private:
  // A bucket's table: per slot a 32-bit tag (hash bits 8 to 38 with the top bit
  // set; 0 marks a free slot) in one array, the string in another, so that a
  // probe walks the small tags and reads a text only where the tags agree.
  struct Bucket {
    std::unique_ptr<uint32_t[]> tags;
    std::unique_ptr<SharedString[]> texts;
    uint32_t mask = 0;  // slot count - 1, when there is a table
    uint32_t used = 0;
  };
  static uint32_t TagOf(uint64_t hash) { return static_cast<uint32_t>(hash >> 8) | 0x80000000u; }
  // The slot holding `text`, or the free slot where it belongs.
  static uint32_t Probe(const Bucket& b, uint32_t tag, std::u16string_view text);
  // Stores `s` (not present); false when the table cannot grow.
  static bool Insert(Bucket& b, uint32_t tag, const SharedString& s);
  static bool Grow(Bucket& b);

  Bucket buckets_[kBuckets];
};

}  // namespace zx
