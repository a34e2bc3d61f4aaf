// The symbol services the debug help engine needs: walk a stack from a context;
// turn an address into symbol, source line and module; list a frame's parameters
// and locals with their type, size and address; list the loaded modules.
// Windows: the system's "dbghelp.dll", found along the engine's search list and
// bound late. Linux: libdw (elfutils) on this process's own memory: DWARF call
// frames for the walk, DWARF and ELF symbol tables for names, C++ names demangled.
// Errors: Open returns null when the services are missing; every query returns
// false or 0 when it knows nothing.
// Threads: one SymbolServices at a time per process (the engine's lock sees to
// that); its calls come from one thread at a time. The walk reads the stack of the
// context's thread, which must stand still (a crashed thread waiting for its
// report, or the calling thread).
//
//   auto sym = plat::SymbolServices::Open(u"", 1);
//   sym->Walk(ctx, 100, [](void* a, const plat::Frame& f) { ...; return true; }, &list);
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/crash_context.h"

namespace plat {

struct Frame {
  uint64_t pc = 0;          // the return address (the faulting address in frame 0)
  uint64_t framePointer = 0;
  uint64_t stackPointer = 0;
  uint64_t cfa = 0;         // canonical frame address (the caller's stack pointer)
  bool activation = false;  // pc is exact (frame 0, or a signal frame's)
};

struct SymbolInfo {
  std::string name;         // as stored (mangled)
  std::string nameOnly;     // undecorated, without parameters
  std::string fullName;     // undecorated, complete
  uint64_t displacement = 0;
};

struct LineInfo {
  std::string file;
  uint32_t line = 0;
  uint32_t displacement = 0;
};

struct ModuleInfo {
  std::string path;
  std::string name;         // base name without extension
  std::string symbolType;   // "DWARF", "<exported>", "PDB", ... ("-unknown-" before a load)
  uint64_t base = 0;
  uint64_t size = 0;
};

// One parameter or local variable of a frame.
struct Variable {
  std::string name;
  bool local = false;
  uint32_t tag = 0;          // the debug-information tag of its type
  uint32_t baseType = 0;     // the base type numbers of the system's symbol library
  uint64_t length = 0;       // bytes
  uint64_t arrayCount = 0;   // elements when the type is an array
  bool pointerWithoutBase = false;
  bool hasType = false;
  uint64_t address = 0;      // 0: no place in memory
  bool inRegister = false;   // the value itself, not its address, is in `registerValue`
  uint64_t registerValue = 0;
};

// Base types (the numbering of the system's symbol library).
enum : uint32_t { kBtVoid = 1, kBtChar = 2, kBtWChar = 3, kBtInt = 6, kBtUInt = 7, kBtFloat = 8,
                  kBtBool = 10, kBtLong = 13, kBtULong = 14, kBtBSTR = 30 };

// What a minidump holds and of whom.
struct DumpRequest {
  const char16_t* path = nullptr;                 // created or replaced
  uint32_t mode = 0;                              // MINIDUMP_TYPE flags
  const ExceptionPointers64* exception = nullptr; // null: a dump without exception
  uint32_t exceptionThreadId = 0;                 // the thread the exception belongs to
  uint32_t excludeThreadId = 0;                   // left out (the writing worker)
  // The thread that asked and its registers (without an exception its thread comes
  // first in the dump). Both targets record every thread of the process.
  uint32_t requesterThreadId = 0;
  const ContextAmd64* requesterContext = nullptr;
  // Receives the lines about the dump (Linux: a thread left out); may be null.
  void (*note)(void* arg, const char16_t* line) = nullptr;
  void* noteArg = nullptr;
};

class SymbolServices {
 public:
  // `searchPath`: the symbol search path (Windows); `lines` asks for line numbers
  // and skips the version look-ups of modules. Null when the services are missing.
  static std::unique_ptr<SymbolServices> Open(const std::u16string& searchPath, bool lines);
  virtual ~SymbolServices() = default;

  using FrameFn = bool (*)(void* arg, const Frame& frame);
  // Frames from `context`, innermost first, up to `limit`; false from `fn` stops.
  // Returns the number of frames delivered.
  virtual int Walk(const ContextAmd64& context, int limit, FrameFn fn, void* arg) = 0;
  virtual bool Symbol(uint64_t pc, SymbolInfo* out) = 0;
  virtual bool Line(uint64_t pc, LineInfo* out) = 0;
  virtual bool Module(uint64_t pc, ModuleInfo* out) = 0;
  using ModuleFn = bool (*)(void* arg, const ModuleInfo& module);
  virtual void Modules(ModuleFn fn, void* arg) = 0;
  using VariableFn = bool (*)(void* arg, const Variable& v);
  // Parameters first, then locals, of the function at `frame.pc`.
  virtual void Variables(const Frame& frame, bool innermost, const ContextAmd64& context,
                         VariableFn fn, void* arg) = 0;
  // Writes the dump; 0 or a Windows error number. *created tells whether the file
  // could be made at all.
  virtual uint32_t WriteMiniDump(const DumpRequest& request, bool* created) = 0;
};

// Reads `size` bytes at `address` of this process without faulting; false when
// any of them cannot be read.
bool ReadMemorySafely(uint64_t address, void* out, size_t size);

// Windows, for tests: the paths of the loaded modules by one enumeration alone
// (0 the symbol library's, 1 the snapshot functions, 2 the process-status
// functions); the engine takes the first of them that finds any.
std::vector<std::string> LoadedModulePathsForTests(int method);

// Turns the debug privilege of this process on or off around a dump without an
// exception (Windows): 0 done, 1 the token could not be opened, 2 it could not be
// adjusted. Linux has no such privilege: 0.
int AdjustDebugPrivilege(bool enable);

// The debug privilege around the dump and stack commands (Windows); each failure
// prints its line on the standard output stream, as the system's tools do.
void EnableDebugPrivilege();

}  // namespace plat
