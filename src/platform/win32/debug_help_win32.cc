// Windows: the system's "dbghelp.dll", found along the search list (beside the
// program, the three folders of the debugging tools, the system's own search) and
// bound late; its functions are looked up by name on first use.
#include <windows.h>
#include <dbghelp.h>
#include <psapi.h>
#include <tlhelp32.h>

#include <cstdio>
#include <cstring>
#include <algorithm>
#include <string>
#include <vector>

#include "platform/codepage.h"
#include "platform/debug_help.h"
#include "platform/debugout.h"
#include "platform/process.h"

namespace plat {

bool ReadMemorySafely(uint64_t address, void* out, size_t size) {
  if (!address) return false;
  SIZE_T done = 0;
  return ::ReadProcessMemory(::GetCurrentProcess(), reinterpret_cast<LPCVOID>(address), out, size, &done) &&
         done == size;
}

void CaptureContext(ContextAmd64* context) { ::RtlCaptureContext(reinterpret_cast<CONTEXT*>(context)); }

void EnableDebugPrivilege() {
  HANDLE token = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) {
    std::printf("Could not get the process token");
    return;
  }
  TOKEN_PRIVILEGES tp{};
  if (!::LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &tp.Privileges[0].Luid)) {
    std::printf("Couldn't lookup SeDebugPrivilege name");
  } else {
    tp.PrivilegeCount = 1;
    tp.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!::AdjustTokenPrivileges(token, FALSE, &tp, sizeof tp, nullptr, nullptr))
      std::printf("Could not set the debug privilege");
  }
  ::CloseHandle(token);
}

template <typename F>
F Bind(HMODULE lib, const char* name) {
  return reinterpret_cast<F>(reinterpret_cast<void*>(::GetProcAddress(lib, name)));
}

int AdjustDebugPrivilege(bool enable) {
  HANDLE token = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token)) return 1;
  TOKEN_PRIVILEGES tp{};
  tp.PrivilegeCount = 1;
  tp.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
  const bool ok = ::LookupPrivilegeValueW(nullptr, L"SeDebugPrivilege", &tp.Privileges[0].Luid) &&
                  ::AdjustTokenPrivileges(token, FALSE, &tp, sizeof tp, nullptr, nullptr) &&
                  ::GetLastError() == ERROR_SUCCESS;
  ::CloseHandle(token);
  return ok ? 0 : 2;
}

