// The HTML and plain-text exports. A null text reads as empty; the result goes
// through the BSTR rule (null pointer: dropped; null string: allocated; otherwise
// reallocated).
#include <string_view>

#include "text/HtmlConvert.h"
#include "zxUT22.h"

namespace {

std::u16string_view View(LPCWSTR text) {
  return text ? std::u16string_view(reinterpret_cast<const char16_t*>(text)) : std::u16string_view();
}

void Store(const zx::String& result, BSTR* pResult) {
  if (pResult) result.CopyToBSTR(reinterpret_cast<plat::Bstr*>(pResult));
}

}  // namespace

ZXUT_EXPORT void ZXUT_API UtilConvertHtml2PlainText(LPCWSTR html, BSTR* pResult, UINT bBracketTags) {
  Store(zx::ConvertHtml2PlainText(View(html), bBracketTags != 0), pResult);
}

ZXUT_EXPORT void ZXUT_API UtilConvertText2HTML(LPCWSTR text, BSTR* pResult, UINT bBracketTags) {
  Store(zx::ConvertText2Html(View(text), bBracketTags != 0), pResult);
}

ZXUT_EXPORT void ZXUT_API UtilMaskAllHTMLCharacters(LPCWSTR text, BSTR* pResult) {
  Store(zx::MaskAllHtmlCharacters(View(text)), pResult);
}

ZXUT_EXPORT void ZXUT_API UtilDemaskAllHTMLCharacters(LPCWSTR text, BSTR* pResult) {
  Store(zx::DemaskAllHtmlCharacters(View(text)), pResult);
}
