// The debug help engine's exports: a job is a clsDBGHelpWrapperGPFProt.
#include <new>

#include "gpf/DbgHelpWrapper.h"
#include "gpf/GpfProtection.h"
#include "gpf/SupportArchive.h"
#include "platform/process.h"
#include "zxUT22.h"

namespace {

zx::clsDBGHelpWrapperGPFProt* Job(HDEBUGHELPJOB job) { return reinterpret_cast<zx::clsDBGHelpWrapperGPFProt*>(job); }
bool Usable(HDEBUGHELPJOB job) { return job && Job(job)->HasEngine(); }

}  // namespace

ZXUT_EXPORT HDEBUGHELPJOB ZXUT_API UtilDebugHelpJobOpen(void) {
  auto* job = new (std::nothrow) zx::clsDBGHelpWrapperGPFProt;
  if (!job) return nullptr;
  job->Open();   // without the lock or the engine every later call answers 0
  return reinterpret_cast<HDEBUGHELPJOB>(job);
}

ZXUT_EXPORT void ZXUT_API UtilDebugHelpJobClose(HDEBUGHELPJOB job) { delete Job(job); }

ZXUT_EXPORT void ZXUT_API UtilDebugHelpSetOption(HDEBUGHELPJOB job, DWORD option, DWORD value) {
  if (job) Job(job)->SetOption(option, value);
}

ZXUT_EXPORT LONG ZXUT_API UtilDebugHelpGetStackTrace(HDEBUGHELPJOB job, IDBGStackTraceList** list,
                                                     const zxCONTEXT* context) {
  plat::ContextAmd64 here;
  if (!context) plat::CaptureContext(&here);
  if (!Usable(job) || !list) return 0;
  if (!context) Job(job)->stackFlags_ = 0xFFFFFFFFu;
  return Job(job)->GetStackTrace(list, context ? *reinterpret_cast<const plat::ContextAmd64*>(context) : here);
}

ZXUT_EXPORT LONG ZXUT_API UtilDebugHelpGetModuleList(HDEBUGHELPJOB job, IDBGModuleList** list) {
  if (!Usable(job) || !list) return 0;
  return Job(job)->GetModuleList(list);
}

ZXUT_EXPORT LONG ZXUT_API UtilDebugHelpWriteMiniDump(HDEBUGHELPJOB job, LPWSTR path, DWORD pathSize,
                                                     const zxEXCEPTION_POINTERS* exception) {
  if (!Usable(job) || !path || !pathSize) return 0;
  return zx::WriteSupportArchive(*Job(job), reinterpret_cast<char16_t*>(path), pathSize,
                                 reinterpret_cast<const plat::ExceptionPointers64*>(exception),
                                 zx::ReportThreadId(exception));
}

ZXUT_EXPORT void* ZXUT_API UtilGetDBGHELPThreadingCS(void) { return &zx::DbgHelpThreadingLock(); }
