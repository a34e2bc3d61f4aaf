// Jobs and tracked heaps through the exports, as a client drives them: job and
// heap names of any text (thousands of units, embedded zeros), heap flags, and
// allocations of any 32-bit size (above the ceiling of heap_fuzz_util.h they must
// fail cleanly) on tracked heaps and, with sane sizes, on the untracked path.
//
// Checks against a model: a name is kept as its first 32 units up to a zero; a job
// opened again by a name that agrees on those is the same job; a heap refused by
// its flag is null; an allocation under the ceiling succeeds, one above it fails,
// and either counts as a live object; an object's size is what was asked; frees
// succeed; a heap deletes with 0, or -5 when objects (failed ones too) are left, and
// is gone either way; the jobs close with 0 and leave the job list as they found it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "debug/DebugChannel.h"
#include "fuzz_util.h"
#include "heap_fuzz_util.h"
#include "module/HeapNode.h"
#include "module/JobLock.h"
#include "module/ModuleList.h"
#include "zxUT22.h"

namespace {

class Input : public fuzzutil::ByteReader {
 public:
  using ByteReader::ByteReader;
  // A name: a few letters so that names meet again, sometimes any units, a zero,
  // or hundreds of units.
  std::u16string Name() {
    size_t n = Byte() % 48;
    if (n == 47) n = 40 + (Byte() | Byte() << 8) % 4000;
    std::u16string t;
    for (size_t i = 0; i < n; ++i) {
      const uint8_t b = More() ? Byte() : static_cast<uint8_t>('a' + i % 3);
      t += b < 200 ? static_cast<char16_t>(u'a' + b % 3) : b < 250 ? static_cast<char16_t>(Byte() | Byte() << 8) : u'\0';
    }
    return t;
  }
};

// The name as kept: at most 32 units, up to the first zero.
std::u16string Kept(const std::u16string& name) { return name.substr(0, std::min(name.find(u'\0'), size_t{32})); }

LPCWSTR W(const std::u16string& s) { return reinterpret_cast<LPCWSTR>(s.c_str()); }

struct Heap {
  HUTILHEAP handle;
  int32_t objects = 0;   // failed allocations count too
  std::vector<std::pair<void*, int32_t>> live;
};
struct Job {
  HUTILMODULE handle;
  int opens = 0;         // this input's opens, closed at its end
  std::vector<Heap> heaps;
};

size_t JobCount() {
  zx::JobLockHolder lock;
  size_t n = 0;
  for (zx::clsModuleNode* m = zx::ModuleList().Head(); m; m = m->next) ++n;
  return n;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool setUp = (zx::DebugChannel()->SetDiscardSinks(true), fuzzheap::InstallCappedHeapServices(), true);
  (void)setUp;
  Input in(data, size);
  const size_t jobsBefore = JobCount();
  std::map<std::u16string, Job> jobs;   // by kept name
  std::vector<std::u16string> order;    // the jobs' names, for picking one
  for (int steps = 0; in.More() && steps < 200; ++steps) {
    const uint8_t op = in.Byte() % 8;
    Job* job = order.empty() ? nullptr : &jobs[order[in.Byte() % order.size()]];
    Heap* heap = job && !job->heaps.empty() ? &job->heaps[in.Byte() % job->heaps.size()] : nullptr;
    switch (op) {
      case 0: {   // open a job
        const std::u16string name = in.Name();
        const std::u16string kept = Kept(name);
        const bool known = jobs.count(kept) != 0;
        zx::clsModuleNode* before;
        {
          zx::JobLockHolder lock;
          before = zx::ModuleList().Find(kept.c_str());
        }
        HUTILMODULE h = UtilJobOpen(W(name), in.Byte() & 1 ? 1u : 0u);
        FUZZ_CHECK(h != nullptr);
        auto* node = reinterpret_cast<zx::clsModuleNode*>(h);
        FUZZ_CHECK(std::u16string(node->name) == kept);
        if (before) FUZZ_CHECK(node == before);   // a job of that name was there: the same one
        if (known) FUZZ_CHECK(h == jobs[kept].handle);
        if (!known) order.push_back(kept);
        Job& j = jobs[kept];
        j.handle = h;
        ++j.opens;
        break;
      }
      case 1: {   // create a heap
        if (!job) break;
        const std::u16string name = in.Name();
        const uint8_t f = in.Byte();
        const uint32_t flags = (f & 1 ? UTIL_HEAP_DEBUG : 0) | (f & 2 ? UTIL_HEAP_NEVER_DEBUG : 0) |
                               (f & 4 ? UTIL_HEAP_NO_SERIALIZE : 0) | (f & 8 ? UTIL_HEAP_QUIET_LEAKS : 0) |
                               (f % 16 == 15 ? UTIL_HEAP_REFUSED : 0);
        const bool nullName = in.Byte() & 1;
        HUTILHEAP h = UtilHeapCreate(job->handle, nullName ? nullptr : W(name), flags);
        if (flags & UTIL_HEAP_REFUSED) {
          FUZZ_CHECK(h == nullptr);
          break;
        }
        FUZZ_CHECK(h != nullptr);
        auto* node = reinterpret_cast<zx::clsHeapNode*>(h);
        FUZZ_CHECK(node->name == (nullName ? std::u16string() : Kept(name)));
        job->heaps.push_back(Heap{h, 0, {}});
        break;
      }
      case 2:
      case 3: {   // allocate
        const int32_t n = fuzzheap::ReadSize(in);
        const uint8_t f = in.Byte();
        const uint32_t flags = (f & 7) | (f & 8 ? UTIL_OBJ_PLAIN : 0) | (f & 16 ? UTIL_OBJ_DEBUG : 0);
        if (!heap || (f & 0xC0) == 0xC0) {   // the untracked path, with sizes the machine can give
          if (n < 0 || n > (1 << 20)) break;
          void* p = f & 32 ? UtilHeapObjectAllocExt(nullptr, n, flags, nullptr, f) : UtilHeapObjectAlloc(nullptr, n, flags);
          FUZZ_CHECK(p != nullptr);
          FUZZ_CHECK(UtilHeapObjectSize(nullptr, p) == n);
          FUZZ_CHECK(UtilHeapObjectFree(nullptr, p) == 0);
          break;
        }
        void* p = f & 32 ? UtilHeapObjectAllocExt(heap->handle, n, flags, nullptr, f)
                         : UtilHeapObjectAlloc(heap->handle, n, flags);
        ++heap->objects;
        if (fuzzheap::FitsAlways(n)) FUZZ_CHECK(p != nullptr);
        if (fuzzheap::FitsNever(n)) FUZZ_CHECK(p == nullptr);
        if (p) {
          FUZZ_CHECK(UtilHeapObjectSize(heap->handle, p) == n);
          heap->live.emplace_back(p, n);
        }
        break;
      }
      case 4:   // free
        if (heap && !heap->live.empty()) {
          const size_t i = in.Byte() % heap->live.size();
          FUZZ_CHECK(UtilHeapObjectFree(heap->handle, heap->live[i].first) == 0);
          heap->live.erase(heap->live.begin() + static_cast<std::ptrdiff_t>(i));
          --heap->objects;
        }
        break;
      case 5:   // delete a heap
        if (heap) {
          auto* node = reinterpret_cast<zx::clsHeapNode*>(heap->handle);
          FUZZ_CHECK(UtilHeapDelete(heap->handle) == (heap->objects > 0 ? -5 : 0));
          FUZZ_CHECK(!zx::clsHeapNode::IsLive(node));
          job->heaps.erase(job->heaps.begin() + (heap - job->heaps.data()));
        }
        break;
      case 6:
        if (heap) {
          UtilHeapSizeObjects(heap->handle);
          UtilHeapValidate(heap->handle, nullptr);
          FUZZ_CHECK(reinterpret_cast<zx::clsHeapNode*>(heap->handle)->objects == heap->objects);
        }
        break;
      case 7:
        if (heap) UtilHeapShrink(heap->handle);
        break;
    }
  }
  // Heaps first, then every open of this input.
  for (auto& [name, job] : jobs) {
    for (Heap& heap : job.heaps) FUZZ_CHECK(UtilHeapDelete(heap.handle) == (heap.objects > 0 ? -5 : 0));
    for (int i = 0; i < job.opens; ++i) FUZZ_CHECK(UtilJobClose(job.handle) == 0);
  }
  FUZZ_CHECK(JobCount() == jobsBefore);
  return 0;
}
