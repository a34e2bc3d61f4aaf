// Linux: the symbol services over libdw on this process's own memory. One Dwfl
// session lives for the process (the modules' debug information stays loaded, which
// is what makes a warm stack trace cheap); its module list is reported again when an
// address falls outside every known module. The walk unwinds with DWARF call-frame
// information from a given context, reading the stack with process_vm_readv, so a
// damaged stack gives read failures and an end of the walk, never a fault.
#include <cxxabi.h>
#include <dwarf.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include "platform/debug_help.h"
#include "platform/posix/minidump_posix.h"

namespace plat {

bool ReadMemorySafely(uint64_t address, void* out, size_t size) {
  if (size == 0) return true;
  if (address == 0) return false;
  iovec local{out, size};
  iovec remote{reinterpret_cast<void*>(address), size};
  return ::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(size);
}

void EnableDebugPrivilege() {}

namespace {

// DWARF register numbers of x86-64: rax rdx rcx rbx rsi rdi rbp rsp r8..r15 rip.
constexpr int kDwarfRbp = 6;
constexpr int kDwarfRsp = 7;

// Debug-information tags of the system's symbol library.
constexpr uint32_t kTagUdt = 11, kTagPointer = 14, kTagArray = 15, kTagBase = 16;

std::string Demangle(const char* name) {
  if (!name || name[0] != '_' || name[1] != 'Z') return name ? name : "";
  int status = 0;
  char* d = abi::__cxa_demangle(name, nullptr, nullptr, &status);
  if (status != 0 || !d) return name;
  std::string out = d;
  std::free(d);
  return out;
}

// "ns::f<int>(int, char) const" -> "ns::f<int>": the text before the parameter list.
std::string WithoutParameters(const std::string& full) {
  if (full.empty() || (full.back() != ')' && full.find(") const") == std::string::npos)) return full;
  size_t end = full.rfind(')');
  int depth = 0;
  for (size_t i = end + 1; i-- > 0;) {
    if (full[i] == ')') ++depth;
    if (full[i] == '(' && --depth == 0) return full.substr(0, i);
  }
  return full;
}

class Session;

// The one session of the process.
struct Shared {
  std::mutex lock;
  Dwfl* dwfl = nullptr;
  bool attached = false;
  Dwfl_Callbacks callbacks{};
  const ContextAmd64* walking = nullptr;   // the context of the walk in progress
};
Shared& S() {
  static Shared* s = new Shared;   // used by crash reports during exit as well
  return *s;
}

pid_t NextThread(Dwfl*, void* arg, void** threadArg) {
  if (*threadArg) return 0;
  *threadArg = arg;
  return ::getpid();
}
bool GetThread(Dwfl*, pid_t, void* arg, void** threadArg) {
  *threadArg = arg;
  return true;
}
bool MemoryRead(Dwfl*, Dwarf_Addr addr, Dwarf_Word* result, void*) {
  return ReadMemorySafely(addr, result, sizeof *result);
}
bool InitialRegisters(Dwfl_Thread* thread, void* arg) {
  const ContextAmd64* c = static_cast<Shared*>(arg)->walking;
  if (!c) return false;
  const Dwarf_Word regs[17] = {c->Rax, c->Rdx, c->Rcx, c->Rbx, c->Rsi, c->Rdi, c->Rbp, c->Rsp, c->R8,
                               c->R9,  c->R10, c->R11, c->R12, c->R13, c->R14, c->R15, c->Rip};
  return dwfl_thread_state_registers(thread, 0, 17, regs);
}
const Dwfl_Thread_Callbacks kThreadCallbacks{&NextThread, &GetThread, &MemoryRead, &InitialRegisters,
                                             nullptr, nullptr};

void Report(Dwfl* dwfl) {
  dwfl_report_begin_add(dwfl);
  dwfl_linux_proc_report(dwfl, ::getpid());
  dwfl_report_end(dwfl, nullptr, nullptr);
}

// Base type of the system's numbering from a DWARF base type.
uint32_t BaseTypeOf(Dwarf_Die* type, uint64_t size) {
  Dwarf_Attribute a;
  Dwarf_Word enc = 0;
  if (!dwarf_attr_integrate(type, DW_AT_encoding, &a) || dwarf_formudata(&a, &enc) != 0) return 0;
  switch (enc) {
    case DW_ATE_boolean: return kBtBool;
    case DW_ATE_float: return kBtFloat;
    case DW_ATE_signed_char:
    case DW_ATE_unsigned_char: return kBtChar;
    case DW_ATE_UTF: return size == 1 ? kBtChar : kBtWChar;
    case DW_ATE_signed: return size == 8 ? kBtLong : kBtInt;
    case DW_ATE_unsigned: return size == 8 ? kBtULong : kBtUInt;
    default: return 0;
  }
}

bool Peel(Dwarf_Die* die) {   // typedefs and qualifiers away
  for (int i = 0; i < 16; ++i) {
    int tag = dwarf_tag(die);
    if (tag != DW_TAG_typedef && tag != DW_TAG_const_type && tag != DW_TAG_volatile_type &&
        tag != DW_TAG_restrict_type)
      return true;
    Dwarf_Attribute a;
    if (!dwarf_attr_integrate(die, DW_AT_type, &a) || !dwarf_formref_die(&a, die)) return false;
  }
  return false;
}

void DescribeType(Dwarf_Die* var, Variable* v) {
  Dwarf_Attribute a;
  Dwarf_Die type;
  if (!dwarf_attr_integrate(var, DW_AT_type, &a) || !dwarf_formref_die(&a, &type) || !Peel(&type)) return;
  v->hasType = true;
  Dwarf_Word size = 0;
  switch (dwarf_tag(&type)) {
    case DW_TAG_base_type:
      v->tag = kTagBase;
      v->length = dwarf_bytesize(&type) > 0 ? static_cast<uint64_t>(dwarf_bytesize(&type)) : 0;
      v->baseType = BaseTypeOf(&type, v->length);
      break;
    case DW_TAG_pointer_type:
    case DW_TAG_reference_type:
    case DW_TAG_rvalue_reference_type: {
      v->tag = kTagPointer;
      v->length = 8;
      Dwarf_Die target;
      if (dwarf_attr_integrate(&type, DW_AT_type, &a) && dwarf_formref_die(&a, &target) && Peel(&target) &&
          dwarf_tag(&target) == DW_TAG_base_type) {
        const uint32_t bt = BaseTypeOf(&target, static_cast<uint64_t>(dwarf_bytesize(&target)));
        if (bt == kBtChar || bt == kBtWChar) {
          v->baseType = bt;   // a pointer to text
          break;
        }
      }
      v->pointerWithoutBase = true;
      break;
    }
    case DW_TAG_array_type: {
      v->tag = kTagArray;
      Dwarf_Die child, element;
      if (dwarf_child(&type, &child) == 0 && dwarf_tag(&child) == DW_TAG_subrange_type) {
        Dwarf_Word upper = 0;
        if (dwarf_attr_integrate(&child, DW_AT_count, &a) && dwarf_formudata(&a, &upper) == 0)
          v->arrayCount = upper;
        else if (dwarf_attr_integrate(&child, DW_AT_upper_bound, &a) && dwarf_formudata(&a, &upper) == 0)
          v->arrayCount = upper + 1;
      }
      if (dwarf_attr_integrate(&type, DW_AT_type, &a) && dwarf_formref_die(&a, &element) && Peel(&element) &&
          dwarf_tag(&element) == DW_TAG_base_type)
        v->baseType = BaseTypeOf(&element, static_cast<uint64_t>(dwarf_bytesize(&element)));
      if (dwarf_aggregate_size(&type, &size) == 0) v->length = size;
      if (!v->arrayCount) v->arrayCount = 1;
      break;
    }
    default:
      v->tag = kTagUdt;
      if (dwarf_aggregate_size(&type, &size) == 0) v->length = size;
      break;
  }
}

struct Registers {
  const Frame& frame;
  bool innermost;
  const ContextAmd64& context;
  uint64_t Get(unsigned dwarfReg, bool* ok) const {
    *ok = true;
    if (innermost) {
      const uint64_t r[17] = {context.Rax, context.Rdx, context.Rcx, context.Rbx, context.Rsi, context.Rdi,
                              context.Rbp, context.Rsp, context.R8,  context.R9,  context.R10, context.R11,
                              context.R12, context.R13, context.R14, context.R15, context.Rip};
      if (dwarfReg < 17) return r[dwarfReg];
    }
    if (dwarfReg == kDwarfRbp && frame.framePointer) return frame.framePointer;
    if (dwarfReg == kDwarfRsp && frame.stackPointer) return frame.stackPointer;
    *ok = false;
    return 0;
  }
};

// The simple location forms: a frame-base or register-relative address, a static
// address, or a value in a register (known only in the innermost frame).
void Locate(Dwarf_Die* var, Dwarf_Addr pc, Dwarf_Addr bias, uint64_t frameBase, bool haveBase,
            const Registers& regs, Variable* v) {
  Dwarf_Attribute a;
  if (!dwarf_attr_integrate(var, DW_AT_location, &a)) return;
  Dwarf_Op* expr = nullptr;
  size_t len = 0;
  if (dwarf_getlocation_addr(&a, pc - bias, &expr, &len, 1) != 1 || len != 1) return;
  const Dwarf_Op& op = expr[0];
  bool ok = false;
  if (op.atom == DW_OP_fbreg && haveBase) {
    v->address = frameBase + static_cast<int64_t>(op.number);
  } else if (op.atom == DW_OP_addr) {
    v->address = op.number + bias;
  } else if (op.atom >= DW_OP_breg0 && op.atom <= DW_OP_breg16) {
    const uint64_t r = regs.Get(op.atom - DW_OP_breg0, &ok);
    if (ok) v->address = r + static_cast<int64_t>(op.number);
  } else if (op.atom >= DW_OP_reg0 && op.atom <= DW_OP_reg16) {
    const uint64_t r = regs.Get(op.atom - DW_OP_reg0, &ok);
    if (ok) {
      v->inRegister = true;
      v->registerValue = r;
    }
  }
}

bool FrameBase(Dwarf_Die* function, Dwarf_Addr pc, Dwarf_Addr bias, const Frame& frame, const Registers& regs,
               uint64_t* base) {
  Dwarf_Attribute a;
  if (!dwarf_attr_integrate(function, DW_AT_frame_base, &a)) return false;
  Dwarf_Op* expr = nullptr;
  size_t len = 0;
  if (dwarf_getlocation_addr(&a, pc - bias, &expr, &len, 1) != 1 || len != 1) return false;
  bool ok = false;
  if (expr[0].atom == DW_OP_call_frame_cfa && frame.cfa) {
    *base = frame.cfa;
    return true;
  }
  if (expr[0].atom >= DW_OP_breg0 && expr[0].atom <= DW_OP_breg16) {
    const uint64_t r = regs.Get(expr[0].atom - DW_OP_breg0, &ok);
    *base = r + static_cast<int64_t>(expr[0].number);
    return ok;
  }
  return false;
}

class Session final : public SymbolServices {
 public:
  Session(Shared& s, bool lines) : s_(s), guard_(s.lock), lines_(lines) {}

