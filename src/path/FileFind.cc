#include "path/FileFind.h"

namespace zx {
namespace {

// The extension of a name, with its dot; empty when it has none.
String ExtensionOf(const String& name) {
  const size_t dot = name.View().find_last_of(u'.');
  const size_t separator = name.View().find_last_of(u"\\/");
  if (dot == std::u16string_view::npos || (separator != std::u16string_view::npos && dot < separator)) return {};
  return name.Mid(static_cast<int64_t>(dot));
}

}  // namespace

clsFileFind::clsFileFind(const String& pattern, bool bDirsOnly)
    : m_hFind(new plat::FileFinder(pattern.wchar())), m_bDirsOnly(bDirsOnly) {
  const String extension = ExtensionOf(pattern);
  if (extension.View().find_first_of(u"?*") == std::u16string_view::npos) m_sExtension = extension;
}

clsFileFind::~clsFileFind() = default;

bool clsFileFind::SetFilter(const String& expression, uint32_t options) {
  m_rxFilter.reset(new clsRegEx(expression, options));
  return m_rxFilter->IsCompiled() || m_rxFilter->Compile(expression, options);
}

bool clsFileFind::Next() {
  for (;;) {
    if (!m_hFind->Next(&m_FindData)) return false;
    const String name = Name();
    if (m_bDirsOnly && (!IsFolder() || name == String(u".") || name == String(u".."))) continue;
    if (m_rxFilter && !m_rxFilter->Match(name, nullptr)) continue;
    if (!m_sExtension.IsEmpty() && m_sExtension.Compare(ExtensionOf(name)) != 0) continue;
    return true;
  }
}

}  // namespace zx
