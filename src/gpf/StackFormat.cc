// Item texts and DumpStackTraceEx.
#include "gpf/StackFormat.h"

#include <cstring>

#include "core/format/Format.h"
#include "debug/Debug.h"
#include "gpf/DbgHelpWrapper.h"
#include "platform/debug_help.h"

namespace zx {
namespace {

constexpr size_t kTextMax = 99;

// At most 99 characters of a narrow or wide text at `address`; false when unreadable.
bool ReadText(uint64_t address, bool wide, char16_t* out) {
  size_t n = 0;
  for (; n < kTextMax; ++n) {
    char16_t c = 0;
    if (wide) {
      if (!plat::ReadMemorySafely(address + 2 * n, &c, 2)) return n > 0 ? (out[n] = 0, true) : false;
    } else {
      unsigned char b = 0;
      if (!plat::ReadMemorySafely(address + n, &b, 1)) return n > 0 ? (out[n] = 0, true) : false;
      c = b;
    }
    if (!c) break;
    out[n] = c;
  }
  out[n] = 0;
  return true;
}

}  // namespace

void FormatParamValue(const DBGParamItem& p, bool, char16_t* out, size_t size) {
  char16_t text[kTextMax + 1];
  const void* pointer = reinterpret_cast<const void*>(static_cast<uintptr_t>(p.qwValue));
  switch (p.dwKind) {
    case kDbgU32: FormatTo(out, size, u"%u=0x%08x", static_cast<uint32_t>(p.qwValue), static_cast<uint32_t>(p.qwValue)); break;
    case kDbgU64: FormatTo(out, size, u"%I64u=0x%016I64x", p.qwValue, p.qwValue); break;
    case kDbgI32: FormatTo(out, size, u"%d", static_cast<int32_t>(p.qwValue)); break;
    case kDbgI64: FormatTo(out, size, u"%I64d", static_cast<int64_t>(p.qwValue)); break;
    case kDbgDouble: {
      double d;
      std::memcpy(&d, &p.qwValue, 8);
      FormatTo(out, size, u"%g", d);
      break;
    }
    case kDbgCharPtr:
    case kDbgWCharPtr:
    case kDbgBstr:
      if (!ReadText(p.qwValue, p.dwKind != kDbgCharPtr, text)) {
        FormatTo(out, size, u"%#p '%s'", pointer, u"(inaccessible)");
      } else if (p.dwKind != kDbgCharPtr && std::char_traits<char16_t>::compare(text, u"@@@<", 4) == 0) {
        FormatTo(out, size, u"%s", text + 3);
      } else {
        FormatTo(out, size, u"%#p '%s'", pointer, text);
      }
      break;
    case kDbgPointer:   // the full 64 bits in both widths ("%Lx" would read a long double's length)
      FormatTo(out, size, u"0x%016I64x", p.qwValue);
      break;
    default: FormatTo(out, size, u"0x%08x", static_cast<uint32_t>(p.qwValue)); break;
  }
}

void FormatStackItem(const DBGStackTraceItem& item, bool width64, LinePrinter print, void* context) {
  char16_t suffix[400] = u"";
  if (item.szFileName[0]) FormatTo(suffix, 400, u"  (%hs, line %d)", item.szFileName, static_cast<int>(item.dwLineNumber));
  const char* symbol = item.szUndFullName[0] ? item.szUndFullName : item.szUndName[0] ? item.szUndName : item.szSymbol;
  static constexpr size_t kLine = 4200;
  char16_t* line = new char16_t[kLine];
  if (item.dwKind == 0) {
    if (symbol[0]) {
      FormatTo(line, kLine, width64 ? u"[0x%016I64x] %hs!%hs + 0x%016I64x %s\n" : u"[0x%08I64x] %hs!%hs + 0x%08I64x %s\n",
               item.qwAddress, item.szModuleName, symbol, item.qwDisplacement, suffix);
    } else {
      FormatTo(line, kLine, width64 ? u"[0x%016I64x] %hs!+0x%016I64x %s\n" : u"[0x%08I64x] %hs!+0x%08I64x %s\n",
               item.qwAddress, item.szModuleName, item.qwAddress - item.qwModuleBase, suffix);
    }
    print(context, line);
    const DWORD n = item.dwParams < DBG_MAX_PARAMS ? item.dwParams : DBG_MAX_PARAMS;
    for (DWORD i = 0; i < n; ++i) {
      const DBGParamItem& p = item.aParams[i];
      char16_t value[300];
      FormatParamValue(p, width64, value, 300);
      FormatTo(line, kLine, u"        %s(%hs)=%s", p.bLocal ? u"local" : u"param", p.szName, value);
      print(context, line);
    }
  } else {
    if (symbol[0] && item.qwDisplacement) {
      FormatTo(line, kLine, width64 ? u"   CALL [0x%016I64x] %hs!%hs + 0x%016I64x %s" : u"   CALL [0x%08I64x] %hs!%hs + 0x%08I64x %s",
               item.qwAddress, item.szModuleName, symbol, item.qwDisplacement, suffix);
    } else if (symbol[0]) {
      FormatTo(line, kLine, width64 ? u"   CALL [0x%016I64x] %hs!%hs %s" : u"   CALL [0x%08I64x] %hs!%hs %s",
               item.qwAddress, item.szModuleName, symbol, suffix);
    } else {
      FormatTo(line, kLine, width64 ? u"   CALL [0x%016I64x] %hs!0x%016I64x %s" : u"   CALL [0x%08I64x] %hs!0x%08I64x %s",
               item.qwAddress, item.szModuleName, item.qwAddress, suffix);
    }
    print(context, line);
  }
  delete[] line;
}

void FormatModuleItem(const DBGModuleItem& item, char16_t* out, size_t size) {
  FormatTo(out, size, u"0x%08x: %-20hs %-45hs %-30hs '%hs'  [%hs]", static_cast<uint32_t>(item.qwBase),
           item.szModuleName, item.szDescription, item.szCompany, item.szVersion, item.szPath);
}

int DumpStackTraceEx(uint32_t frames, bool useThread, clsDebugOutput* out) {
  plat::ContextAmd64 context;
  plat::CaptureContext(&context);
  clsDBGHelpWrapperThis wrapper(frames, useThread);
  if (!wrapper.Open() || !wrapper.HasEngine()) return 0;
  IDBGStackTraceList* list = nullptr;
  if (!wrapper.GetStackTrace(&list, context) || !list) return 0;
  list->Reset();
  DBGStackTraceItem* item = nullptr;
  ULONG got = 0;
  while (list->Next(1, &item, &got) == 0 && got == 1) {
    FormatStackItem(
        *item, true, [](void* o, const char16_t* line) { static_cast<clsDebugOutput*>(o)->Printf(u"%s", line); },
        out ? out : &DebugOutputObject());
  }
  list->Release();
  return 1;
}

}  // namespace zx
