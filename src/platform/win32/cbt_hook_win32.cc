#include <windows.h>

#include <atomic>

#include "platform/cbt_hook.h"

namespace plat {
namespace {

std::atomic<CbtCallback> g_callback{nullptr};
HHOOK g_hook = nullptr;

LRESULT CALLBACK CbtProc(int code, WPARAM wParam, LPARAM lParam) {
  CbtCallback cb = g_callback.load();
  if (cb) cb(code, wParam, lParam, 1, nullptr);
  intptr_t result = ::CallNextHookEx(g_hook, code, wParam, lParam);
  if (cb) cb(code, wParam, lParam, 0, &result);
  return result;
}

}  // namespace

bool SetCbtHook(CbtCallback callback, void* moduleHandle) {
  if (!callback) {
    g_callback.store(nullptr);
    if (g_hook && !::UnhookWindowsHookEx(g_hook)) return false;
    g_hook = nullptr;
    return true;
  }
  g_callback.store(callback);
  if (g_hook) return true;
  g_hook = ::SetWindowsHookExW(WH_CBT, &CbtProc, static_cast<HINSTANCE>(moduleHandle), 0);
  if (!g_hook) g_callback.store(nullptr);
  return g_hook != nullptr;
}

}  // namespace plat
