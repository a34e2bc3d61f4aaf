#include "platform/shortcut.h"

#include <objbase.h>
#include <objidl.h>
#include <shlguid.h>
#include <shlobj.h>

namespace plat {

int ResolveShellLink(const std::u16string& lnkPath, std::u16string& target) {
  target.clear();
  // COM for this call, if the thread has none yet (another model already set is fine).
  const HRESULT init = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  IShellLinkW* link = nullptr;
  IPersistFile* file = nullptr;
  wchar_t path[MAX_PATH] = {0};
  bool ok = SUCCEEDED(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                         reinterpret_cast<void**>(&link))) &&
            SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file))) &&
            SUCCEEDED(file->Load(reinterpret_cast<LPCOLESTR>(lnkPath.c_str()), STGM_READ | STGM_SHARE_DENY_WRITE)) &&
            SUCCEEDED(link->Resolve(nullptr, SLR_NO_UI | SLR_ANY_MATCH)) &&
            SUCCEEDED(link->GetPath(path, MAX_PATH, nullptr, SLGP_UNCPRIORITY));
  if (file) file->Release();
  if (link) link->Release();
  if (SUCCEEDED(init)) ::CoUninitialize();
  if (!ok || !path[0]) return 0;
  target.assign(reinterpret_cast<const char16_t*>(path));
  return 1;
}

bool ReadSymbolicLink(const std::u16string&, std::u16string& target) {
  target.clear();
  return false;
}

}  // namespace plat
