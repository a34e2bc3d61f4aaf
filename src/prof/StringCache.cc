#include "prof/StringCache.h"

namespace zx {

SharedString clsStringCache::Intern(const SharedString& s) {
  if (!s) return s;
  std::unique_ptr<Bucket>& bucket = buckets_[BucketOf(s.Text())];
  if (!bucket) {
    bucket.reset(new (std::nothrow) Bucket());
    if (!bucket) return s;
  }
  SharedString found;
  if (bucket->find(s, found)) return found;
  bucket->insert(s);
  return s;
}

unsigned clsStringCache::Entries() const {
  unsigned n = 0;
  for (const auto& b : buckets_)
    if (b) n += b->entries();
  return n;
}

unsigned clsStringCache::BucketEntries(int bucket) const {
  if (bucket < 0 || bucket >= kBuckets || !buckets_[bucket]) return 0;
  return buckets_[bucket]->entries();
}

}  // namespace zx
