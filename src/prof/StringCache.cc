#include "prof/StringCache.h"

#include <cstring>
#include <new>

namespace zx {
namespace {
constexpr uint32_t kFirstSlots = 16;
}  // namespace

uint64_t clsStringCache::HashOf(std::u16string_view text) {
  if (text.empty()) return 0;
  constexpr uint64_t kMul = 0x9E3779B97F4A7C15ull, kFinal = 0xD6E8FEB86659FD93ull;
  const char* p = reinterpret_cast<const char*>(text.data());
  size_t bytes = 2 * text.size();
  uint64_t h = bytes * kMul;
  for (; bytes >= 8; bytes -= 8, p += 8) {
    uint64_t c;
    std::memcpy(&c, p, 8);
    h = (h ^ c) * kMul;
    h ^= h >> 29;
  }
  if (bytes) {
    uint64_t c = 0;
    std::memcpy(&c, p, bytes);
    h = (h ^ c) * kMul;
    h ^= h >> 29;
  }
  h ^= h >> 32;
  h *= kFinal;
  h ^= h >> 32;
  return h;
}

uint32_t clsStringCache::Probe(const Bucket& b, uint32_t tag, std::u16string_view text) {
  for (uint32_t i = tag & b.mask;; i = (i + 1) & b.mask) {
    const uint32_t t = b.tags[i];
    if (t == 0 || (t == tag && b.texts[i].View() == text)) return i;
  }
}

bool clsStringCache::Grow(Bucket& b) {
  const uint32_t count = b.tags ? (b.mask + 1) * 2 : kFirstSlots;
  std::unique_ptr<uint32_t[]> tags(new (std::nothrow) uint32_t[count]());
  std::unique_ptr<SharedString[]> texts(new (std::nothrow) SharedString[count]);
  if (!tags || !texts) return false;
  const uint32_t mask = count - 1;
  if (b.tags) {
    for (uint32_t i = 0; i <= b.mask; ++i) {
      const uint32_t t = b.tags[i];
      if (t == 0) continue;
      uint32_t j = t & mask;
      while (tags[j]) j = (j + 1) & mask;
      tags[j] = t;
      texts[j] = std::move(b.texts[i]);
    }
  }
  b.tags = std::move(tags);
  b.texts = std::move(texts);
  b.mask = mask;
  return true;
}

bool clsStringCache::Insert(Bucket& b, uint32_t tag, const SharedString& s) {
  // At most three quarters full, so that every probe meets a free slot.
  if (!b.tags || (b.used + 1) * 4 > (b.mask + 1) * 3) {
    if (!Grow(b)) return false;
  }
  const uint32_t i = Probe(b, tag, s.View());
  b.tags[i] = tag;
  b.texts[i] = s;
  ++b.used;
  return true;
}

SharedString clsStringCache::Intern(const SharedString& s) {
  if (!s) return s;
  const std::u16string_view text = s.View();
  const uint64_t hash = HashOf(text);
  Bucket& b = buckets_[hash & 0xFF];
  if (b.tags) {
    const uint32_t i = Probe(b, TagOf(hash), text);
    if (b.tags[i]) return b.texts[i];
  }
  Insert(b, TagOf(hash), s);
  return s;
}

SharedString clsStringCache::Intern(std::u16string_view text) {
  const uint64_t hash = HashOf(text);
  Bucket& b = buckets_[hash & 0xFF];
  if (b.tags) {
    const uint32_t i = Probe(b, TagOf(hash), text);
    if (b.tags[i]) return b.texts[i];
  }
  SharedString s = SharedString::MakeExact(text);
  if (s) Insert(b, TagOf(hash), s);
  return s;
}

unsigned clsStringCache::Entries() const {
  unsigned n = 0;
  for (const Bucket& b : buckets_) n += b.used;
  return n;
}

unsigned clsStringCache::BucketEntries(int bucket) const {
  if (bucket < 0 || bucket >= kBuckets) return 0;
  return buckets_[bucket].used;
}

}  // namespace zx