  bool Start() {
    if (!s_.dwfl) {
      s_.callbacks.find_elf = dwfl_linux_proc_find_elf;
      s_.callbacks.find_debuginfo = dwfl_standard_find_debuginfo;
      s_.dwfl = dwfl_begin(&s_.callbacks);
      if (!s_.dwfl) return false;
      Report(s_.dwfl);
    }
    if (!s_.attached) s_.attached = dwfl_attach_state(s_.dwfl, nullptr, ::getpid(), &kThreadCallbacks, &s_);
    return true;
  }

  int Walk(const ContextAmd64& context, int limit, FrameFn fn, void* arg) override {
    if (!s_.attached || limit <= 0) return 0;
    if (!dwfl_addrmodule(s_.dwfl, context.Rip)) Report(s_.dwfl);
    struct Collect {
      std::vector<Frame> frames;
      size_t limit;
    } c{{}, static_cast<size_t>(limit) + 1};
    s_.walking = &context;
    dwfl_getthread_frames(
        s_.dwfl, ::getpid(),
        [](Dwfl_Frame* state, void* a) -> int {
          auto* c = static_cast<Collect*>(a);
          Frame f;
          Dwarf_Addr pc = 0;
          if (!dwfl_frame_pc(state, &pc, &f.activation) || pc == 0) return DWARF_CB_ABORT;
          f.pc = pc;
          Dwarf_Word r = 0;
          if (dwfl_frame_reg(state, kDwarfRbp, &r) == 0) f.framePointer = r;
          if (dwfl_frame_reg(state, kDwarfRsp, &r) == 0) f.stackPointer = r;
          c->frames.push_back(f);
          return c->frames.size() >= c->limit ? DWARF_CB_ABORT : DWARF_CB_OK;
        },
        &c);
    s_.walking = nullptr;
    int n = 0;
    for (size_t i = 0; i < c.frames.size() && n < limit; ++i) {
      if (i + 1 < c.frames.size()) c.frames[i].cfa = c.frames[i + 1].stackPointer;
      ++n;
      if (!fn(arg, c.frames[i])) break;
    }
    return n;
  }

