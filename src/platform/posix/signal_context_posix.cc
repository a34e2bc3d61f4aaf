#include "platform/posix/signal_context_posix.h"

#include <cstring>

namespace plat {

void ContextFromSignal(const ucontext_t* uc, ContextAmd64* c) {
  std::memset(c, 0, sizeof *c);
  const greg_t* g = uc->uc_mcontext.gregs;
  c->ContextFlags = kContextFull;
  c->Rax = g[REG_RAX]; c->Rbx = g[REG_RBX]; c->Rcx = g[REG_RCX]; c->Rdx = g[REG_RDX];
  c->Rsi = g[REG_RSI]; c->Rdi = g[REG_RDI]; c->Rbp = g[REG_RBP]; c->Rsp = g[REG_RSP];
  c->R8 = g[REG_R8];   c->R9 = g[REG_R9];   c->R10 = g[REG_R10]; c->R11 = g[REG_R11];
  c->R12 = g[REG_R12]; c->R13 = g[REG_R13]; c->R14 = g[REG_R14]; c->R15 = g[REG_R15];
  c->Rip = g[REG_RIP];
  c->EFlags = static_cast<uint32_t>(g[REG_EFL]);
  const uint64_t csgsfs = static_cast<uint64_t>(g[REG_CSGSFS]);
  c->SegCs = static_cast<uint16_t>(csgsfs);
  c->SegGs = static_cast<uint16_t>(csgsfs >> 16);
  c->SegFs = static_cast<uint16_t>(csgsfs >> 32);
  c->SegSs = static_cast<uint16_t>(csgsfs >> 48);
  if (uc->uc_mcontext.fpregs) {
    std::memcpy(c->FltSave, uc->uc_mcontext.fpregs, sizeof c->FltSave);
    c->MxCsr = uc->uc_mcontext.fpregs->mxcsr;
  }
}

}  // namespace plat
