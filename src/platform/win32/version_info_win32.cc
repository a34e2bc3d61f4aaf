// GetFileVersionInfoW with the first translation, or the first string block.
#include "platform/version_info.h"

#include <windows.h>

#include <cwchar>
#include <vector>

namespace plat {

namespace {

// Each of `names` into the matching `outs`; false without a version resource.
bool QueryStrings(const char16_t* path, const wchar_t* const* names, std::u16string* const* outs, int n) {
  const wchar_t* p = reinterpret_cast<const wchar_t*>(path);
  DWORD ignored = 0;
  DWORD size = GetFileVersionInfoSizeW(p, &ignored);
  if (size == 0) return false;
  std::vector<unsigned char> data(size);
  if (!GetFileVersionInfoW(p, 0, size, data.data())) return false;
  wchar_t prefix[64] = L"";
  struct Translation { WORD language, codePage; }* tr = nullptr;
  UINT len = 0;
  if (VerQueryValueW(data.data(), L"\\VarFileInfo\\Translation", reinterpret_cast<void**>(&tr), &len) &&
      len >= sizeof *tr) {
    swprintf(prefix, 64, L"\\StringFileInfo\\%04x%04x\\", tr->language, tr->codePage);
  } else {
    swprintf(prefix, 64, L"\\StringFileInfo\\%ls\\", L"040904b0");
  }
  auto query = [&](const wchar_t* name, std::u16string* out) {
    std::wstring key = std::wstring(prefix) + name;
    wchar_t* value = nullptr;
    UINT n = 0;
    out->clear();
    if (VerQueryValueW(data.data(), key.c_str(), reinterpret_cast<void**>(&value), &n) && value && n)
      out->assign(reinterpret_cast<const char16_t*>(value), wcsnlen(value, n));
  };
  for (int i = 0; i < n; ++i) query(names[i], outs[i]);
  return true;
}

}  // namespace

bool ModuleVersionStrings(const char16_t* path, std::u16string* fileVersion, std::u16string* build) {
  const wchar_t* names[] = {L"FileVersion", L"Build"};
  std::u16string* outs[] = {fileVersion, build};
  return QueryStrings(path, names, outs, 2);
}

bool ModuleDescription(const char16_t* path, ModuleVersionTexts* out) {
  const wchar_t* names[] = {L"FileDescription", L"CompanyName"};
  std::u16string* outs[] = {&out->description, &out->company};
  return QueryStrings(path, names, outs, 2);
}

}  // namespace plat
