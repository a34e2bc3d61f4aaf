// Prof exports: the tree (wide and handle-only forms).
#include "exports/prof_exports.h"

using namespace zx;
using namespace zx::prof_exports;

ZXUT_EXPORT HPROFLIST ZXUT_API ProfGetListW(HPROFJOB job, HPROFLIST list, LPCWSTR path) {
  return Handle(prof::GetList(Job(job), List(list), U(path)));
}

ZXUT_EXPORT HPROFLIST ZXUT_API ProfCreateListW(HPROFJOB job, HPROFLIST list, LPCWSTR path) {
  return Handle(prof::CreateList(Job(job), List(list), U(path)));
}

ZXUT_EXPORT HPROFLIST ZXUT_API ProfAppendListW(HPROFJOB job, HPROFLIST list, LPCWSTR path) {
  return Handle(prof::AppendList(Job(job), List(list), U(path)));
}

ZXUT_EXPORT LONG ZXUT_API ProfEmptyList(HPROFJOB job, HPROFLIST list) {
  return prof::EmptyList(Job(job), List(list));
}

ZXUT_EXPORT LONG ZXUT_API ProfDeleteListW(HPROFJOB job, HPROFLIST list, LPCWSTR path) {
  return prof::DeleteList(Job(job), List(list), U(path));
}

ZXUT_EXPORT LONG ZXUT_API ProfDeleteItemW(HPROFJOB job, HPROFLIST list, LPCWSTR path) {
  return prof::DeleteItem(Job(job), List(list), U(path));
}

namespace {
struct EnumW {
  PROFENUMPROCW callback;
  void* user;
};
bool CallEnumW(void* context, clsProfJob* job, const char16_t* name, const char16_t* value,
               clsItemList* sublist) {
  auto* e = static_cast<EnumW*>(context);
  return e->callback(Handle(job), W(name), W(value), Handle(sublist), e->user) != 0;
}
}  // namespace

ZXUT_EXPORT LONG ZXUT_API ProfEnumW(HPROFJOB job, HPROFLIST list, PROFENUMPROCW callback, void* user) {
  if (callback == nullptr) return 0;
  EnumW e{callback, user};
  return prof::Enum(Job(job), List(list), CallEnumW, &e);
}

ZXUT_EXPORT LONG ZXUT_API ProfCopyList(HPROFJOB targetJob, HPROFLIST targetList, HPROFJOB sourceJob,
                                       HPROFLIST sourceList) {
  return prof::CopyList(Job(targetJob), List(targetList), Job(sourceJob), List(sourceList));
}

ZXUT_EXPORT LONG ZXUT_API ProfDebugList(HPROFJOB job, HPROFLIST list) {
  return prof::DebugList(Job(job), List(list));
}
