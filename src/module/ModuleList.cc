#include "module/ModuleList.h"

#include <cstdlib>
#include <new>

#include "debug/Debug.h"
#include "module/HeapNode.h"
#include "module/JobLock.h"
#include "module/TraceScope.h"
#include "platform/compiler.h"

namespace zx {
namespace {

// The module list and each module's heap list: doubly linked, head and tail kept.
template <class Node>
void LinkAtTail(Node*& head, Node*& tail, Node* node) {
  node->prev = tail;
  node->next = nullptr;
  (tail ? tail->next : head) = node;
  tail = node;
}

template <class Node>
void Unlink(Node*& head, Node*& tail, Node* node) {
  (node->prev ? node->prev->next : head) = node->next;
  (node->next ? node->next->prev : tail) = node->prev;
}

bool SameName(const char16_t* stored, const char16_t* wanted) {
  int i = 0;
  for (; i < kNameChars && wanted[i]; ++i)
    if (stored[i] != wanted[i]) return false;
  return stored[i] == 0;   // a longer wanted name compares by its first 32 characters
}

void DestroyNode(clsModuleNode* node) {
  if (node->firstHeap) {
    if (IsDebugActive())
      DebugPrint(u"Error: deleting module '%s', but the following heaps are left:", node->name);
    while (clsHeapNode* heap = node->firstHeap) {
      node->firstHeap = heap->next;
      heap->Listing();
      heap->Destroy();
    }
    node->lastHeap = nullptr;
  }
  ReleaseStackRecord(node->stack);
  node->~clsModuleNode();
  std::free(node);
}

}  // namespace

void CopyName(char16_t (&dst)[kNameChars + 1], const char16_t* src) {
  int i = 0;
  for (; src && i < kNameChars && src[i]; ++i) dst[i] = src[i];
  dst[i] = 0;
}

clsModuleList& ModuleList() {
  static clsModuleList list;   // trivially destructible: usable until the very end
  return list;
}

clsModuleNode* clsModuleList::Find(const char16_t* name) const {
  for (clsModuleNode* n = head_; n; n = n->next)
    if (SameName(n->name, name)) return n;
  return nullptr;
}

bool clsModuleList::Contains(const clsModuleNode* node) const {
  for (clsModuleNode* n = head_; n; n = n->next)
    if (n == node) return true;
  return false;
}

// The stack is captured two frames up: past this function and JobOpen.
ZX_NOINLINE clsModuleNode* clsModuleList::Add(const char16_t* name, uint32_t flags) {
  void* memory = std::malloc(sizeof(clsModuleNode));
  if (!memory) {
    if (IsDebugActive()) DebugPrint(u"Error: clsModuleList::Add(..): Out of Memory");
    return nullptr;
  }
  auto* node = new (memory) clsModuleNode{};
  CopyName(node->name, name);
  node->flags = flags;
  node->stack = (flags & kJobTrace) ? CaptureStackRecord(2) : nullptr;
  node->refCount = 1;
  LinkAtTail(head_, tail_, node);
  return node;
}

int32_t clsModuleList::Delete(clsModuleNode* node) {
  if (!Contains(node)) {
    if (IsDebugActive()) DebugPrint(u"Error: clsModuleList::Delete(%#p): Invalid handle", node);
    return kRcInvalidHandle;
  }
  const bool heapsLeft = node->firstHeap != nullptr;
  Unlink(head_, tail_, node);
  DestroyNode(node);
  return heapsLeft ? kRcLeftOver : kRcOk;
}

bool clsModuleNode::HoldsHeap(const clsHeapNode* heap) const {
  for (clsHeapNode* h = firstHeap; h; h = h->next)
    if (h == heap) return true;
  return false;
}

clsHeapNode* clsModuleNode::AddHeap(const char16_t* heapName, uint32_t heapFlags) {
  clsHeapNode* heap = clsHeapNode::New(this, heapName, heapFlags);
  if (!heap) {
    if (IsDebugActive())
      DebugPrint(u"Error: clsModuleNode['%s']::AddHeap('%s',0x%08x): Out of Memory", name, heapName,
                 heapFlags);
    return nullptr;
  }
  LinkAtTail(firstHeap, lastHeap, heap);
  return heap;
}

int32_t clsModuleNode::DeleteHeap(clsHeapNode* heap) {
  if (!HoldsHeap(heap)) {
    if (IsDebugActive()) DebugPrint(u"Error: clsModuleNode['%s']::DeleteHeap(%#p): Invalid handle", name, heap);
    return kRcInvalidHandle;
  }
  const int32_t rc = heap->objects > 0 ? kRcLeftOver : kRcOk;
  Unlink(firstHeap, lastHeap, heap);
  heap->Destroy();
  return rc;
}

clsModuleNode* JobOpen(const char16_t* name, uint32_t flags) {
  JobLockHolder lock;
  scTraceScope scope((flags & kJobTrace) && IsDebugActive(), u"UtilJobOpen('%s',0x%08x)",
                     name ? name : u"(NULL)", flags);
  clsModuleNode* node = nullptr;
  // A null name is no supported input to the search: no node.
  if (name) {
    node = ModuleList().Find(name);
    if (node)
      ++node->refCount;   // the flags of this call are ignored
    else
      node = ModuleList().Add(name, flags);
  }
  scope.Close(u"->%#p", node);
  return node;
}

int32_t JobClose(clsModuleNode* module) {
  if (!module) return kRcOk;
  JobLockHolder lock;
  // A handle that is no node of the list is not read at all: a stale handle's memory
  // may already belong to someone else.
  if (!ModuleList().Contains(module)) return ModuleList().Delete(module);
  scTraceScope scope(module->Traced() && IsDebugActive(), u"UtilJobClose(%#p) ['%s']", module,
                     module->name);
  int32_t rc = kRcOk;
  if (module->refCount-- == 1) rc = ModuleList().Delete(module);
  if (rc == kRcInvalidHandle)
    scope.Line(u"Error: invalid module handle");
  else if (rc != kRcOk && rc != kRcLeftOver)
    scope.Line(u"Error: unknown result code '%d'", rc);
  scope.Close(u"->%d", rc);
  return rc;
}

}  // namespace zx
