// Linux: crash interception with sigaction. The handler runs on the crashed
// thread (on its alternate stack when it has one), builds the exception record and
// the context from the signal, and hands them over to the filter thread through a
// slot guarded by a spin flag and two semaphores; it waits for the verdict and
// carries it out. Nothing in the handler allocates or takes a lock of the library.
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>

#include "platform/crash_filter.h"
#include "platform/posix/signal_context_posix.h"

namespace plat {
namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT};
constexpr int kSignalCount = 6;
constexpr size_t kAltStackSize = 64 * 1024;
constexpr time_t kAnswerLimitSeconds = 300;

struct Previous {
  struct sigaction old[kSignalCount];
  ExceptionFilterFn oldFilter;
};

// The one crash being handed over.
struct Slot {
  ExceptionRecord64 record;
  ContextAmd64 context;
  ExceptionPointers64 pointers;
  uint32_t threadId;
  int signal;
  long verdict;
  Previous* chainTo;   // a foreign disposition to hand the signal to
};

std::atomic<ExceptionFilterFn> g_filter{nullptr};
std::atomic<Previous*> g_first{nullptr};   // the dispositions found before our first install
std::atomic<bool> g_busy{false};
std::atomic<long> g_filterThread{0};
sem_t g_request;
sem_t g_done;
alignas(16) Slot g_slot;
bool g_started = false;
pthread_mutex_t g_installLock = PTHREAD_MUTEX_INITIALIZER;

thread_local __attribute__((tls_model("initial-exec"))) int t_stackCount = 0;
thread_local __attribute__((tls_model("initial-exec"))) void* t_stack = nullptr;
thread_local __attribute__((tls_model("initial-exec"))) int t_inHandler = 0;

long Tid() { return ::syscall(SYS_gettid); }

int IndexOf(int sig) {
  for (int i = 0; i < kSignalCount; ++i)
    if (kSignals[i] == sig) return i;
  return -1;
}

void Handler(int sig, siginfo_t* info, void* uc);

bool IsOurs(const struct sigaction& sa) {
  return (sa.sa_flags & SA_SIGINFO) && sa.sa_sigaction == &Handler;
}

void* FilterThread(void*) {
  g_filterThread.store(Tid());
  for (;;) {
    while (sem_wait(&g_request) != 0 && errno == EINTR) {
    }
    ExceptionFilterFn filter = g_filter.load();
    g_slot.verdict = filter ? filter(&g_slot.pointers, g_slot.threadId) : kFilterContinueSearch;
    sem_post(&g_done);
  }
  return nullptr;
}

// The system's exception code and parameters of a signal.
void Describe(int sig, const siginfo_t* info, const ucontext_t* uc, ExceptionRecord64* r, ContextAmd64* c) {
  const uint64_t address = reinterpret_cast<uintptr_t>(info->si_addr);
  const bool sent = info->si_code <= 0;   // kill, tgkill, sigqueue: not a fault
  r->ExceptionAddress = c->Rip;
  switch (sig) {
    case SIGSEGV: {
      const uint64_t err = static_cast<uint64_t>(uc->uc_mcontext.gregs[REG_ERR]);
      const uint64_t sp = c->Rsp;
      // A fault just below the stack pointer is the guard page of the stack (the
      // lowest 64 KiB are never a stack: a null pointer's neighbourhood).
      if (address >= 0x10000 && address + 65536 >= sp && address < sp + 4096 && !(err & 0x10)) {
        r->ExceptionCode = 0xC00000FD;
        r->NumberParameters = 2;
        r->ExceptionInformation[0] = 1;
        r->ExceptionInformation[1] = address;
        break;
      }
      r->ExceptionCode = 0xC0000005;
      r->NumberParameters = 2;
      r->ExceptionInformation[0] = (err & 0x10) ? 8 : (err & 0x2) ? 1 : 0;
      r->ExceptionInformation[1] = address;
      break;
    }
    case SIGBUS:
      r->ExceptionCode = info->si_code == BUS_ADRALN ? 0x80000002 : 0xC0000006;
      r->NumberParameters = 2;
      r->ExceptionInformation[1] = address;
      break;
    case SIGILL:
      r->ExceptionCode = (info->si_code == ILL_PRVOPC || info->si_code == ILL_PRVREG) ? 0xC0000096 : 0xC000001D;
      break;
    case SIGFPE:
      switch (info->si_code) {
        case FPE_INTDIV: r->ExceptionCode = 0xC0000094; break;
        case FPE_INTOVF: r->ExceptionCode = 0xC0000095; break;
        case FPE_FLTDIV: r->ExceptionCode = 0xC000008E; break;
        case FPE_FLTOVF: r->ExceptionCode = 0xC0000091; break;
        case FPE_FLTUND: r->ExceptionCode = 0xC0000093; break;
        case FPE_FLTRES: r->ExceptionCode = 0xC000008F; break;
        case FPE_FLTSUB: r->ExceptionCode = 0xC000008C; break;
        default: r->ExceptionCode = 0xC0000090; break;
      }
      break;
    case SIGTRAP:
      if (info->si_code == TRAP_TRACE) {
        r->ExceptionCode = 0x80000004;
      } else {
        // int3 leaves the instruction pointer behind it; the system reports the
        // breakpoint's own address, and a filter steps over it by adding 1.
        r->ExceptionCode = 0x80000003;
        c->Rip -= 1;
        r->ExceptionAddress = c->Rip;
      }
      break;
    case SIGABRT:
      r->ExceptionCode = 0x40000015;   // fatal application exit
      break;
  }
  if (sent && sig != SIGABRT) r->ExceptionCode = 0xE0000000u | static_cast<uint32_t>(sig);   // a software exception
}