namespace {

const wchar_t* W(const std::u16string& s) { return reinterpret_cast<const wchar_t*>(s.c_str()); }

bool Exists(const std::u16string& path) { return ::GetFileAttributesW(W(path)) != INVALID_FILE_ATTRIBUTES; }

HMODULE LoadDbgHelp() {
  const std::u16string program = ExecutablePath();
  const std::u16string files = EnvironmentVariable(u"ProgramFiles");
  const std::u16string candidates[] = {
      program + u"dbghelp.dll",   // as the search list has it: no separator
      files + u"\\Debugging Tools for Windows\\dbghelp.dll",
      files + u"\\Debugging Tools for Windows (x86)\\dbghelp.dll",
      files + u"\\Debugging Tools for Windows 64-Bit\\dbghelp.dll",
  };
  for (const std::u16string& c : candidates)
    if (Exists(c))
      if (HMODULE h = ::LoadLibraryW(W(c))) return h;
  return ::LoadLibraryW(L"dbghelp.dll");
}


// One loaded module as the enumerations report it.
struct LoadedModule {
  std::string path;
  uint64_t base;
  uint32_t size;
};

// The snapshot functions, bound from "kernel32" or else from "tlhelp32".
struct ToolHelp {
  HANDLE(WINAPI* snapshot)(DWORD, DWORD) = nullptr;
  BOOL(WINAPI* first)(HANDLE, LPMODULEENTRY32) = nullptr;
  BOOL(WINAPI* next)(HANDLE, LPMODULEENTRY32) = nullptr;
  bool Bind(HMODULE lib) {
    if (!lib) return false;
    snapshot = plat::Bind<decltype(snapshot)>(lib, "CreateToolhelp32Snapshot");
    first = plat::Bind<decltype(first)>(lib, "Module32First");
    next = plat::Bind<decltype(next)>(lib, "Module32Next");
    return snapshot && first && next;
  }
};

// The process-status functions of "psapi".
struct ProcessStatus {
  BOOL(WINAPI* enumModules)(HANDLE, HMODULE*, DWORD, LPDWORD) = nullptr;
  DWORD(WINAPI* fileName)(HANDLE, HMODULE, LPSTR, DWORD) = nullptr;
  DWORD(WINAPI* baseName)(HANDLE, HMODULE, LPSTR, DWORD) = nullptr;
  BOOL(WINAPI* information)(HANDLE, HMODULE, LPMODULEINFO, DWORD) = nullptr;
  bool Bind() {
    HMODULE lib = ::LoadLibraryW(L"psapi.dll");
    if (!lib) return false;
    enumModules = plat::Bind<decltype(enumModules)>(lib, "EnumProcessModules");
    fileName = plat::Bind<decltype(fileName)>(lib, "GetModuleFileNameExA");
    baseName = plat::Bind<decltype(baseName)>(lib, "GetModuleBaseNameA");
    information = plat::Bind<decltype(information)>(lib, "GetModuleInformation");
    return enumModules && fileName && information;
  }
};

using EnumModulesFn = BOOL(WINAPI*)(HANDLE, PENUMLOADED_MODULES_CALLBACK64, PVOID);

std::vector<LoadedModule> ModulesBySymbolLibrary(EnumModulesFn enumModules) {
  std::vector<LoadedModule> out;
  if (!enumModules) return out;
  enumModules(
      ::GetCurrentProcess(),
      [](PCSTR name, DWORD64 base, ULONG size, PVOID a) -> BOOL {
        // Some versions name the module without its folder: its file is asked for.
        char path[MAX_PATH * 2];
        const DWORD n = ::GetModuleFileNameA(reinterpret_cast<HMODULE>(base), path, sizeof path);
        static_cast<std::vector<LoadedModule>*>(a)->push_back(
            {n && n < sizeof path ? std::string(path) : std::string(name ? name : ""), base, size});
        return TRUE;
      },
      &out);
  return out;
}

std::vector<LoadedModule> ModulesBySnapshot() {
  std::vector<LoadedModule> out;
  ToolHelp th;
  if (!th.Bind(::GetModuleHandleW(L"kernel32.dll")) && !th.Bind(::LoadLibraryW(L"tlhelp32.dll"))) return out;
  HANDLE snap = th.snapshot(TH32CS_SNAPMODULE, ::GetCurrentProcessId());
  if (snap == INVALID_HANDLE_VALUE) return out;
  MODULEENTRY32 entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = th.first(snap, &entry); more; more = th.next(snap, &entry)) {
    char path[MAX_PATH * 2];
    const DWORD n = ::GetModuleFileNameA(entry.hModule, path, sizeof path);
    out.push_back({n && n < sizeof path ? std::string(path) : std::string(),
                   reinterpret_cast<uintptr_t>(entry.modBaseAddr), entry.modBaseSize});
  }
  ::CloseHandle(snap);
  return out;
}

std::vector<LoadedModule> ModulesByProcessStatus() {
  std::vector<LoadedModule> out;
  ProcessStatus ps;
  if (!ps.Bind()) return out;
  HANDLE process = ::GetCurrentProcess();
  std::vector<HMODULE> handles(256);
  DWORD needed = 0;
  // The list can grow between the calls: ask again while it does not fit.
  for (int round = 0; round < 4; ++round) {
    if (!ps.enumModules(process, handles.data(), static_cast<DWORD>(handles.size() * sizeof(HMODULE)), &needed))
      return out;
    if (needed <= handles.size() * sizeof(HMODULE)) break;
    handles.resize(needed / sizeof(HMODULE) + 16);
  }
  handles.resize(std::min<size_t>(handles.size(), needed / sizeof(HMODULE)));
  for (HMODULE h : handles) {
    MODULEINFO info{};
    if (!ps.information(process, h, &info, sizeof info)) continue;
    char path[MAX_PATH * 2];
    const DWORD n = ps.fileName(process, h, path, sizeof path);
    out.push_back({n && n < sizeof path ? std::string(path) : std::string(),
                   reinterpret_cast<uintptr_t>(info.lpBaseOfDll), info.SizeOfImage});
  }
  return out;
}

