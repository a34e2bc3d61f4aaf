// The protection state, the filter, and the report.
#include "gpf/GpfProtection.h"

#include <atomic>
#include <cstdarg>
#include <new>
#include <string>

#include "core/containers/WCSkipList.h"
#include "core/format/Format.h"
#include "core/identity/Identity.h"
#include "core/registry/Registry.h"
#include "debug/Debug.h"
#include "gpf/MessageBoxThread.h"
#include "gpf/ReportLog.h"
#include "gpf/StackFormat.h"
#include "platform/debug_help.h"
#include "platform/errors.h"
#include "platform/fatal_dialog.h"
#include "platform/locale.h"
#include "platform/lock.h"
#include "platform/process.h"
#include "platform/timestamp.h"
#include "platform/window_update.h"
#include "zxut22/util_crash.h"

namespace zx {
namespace {

constexpr uint32_t kFacilityMask = 0x3FFFFC00u;

struct FilterNode {
  plat::PreviousFilter previous;
  FilterNode* next;
};

struct State {
  plat::CriticalSection lock;
  int enable = 0;   // 0 unknown, 1 on, 2 off
  WCValSkipListDict<uint32_t, uint32_t> table;
  FilterNode* stack = nullptr;   // most recent push first
  uint32_t stackSize = 0;
  std::atomic<int> inReport{0};
  uint32_t chainDepth = 0;
  plat::CriticalSection reportLock;
  std::atomic<uint32_t> reportThread{0};
  std::atomic<const void*> reportPointers{nullptr};
};
State& S() {
  static State* s = new State;   // crash reports run during exit as well
  return *s;
}

bool FirstIs(const std::u16string& v, const char16_t* chars) {
  return !v.empty() && std::u16string_view(chars).find(v[0]) != std::u16string_view::npos;
}

bool EnabledLocked(State& s) ZX_REQUIRES(s.lock) {
  if (s.enable) return s.enable == 1;
  bool on = true;
  std::u16string v;
  bool settled = false;
  if (RegReadString(UserHive(), u"SOFTWARE\\zarnik", u"ForceUseGPFHandler", v)) {
    on = !FirstIs(v, u"0F");
    settled = FirstIs(v, u"01FT");
  }
  if (!settled && on && RegReadString(UserHive(), u"SOFTWARE\\zarnik", u"UseGPFHandler", v)) on = !FirstIs(v, u"F0");
  s.enable = on ? 1 : 2;
  return on;
}

// The exports of the debug help engine, found by name in the library.
struct clsUtilDebugHelpWrapper {
  HDEBUGHELPJOB(ZXUT_API* open)() = nullptr;
  void(ZXUT_API* close)(HDEBUGHELPJOB) = nullptr;
  void(ZXUT_API* setOption)(HDEBUGHELPJOB, DWORD, DWORD) = nullptr;
  LONG(ZXUT_API* stack)(HDEBUGHELPJOB, IDBGStackTraceList**, const zxCONTEXT*) = nullptr;
  LONG(ZXUT_API* modules)(HDEBUGHELPJOB, IDBGModuleList**) = nullptr;
  LONG(ZXUT_API* dump)(HDEBUGHELPJOB, LPWSTR, DWORD, const zxEXCEPTION_POINTERS*) = nullptr;
  HDEBUGHELPJOB job = nullptr;