void FromContext(const ContextAmd64& c, ucontext_t* uc) {
  greg_t* g = uc->uc_mcontext.gregs;
  g[REG_RAX] = c.Rax; g[REG_RBX] = c.Rbx; g[REG_RCX] = c.Rcx; g[REG_RDX] = c.Rdx;
  g[REG_RSI] = c.Rsi; g[REG_RDI] = c.Rdi; g[REG_RBP] = c.Rbp; g[REG_RSP] = c.Rsp;
  g[REG_R8] = c.R8;   g[REG_R9] = c.R9;   g[REG_R10] = c.R10; g[REG_R11] = c.R11;
  g[REG_R12] = c.R12; g[REG_R13] = c.R13; g[REG_R14] = c.R14; g[REG_R15] = c.R15;
  g[REG_RIP] = c.Rip;
}

// Lets the default action run: for a fault, returning re-executes the faulting
// instruction; a signal that was sent is sent again.
void DefaultAction(int sig, const siginfo_t* info) {
  struct sigaction dfl{};
  dfl.sa_handler = SIG_DFL;
  sigemptyset(&dfl.sa_mask);
  ::sigaction(sig, &dfl, nullptr);
  if (info->si_code <= 0 || sig == SIGABRT || sig == SIGTRAP) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, sig);
    ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    ::syscall(SYS_tgkill, ::getpid(), Tid(), sig);
  }
}

// Hands the signal to a disposition found before us.
void PassTo(const struct sigaction& sa, int sig, siginfo_t* info, void* uc) {
  if (sa.sa_flags & SA_SIGINFO) {
    if (sa.sa_sigaction) {
      sa.sa_sigaction(sig, info, uc);
      return;
    }
  } else if (sa.sa_handler == SIG_IGN) {
    if (info->si_code <= 0) return;   // an ignored sent signal stays ignored
  } else if (sa.sa_handler != SIG_DFL) {
    sa.sa_handler(sig);
    return;
  }
  DefaultAction(sig, info);
}

bool WaitForAnswer() {
  timespec until{};
  ::clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += kAnswerLimitSeconds;
  for (;;) {
    if (sem_timedwait(&g_done, &until) == 0) return true;
    if (errno != EINTR) return false;
  }
}