// The name of the image that holds `address`, from its allocation base.
std::string ModuleFileOfAddress(uint64_t address) {
  MEMORY_BASIC_INFORMATION mbi{};
  if (!::VirtualQuery(reinterpret_cast<LPCVOID>(address), &mbi, sizeof mbi) || !mbi.AllocationBase) return {};
  char path[MAX_PATH * 2];
  const DWORD n = ::GetModuleFileNameA(static_cast<HMODULE>(mbi.AllocationBase), path, sizeof path);
  return n && n < sizeof path ? std::string(path) : std::string();
}

// The symbol library's events go to the system's debug output. The module whose
// deferred load runs is kept for the lines between its start and its end.
BOOL CALLBACK SymbolEvent(HANDLE, ULONG action, ULONG64 data, ULONG64 context) {
  thread_local std::string loading;
  char line[1200];
  switch (action) {
    case CBA_DEFERRED_SYMBOL_LOAD_START: {
      const auto* load = reinterpret_cast<const IMAGEHLP_DEFERRED_SYMBOL_LOAD64*>(data);
      loading = load ? load->FileName : "";
      std::snprintf(line, sizeof line, "dbghelp: loading symbols of %s\n", loading.c_str());
      break;
    }
    case CBA_DEFERRED_SYMBOL_LOAD_COMPLETE:
    case CBA_DEFERRED_SYMBOL_LOAD_FAILURE:
      std::snprintf(line, sizeof line, "dbghelp: symbols of %s %s\n", loading.c_str(),
                    action == CBA_DEFERRED_SYMBOL_LOAD_COMPLETE ? "loaded" : "not loaded");
      loading.clear();
      break;
    case CBA_EVENT: {
      const auto* event = reinterpret_cast<const IMAGEHLP_CBA_EVENT*>(data);
      if (!event || !event->desc) return FALSE;
      std::string text = event->desc;
      std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
      std::snprintf(line, sizeof line, "dbghelp (severity %lu): %s\n", static_cast<unsigned long>(event->severity),
                    text.c_str());
      plat::DebugOutput(Utf8ToUtf16(line).c_str());
      return TRUE;
    }
    default:
      return FALSE;
  }
  (void)context;
  plat::DebugOutput(Utf8ToUtf16(line).c_str());
  return FALSE;
}

const char* const kSymTypes[] = {"<no known symbols>", "COFF", "CV", "PDB", "<exported>",
                                 "<deferred>",         "SYM",  "DIA", "Virtual"};