  bool Load() {
    open = reinterpret_cast<decltype(open)>(plat::OwnLibraryExport("UtilDebugHelpJobOpen"));
    close = reinterpret_cast<decltype(close)>(plat::OwnLibraryExport("UtilDebugHelpJobClose"));
    setOption = reinterpret_cast<decltype(setOption)>(plat::OwnLibraryExport("UtilDebugHelpSetOption"));
    stack = reinterpret_cast<decltype(stack)>(plat::OwnLibraryExport("UtilDebugHelpGetStackTrace"));
    modules = reinterpret_cast<decltype(modules)>(plat::OwnLibraryExport("UtilDebugHelpGetModuleList"));
    dump = reinterpret_cast<decltype(dump)>(plat::OwnLibraryExport("UtilDebugHelpWriteMiniDump"));
    if (!open || !close || !setOption || !stack || !modules || !dump) return false;
    job = open();
    return true;
  }
  ~clsUtilDebugHelpWrapper() {
    if (close) close(job);
  }
};

bool UiAllowed() {
  using Fn = DWORD(ZXUT_API*)();
  auto fn = reinterpret_cast<Fn>(plat::OwnLibraryExport("UtilGetUIInteractionAllowed"));
  return !fn || fn() != 0;   // not found: allowed
}

bool German() { return (plat::UserDefaultLangID() & 0x3FF) == 7; }

String TimeText() {
  plat::SystemTime t{};
  plat::LocalTimeNow(&t);
  char16_t buf[64];
  FormatTo(buf, 64, u"%04u-%02u-%02u, %02u:%02u:%02u", t.year, t.month, t.day, t.hour, t.minute, t.second);
  return String(buf);
}

const char16_t* kOfferEn =
    u"This application has caused a problem and needs to close. We're sorry for the inconvenience.\r\n"
    u"Please help to improve the product. An error report with information for the support can be created and "
    u"sent afterwards. Do you want to create this report?\r\n";
const char16_t* kOfferDe =
    u"Diese Anwendung hat ein Problem verursacht und muss beendet werden. Wir bedauern dieses Problem.\r\n"
    u"Bitte helfen Sie uns dabei, das Produkt zu verbessern. Es kann eine Datei mit Informationen f\u00fcr den "
    u"Support erstellt werden, die Sie anschlie\u00dfend verschicken k\u00f6nnen. M\u00f6chten Sie dies?\r\n";
const char16_t* kDoneEn = u"The information for the support was generated.\r\nDo you want to open the containing folder?\r\n";
const char16_t* kDoneDe =
    u"Die Informationen f\u00fcr den Support wurden erzeugt.\r\nSoll das Verzeichnis der Datei ge\u00f6ffnet werden?\r\n";
const char16_t* kFileEn = u"The exception information was written to the file '%s'.\r\n";
const char16_t* kFileDe = u"Die Informationen \u00fcber den Ausnahmefehler wurden in die Datei '%s' geschrieben.\r\n";

int Ask(const char16_t* caption, const String& text, uint32_t style, int defaultAnswer) {
  clsMessageBoxThread box(String(caption), text, style, defaultAnswer);
  return box.Answer();
}

}  // namespace

const char16_t* ExceptionName(uint32_t code) {
  switch (code) {
    case 0x80000002: return u"Misalignment";
    case 0x80000003: return u"Breakpoint";
    case 0x80000004: return u"SingleStep";
    case 0xC0000005: return u"Access Violation";
    case 0xC0000006: return u"Paging error";
    case 0xC000001D: return u"Illegal Instruction Encountered";
    case 0xC0000025: return u"Noncontinuable Exception";
    case 0xC0000026: return u"Invalid Disposition";
    case 0xC000008C: return u"Bounds Exceeded";
    case 0xC000008D: return u"Float: Denormal Operand";
    case 0xC000008E: return u"Float: Division by Zero";
    case 0xC000008F: return u"Float: Inexact Result";
    case 0xC0000090: return u"Float: Invalid Operation";
    case 0xC0000091: return u"Float: Overflow";
    case 0xC0000092: return u"Float: StackCheck";
    case 0xC0000093: return u"Float: Underflow";
    case 0xC0000094: return u"Integer Division by Zero";
    case 0xC0000095: return u"Integer: Overflow";
    case 0xC0000096: return u"Privileged Instruction Encountered";
    case 0xC00000FD: return u"Stack Overflow";
    default: break;
  }
  static char16_t buffer[200];   // as the system's table gives it, one report at a time
  std::u16string text;
  plat::SystemErrorText(code, 0, text);
  while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r')) text.pop_back();
  const size_t n = text.size() < 199 ? text.size() : 199;
  text.copy(buffer, n);
  buffer[n] = 0;
  return buffer;
}

void clsGPFProtection::Print(uint32_t channels, const char16_t* format, ...) {
  static char16_t buffer[4097];   // under the report lock
  va_list ap;
  va_start(ap, format);
  VFormatTo(buffer, 4097, format, ap);
  va_end(ap);
  if (channels & 1) DebugPrint(u"%s", buffer);
  if (channels & 2) AppendReportLog(buffer);
}

void clsGPFProtection::PrintCodeBytes(uint64_t instructionPointer) {
  // The low 32 bits only: code above 4 GiB shows as unreadable.
  const uint64_t address = instructionPointer & 0xFFFFFFFFu;
  const uint64_t from = (address - 64) & ~uint64_t{15};
  const uint64_t to = (address + 65) & ~uint64_t{15};
  for (uint64_t row = from; row < to; row += 16) {
    char16_t line[128];
    size_t at = FormatTo(line, 128, u"%#p ", reinterpret_cast<const void*>(static_cast<uintptr_t>(row)));
    for (int i = 0; i < 16; ++i) {
      uint8_t b = 0;
      if (plat::ReadMemorySafely(row + i, &b, 1)) at += FormatTo(line + at, 128 - at, u"%02x ", b);
      else at += FormatTo(line + at, 128 - at, u"-- ");
    }
    Print(Channels(), u" %s", line);
  }
}

long clsGPFProtection::Filter(plat::ExceptionPointers64* pointers, uint32_t threadId) {
  plat::ExceptionRecord64* r = pointers->ExceptionRecord;
  const uint32_t code = r->ExceptionCode;
  if (code & kFacilityMask) {
    DebugPrint(u"Not system exception: let it pass!");
    return plat::kFilterContinueSearch;
  }
  const std::u16string_view file = Identity().processFileName.View();
  if ((Identity().windowsVersion >= 0x0600 || Identity().windowsVersion == 0) && file.size() >= 6 &&
      CompareText(std::u16string(file.substr(0, 6)).c_str(), u"rpview", -1, false, false) == 0)
    flags_ &= ~1u;
  if (code == 0xC0000005 && r->NumberParameters >= 1 && r->ExceptionInformation[0] == 8) {
    DebugPrintIndent(+1, u">>>NX violation exception!!!");
    if (flags_ & 2) GenerateExceptionReport(pointers, threadId, false);
    DebugPrintIndent(-1, u"<<<NX violation exception!!!");
    return plat::kFilterContinueSearch;
  }
  if (code == 0x80000003) {
    pointers->ContextRecord->Rip += 1;
    return plat::kFilterContinueExecution;
  }
  if (code == 0xC00000FD) return plat::kFilterContinueSearch;
  if (flags_ & 2) GenerateExceptionReport(pointers, threadId, true);
  if (code == 0xC0000025) DebugPrint(u"[noncontinuable exception...]");
  if (code == 0xC0000029) DebugPrint(u"[no handler active to catch throw()?]");
  return plat::kFilterContinueSearch;
}

void clsGPFProtection::GenerateExceptionReport(plat::ExceptionPointers64* pointers, uint32_t threadId,
                                               bool bCreateMinidumpOnly) {
  State& s = S();
  plat::Lock report(s.reportLock);
  const plat::WindowUpdateLock holdWindow(plat::ActiveTopLevelWindow());
  s.reportThread.store(threadId);
  s.reportPointers.store(pointers);
  const bool ui = UiAllowed();
  clsUtilDebugHelpWrapper help;
  const bool present = help.Load();
  if (present) {
    help.setOption(help.job, 1, 100);
    help.setOption(help.job, 2, ui ? 1 : 0);
  }
  DebugPrintIndent(+1, u">clsGPFProtection::GenerateExceptionReport(bCreateMinidumpOnly=%d, IsUserInteractionAllowed()=%d): DBGHELP is %s present",
                   bCreateMinidumpOnly ? 1 : 0, ui ? 1 : 0, present ? u"" : u"not");
  String key(u"Software\\zarnik\\");
  key.Append(Identity().processBaseName.wchar());
  std::u16string value;
  const bool suppressSet = RegReadString(UserHive(), key.wchar(), u"SuppressGPFInfo", value);
  const bool suppress = suppressSet && FirstIs(value, u"T");
  if (suppressSet)
    DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): registry explicitly %s GPFInfo ",
               suppress ? u"suppresses" : u"allows");
  bool wanted = !suppress;
  if (!present || suppress) {
    bCreateMinidumpOnly = false;
  } else if (bCreateMinidumpOnly) {
    flags_ &= 1;
  } else {
    const bool fullSet = RegReadString(UserHive(), key.wchar(), u"GenerateFullGPFInfo", value);
    wanted = fullSet ? FirstIs(value, u"T") : wanted;
    if (fullSet)
      DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): registry explicitly %s full GPFInfo ",
                 wanted ? u"allows" : u"denies");
  }
  const char16_t* caption = ExceptionName(pointers->ExceptionRecord->ExceptionCode);
  if ((flags_ & 1) && wanted && ui) {
    if (Ask(caption, String(German() ? kOfferDe : kOfferEn), kStyleYesNo, kAnswerYes) == kAnswerNo) {
      wanted = false;
      DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): user actively suppressed GPFInfo");
    }
  }
  if (!wanted) {
    DebugPrintIndent(-1, u"<clsGPFProtection::GenerateExceptionReport() -> no GPF info requested");
  } else {
    DebugPrintIndent(+1, u">clsGPFProtection::GenerateExceptionReport(): starting report");
    const String time = TimeText();
    const uint32_t code = pointers->ExceptionRecord->ExceptionCode;
    Print(Channels(), u">>>========================= %s", time.wchar());
    Print(Channels(), u"Exception code: 0x%08x (%s)", code, ExceptionName(code));
    Print(Channels(), u"Code environment:");
    PrintCodeBytes(pointers->ContextRecord->Rip);
    if (!bCreateMinidumpOnly) {
      DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): listing modules");
      IDBGModuleList* modules = nullptr;
      if (help.modules(help.job, &modules) && modules) {
        Print(Channels(), u"List of Modules:");
        modules->Reset();
        DBGModuleItem* m = nullptr;
        ULONG got = 0;
        while (modules->Next(1, &m, &got) == 0 && got == 1) {
          if (m->dwSize != DBG_MODULEITEM_SIZE) {
            Print(Channels(), u"bad size of DBGModuleItem* structure...");
            continue;
          }
          char16_t line[1200];
          FormatModuleItem(*m, line, 1200);
          Print(Channels(), u"%s", line);
        }
        modules->Release();
      } else {
        DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): DBGHELP.GetModuleList() failed");
      }
      DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): issuing stacktrace");
      IDBGStackTraceList* stack = nullptr;
      if (help.stack(help.job, &stack, reinterpret_cast<const zxCONTEXT*>(pointers->ContextRecord)) && stack) {
        Print(Channels(), u"Stack Trace:");
        stack->Reset();
        DBGStackTraceItem* item = nullptr;
        ULONG got = 0;
        while (stack->Next(1, &item, &got) == 0 && got == 1) {
          if (item->dwSize != DBG_STACKTRACEITEM_SIZE) {
            Print(Channels(), u"bad size of DBGStackTraceItem* structure...");
            continue;
          }
          FormatStackItem(*item, false, [](void* self, const char16_t* line) {
            auto* p = static_cast<clsGPFProtection*>(self);
            p->Print(p->Channels(), u"%s", line);
          }, this);
        }
        stack->Release();
        Print(Channels(), u"   =========================");
      } else {
        DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): DBGHELP.GetStackTrace() failed");
      }
    }
    Print(Channels(), u"");
    DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): creating minidump");
    char16_t path[260] = {};
    if (!present || !help.dump(help.job, reinterpret_cast<LPWSTR>(path), 260,
                               reinterpret_cast<const zxEXCEPTION_POINTERS*>(pointers))) {
      DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): DBGHELP.WriteMiniDump() failed");
      path[0] = 0;
      bCreateMinidumpOnly = false;
    }
    String message;
    if (path[0]) {
      message = String(German() ? kDoneDe : kDoneEn);
    } else {
      char16_t text[600];
      FormatTo(text, 600, German() ? kFileDe : kFileEn, ReportLogName().wchar());
      message = String(text);
    }
    Print(Channels(), u"%s", message.wchar());
    if ((bCreateMinidumpOnly || (flags_ & 1)) && ui) {
      DebugPrint(path[0] ? u"clsGPFProtection::GenerateExceptionReport(): asking user to open directory with support information"
                         : u"clsGPFProtection::GenerateExceptionReport(): creating minidump failed, informing user about that.");
      const int answer = path[0] ? Ask(caption, message, kStyleYesNo, kAnswerYes) : Ask(caption, message, kStyleOk, kAnswerOk);
      if (answer == kAnswerYes) {
        DebugPrint(u"clsGPFProtection::GenerateExceptionReport(): showing '%s'", path);
        if (path[0]) plat::OpenFolder(FolderOfPath(String(path)).wchar());
      }
    }
    Print(Channels(), u"<<<========================= %s", time.wchar());
    DebugPrintIndent(-1, u"<clsGPFProtection::GenerateExceptionReport(): report finished");
    DebugPrintIndent(-1, u"<clsGPFProtection::GenerateExceptionReport() -> done");
  }
  s.reportPointers.store(nullptr);
  s.reportThread.store(0);
}

