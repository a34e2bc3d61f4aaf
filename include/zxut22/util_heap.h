/* Tracked heaps of a module job. A null heap selects the untracked path through
 * the general allocator. */
#ifndef ZXUT22_UTIL_HEAP_H
#define ZXUT22_UTIL_HEAP_H

#include "types.h"
#include "util_module.h"

typedef struct UTILHEAP__* HUTILHEAP;

/* Heap flags. */
#define UTIL_HEAP_NO_SERIALIZE 0x10u
#define UTIL_HEAP_EXCEPTIONS 0x20u
#define UTIL_HEAP_NEVER_DEBUG 0x40u   /* clears UTIL_HEAP_DEBUG */
#define UTIL_HEAP_REFUSED 0x80u       /* UtilHeapCreate returns null */
#define UTIL_HEAP_QUIET_LEAKS 0x100u  /* no warning when deleted with objects left */
#define UTIL_HEAP_DEBUG 0x40000000u   /* debug heap: creation stack, debug objects, checks */
/* Object flags. */
#define UTIL_OBJ_ZERO 0x1u        /* zero the user area (wins over UTIL_OBJ_FILL) */
#define UTIL_OBJ_FILL 0x2u        /* fill the user area with 0xF5 */
#define UTIL_OBJ_NO_STACK 0x4u    /* debug objects: capture no stack */
#define UTIL_OBJ_PLAIN 0x40u      /* plain object even on a debug heap */
#define UTIL_OBJ_DEBUG 0x40000000u /* debug object even on a plain heap */

ZXUT_EXPORT HUTILHEAP ZXUT_API UtilHeapCreate(HUTILMODULE module, LPCWSTR name, DWORD flags);
/* 0 (also for null), -2 unknown heap, -5 objects were left. */
ZXUT_EXPORT LONG ZXUT_API UtilHeapDelete(HUTILHEAP heap);
ZXUT_EXPORT void* ZXUT_API UtilHeapObjectAlloc(HUTILHEAP heap, LONG size, DWORD flags);
/* As UtilHeapObjectAlloc; `tag` is stored with a debug object. */
ZXUT_EXPORT void* ZXUT_API UtilHeapObjectAllocExt(HUTILHEAP heap, LONG size, DWORD flags, void* ignored,
                                                 LONG tag);
/* 0, or -6 for a bad pointer, a changed fence or a failed free. */
ZXUT_EXPORT LONG ZXUT_API UtilHeapObjectFree(HUTILHEAP heap, void* object);
/* The object's size, or a negative code. */
ZXUT_EXPORT LONG ZXUT_API UtilHeapObjectSize(HUTILHEAP heap, void* object);
/* Debug heaps: the size of the last busy block of a walk; -7 for plain heaps. */
ZXUT_EXPORT LONG ZXUT_API UtilHeapSize(HUTILHEAP heap);
/* The size of the last busy block of a walk, on any heap. */
ZXUT_EXPORT LONG ZXUT_API UtilHeapSizeObjects(HUTILHEAP heap);
/* 0, or -3 when the system finds the object's block (or the heap) corrupted. */
ZXUT_EXPORT LONG ZXUT_API UtilHeapValidate(HUTILHEAP heap, void* object);
/* 0, or -2 when compaction failed. */
ZXUT_EXPORT LONG ZXUT_API UtilHeapShrink(HUTILHEAP heap);

#endif
