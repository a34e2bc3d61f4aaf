// Module jobs: one clsModuleNode per component name, counted, in the one process-
// wide clsModuleList. A node owns its heaps. Everything here runs under the job lock.
#pragma once
#include <cstdint>

#include "module/JobLock.h"
#include "module/StackRecord.h"
#include "platform/thread_annotations.h"

namespace zx {

class clsHeapNode;

constexpr uint32_t kJobTrace = 0x80000000u;        // bit 31: trace scopes, opening stack
constexpr uint32_t kJobDebugHeaps = 0x40000000u;   // bit 30: every heap a debug heap

// Return codes of the job and heap exports.
constexpr int32_t kRcOk = 0;
constexpr int32_t kRcInvalidHandle = -2;
constexpr int32_t kRcCorrupted = -3;
constexpr int32_t kRcLeftOver = -5;
constexpr int32_t kRcBadObject = -6;
constexpr int32_t kRcUnavailable = -7;

constexpr int kNameChars = 32;

class clsModuleNode {
 public:
  char16_t name[kNameChars + 1];
  uint32_t flags;
  scStackRecord* stack;
  uint32_t refCount;
  clsModuleNode* next;
  clsModuleNode* prev;
  clsHeapNode* firstHeap;
  clsHeapNode* lastHeap;

  bool Traced() const { return (flags & kJobTrace) != 0; }
  // Creates a heap node at the tail of this module's list; null when out of memory.
  clsHeapNode* AddHeap(const char16_t* heapName, uint32_t heapFlags);
  // Unlinks and destroys a heap of this module: -2 unknown, -5 objects left, else 0.
  int32_t DeleteHeap(clsHeapNode* heap);
  bool HoldsHeap(const clsHeapNode* heap) const;
};

class clsModuleList {
 public:
  clsModuleNode* Find(const char16_t* name) const ZX_REQUIRES(g_jobLock);
  // A new node at the tail; null when out of memory.
  clsModuleNode* Add(const char16_t* name, uint32_t flags) ZX_REQUIRES(g_jobLock);
  // Unlinks and destroys a node: -2 unknown, -5 heaps were left, else 0.
  int32_t Delete(clsModuleNode* node) ZX_REQUIRES(g_jobLock);
  bool Contains(const clsModuleNode* node) const ZX_REQUIRES(g_jobLock);
  clsModuleNode* Head() const ZX_REQUIRES(g_jobLock) { return head_; }

 private:
  clsModuleNode* head_ ZX_GUARDED_BY(g_jobLock) = nullptr;
  clsModuleNode* tail_ ZX_GUARDED_BY(g_jobLock) = nullptr;
};

clsModuleList& ModuleList();

// Copies at most 32 characters; null gives an empty name.
void CopyName(char16_t (&dst)[kNameChars + 1], const char16_t* src);

// UtilJobOpen / UtilJobClose.
clsModuleNode* JobOpen(const char16_t* name, uint32_t flags);
int32_t JobClose(clsModuleNode* module);

}  // namespace zx