uint32_t ReportThreadId(const void* pointers) {
  State& s = S();
  return pointers && s.reportPointers.load() == pointers ? s.reportThread.load() : 0;
}

long UnhandledExceptionFilter(plat::ExceptionPointers64* pointers, uint32_t threadId) {
  State& s = S();
  bool protectedThread = false;
  {
    plat::Lock guard(s.lock);
    uint32_t count = 0;
    protectedThread = s.table.find(threadId, count) && count > 0;
  }
  if (protectedThread) {
    s.inReport.fetch_add(1);
    long result = plat::kFilterContinueSearch;
    {
      clsGPFProtection protection;
      result = protection.Filter(pointers, threadId);
    }
    s.inReport.fetch_sub(1);
    s.chainDepth = 0;
    return result;
  }
  if (s.chainDepth < s.stackSize) {
    const uint32_t depth = s.chainDepth++;
    FilterNode* node = s.stack;
    for (uint32_t i = 0; i < depth && node; ++i) node = node->next;
    const long result = node ? plat::CallPreviousFilter(node->previous, pointers, threadId) : plat::kFilterContinueSearch;
    s.chainDepth = 0;
    return result;
  }
  s.chainDepth = 0;
  return plat::kFilterExecuteHandler;
}

long ExHandlerJobOpen() {
  State& s = S();
  plat::Lock guard(s.lock);
  if (!EnabledLocked(s)) return 1;
  auto* node = new (std::nothrow) FilterNode{nullptr, s.stack};
  if (!node) return 1;
  node->previous = plat::SetExceptionFilter(&UnhandledExceptionFilter);
  s.stack = node;
  ++s.stackSize;
  return 1;
}

