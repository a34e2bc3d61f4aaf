// The engine: symbol search path, the walk into fixed records with symbols, lines,
// modules, parameters and locals, the module list and the dump file.
#include "gpf/DbgHelp.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <set>
#include <string>

#include "core/format/Format.h"
#include "core/registry/Registry.h"
#include "core/identity/Identity.h"
#include "debug/Debug.h"
#include "file/TempName.h"
#include "platform/event.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/version_info.h"
#include "thread/ThreadBase.h"

namespace zx {
namespace {

constexpr size_t kMaxEntries = DBG_MAX_PARAMS;

std::atomic<clsDBGHELP::ServicesFactory> g_factory{nullptr};

std::string Narrow(std::u16string_view text) {
  String s{std::u16string(text).c_str()};
  return s.narrow();
}

const char* BaseTypeName(uint32_t bt) {
  switch (bt) {
    case 1: return "Void";
    case 2: return "Char";
    case 3: return "WChar";
    case 6: return "Int";
    case 7: return "UInt";
    case 8: return "Float";
    case 9: return "BCD";
    case 10: return "Bool";
    case 13: return "Long";
    case 14: return "ULong";
    case 25: return "Currency";
    case 26: return "Date";
    case 27: return "Variant";
    case 28: return "Complex";
    case 29: return "Bit";
    case 30: return "BSTR";
    case 31: return "Hresult";
    default: return "unknown type";
  }
}

uint64_t TextValue(const char16_t* text) { return reinterpret_cast<uintptr_t>(InternEngineText(text)); }

// The value of one parameter or local by its length and base type; false drops
// the entry (no type at all).
bool Convert(const plat::Variable& v, DBGParamItem* p) {
  if (!v.hasType) return false;
  if (v.arrayCount && v.tag == 15) {
    char16_t text[128];
    char16_t type[32];
    FormatTo(type, 32, u"%hs", BaseTypeName(v.baseType));
    FormatTo(text, 128, u"@@@<array[%d] of %s>", static_cast<int>(v.arrayCount), type);
    p->dwKind = kDbgWCharPtr;
    p->qwValue = TextValue(text);
    return true;
  }
  if (v.pointerWithoutBase) {
    p->dwKind = kDbgPointer;
  }
  uint64_t raw = 0;
  bool known = false;
  if (v.inRegister) {
    raw = v.registerValue;
    known = true;
  } else if (v.address && v.length && v.length <= 8) {
    known = plat::ReadMemorySafely(v.address, &raw, static_cast<size_t>(v.length));
  }
  if (v.pointerWithoutBase) {
    p->qwValue = known ? raw : 0;
    return true;
  }
  switch (v.length) {
    case 1:
    case 2:
      p->dwKind = kDbgU32;
      p->qwValue = v.length == 1 ? (raw & 0xFF) : (raw & 0xFFFF);
      return true;
    case 4:
      raw &= 0xFFFFFFFFu;
      if (v.baseType == plat::kBtChar || v.baseType == plat::kBtWChar) {
        if (!(raw >> 16)) {
          p->dwKind = kDbgWCharPtr;
          p->qwValue = TextValue(v.baseType == plat::kBtChar ? u"<invalid Char pointer, NULL HIword>"
                                                             : u"<invalid WChar pointer, NULL HIword>");
        } else {
          p->dwKind = v.baseType == plat::kBtChar ? kDbgCharPtr : kDbgWCharPtr;
          p->qwValue = raw;
        }
      } else if (v.baseType == plat::kBtInt) {
        p->dwKind = kDbgI32;
        p->qwValue = raw;
      } else if (v.baseType == plat::kBtFloat) {
        float f;
        uint32_t bits = static_cast<uint32_t>(raw);
        std::memcpy(&f, &bits, 4);
        double d = f;
        p->dwKind = kDbgDouble;
        std::memcpy(&p->qwValue, &d, 8);
      } else if (v.baseType == plat::kBtBSTR) {
        p->dwKind = kDbgBstr;
        p->qwValue = raw ? raw : TextValue(u"<invalid BSTR pointer, NULL HIword>");
        if (!raw) p->dwKind = kDbgWCharPtr;
      } else {
        p->dwKind = kDbgU32;
        p->qwValue = raw;
      }
      return true;
    case 8:
      if (v.baseType == plat::kBtChar || v.baseType == plat::kBtWChar || v.baseType == plat::kBtBSTR) {
        if (raw < 0x10000) {
          p->dwKind = kDbgWCharPtr;
          p->qwValue = TextValue(v.baseType == plat::kBtChar    ? u"<invalid 64 bit Char pointer, NULL HIword>"
                                 : v.baseType == plat::kBtWChar ? u"<invalid 64 bit WChar pointer, NULL HIword>"
                                                                : u"<invalid 64 bit BSTR pointer, NULL HIword>");
        } else {
          p->dwKind = v.baseType == plat::kBtChar ? kDbgCharPtr : v.baseType == plat::kBtWChar ? kDbgWCharPtr : kDbgBstr;
          p->qwValue = raw;
        }
      } else if (v.baseType == plat::kBtInt || v.baseType == plat::kBtLong) {
        p->dwKind = kDbgI64;
        p->qwValue = raw;
      } else if (v.baseType == plat::kBtFloat) {
        p->dwKind = kDbgDouble;
        p->qwValue = raw;
      } else {
        p->dwKind = kDbgU64;
        p->qwValue = raw;
      }
      return true;
    default: {
      char16_t text[80];
      FormatTo(text, 80, u"@@@<param of size %d, possibly struct>", static_cast<int>(v.length));
      p->dwKind = kDbgWCharPtr;
      p->qwValue = TextValue(text);
      return true;
    }
  }
}

}  // namespace

const char16_t* InternEngineText(const char16_t* text) {
  static std::mutex* lock = new std::mutex;
  static auto* table = new std::set<std::u16string>;   // lives as long as the library
  std::lock_guard<std::mutex> guard(*lock);
  return table->insert(text).first->c_str();
}

clsDBGHELP::clsDBGHELP(uint32_t processId, uint32_t threadId) : processId_(processId), threadId_(threadId) {}

clsDBGHELP::~clsDBGHELP() {
  if (modules_) modules_->Release();
}

void clsDBGHELP::SetServicesForTests(ServicesFactory factory) { g_factory.store(factory); }

String clsDBGHELP::SymbolSearchPath() {
  std::u16string path;
  auto add = [&path](const std::u16string& part) {
    if (part.empty()) return;
    if (!path.empty()) path += u';';
    path += part;
  };
  add(u".");
  add(plat::CurrentDirectory());
  add(std::u16string(Identity().processFolder.View()));
  add(plat::EnvironmentVariable(u"_NT_SYMBOL_PATH"));
  add(plat::EnvironmentVariable(u"_NT_ALTERNATE_SYMBOL_PATH"));
  const std::u16string root = plat::EnvironmentVariable(u"SYSTEMROOT");
  if (!root.empty()) {
    add(root);
    add(root + u"\\system32");
    add(root + u"\\syswow64");
  }
  if (plat::EnvironmentVariable(u"USER") == u"zrk") add(u"d:\\bin");
  return String(path.c_str());
}

bool clsDBGHELP::Initialise(uint32_t mode) {
  if (services_) return true;
  mode_ = mode;
  const std::u16string path = (mode & 1) ? std::u16string(SymbolSearchPath().View()) : std::u16string();
  ServicesFactory factory = g_factory.load();
  services_ = factory ? factory(path, (mode & 2) != 0) : plat::SymbolServices::Open(path, (mode & 2) != 0);
  return services_ != nullptr;
}

void clsDBGHELP::FillFrame(const plat::Frame& frame, bool innermost, const plat::ContextAmd64& context,
                           uint32_t flags, DBGStackTraceItem* item) {
  std::memset(item, 0, sizeof *item);
  item->dwSize = sizeof *item;
  item->qwAddress = frame.pc;
  item->dwParams = 4;
  const uint64_t lookup = frame.activation ? frame.pc : frame.pc - 1;
  plat::ModuleInfo module;
  const bool haveModule = services_->Module(lookup, &module);
  if (!(flags & (kWalkModule | kWalkSymbol | kWalkParams))) {
    item->dwKind = 1;
    if (haveModule) CopyField(item->szModuleName, module.path.c_str());
    item->dwParams = 0;
    return;
  }
  item->dwKind = 0;
  plat::SymbolInfo sym;
  if (services_->Symbol(lookup, &sym)) {
    CopyField(item->szSymbol, sym.name.c_str());
    CopyField(item->szUndName, sym.nameOnly.c_str());
    CopyField(item->szUndFullName, sym.fullName.c_str());
    item->qwDisplacement = frame.pc - (lookup - sym.displacement);
    if (flags & kWalkParams) {
      struct Fill {
        DBGStackTraceItem* item;
        size_t count;
      } fill{item, 0};
      services_->Variables(
          frame, innermost, context,
          [](void* a, const plat::Variable& v) {
            auto* f = static_cast<Fill*>(a);
            if (f->count >= kMaxEntries) return false;
            DBGParamItem& p = f->item->aParams[f->count];
            std::memset(&p, 0, sizeof p);
            CopyField(p.szName, v.name.c_str());
            p.bLocal = v.local ? 1 : 0;
            if (Convert(v, &p)) ++f->count;
            return true;
          },
          &fill);
      if (fill.count) item->dwParams = static_cast<DWORD>(fill.count);
    }
  }
  plat::LineInfo line;
  if (services_->Line(lookup, &line)) {
    CopyField(item->szFileName, line.file.c_str());
    item->dwLineNumber = line.line;
    item->dwLineDisplacement = static_cast<DWORD>(frame.pc - lookup + line.displacement);
  }
  if ((flags & kWalkModule) && haveModule) {
    CopyField(item->szSymType, module.symbolType.c_str());
    CopyField(item->szModuleName, module.name.c_str());
    item->qwModuleBase = module.base;
  }
  // Without symbol information the four default entries come from the frame's stack.
  if ((flags & kWalkParams) && item->dwParams == 4 && item->aParams[0].szName[0] == 0 && frame.framePointer) {
    for (int i = 0; i < 4; ++i) {
      DBGParamItem& p = item->aParams[i];
      const size_t width = (p.dwKind == kDbgU64 || p.dwKind == kDbgDouble) ? 8 : 4;
      uint64_t v = 0;
      if (plat::ReadMemorySafely(frame.framePointer + 8 + 8 * i, &v, width)) p.qwValue = v;
    }
  }
}

bool clsDBGHELP::GetStackTrace(const plat::ContextAmd64& context, uint32_t frameLimit, uint32_t flags,
                               IDBGStackTraceList** out) {
  if (!out) return false;
  *out = nullptr;
  if (!services_) return false;
  auto* list = new (std::nothrow) clsDBGStackTraceList;
  if (!list) return false;
  struct Walk {
    clsDBGHELP* self;
    clsDBGStackTraceList* list;
    const plat::ContextAmd64& context;
    uint32_t flags;
    bool first;
    DBGStackTraceItem* item;
  } w{this, list, context, flags, true, new (std::nothrow) DBGStackTraceItem};
  if (!w.item) {
    list->Release();
    return false;
  }
  services_->Walk(
      context, static_cast<int>(frameLimit ? frameLimit : 1),
      [](void* a, const plat::Frame& frame) {
        auto* w = static_cast<Walk*>(a);
        w->self->FillFrame(frame, w->first, w->context, w->flags, w->item);
        w->first = false;
        return w->list->Append(*w->item);   // an item that can't be allocated ends the walk
      },
      &w);
  delete w.item;
  IUnknown* unknown = nullptr;
  list->QueryInterface(plat::kIID_IUnknown, reinterpret_cast<void**>(&unknown));
  list->Release();
  *out = static_cast<IDBGStackTraceList*>(static_cast<clsDBGStackTraceList*>(unknown));
  return true;
}

void clsDBGHELP::FillModule(const plat::ModuleInfo& info, DBGModuleItem* item) {
  std::memset(item, 0, sizeof *item);
  item->dwSize = sizeof *item;
  CopyField(item->szPath, info.path.c_str());
  CopyField(item->szModuleName, info.name.c_str());
  CopyField(item->szSymType, info.symbolType.empty() ? "-unknown-" : info.symbolType.c_str());
  item->qwBase = info.base;
  item->dwImageSize = static_cast<DWORD>(info.size);
  if (mode_ & 2) return;
  std::u16string version, build;
  const String wide(info.path.c_str());
  if (plat::ModuleVersionStrings(wide.wchar(), &version, &build)) {
    CopyField(item->szVersion, Narrow(version).c_str());
  }
  plat::ModuleVersionTexts texts;
  if (plat::ModuleDescription(wide.wchar(), &texts)) {
    CopyField(item->szDescription, Narrow(texts.description).c_str());
    CopyField(item->szCompany, Narrow(texts.company).c_str());
  }
}

bool clsDBGHELP::GetModuleList(IDBGModuleList** out) {
  if (!out) return false;
  *out = nullptr;
  if (!services_) return false;
  if (!modules_) {
    modules_ = new (std::nothrow) clsDBGModuleList;
    if (!modules_) return false;
    struct Fill {
      clsDBGHELP* self;
      DBGModuleItem item;
    };
    auto* fill = new (std::nothrow) Fill{this, {}};
    if (!fill) return false;
    services_->Modules(
        [](void* a, const plat::ModuleInfo& info) {
          auto* f = static_cast<Fill*>(a);
          f->self->FillModule(info, &f->item);
          return f->self->modules_->Append(f->item);
        },
        fill);
    delete fill;
  }
  modules_->AddRef();
  *out = modules_;
  return true;
}

namespace {

// A dump without an exception is written from a thread of its own, so that the
// thread that asks is recorded standing still; the privilege is held only for it.
class clsMiniDump final : public clsThreadBase {
 public:
  clsMiniDump(plat::SymbolServices* services, const plat::DumpRequest& request)
      : clsThreadBase("DebugHelp::GetMiniDump"), services_(services), request_(request) {}
  uint32_t error = 0;
  bool created = false;