class DbgHelp final : public SymbolServices {
 public:
  explicit DbgHelp(HMODULE lib) : lib_(lib), process_(::GetCurrentProcess()) {
    stackWalk_ = Bind<decltype(stackWalk_)>(lib, "StackWalk64");
    undecorate_ = Bind<decltype(undecorate_)>(lib, "UnDecorateSymbolName");
    setOptions_ = Bind<decltype(setOptions_)>(lib, "SymSetOptions");
    getOptions_ = Bind<decltype(getOptions_)>(lib, "SymGetOptions");
    initialize_ = Bind<decltype(initialize_)>(lib, "SymInitialize");
    cleanup_ = Bind<decltype(cleanup_)>(lib, "SymCleanup");
    symFromAddr_ = Bind<decltype(symFromAddr_)>(lib, "SymGetSymFromAddr64");
    lineFromAddr_ = Bind<decltype(lineFromAddr_)>(lib, "SymGetLineFromAddr64");
    moduleBase_ = Bind<decltype(moduleBase_)>(lib, "SymGetModuleBase64");
    moduleInfo_ = Bind<decltype(moduleInfo_)>(lib, "SymGetModuleInfo64");
    tableAccess_ = Bind<decltype(tableAccess_)>(lib, "SymFunctionTableAccess64");
    loadModule_ = Bind<decltype(loadModule_)>(lib, "SymLoadModule64");
    enumModules_ = Bind<decltype(enumModules_)>(lib, "EnumerateLoadedModules64");
    writeDump_ = Bind<decltype(writeDump_)>(lib, "MiniDumpWriteDump");
    registerCallback_ = Bind<decltype(registerCallback_)>(lib, "SymRegisterCallback64");
    setContext_ = Bind<decltype(setContext_)>(lib, "SymSetContext");
    enumSymbols_ = Bind<decltype(enumSymbols_)>(lib, "SymEnumSymbols");
    typeInfo_ = Bind<decltype(typeInfo_)>(lib, "SymGetTypeInfo");
  }
  ~DbgHelp() override {
    if (initialised_ && cleanup_) cleanup_(process_);
    ::FreeLibrary(lib_);
  }

  bool Start(const std::u16string& searchPath, bool lines) {
    if (!initialize_ || !stackWalk_) return false;
    const std::string path = Utf16ToUtf8(searchPath);
    if (!initialize_(process_, path.empty() ? nullptr : path.c_str(), FALSE)) return false;
    initialised_ = true;
    if (registerCallback_) registerCallback_(process_, SymbolEvent, 0);
    if (getOptions_ && setOptions_) {
      DWORD options = getOptions_();
      if (lines) options |= 0x10;
      options &= ~0x4u;
      options |= 0x10261;
      setOptions_(options);
    }
    LoadModules();
    return true;
  }

  int Walk(const ContextAmd64& context, int limit, FrameFn fn, void* arg) override {
    CONTEXT ctx;
    std::memcpy(&ctx, &context, sizeof ctx);
    STACKFRAME64 frame{};
    frame.AddrPC.Offset = ctx.Rip;
    frame.AddrPC.Mode = AddrModeFlat;
    frame.AddrStack.Offset = ctx.Rsp;
    frame.AddrStack.Mode = AddrModeFlat;
    frame.AddrFrame.Offset = ctx.Rbp;
    frame.AddrFrame.Mode = AddrModeFlat;
    int n = 0;
    while (n < limit) {
      if (!stackWalk_(IMAGE_FILE_MACHINE_AMD64, process_, ::GetCurrentThread(), &frame, &ctx, nullptr,
                      tableAccess_, moduleBase_, nullptr))
        break;
      if (frame.AddrPC.Offset == 0) break;
      Frame f;
      f.pc = frame.AddrPC.Offset;
      f.framePointer = frame.AddrFrame.Offset;
      f.stackPointer = frame.AddrStack.Offset;
      f.cfa = frame.AddrFrame.Offset;
      f.activation = n == 0;
      ++n;
      if (!fn(arg, f)) break;
    }
    return n;
  }

  bool Symbol(uint64_t pc, SymbolInfo* out) override {
    if (!symFromAddr_) return false;
    alignas(8) unsigned char buf[1056] = {};
    auto* sym = reinterpret_cast<IMAGEHLP_SYMBOL64*>(buf);
    sym->SizeOfStruct = 32;
    sym->MaxNameLength = 1024;
    DWORD64 displacement = 0;
    if (!symFromAddr_(process_, pc, &displacement, sym)) return false;
    out->name = sym->Name;
    char und[1024];
    out->nameOnly = undecorate_ && undecorate_(sym->Name, und, sizeof und, 0x1000) ? und : sym->Name;
    out->fullName = undecorate_ && undecorate_(sym->Name, und, sizeof und, 0) ? und : sym->Name;
    out->displacement = displacement;
    return true;
  }