  bool Symbol(uint64_t pc, SymbolInfo* out) override {
    Dwfl_Module* mod = ModuleOf(pc);
    if (!mod) return false;
    GElf_Off offset = 0;
    GElf_Sym sym;
    const char* name = dwfl_module_addrinfo(mod, pc, &offset, &sym, nullptr, nullptr, nullptr);
    if (!name) return false;
    out->name = name;
    out->fullName = Demangle(name);
    out->nameOnly = WithoutParameters(out->fullName);
    out->displacement = offset;
    return true;
  }

  bool Line(uint64_t pc, LineInfo* out) override {
    Dwfl_Module* mod = ModuleOf(pc);
    Dwfl_Line* line = mod ? dwfl_module_getsrc(mod, pc) : nullptr;
    if (!line) return false;
    Dwarf_Addr addr = 0;
    int lineNo = 0;
    const char* file = dwfl_lineinfo(line, &addr, &lineNo, nullptr, nullptr, nullptr);
    if (!file) return false;
    out->file = file;
    out->line = static_cast<uint32_t>(lineNo);
    out->displacement = static_cast<uint32_t>(pc - addr);
    return true;
  }

  bool Module(uint64_t pc, ModuleInfo* out) override {
    Dwfl_Module* mod = ModuleOf(pc);
    return mod && Describe(mod, out);
  }

