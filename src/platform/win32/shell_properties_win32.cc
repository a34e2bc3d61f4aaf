#include "platform/shell_properties.h"

#include <objbase.h>
#include <propidl.h>
#include <propsys.h>
#include <shobjidl.h>

namespace plat {
namespace {

constexpr GUID kSummarySet = {0xF29F85E0, 0x4FF9, 0x1068, {0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9}};
constexpr int kGpsBestEffort = 64;

using GetStoreFn = HRESULT(WINAPI*)(PCWSTR, void*, int, REFIID, void**);
using CreateItemFn = HRESULT(WINAPI*)(PCWSTR, void*, REFIID, void**);
using ToVariantFn = HRESULT(WINAPI*)(const PROPVARIANT*, VARIANT*);

struct ShellFunctions {
  GetStoreFn getStore = nullptr;
  CreateItemFn createItem = nullptr;
  ToVariantFn toVariant = nullptr;
};

template <class F>
F Function(HMODULE lib, const char* name) {
  return reinterpret_cast<F>(reinterpret_cast<void*>(::GetProcAddress(lib, name)));
}

// Loaded once, on first use, and kept for the life of the process.
const ShellFunctions& Functions() {
  static const ShellFunctions f = [] {
    ShellFunctions r;
    HMODULE propsys = ::LoadLibraryW(L"propsys.dll");
    HMODULE shell = ::LoadLibraryW(L"shell32.dll");
    if (shell) {
      r.getStore = Function<GetStoreFn>(shell, "SHGetPropertyStoreFromParsingName");
      r.createItem = Function<CreateItemFn>(shell, "SHCreateItemFromParsingName");
    }
    if (propsys) r.toVariant = Function<ToVariantFn>(propsys, "PropVariantToVariant");
    return r;
  }();
  return f;
}

IPropertyStore* OpenStore(const ShellFunctions& f, const wchar_t* path) {
  void* store = nullptr;
  if (f.getStore && SUCCEEDED(f.getStore(path, nullptr, kGpsBestEffort, IID_IPropertyStore, &store)) && store)
    return static_cast<IPropertyStore*>(store);
  void* item = nullptr;
  if (!f.createItem || FAILED(f.createItem(path, nullptr, IID_IShellItem2, &item)) || !item) return nullptr;
  auto* item2 = static_cast<IShellItem2*>(item);
  store = nullptr;
  if (FAILED(item2->GetPropertyStore(GPS_DEFAULT, IID_IPropertyStore, &store))) store = nullptr;
  item2->Release();
  return static_cast<IPropertyStore*>(store);
}

void ReadValue(IPropertyStore* store, const ShellFunctions& f, unsigned id, ShellProperty* out) {
  PROPVARIANT pv;
  PropVariantInit(&pv);
  PROPERTYKEY key;
  key.fmtid = kSummarySet;
  key.pid = id;
  if (FAILED(store->GetValue(key, &pv))) {
    out->type = VT_EMPTY;
    return;
  }
  out->type = pv.vt;
  if (pv.vt == VT_LPSTR && f.toVariant) {
    VARIANT v;
    VariantInit(&v);
    if (SUCCEEDED(f.toVariant(&pv, &v)) && v.vt == VT_BSTR && v.bstrVal)
      out->text.assign(reinterpret_cast<const char16_t*>(v.bstrVal), SysStringLen(v.bstrVal));
    VariantClear(&v);
  } else if (pv.vt == VT_FILETIME) {
    SYSTEMTIME st;
    if (FileTimeToSystemTime(&pv.filetime, &st))
      out->time = SystemTime{st.wYear, st.wMonth, st.wDayOfWeek, st.wDay, st.wHour, st.wMinute, st.wSecond,
                             st.wMilliseconds};
  }
  PropVariantClear(&pv);
}

}  // namespace

bool ReadShellSummaryProperties(const char16_t* path, ShellProperty* values) {
  const ShellFunctions& f = Functions();
  if (!path || !f.toVariant || (!f.getStore && !f.createItem)) return false;
  const HRESULT init = ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  IPropertyStore* store = OpenStore(f, reinterpret_cast<const wchar_t*>(path));
  if (store) {
    for (size_t i = 0; i < kShellPropertyCount; ++i) ReadValue(store, f, kShellPropertyIds[i], &values[i]);
    store->Release();
  }
  if (SUCCEEDED(init)) ::CoUninitialize();
  return store != nullptr;
}

}  // namespace plat