  bool Line(uint64_t pc, LineInfo* out) override {
    if (!lineFromAddr_) return false;
    IMAGEHLP_LINE64 line{};
    line.SizeOfStruct = sizeof line;
    DWORD displacement = 0;
    if (!lineFromAddr_(process_, pc, &displacement, &line)) return false;   // 487 is normal
    out->file = line.FileName ? line.FileName : "";
    out->line = line.LineNumber;
    out->displacement = displacement;
    return true;
  }

  bool Module(uint64_t pc, ModuleInfo* out) override {
    if (!moduleInfo_) return false;
    IMAGEHLP_MODULE64 m{};
    m.SizeOfStruct = sizeof m;
    if (!moduleInfo_(process_, pc, &m)) return false;
    out->path = m.ImageName;
    out->name = m.ModuleName;
    out->symbolType = m.SymType < 9 ? kSymTypes[m.SymType] : "-unknown-";
    out->base = m.BaseOfImage;
    out->size = m.ImageSize;
    return true;
  }

  void Modules(ModuleFn fn, void* arg) override {
    for (const LoadedModule& m : LoadedModules()) {
      ModuleInfo info;
      if (!DescribeModule(m, &info)) continue;
      if (!fn(arg, info)) break;
    }
  }

  void Variables(const Frame& frame, bool, const ContextAmd64&, VariableFn fn, void* arg) override {
    if (!setContext_ || !enumSymbols_) return;
    IMAGEHLP_STACK_FRAME sf{};
    sf.InstructionOffset = frame.activation ? frame.pc : frame.pc - 1;
    sf.FrameOffset = frame.framePointer;
    sf.StackOffset = frame.stackPointer;
    if (!setContext_(process_, &sf, nullptr) && ::GetLastError() != 0) return;
    struct Pass {
      DbgHelp* self;
      const Frame& frame;
      VariableFn fn;
      void* arg;
      bool locals;
      bool go;
    } pass{this, frame, fn, arg, false, true};
    for (int p = 0; p < 2 && pass.go; ++p) {
      pass.locals = p == 1;
      enumSymbols_(process_, 0, nullptr,
                   [](PSYMBOL_INFO s, ULONG, PVOID a) -> BOOL {
                     auto* pass = static_cast<Pass*>(a);
                     if (!pass->go || s->Tag != 7) return TRUE;   // data symbols only
                     const bool param = (s->Flags & 0x40) != 0;
                     const bool local = (s->Flags & 0xC0) == 0x80;
                     if (pass->locals ? !local : !param) return TRUE;
                     pass->go = pass->fn(pass->arg, pass->self->Describe(*s, pass->frame, pass->locals));
                     return pass->go;
                   },
                   &pass);
    }
  }

