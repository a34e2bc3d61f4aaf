// The fixed records of a stack trace and a module list, and the two enumerators
// that hand them to callers: reference-counted, COM-style, each keeping its items
// in a circular singly linked list with a cursor.
// Threads: a list is filled by one thread and then read by one thread at a time.
//
//   IDBGStackTraceList* list = ...; DBGStackTraceItem* item; ULONG got;
//   list->Reset(); while (list->Next(1, &item, &got) == 0) Print(item);
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/com.h"
#include "zxut22/util_crash.h"

static_assert(sizeof(DBGParamItem) == 80);
static_assert(offsetof(DBGParamItem, bLocal) == 4);
static_assert(offsetof(DBGParamItem, qwValue) == 8);
static_assert(offsetof(DBGParamItem, szName) == 16);
static_assert(sizeof(DBGStackTraceItem) == DBG_STACKTRACEITEM_SIZE);
static_assert(offsetof(DBGStackTraceItem, dwKind) == 4);
static_assert(offsetof(DBGStackTraceItem, qwAddress) == 8);
static_assert(offsetof(DBGStackTraceItem, szSymbol) == 16);
static_assert(offsetof(DBGStackTraceItem, szUndName) == 1040);
static_assert(offsetof(DBGStackTraceItem, szUndFullName) == 2064);
static_assert(offsetof(DBGStackTraceItem, qwDisplacement) == 3088);
static_assert(offsetof(DBGStackTraceItem, dwLineDisplacement) == 3096);
static_assert(offsetof(DBGStackTraceItem, dwLineNumber) == 3100);
static_assert(offsetof(DBGStackTraceItem, szFileName) == 3104);
static_assert(offsetof(DBGStackTraceItem, szSymType) == 3368);
static_assert(offsetof(DBGStackTraceItem, qwModuleBase) == 4392);
static_assert(offsetof(DBGStackTraceItem, szModuleName) == 4400);
static_assert(offsetof(DBGStackTraceItem, dwParams) == 5424);
static_assert(offsetof(DBGStackTraceItem, aParams) == 5432);
static_assert(sizeof(DBGModuleItem) == DBG_MODULEITEM_SIZE);
static_assert(offsetof(DBGModuleItem, szPath) == 4);
static_assert(offsetof(DBGModuleItem, szModuleName) == 264);
static_assert(offsetof(DBGModuleItem, szSymType) == 524);
static_assert(offsetof(DBGModuleItem, qwBase) == 560);
static_assert(offsetof(DBGModuleItem, dwImageSize) == 568);
static_assert(offsetof(DBGModuleItem, szDescription) == 572);
static_assert(offsetof(DBGModuleItem, szCompany) == 636);
static_assert(offsetof(DBGModuleItem, szVersion) == 700);

// Value kinds of a parameter or local.
enum : uint32_t { kDbgU32 = 0, kDbgU64 = 1, kDbgI32 = 2, kDbgI64 = 3, kDbgDouble = 4, kDbgCharPtr = 5,
                  kDbgWCharPtr = 6, kDbgBstr = 7, kDbgPointer = 8 };

// The enumerator slots after IUnknown's, in order.
template <typename Item>
struct IDBGList : IUnknown {
  virtual HRESULT ZX_COMCALL Next(ULONG count, Item** items, ULONG* fetched) = 0;
  virtual HRESULT ZX_COMCALL Skip(ULONG count) = 0;
  virtual HRESULT ZX_COMCALL Reset() = 0;
  virtual HRESULT ZX_COMCALL Clone(IDBGList** out) = 0;
  virtual BOOL ZX_COMCALL IsEmpty() = 0;
  virtual ~IDBGList() = default;
};
struct IDBGStackTraceList : IDBGList<DBGStackTraceItem> {};
struct IDBGModuleList : IDBGList<DBGModuleItem> {};

namespace zx {

// Copies narrow text into a fixed field, cut to fit and always terminated.
void CopyField(char* field, size_t size, const char* text);
template <size_t N>
void CopyField(char (&field)[N], const char* text) { CopyField(field, N, text); }

// The list shared by both record kinds. A clone shares the items (they live as
// long as any list that holds them).
template <typename Item, typename Interface>
class clsDBGList final : public Interface {
 public:
  clsDBGList();
  // Appends a copy; false when it cannot be allocated.
  bool Append(const Item& item);
  size_t Count() const;

  HRESULT ZX_COMCALL QueryInterface(REFIID riid, void** ppv) override;
  ULONG ZX_COMCALL AddRef() override;
  ULONG ZX_COMCALL Release() override;
  HRESULT ZX_COMCALL Next(ULONG count, Item** items, ULONG* fetched) override;
  HRESULT ZX_COMCALL Skip(ULONG count) override;
  HRESULT ZX_COMCALL Reset() override;
  HRESULT ZX_COMCALL Clone(IDBGList<Item>** out) override;
  BOOL ZX_COMCALL IsEmpty() override;

 private:
  struct Node;
  struct Items;   // the ring, shared by clones
  ~clsDBGList() override;
  explicit clsDBGList(Items* items);
  bool Step(Item** out);

  std::atomic<ULONG> refs_{1};
  Items* items_;
  Node* cursor_ = nullptr;
  int state_ = 0;   // 2: at end
};

using clsDBGStackTraceList = clsDBGList<DBGStackTraceItem, IDBGStackTraceList>;
using clsDBGModuleList = clsDBGList<DBGModuleItem, IDBGModuleList>;

}  // namespace zx
