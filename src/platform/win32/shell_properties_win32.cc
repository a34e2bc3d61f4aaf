#include "platform/shell_properties.h"

#include <objbase.h>
#include <propidl.h>

namespace plat {
namespace {

// The interfaces used, declared by their slots so that no SDK header of the
// shell is needed; only the slots called are typed.
struct PropertyKey {
  GUID fmtid;
  DWORD pid;
};
struct IPropertyStoreSlots : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetCount(DWORD*) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetAt(DWORD, PropertyKey*) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetValue(const PropertyKey&, PROPVARIANT*) = 0;
};
struct IShellItem2Slots : IUnknown {
  // IShellItem: BindToHandler, GetParent, GetDisplayName, GetAttributes, Compare
  virtual HRESULT STDMETHODCALLTYPE BindToHandler(void*, REFGUID, REFIID, void**) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetParent(void**) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDisplayName(int, LPWSTR*) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetAttributes(ULONG, ULONG*) = 0;
  virtual HRESULT STDMETHODCALLTYPE Compare(void*, DWORD, int*) = 0;
  // IShellItem2
  virtual HRESULT STDMETHODCALLTYPE GetPropertyStore(int flags, REFIID riid, void** ppv) = 0;
};

constexpr GUID kIIDPropertyStore = {0x886d8eeb, 0x8cf2, 0x4446, {0x8d, 0x02, 0xcd, 0xba, 0x1d, 0xbd, 0xcf, 0x99}};
constexpr GUID kIIDShellItem2 = {0x7e9fb0d3, 0x919f, 0x4307, {0xab, 0x2e, 0x9b, 0x18, 0x60, 0x31, 0x0c, 0x93}};
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

// Loaded once, on first use, and kept for the life of the process.
const ShellFunctions& Functions() {
  static const ShellFunctions f = [] {
    ShellFunctions r;
    HMODULE propsys = ::LoadLibraryW(L"propsys.dll");
    HMODULE shell = ::LoadLibraryW(L"shell32.dll");
    if (shell) {
      r.getStore = reinterpret_cast<GetStoreFn>(::GetProcAddress(shell, "SHGetPropertyStoreFromParsingName"));
      r.createItem = reinterpret_cast<CreateItemFn>(::GetProcAddress(shell, "SHCreateItemFromParsingName"));
    }
    if (propsys) r.toVariant = reinterpret_cast<ToVariantFn>(::GetProcAddress(propsys, "PropVariantToVariant"));
    return r;
  }();
  return f;
}

IPropertyStoreSlots* OpenStore(const ShellFunctions& f, const wchar_t* path) {
  void* store = nullptr;
  if (f.getStore && SUCCEEDED(f.getStore(path, nullptr, kGpsBestEffort, kIIDPropertyStore, &store)) && store)
    return static_cast<IPropertyStoreSlots*>(store);
  void* item = nullptr;
  if (!f.createItem || FAILED(f.createItem(path, nullptr, kIIDShellItem2, &item)) || !item) return nullptr;
  auto* item2 = static_cast<IShellItem2Slots*>(item);
  store = nullptr;
  if (FAILED(item2->GetPropertyStore(0, kIIDPropertyStore, &store))) store = nullptr;
  item2->Release();
  return static_cast<IPropertyStoreSlots*>(store);
}

void ReadValue(IPropertyStoreSlots* store, const ShellFunctions& f, unsigned id, ShellProperty* out) {
  PROPVARIANT pv;
  PropVariantInit(&pv);
  const PropertyKey key{kSummarySet, id};
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
  IPropertyStoreSlots* store = OpenStore(f, reinterpret_cast<const wchar_t*>(path));
  if (store) {
    for (size_t i = 0; i < kShellPropertyCount; ++i) ReadValue(store, f, kShellPropertyIds[i], &values[i]);
    store->Release();
  }
  if (SUCCEEDED(init)) ::CoUninitialize();
  return store != nullptr;
}

}  // namespace plat