  uint32_t WriteMiniDump(const DumpRequest& request, bool* created) override {
    *created = false;
    if (!writeDump_) return ERROR_PROC_NOT_FOUND;
    HANDLE file = ::CreateFileW(reinterpret_cast<const wchar_t*>(request.path), GENERIC_WRITE, 0, nullptr,
                                CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return ::GetLastError();
    *created = true;
    MINIDUMP_EXCEPTION_INFORMATION info{};
    EXCEPTION_POINTERS pointers{};
    if (request.exception) {
      pointers.ExceptionRecord = reinterpret_cast<EXCEPTION_RECORD*>(request.exception->ExceptionRecord);
      pointers.ContextRecord = reinterpret_cast<CONTEXT*>(request.exception->ContextRecord);
      info.ThreadId = request.exceptionThreadId;
      info.ExceptionPointers = &pointers;
      info.ClientPointers = FALSE;
    }
    MINIDUMP_CALLBACK_INFORMATION callback{};
    callback.CallbackRoutine = [](PVOID param, const PMINIDUMP_CALLBACK_INPUT in, PMINIDUMP_CALLBACK_OUTPUT out) -> BOOL {
      const DWORD exclude = static_cast<DWORD>(reinterpret_cast<uintptr_t>(param));
      if (!in) return FALSE;
      if (in->CallbackType == IncludeThreadCallback) return in->IncludeThread.ThreadId != exclude;
      if (in->CallbackType == 14) {   // a read failed: go on
        out->Status = S_OK;
        return TRUE;
      }
      return TRUE;
    };
    callback.CallbackParam = reinterpret_cast<PVOID>(static_cast<uintptr_t>(request.excludeThreadId));
    const BOOL ok = writeDump_(process_, ::GetCurrentProcessId(), file, static_cast<MINIDUMP_TYPE>(request.mode),
                               request.exception ? &info : nullptr, nullptr, &callback);
    const DWORD error = ok ? 0 : ::GetLastError();
    ::CloseHandle(file);
    return ok ? 0 : (error ? error : ERROR_GEN_FAILURE);
  }

 private:
  // The loaded modules by the first enumeration that works: the symbol
  // library's own, the snapshot functions, the process-status functions.
  std::vector<LoadedModule> LoadedModules() {
    std::vector<LoadedModule> out = ModulesBySymbolLibrary(enumModules_);
    if (out.empty()) out = ModulesBySnapshot();
    if (out.empty()) out = ModulesByProcessStatus();
    return out;
  }

  void LoadModules() {
    if (!loadModule_) return;
    for (const LoadedModule& m : LoadedModules())
      loadModule_(process_, nullptr, m.path.empty() ? nullptr : m.path.c_str(), nullptr, m.base, m.size);
  }

  // A module's description; a module the symbol library does not know (error
  // 126) is loaded by hand and asked again, twice at most; without any answer
  // the name comes from the image's file.
  bool DescribeModule(const LoadedModule& m, ModuleInfo* info) {
    for (int round = 0; round < 3; ++round) {
      if (Module(m.base, info)) return true;
      if (::GetLastError() != ERROR_MOD_NOT_FOUND || round == 2 || !loadModule_) break;
      loadModule_(process_, nullptr, m.path.empty() ? nullptr : m.path.c_str(), nullptr, m.base, m.size);
    }
    const std::string path = m.path.empty() ? ModuleFileOfAddress(m.base) : m.path;
    if (path.empty()) return false;
    info->path = path;
    const size_t slash = path.find_last_of("\\/");
    std::string name = path.substr(slash == std::string::npos ? 0 : slash + 1);
    if (const size_t dot = name.rfind('.'); dot != std::string::npos) name.resize(dot);
    info->name = name;
    info->symbolType = "-unknown-";
    info->base = m.base;
    info->size = m.size;
    return true;
  }

  Variable Describe(const SYMBOL_INFO& s, const Frame& frame, bool local) {
    Variable v;
    v.name = s.Name;
    v.local = local;
    DWORD tag = 0, baseType = 0, count = 0;
    ULONG64 length = 0;
    const ULONG64 module = s.ModBase;
    if (typeInfo_ && typeInfo_(process_, module, s.TypeIndex, TI_GET_SYMTAG, &tag)) {
      v.hasType = true;
      v.tag = tag;
      typeInfo_(process_, module, s.TypeIndex, TI_GET_BASETYPE, &baseType);
      typeInfo_(process_, module, s.TypeIndex, TI_GET_LENGTH, &length);
      if (typeInfo_(process_, module, s.TypeIndex, static_cast<IMAGEHLP_SYMBOL_TYPE_INFO>(12), &count)) v.arrayCount = count;
      if (tag == 15 && !baseType) {   // an array: the base type of its elements
        DWORD element = 0;
        if (typeInfo_(process_, module, s.TypeIndex, TI_GET_TYPEID, &element))
          typeInfo_(process_, module, element, TI_GET_BASETYPE, &baseType);
      }
      if (tag == 14) {   // a pointer: text when it points at characters
        DWORD target = 0, targetBase = 0;
        if (typeInfo_(process_, module, s.TypeIndex, TI_GET_TYPEID, &target) &&
            typeInfo_(process_, module, target, TI_GET_BASETYPE, &targetBase) &&
            (targetBase == kBtChar || targetBase == kBtWChar))
          baseType = targetBase;
        else
          v.pointerWithoutBase = true;
      }
    }
    v.baseType = baseType;
    v.length = length ? length : s.Size;
    uint64_t address = s.Address;
    if (s.Flags & 0x10) {   // relative to a register of the frame
      if (s.Register == 22 || s.Register == 334) address = frame.framePointer + s.Address;
      else if (s.Register == 335) address = frame.stackPointer + s.Address;
      else address = 0;
    }
    v.address = address;
    return v;
  }

  HMODULE lib_;
  HANDLE process_;
  bool initialised_ = false;
  BOOL(WINAPI* stackWalk_)(DWORD, HANDLE, HANDLE, LPSTACKFRAME64, PVOID, PREAD_PROCESS_MEMORY_ROUTINE64,
                           PFUNCTION_TABLE_ACCESS_ROUTINE64, PGET_MODULE_BASE_ROUTINE64,
                           PTRANSLATE_ADDRESS_ROUTINE64) = nullptr;
  DWORD(WINAPI* undecorate_)(PCSTR, PSTR, DWORD, DWORD) = nullptr;
  DWORD(WINAPI* setOptions_)(DWORD) = nullptr;
  DWORD(WINAPI* getOptions_)() = nullptr;
  BOOL(WINAPI* initialize_)(HANDLE, PCSTR, BOOL) = nullptr;
  BOOL(WINAPI* cleanup_)(HANDLE) = nullptr;
  BOOL(WINAPI* symFromAddr_)(HANDLE, DWORD64, PDWORD64, PIMAGEHLP_SYMBOL64) = nullptr;
  BOOL(WINAPI* lineFromAddr_)(HANDLE, DWORD64, PDWORD, PIMAGEHLP_LINE64) = nullptr;
  DWORD64(WINAPI* moduleBase_)(HANDLE, DWORD64) = nullptr;
  BOOL(WINAPI* moduleInfo_)(HANDLE, DWORD64, PIMAGEHLP_MODULE64) = nullptr;
  PVOID(WINAPI* tableAccess_)(HANDLE, DWORD64) = nullptr;
  DWORD64(WINAPI* loadModule_)(HANDLE, HANDLE, PCSTR, PCSTR, DWORD64, DWORD) = nullptr;
  EnumModulesFn enumModules_ = nullptr;
  BOOL(WINAPI* writeDump_)(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                           PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION) = nullptr;
  BOOL(WINAPI* setContext_)(HANDLE, PIMAGEHLP_STACK_FRAME, PIMAGEHLP_CONTEXT) = nullptr;
  BOOL(WINAPI* enumSymbols_)(HANDLE, ULONG64, PCSTR, PSYM_ENUMERATESYMBOLS_CALLBACK, PVOID) = nullptr;
  BOOL(WINAPI* typeInfo_)(HANDLE, DWORD64, ULONG, IMAGEHLP_SYMBOL_TYPE_INFO, PVOID) = nullptr;
  BOOL(WINAPI* registerCallback_)(HANDLE, PSYMBOL_REGISTERED_CALLBACK64, ULONG64) = nullptr;
};

}  // namespace

std::vector<std::string> LoadedModulePathsForTests(int method) {
  std::vector<LoadedModule> modules;
  if (method == 0) {
    HMODULE lib = LoadDbgHelp();
    modules = ModulesBySymbolLibrary(lib ? Bind<EnumModulesFn>(lib, "EnumerateLoadedModules64") : nullptr);
  } else {
    modules = method == 1 ? ModulesBySnapshot() : ModulesByProcessStatus();
  }
  std::vector<std::string> paths;
  for (const LoadedModule& m : modules) paths.push_back(m.path.empty() ? ModuleFileOfAddress(m.base) : m.path);
  return paths;
}

std::unique_ptr<SymbolServices> SymbolServices::Open(const std::u16string& searchPath, bool lines) {
  HMODULE lib = LoadDbgHelp();
  if (!lib) return nullptr;
  auto services = std::make_unique<DbgHelp>(lib);
  if (!services->Start(searchPath, lines)) return nullptr;
  return services;
}

}  // namespace plat
