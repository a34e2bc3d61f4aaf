// The machine state of an exception in the layout of the x64 system structures
// (CONTEXT, EXCEPTION_RECORD, EXCEPTION_POINTERS), on both targets: on Windows they
// are the system's own, on Linux the crash handler fills them from the signal's
// context, and the minidump writer stores the context as it stands.
// Threads: plain data.
//
//   plat::ContextAmd64 ctx; plat::CaptureContext(&ctx);   // the caller's registers
#pragma once
#include <cstddef>
#include <cstdint>

namespace plat {

struct alignas(16) ContextAmd64 {
  uint64_t P1Home, P2Home, P3Home, P4Home, P5Home, P6Home;
  uint32_t ContextFlags;
  uint32_t MxCsr;
  uint16_t SegCs, SegDs, SegEs, SegFs, SegGs, SegSs;
  uint32_t EFlags;
  uint64_t Dr0, Dr1, Dr2, Dr3, Dr6, Dr7;
  uint64_t Rax, Rcx, Rdx, Rbx, Rsp, Rbp, Rsi, Rdi;
  uint64_t R8, R9, R10, R11, R12, R13, R14, R15;
  uint64_t Rip;
  uint8_t FltSave[512];   // the FXSAVE image
  uint8_t VectorRegister[26 * 16];
  uint64_t VectorControl, DebugControl;
  uint64_t LastBranchToRip, LastBranchFromRip, LastExceptionToRip, LastExceptionFromRip;
};
static_assert(sizeof(ContextAmd64) == 1232);
static_assert(offsetof(ContextAmd64, Rip) == 248);
static_assert(offsetof(ContextAmd64, FltSave) == 256);

// CONTEXT_AMD64 | CONTROL | INTEGER | SEGMENTS | FLOATING_POINT.
constexpr uint32_t kContextFull = 0x0010001F;
// What a capture of the caller's context fills (control, integer, floating point).
constexpr uint32_t kContextCaptured = 0x0010000B;

struct ExceptionRecord64 {
  uint32_t ExceptionCode;
  uint32_t ExceptionFlags;
  ExceptionRecord64* ExceptionRecord;
  uint64_t ExceptionAddress;
  uint32_t NumberParameters;
  uint32_t unusedAlignment;
  uint64_t ExceptionInformation[15];
};
static_assert(sizeof(ExceptionRecord64) == 152);

struct ExceptionPointers64 {
  ExceptionRecord64* ExceptionRecord;
  ContextAmd64* ContextRecord;
};

// The calling function's registers (as RtlCaptureContext): the instruction and
// stack pointers are those of the caller right after the call returns.
void CaptureContext(ContextAmd64* context);

}  // namespace plat