void Handler(int sig, siginfo_t* info, void* ucv) {
  const int saved = errno;
  auto* uc = static_cast<ucontext_t*>(ucv);
  const int index = IndexOf(sig);
  // A crash while a crash is being filtered, on the filtering thread or inside this
  // handler: no report.
  if (t_inHandler || Tid() == g_filterThread.load() || index < 0 || !g_started) {
    DefaultAction(sig, info);
    errno = saved;
    return;
  }
  t_inHandler = 1;
  bool expected = false;
  while (!g_busy.compare_exchange_weak(expected, true, std::memory_order_acquire)) {
    expected = false;
    timespec pause{0, 1000000};
    ::nanosleep(&pause, nullptr);
  }
  Slot& s = g_slot;
  std::memset(&s.record, 0, sizeof s.record);
  ContextFromSignal(uc, &s.context);
  Describe(sig, info, uc, &s.record, &s.context);
  s.pointers.ExceptionRecord = &s.record;
  s.pointers.ContextRecord = &s.context;
  s.threadId = static_cast<uint32_t>(Tid());
  s.signal = sig;
  s.verdict = kFilterContinueSearch;
  s.chainTo = nullptr;
  sem_post(&g_request);
  const bool answered = WaitForAnswer();
  const long verdict = answered ? s.verdict : kFilterExecuteHandler;
  Previous* chainTo = s.chainTo;
  if (verdict == kFilterContinueExecution) FromContext(s.context, uc);
  g_busy.store(false, std::memory_order_release);
  t_inHandler = 0;

  if (verdict == kFilterContinueExecution) {
    errno = saved;
    return;
  }
  if (verdict == kFilterContinueSearch) {
    Previous* to = chainTo ? chainTo : g_first.load();
    if (to && !IsOurs(to->old[index])) {
      PassTo(to->old[index], sig, info, ucv);
      errno = saved;
      return;
    }
  }
  DefaultAction(sig, info);
  errno = saved;
}

}  // namespace

PreviousFilter SetExceptionFilter(ExceptionFilterFn filter) {
  pthread_mutex_lock(&g_installLock);
  if (!g_started) {
    sem_init(&g_request, 0, 0);
    sem_init(&g_done, 0, 0);
    pthread_t t;
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    // The filter thread runs the whole report (symbols, dump, archive): a large stack.
    pthread_attr_setstacksize(&attr, 8u << 20);
    g_started = pthread_create(&t, &attr, &FilterThread, nullptr) == 0;
    pthread_attr_destroy(&attr);
    if (g_started) pthread_setname_np(t, "crash filter");
  }
  auto* prev = new Previous;
  prev->oldFilter = g_filter.exchange(filter);
  struct sigaction sa{};
  sa.sa_sigaction = &Handler;
  sa.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  sigemptyset(&sa.sa_mask);
  for (int i = 0; i < kSignalCount; ++i) ::sigaction(kSignals[i], &sa, &prev->old[i]);
  if (!g_first.load()) g_first.store(prev);
  pthread_mutex_unlock(&g_installLock);
  return prev;
}

void RestoreExceptionFilter(PreviousFilter previous) {
  auto* prev = static_cast<Previous*>(previous);
  if (!prev) return;
  pthread_mutex_lock(&g_installLock);
  for (int i = 0; i < kSignalCount; ++i) ::sigaction(kSignals[i], &prev->old[i], nullptr);
  g_filter.store(prev->oldFilter);
  if (g_first.load() == prev) g_first.store(nullptr);
  pthread_mutex_unlock(&g_installLock);
  // While a crash is handed over the block may be read: it is kept for the process.
  if (!g_busy.load()) delete prev;
}

long CallPreviousFilter(PreviousFilter previous, ExceptionPointers64* pointers, uint32_t threadId) {
  auto* prev = static_cast<Previous*>(previous);
  if (!prev) return kFilterContinueSearch;
  const int index = IndexOf(g_slot.signal);
  if (index >= 0 && IsOurs(prev->old[index]) && prev->oldFilter) return prev->oldFilter(pointers, threadId);
  g_slot.chainTo = prev;   // the crashed thread hands the signal on
  return kFilterContinueSearch;
}

bool PrepareCrashStack() {
  if (t_stackCount++ > 0) return true;
  void* mem = ::mmap(nullptr, kAltStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mem == MAP_FAILED) return false;
  stack_t ss{};
  ss.ss_sp = mem;
  ss.ss_size = kAltStackSize;
  if (::sigaltstack(&ss, nullptr) != 0) {
    ::munmap(mem, kAltStackSize);
    return false;
  }
  t_stack = mem;
  return true;
}

void ReleaseCrashStack() {
  if (t_stackCount == 0 || --t_stackCount > 0 || !t_stack) return;
  stack_t ss{};
  ss.ss_flags = SS_DISABLE;
  ::sigaltstack(&ss, nullptr);
  ::munmap(t_stack, kAltStackSize);
  t_stack = nullptr;
}

}  // namespace plat