  void Modules(ModuleFn fn, void* arg) override {
    struct Walk {
      Session* self;
      ModuleFn fn;
      void* arg;
    } w{this, fn, arg};
    dwfl_getmodules(
        s_.dwfl,
        [](Dwfl_Module* mod, void**, const char*, Dwarf_Addr, void* a) -> int {
          auto* w = static_cast<Walk*>(a);
          ModuleInfo info;
          if (!w->self->Describe(mod, &info)) return DWARF_CB_OK;
          return w->fn(w->arg, info) ? DWARF_CB_OK : DWARF_CB_ABORT;
        },
        &w, 0);
  }

  void Variables(const Frame& frame, bool innermost, const ContextAmd64& context, VariableFn fn,
                 void* arg) override {
    const uint64_t pc = frame.activation ? frame.pc : frame.pc - 1;
    Dwfl_Module* mod = ModuleOf(pc);
    Dwarf_Addr bias = 0;
    Dwarf_Die* cu = mod ? dwfl_module_addrdie(mod, pc, &bias) : nullptr;
    if (!cu) return;
    Dwarf_Die* scopes = nullptr;
    const int n = dwarf_getscopes(cu, pc - bias, &scopes);
    if (n <= 0) return;
    int function = -1;
    for (int i = 0; i < n && function < 0; ++i)
      if (dwarf_tag(&scopes[i]) == DW_TAG_subprogram) function = i;
    if (function >= 0) {
      const Registers regs{frame, innermost, context};
      uint64_t base = 0;
      const bool haveBase = FrameBase(&scopes[function], pc, bias, frame, regs, &base);
      bool go = true;
      // Parameters of the function, then the locals of each scope out to it.
      for (int pass = 0; pass < 2 && go; ++pass) {
        for (int i = pass == 0 ? function : 0; i <= function && go; ++i) {
          Dwarf_Die child;
          if (dwarf_child(&scopes[i], &child) != 0) continue;
          do {
            const int tag = dwarf_tag(&child);
            if ((pass == 0 && tag != DW_TAG_formal_parameter) || (pass == 1 && tag != DW_TAG_variable)) continue;
            const char* name = dwarf_diename(&child);
            if (!name) continue;
            Variable v;
            v.name = name;
            v.local = pass == 1;
            DescribeType(&child, &v);
            Locate(&child, pc, bias, base, haveBase, regs, &v);
            if (!fn(arg, v)) {
              go = false;
              break;
            }
          } while (dwarf_siblingof(&child, &child) == 0);
        }
      }
    }
    std::free(scopes);
  }

