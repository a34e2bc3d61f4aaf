// The profile store's operations behind the Prof* exports, on wide text. The
// exports cast handles and text and call these; tests and fuzzers call them too.
// Every operation tests the job against null: counts and handles give 0 or null,
// codes give 0, except GetError, DebugList and CopyList, which give
// PROF_ERR_HANDLE (-5); value operations then do nothing.
// Errors: the codes below, kept per job (GetError) and returned by the operations
// that return a code; nothing throws or sets plat::LastError.
// Threads: a job is not thread-safe; the caller serialises every call on a job and
// its lists (CopyList: on both jobs). Only the reference count is atomic, so
// JobAddRef and JobClose may come from any thread. SetOption is process-wide and
// locked.
//
//   clsProfJob* job = JobOpen(nullptr, 0);
//   SetString(job, nullptr, u"window\\title", u"Main");
//   char16_t title[64];
//   GetString(job, nullptr, u"window\\title", title, 64, u"");
//   JobClose(job);
#pragma once
#include <cstdint>

#include "prof/TextForms.h"
#include "prof/ProfJob.h"

namespace zx::prof {

// Codes of the family (the public header has the same numbers).
enum : int32_t {
  kOk = 0,
  kErrOpen = -1,
  kErrSave = -3,
  kErrWrite = -4,
  kErrHandle = -5,
  kErrNotFound = -6,
  kErrParse = -7,
  kErrMemory = -8,
  kErrFormat = -9,
  kErrLocked = -10,
};

// ---- jobs
// openMode 0 shared, 1 exclusive. A null name gives an empty job with error 0.
// With a name the job keeps it and loads the file: a reserved name gives
// kErrOpen; a file held by others is waited for up to 10 s (the library clock)
// and then gives kErrLocked; a file that cannot be opened kErrOpen (shared) or
// kErrSave (exclusive); a parse error kErrParse, with what was read in the tree.
// An exclusive job holds its file open until the job ends.
clsProfJob* JobOpen(const char16_t* fileName, int32_t openMode);
void JobAddRef(clsProfJob* job);
void JobClose(clsProfJob* job);
int32_t GetError(clsProfJob* job);

// ---- the tree
clsItemList* GetList(clsProfJob* job, clsItemList* list, const char16_t* path);
clsItemList* CreateList(clsProfJob* job, clsItemList* list, const char16_t* path);
clsItemList* AppendList(clsProfJob* job, clsItemList* list, const char16_t* path);
int32_t EmptyList(clsProfJob* job, clsItemList* list);
int32_t DeleteList(clsProfJob* job, clsItemList* list, const char16_t* path);
int32_t DeleteItem(clsProfJob* job, clsItemList* list, const char16_t* path);
// The callback sees each item of the list as the list stood when the walk began;
// items it deletes meanwhile are still reported with their texts.
using EnumCallback = bool (*)(void* context, clsProfJob* job, const char16_t* name,
                              const char16_t* value, clsItemList* sublist);
int32_t Enum(clsProfJob* job, clsItemList* list, EnumCallback callback, void* context);
int32_t CopyList(clsProfJob* targetJob, clsItemList* targetList, clsProfJob* sourceJob,
                 clsItemList* sourceList);
int32_t DebugList(clsProfJob* job, clsItemList* list);

// ---- options
void SetOption(int32_t option, uint16_t value);
int32_t GetOption(int32_t option);

// ---- string values
void AppendString(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* value);
void SetString(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* value);
int32_t GetString(clsProfJob* job, clsItemList* list, const char16_t* path, char16_t* buffer,
                  int32_t size, const char16_t* def);
int32_t GetStringLength(clsProfJob* job, clsItemList* list, const char16_t* path);
// The value item a get finds (a leading "/" restarts at the root), or null.
clsItem* FindValue(clsProfJob* job, clsItemList* list, const char16_t* path);

// ---- typed values: append (append = true) or set
void PutBool(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int32_t value);
void PutDouble(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, double value);
void PutInt(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int32_t value);
void PutIntHex(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int32_t value);
void PutInt64(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int64_t value);
void PutInt64Hex(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int64_t value);
void PutPoint(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, const PointValue* value);
void PutRect(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, const RectValue* value);
void PutRectLTWH(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, const RectValue* value);
void PutColorref(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, uint32_t value);

// Typed gets; a null `out` is left alone, a null default structure reads as zeros.
int32_t GetBool(clsProfJob* job, clsItemList* list, const char16_t* path, int32_t* out, int32_t def);
int32_t GetDouble(clsProfJob* job, clsItemList* list, const char16_t* path, double* out, double def);
int32_t GetInt(clsProfJob* job, clsItemList* list, const char16_t* path, int32_t* out, int32_t def);
int32_t GetInt64(clsProfJob* job, clsItemList* list, const char16_t* path, int64_t* out, int64_t def);
int32_t GetPoint(clsProfJob* job, clsItemList* list, const char16_t* path, PointValue* out,
                 const PointValue* def);
int32_t GetRect(clsProfJob* job, clsItemList* list, const char16_t* path, RectValue* out,
                const RectValue* def);
int32_t GetRectLTWH(clsProfJob* job, clsItemList* list, const char16_t* path, RectValue* out,
                    const RectValue* def);
int32_t GetColorref(clsProfJob* job, clsItemList* list, const char16_t* path, uint32_t* out,
                    uint32_t def);

// ---- parsing text without a job; each returns the scanner's count of the last
// attempt (ToBool: 1 when a text was read, else 0)
int32_t TextToBool(const char16_t* text, int32_t* out, int32_t def);
int32_t TextToInt(const char16_t* text, int32_t* out, int32_t def);
int32_t TextToInt64(const char16_t* text, int64_t* out, int64_t def);
int32_t TextToRect(const char16_t* text, RectValue* out, const RectValue* def);
int32_t TextToColorref(const char16_t* text, uint32_t* out, uint32_t def);

}  // namespace zx::prof
