#include "prof/StringCache.h"

#include <new>

namespace zx {
namespace {
constexpr uint32_t kFirstSlots = 16;
// The bucket takes the low 8 bits; the slot index starts from the bits above.
inline uint32_t Home(uint64_t hash, uint32_t mask) { return static_cast<uint32_t>(hash >> 8) & mask; }
}  // namespace

clsStringCache::Slot* clsStringCache::Probe(const Bucket& b, uint64_t hash, std::u16string_view text) {
  for (uint32_t i = Home(hash, b.mask);; i = (i + 1) & b.mask) {
    Slot& slot = b.slots[i];
    if (!slot.text) return &slot;
    if (slot.hash == hash && slot.text.View() == text) return &slot;
  }
}

bool clsStringCache::Grow(Bucket& b) {
  const uint32_t count = b.slots ? (b.mask + 1) * 2 : kFirstSlots;
  std::unique_ptr<Slot[]> grown(new (std::nothrow) Slot[count]);
  if (!grown) return false;
  const uint32_t mask = count - 1;
  if (b.slots) {
    for (uint32_t i = 0; i <= b.mask; ++i) {
      Slot& from = b.slots[i];
      if (!from.text) continue;
      uint32_t j = Home(from.hash, mask);
      while (grown[j].text) j = (j + 1) & mask;
      grown[j].hash = from.hash;
      grown[j].text = std::move(from.text);
    }
  }
  b.slots = std::move(grown);
  b.mask = mask;
  return true;
}

bool clsStringCache::Insert(Bucket& b, uint64_t hash, const SharedString& s) {
  // At most three quarters full, so that every probe meets a free slot.
  if ((b.used + 1) * 4 > (b.mask + 1) * 3 || !b.slots) {
    if (!Grow(b)) return false;
  }
  Slot* slot = Probe(b, hash, s.View());
  slot->hash = hash;
  slot->text = s;
  ++b.used;
  return true;
}

SharedString clsStringCache::Intern(const SharedString& s) {
  if (!s) return s;
  const std::u16string_view text = s.View();
  const uint64_t hash = HashOf(text);
  Bucket& b = buckets_[hash & 0xFF];
  if (b.slots) {
    Slot* slot = Probe(b, hash, text);
    if (slot->text) return slot->text;
  }
  Insert(b, hash, s);
  return s;
}

SharedString clsStringCache::Intern(std::u16string_view text) {
  const uint64_t hash = HashOf(text);
  Bucket& b = buckets_[hash & 0xFF];
  if (b.slots) {
    Slot* slot = Probe(b, hash, text);
    if (slot->text) return slot->text;
  }
  SharedString s = SharedString::MakeExact(text);
  if (s) Insert(b, hash, s);
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