  void WriteHere() {
    request_.excludeThreadId = plat::ThreadId();
    switch (plat::AdjustDebugPrivilege(true)) {
      case 1: DebugPrint(u"ERROR: Unable to open process token."); break;
      case 2: DebugPrint(u"ERROR: Unable to adjust token privileges."); break;
      default: break;
    }
    error = services_->WriteMiniDump(request_, &created);
    plat::AdjustDebugPrivilege(false);
  }

 protected:
  uint32_t ThreadProc() override {
    WriteHere();
    return 0;
  }

 private:
  plat::SymbolServices* services_;
  plat::DumpRequest request_;
};

}  // namespace

bool clsDBGHELP::WriteMiniDump(char16_t* path, uint32_t size, const plat::ExceptionPointers64* exception,
                               uint32_t exceptionThreadId, uint32_t requesterThreadId,
                               const plat::ContextAmd64* requesterContext) {
  if (!services_ || !path || size == 0) return false;
  if (!path[0]) {
    String base = UtilGetTempPath(false);
    base.Append(u"mdmp");
    const String name = UtilMakeTempName(base, String(u"dmp"), kTempNoPrefix, nullptr);
    if (name.View().empty()) return false;
    const std::u16string_view v = name.View();
    const size_t n = v.size() < size ? v.size() : size - 1;
    std::char_traits<char16_t>::copy(path, v.data(), n);
    path[n] = 0;
  }
  uint32_t mode = kDefaultMiniDumpMode;
  if (!RegReadDword(UserHive(), u"Software\\zarnik", u"GPFMiniDumpMode", mode)) mode = kDefaultMiniDumpMode;
  plat::DumpRequest request;
  request.path = path;
  request.mode = mode;
  request.exception = exception;
  request.exceptionThreadId = exceptionThreadId;
  request.excludeThreadId = plat::ThreadId();
  request.requesterThreadId = requesterThreadId;
  request.requesterContext = requesterContext;
  request.note = [](void*, const char16_t* line) { DebugPrint(u"%s", line); };
  bool created = false;
  uint32_t error = 0;
  if (exception) {
    error = services_->WriteMiniDump(request, &created);
  } else {
    clsMiniDump dump(services_.get(), request);
    if (dump.ThreadStart()) {
      plat::WaitOne(dump.ThreadHandle(), plat::kInfinite);
      dump.ThreadEnd(false, plat::kInfinite, false);
    } else {
      dump.WriteHere();
    }
    error = dump.error;
    created = dump.created;
  }
  if (!created) {
    std::u16string text;
    if (!plat::SystemErrorText(0x8000FFFFu, 0, text)) text = u"0x8000FFFF";
    DebugPrint(u"DBGHELP::WriteMiniDump(%s): error creating dump file: %s", path, text.c_str());
    return false;
  }
  if (error && exception) {
    request.mode = mode & ~kMiniDumpRetryMask;
    error = services_->WriteMiniDump(request, &created);
  }
  if (error) {
    std::u16string text;
    plat::SystemErrorText(error, 0, text);
    DebugPrint(u"pDBGHELP->WriteMiniDump() failed: %s", text.c_str());
    return false;
  }
  return true;
}

}  // namespace zx
