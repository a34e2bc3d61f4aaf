// The tracked heaps' exports.
#include "module/HeapNode.h"
#include "zxUT22.h"

namespace {

const char16_t* Wide(LPCWSTR text) { return reinterpret_cast<const char16_t*>(text); }
zx::clsHeapNode* Node(HUTILHEAP heap) { return reinterpret_cast<zx::clsHeapNode*>(heap); }

}  // namespace

ZXUT_EXPORT HUTILHEAP ZXUT_API UtilHeapCreate(HUTILMODULE module, LPCWSTR name, DWORD flags) {
  return reinterpret_cast<HUTILHEAP>(
      zx::HeapCreate(reinterpret_cast<zx::clsModuleNode*>(module), Wide(name), flags));
}

ZXUT_EXPORT LONG ZXUT_API UtilHeapDelete(HUTILHEAP heap) { return zx::HeapDelete(Node(heap)); }

ZXUT_EXPORT void* ZXUT_API UtilHeapObjectAlloc(HUTILHEAP heap, LONG size, DWORD flags) {
  return zx::HeapObjectAlloc(Node(heap), size, flags, 0);
}

ZXUT_EXPORT void* ZXUT_API UtilHeapObjectAllocExt(HUTILHEAP heap, LONG size, DWORD flags, void*, LONG tag) {
  return zx::HeapObjectAlloc(Node(heap), size, flags, static_cast<uint32_t>(tag));
}

ZXUT_EXPORT LONG ZXUT_API UtilHeapObjectFree(HUTILHEAP heap, void* object) {
  return zx::HeapObjectFree(Node(heap), object);
}

ZXUT_EXPORT LONG ZXUT_API UtilHeapObjectSize(HUTILHEAP heap, void* object) {
  return zx::HeapObjectSize(Node(heap), object);
}

ZXUT_EXPORT LONG ZXUT_API UtilHeapSize(HUTILHEAP heap) { return zx::HeapSize(Node(heap)); }

ZXUT_EXPORT LONG ZXUT_API UtilHeapSizeObjects(HUTILHEAP heap) { return zx::HeapSizeObjects(Node(heap)); }

ZXUT_EXPORT LONG ZXUT_API UtilHeapValidate(HUTILHEAP heap, void* object) {
  return zx::HeapValidate(Node(heap), object);
}

ZXUT_EXPORT LONG ZXUT_API UtilHeapShrink(HUTILHEAP heap) { return zx::HeapShrink(Node(heap)); }
