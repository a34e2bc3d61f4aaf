// Tracked heaps under hostile clients: the input is a sequence of allocations (of
// any 32-bit size: those above the ceiling of heap_fuzz_util.h must fail cleanly and
// still count), frees, stray writes into objects (their headers and fences too), frees and size
// queries of pointers that are no objects, double frees, validation and walks. The
// heap must answer with its return codes and never fault; its counters must follow
// the allocations and the successful frees. Debug output is on with discarding
// sinks, so that the reports and dumps are built as well.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "debug/DebugChannel.h"
#include "heap_fuzz_util.h"
#include "module/HeapNode.h"
#include "module/ModuleList.h"

namespace {

constexpr int32_t kWalkLimit = 16;

struct Object {
  uint8_t* user;
  int32_t size;
  bool debug;
  bool live;
  bool damaged;   // a stray write may have hit its header or fence
};

class Input {
 public:
  Input(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
  bool More() const { return p_ < end_; }
  uint8_t Byte() { return p_ < end_ ? *p_++ : 0; }
  size_t Index(size_t n) { return (Byte() | static_cast<size_t>(Byte()) << 8) % n; }

 private:
  const uint8_t* p_;
  const uint8_t* end_;
};

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "heap invariant broken: %s\n", what);
    std::abort();
  }
}

// A successful free must have freed a live object with that pointer: a freed one's
// block may since have gone to a new object, which the stale pointer then frees.
void Retire(std::vector<Object>& objects, const uint8_t* user, int32_t& live) {
  for (Object& o : objects) {
    if (o.live && o.user == user) {
      o.live = false;
      --live;
      return;
    }
  }
  Check(false, "a free succeeded for no live object");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool setUp = (zx::DebugChannel()->SetDiscardSinks(true), fuzzheap::InstallCappedHeapServices(), true);
  (void)setUp;
  Input in(data, size);
  zx::clsModuleNode* module = zx::JobOpen(u"fuzz", in.Byte() & 1 ? zx::kJobTrace : 0);
  zx::clsHeapNode* heap = zx::HeapCreate(module, u"heap", in.Byte() & 1 ? zx::kHeapDebug : 0);
  Check(heap != nullptr, "heap created");
  std::vector<Object> objects;
  int32_t live = 0;
  for (int steps = 0; in.More() && steps < 2000; ++steps) {
    const uint8_t op = in.Byte() % 8;
    Object* o = objects.empty() ? nullptr : &objects[in.Index(objects.size())];
    switch (op) {
      case 0: {   // allocate
        const int32_t n = fuzzheap::ReadSize(in);
        const uint32_t f = in.Byte();
        const uint32_t flags = (f & 0x7) | (f & 0x8 ? zx::kObjPlain : 0) | (f & 0x10 ? zx::kObjDebug : 0) |
                               zx::kObjNoStack * ((f & 0x20) != 0);
        auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(heap, n, flags, f));
        ++live;   // a failed allocation counts as a live object too
        if (fuzzheap::FitsAlways(n)) Check(p != nullptr, "allocation under the ceiling");
        if (fuzzheap::FitsNever(n)) Check(p == nullptr, "allocation above the ceiling");
        if (p) objects.push_back({p, n, p[-4] == 0xFE && p[-1] == 0xAF, true, false});
        break;
      }
      case 1:   // free, a second time too
        if (o) {
          const int32_t rc = zx::HeapObjectFree(heap, o->user);
          Check(rc == 0 || rc == -6, "free result");
          if (rc == 0) Retire(objects, o->user, live);
        }
        break;
      case 2:   // a stray write inside the object's block
        if (o && o->live) {
          const int front = o->debug ? 44 : 4;
          const int back = o->debug ? 4 : 0;
          const int span = front + o->size + back;
          const int at = static_cast<int>(in.Byte() * 256 + in.Byte()) % span - front;
          o->user[at] = in.Byte();
          if (at < 0 || at >= o->size) o->damaged = true;
        }
        break;
      case 3:   // a pointer into the middle of an object
        if (o && o->live && o->size > 0) {
          uint8_t* inside = o->user + 1 + in.Byte() % o->size;
          const int32_t rc = zx::HeapObjectFree(heap, inside);
          Check(rc == -6 || rc == 0, "inner free result");
          if (rc == 0) Retire(objects, inside, live);
        }
        break;
      case 4:
        if (o && o->live) {
          const int32_t n = zx::HeapObjectSize(heap, o->user);
          if (!o->damaged) Check(n == o->size, "object size");
        }
        break;
      // The walks (whole-heap validation, sizes, listing) print every object: they
      // are kept to small heaps, so that a long input stays fast.
      case 5:
        if (o && o->live)
          zx::HeapValidate(heap, o->user);
        else if (live <= kWalkLimit)
          zx::HeapValidate(heap, nullptr);
        break;
      case 6:
        if (live <= kWalkLimit) {
          zx::HeapSize(heap);
          zx::HeapSizeObjects(heap);
        }
        break;
      case 7:
        if (live <= kWalkLimit) heap->Listing();
        break;
    }
    Check(heap->objects == live, "live object count");
  }
  const int32_t rc = zx::HeapDelete(heap);
  Check(rc == (live > 0 ? -5 : 0), "delete result");
  zx::JobClose(module);
  return 0;
}
