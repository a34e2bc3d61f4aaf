// A job's string cache: 256 buckets, each an ordered set of shared strings. A
// string is placed by the low 8 bits of its 64-bit hash (the empty string in
// bucket 0 without hashing) and found by an ordinal, case-sensitive comparison.
// Entries stay until the cache ends, so deleting items frees no cached strings.
// Buckets are made on first use.
// Threads: a cache belongs to one job; the job's rule (prof/Prof.h) applies.
#pragma once
#include <memory>

#include "core/containers/WCSkipList.h"
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

  static int BucketOf(const String& text) {
    return text.IsEmpty() ? 0 : static_cast<int>(text.Hash() & 0xFF);
  }
  // Observation for tests: the number of strings held.
  unsigned Entries() const;
  unsigned BucketEntries(int bucket) const;

 private:
  using Bucket = WCValSkipListSet<SharedString>;
  std::unique_ptr<Bucket> buckets_[kBuckets];
};

}  // namespace zx