void ExHandlerJobClose() {
  State& s = S();
  plat::Lock guard(s.lock);
  if (!EnabledLocked(s) || !s.stack) return;
  FilterNode* node = s.stack;
  s.stack = node->next;
  --s.stackSize;
  plat::RestoreExceptionFilter(node->previous);
  delete node;
}

void ExHandlerStartProtection() {
  State& s = S();
  if (s.inReport.load() > 0) return;
  plat::Lock guard(s.lock);
  if (!EnabledLocked(s)) return;
  s.table[plat::ThreadId()] += 1;
  plat::PrepareCrashStack();
}

void ExHandlerEndProtection() {
  State& s = S();
  if (s.inReport.load() > 0) return;
  plat::Lock guard(s.lock);
  if (!EnabledLocked(s)) return;
  const uint32_t id = plat::ThreadId();
  uint32_t count = 0;
  if (!s.table.find(id, count)) return;
  if (count <= 1) s.table.remove(id);
  else s.table[id] = count - 1;
  plat::ReleaseCrashStack();
}

void ResetGpfStateForTests() {
  State& s = S();
  plat::Lock guard(s.lock);
  s.enable = 0;
  s.table.clear();
  s.chainDepth = 0;
}

int ProtectionCountForTests(uint32_t threadId) {
  State& s = S();
  plat::Lock guard(s.lock);
  uint32_t count = 0;
  return s.table.find(threadId, count) ? static_cast<int>(count) : 0;
}

}  // namespace zx
