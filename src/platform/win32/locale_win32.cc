#include <windows.h>

#include "platform/locale.h"

namespace plat {
namespace {

const wchar_t* W(const char16_t* p) { return reinterpret_cast<const wchar_t*>(p); }
wchar_t* W(char16_t* p) { return reinterpret_cast<wchar_t*>(p); }

using LCMapStringExFn = int(WINAPI*)(LPCWSTR, DWORD, LPCWSTR, int, LPWSTR, int,
                                     LPNLSVERSIONINFO, LPVOID, LPARAM);

// Looked up at run time: the function exists from version 6.0 on.
LCMapStringExFn MapEx() {
  static const LCMapStringExFn fn = reinterpret_cast<LCMapStringExFn>(reinterpret_cast<void*>(
      ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "LCMapStringEx")));
  return fn;
}

}  // namespace

uint16_t UserDefaultUILanguage() { return ::GetUserDefaultUILanguage(); }
uint16_t UserDefaultLangID() { return ::GetUserDefaultLangID(); }

int CompareStringLocale(uint32_t lcid, uint32_t flags, const char16_t* a, int aLen,
                        const char16_t* b, int bLen) {
  return ::CompareStringW(lcid, flags, W(a), aLen, W(b), bLen);
}

int MapStringLocale(uint32_t lcid, uint32_t flags, const char16_t* src, int srcLen,
                    char16_t* dst, int dstLen) {
  return ::LCMapStringW(lcid, flags, W(src), srcLen, W(dst), dstLen);
}

bool HasMapStringLocaleEx() { return MapEx() != nullptr; }

int MapStringLocaleEx(const char16_t* localeName, uint32_t flags, const char16_t* src,
                      int srcLen, char16_t* dst, int dstLen) {
  LCMapStringExFn fn = MapEx();
  if (!fn) return -1;
  return fn(localeName ? W(localeName) : LOCALE_NAME_USER_DEFAULT, flags, W(src), srcLen, W(dst),
            dstLen, nullptr, nullptr, 0);
}

int LocaleInfo(uint32_t lcid, uint32_t lcType, char16_t* dst, int dstLen) {
  return ::GetLocaleInfoW(lcid, lcType, W(dst), dstLen);
}

uint32_t SystemVersion() {
  static const uint32_t version = [] {
    using RtlGetVersionFn = LONG(WINAPI*)(OSVERSIONINFOW*);
    auto fn = reinterpret_cast<RtlGetVersionFn>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    OSVERSIONINFOW info{};
    info.dwOSVersionInfoSize = sizeof info;
    if (fn && fn(&info) == 0)
      return static_cast<uint32_t>((info.dwMajorVersion << 8) | (info.dwMinorVersion & 0xFF));
    return 0x0601u;
  }();
  return version;
}

}  // namespace plat
