// The job dispatcher's exports: a pool handle is a clsThreadedJobDispatcher.
#include <new>

#include "platform/com.h"
#include "thread/ThreadedJobDispatcher.h"
#include "zxUT22.h"

namespace {

zx::clsThreadedJobDispatcher* Pool(HUTTHREADPOOL pool) { return reinterpret_cast<zx::clsThreadedJobDispatcher*>(pool); }
zx::String Text(LPCWSTR text) { return zx::String(reinterpret_cast<const char16_t*>(text)); }

}  // namespace

ZXUT_EXPORT HUTTHREADPOOL ZXUT_API UtilThreadPoolOpen(DWORD maxThreads, LPCWSTR name) {
  try {
    return reinterpret_cast<HUTTHREADPOOL>(zx::ThreadPoolOpen(maxThreads, Text(name)));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

ZXUT_EXPORT DWORD ZXUT_API UtilThreadPoolAdd(HUTTHREADPOOL pool, LPCWSTR name, IUnknown* job, IUnknown* host) {
  if (!pool) return static_cast<DWORD>(E_INVALIDARG);
  try {
    zx::clsUTThreadedJob* item = Pool(pool)->NewJob(Text(name), job, host);
    if (!item) return static_cast<DWORD>(E_INVALIDARG);
    Pool(pool)->Add(item);
    return 0;
  } catch (const std::bad_alloc&) {
    return static_cast<DWORD>(E_INVALIDARG);
  }
}

ZXUT_EXPORT HRESULT ZXUT_API UtilThreadPoolAbort(HUTTHREADPOOL pool, DWORD group) {
  if (!pool) return E_INVALIDARG;
  Pool(pool)->Abort(group);
  return 0;
}

ZXUT_EXPORT HRESULT ZXUT_API UtilThreadPoolFinalize(HUTTHREADPOOL pool, IUnknown* host) {
  if (!pool) return E_INVALIDARG;
  Pool(pool)->Finalize(host);
  return 0;
}

ZXUT_EXPORT void ZXUT_API UtilThreadPoolClose(HUTTHREADPOOL pool) {
  zx::ThreadPoolClose(Pool(pool), zx::kThreadPoolCloseLimitMs);
}