  uint32_t WriteMiniDump(const DumpRequest& request, bool* created) override {
    return WriteLinuxMiniDump(request, created);
  }

 private:
  Dwfl_Module* ModuleOf(uint64_t pc) {
    Dwfl_Module* mod = dwfl_addrmodule(s_.dwfl, pc);
    if (!mod) {
      Report(s_.dwfl);
      mod = dwfl_addrmodule(s_.dwfl, pc);
    }
    return mod;
  }

  bool Describe(Dwfl_Module* mod, ModuleInfo* out) {
    Dwarf_Addr start = 0, end = 0;
    const char* mainFile = nullptr;
    const char* name = dwfl_module_info(mod, nullptr, &start, &end, nullptr, nullptr, &mainFile, nullptr);
    if (!name) return false;
    GElf_Addr bias = 0;
    dwfl_module_getelf(mod, &bias);
    name = dwfl_module_info(mod, nullptr, &start, &end, nullptr, nullptr, &mainFile, nullptr);
    out->path = mainFile ? mainFile : name;
    std::string base = out->path.substr(out->path.find_last_of('/') + 1);
    if (base.empty()) base = name;
    out->name = base.substr(0, base.find(".so") != std::string::npos ? base.find(".so") : base.find('.'));
    out->base = start;
    out->size = end - start;
    Dwarf_Addr dbias = 0;
    if (dwfl_module_getdwarf(mod, &dbias))
      out->symbolType = "DWARF";
    else if (dwfl_module_getsymtab(mod) > 0)
      out->symbolType = "SYM";
    else
      out->symbolType = "<no known symbols>";
    (void)lines_;
    return true;
  }

  Shared& s_;
  std::lock_guard<std::mutex> guard_;
  bool lines_;
};

}  // namespace

int AdjustDebugPrivilege(bool) { return 0; }

std::unique_ptr<SymbolServices> SymbolServices::Open(const std::u16string&, bool lines) {
  auto session = std::make_unique<Session>(S(), lines);
  if (!session->Start()) return nullptr;
  return session;
}

// CaptureContext itself, in assembly (its mangled name), so that no frame of ours
// stands between the caller and the registers recorded.
asm(R"(
  .text
  .globl _ZN4plat14CaptureContextEPNS_12ContextAmd64E
  .hidden _ZN4plat14CaptureContextEPNS_12ContextAmd64E
  .type _ZN4plat14CaptureContextEPNS_12ContextAmd64E, @function
_ZN4plat14CaptureContextEPNS_12ContextAmd64E:
  .cfi_startproc
  movq %rax, 120(%rdi)
  movq %rcx, 128(%rdi)
  movq %rdx, 136(%rdi)
  movq %rbx, 144(%rdi)
  leaq 8(%rsp), %rax
  movq %rax, 152(%rdi)
  movq %rbp, 160(%rdi)
  movq %rsi, 168(%rdi)
  movq %rdi, 176(%rdi)
  movq %r8, 184(%rdi)
  movq %r9, 192(%rdi)
  movq %r10, 200(%rdi)
  movq %r11, 208(%rdi)
  movq %r12, 216(%rdi)
  movq %r13, 224(%rdi)
  movq %r14, 232(%rdi)
  movq %r15, 240(%rdi)
  movq (%rsp), %rax
  movq %rax, 248(%rdi)
  pushfq
  popq %rax
  movl %eax, 68(%rdi)
  movw %cs, 56(%rdi)
  movw %ds, 58(%rdi)
  movw %es, 60(%rdi)
  movw %fs, 62(%rdi)
  movw %gs, 64(%rdi)
  movw %ss, 66(%rdi)
  stmxcsr 52(%rdi)
  fxsave 256(%rdi)
  movl $0x10000B, 48(%rdi)
  movq 120(%rdi), %rax
  ret
  .cfi_endproc
  .size _ZN4plat14CaptureContextEPNS_12ContextAmd64E, .-_ZN4plat14CaptureContextEPNS_12ContextAmd64E
)");

}  // namespace plat
