// The entity table and the masking in both directions.
#include <cstring>

#include "text/HtmlConvert.h"

namespace zx {

const scHtmlEntity kHtmlEntities[kHtmlEntityCount] = {
    {160, u"&nbsp;"},   {161, u"&iexcl;"},  {162, u"&cent;"},   {163, u"&pound;"},
    {164, u"&curren;"}, {165, u"&yen;"},    {166, u"&brvbar;"}, {167, u"&sect;"},
    {168, u"&uml;"},    {169, u"&copy;"},   {170, u"&ordf;"},   {171, u"&laquo;"},
    {172, u"&not;"},    {173, u"&shy;"},    {174, u"&reg;"},    {175, u"&macr;"},
    {176, u"&deg;"},    {177, u"&plusmn;"}, {178, u"&sup2;"},   {179, u"&sup3;"},
    {180, u"&acute;"},  {181, u"&micro;"},  {182, u"&para;"},   {183, u"&middot;"},
    {184, u"&cedil;"},  {185, u"&sup1;"},   {186, u"&ordm;"},   {187, u"&raquo;"},
    {188, u"&frac14;"}, {189, u"&frac12;"}, {190, u"&frac34;"}, {191, u"&iquest;"},
    {192, u"&Agrave;"}, {193, u"&Aacute;"}, {194, u"&Acirc;"},  {195, u"&Atilde;"},
    {196, u"&Auml;"},   {197, u"&Aring;"},  {198, u"&AElig;"},  {199, u"&Ccedil;"},
    {200, u"&Egrave;"}, {201, u"&Eacute;"}, {202, u"&Ecirc;"},  {203, u"&Euml;"},
    {204, u"&Igrave;"}, {205, u"&Iacute;"}, {206, u"&Icirc;"},  {207, u"&Iuml;"},
    {208, u"&ETH;"},    {209, u"&Ntilde;"}, {210, u"&Ograve;"}, {211, u"&Oacute;"},
    {212, u"&Ocirc;"},  {213, u"&Otilde;"}, {214, u"&Ouml;"},   {215, u"&times;"},
    {216, u"&Oslash;"}, {217, u"&Ugrave;"}, {218, u"&Uacute;"}, {219, u"&Ucirc;"},
    {220, u"&Uuml;"},   {221, u"&Yacute;"}, {222, u"&THORN;"},  {223, u"&szlig;"},
    {224, u"&agrave;"}, {225, u"&aacute;"}, {226, u"&acirc;"},  {227, u"&atilde;"},
    {228, u"&auml;"},   {229, u"&aring;"},  {230, u"&aelig;"},  {231, u"&ccedil;"},
    {232, u"&egrave;"}, {233, u"&eacute;"}, {234, u"&ecirc;"},  {235, u"&euml;"},
    {236, u"&igrave;"}, {237, u"&iacute;"}, {238, u"&icirc;"},  {239, u"&iuml;"},
    {240, u"&eth;"},    {241, u"&ntilde;"}, {242, u"&ograve;"}, {243, u"&oacute;"},
    {244, u"&ocirc;"},  {245, u"&otilde;"}, {246, u"&ouml;"},   {247, u"&divide;"},
    {248, u"&oslash;"}, {249, u"&ugrave;"}, {250, u"&uacute;"}, {251, u"&ucirc;"},
    {252, u"&uuml;"},   {253, u"&yacute;"}, {254, u"&thorn;"},  {255, u"&yuml;"},
    {38, u"&amp;"},     {34, u"&quot;"},    {60, u"&lt;"},      {62, u"&gt;"},
    {128, u"&euro;"},   {39, u"&apos;"},
};

namespace {

constexpr std::u16string_view kLostCode = u"&#x04x;";  // a format without a conversion
constexpr int kMaxEntity = 8;                           // "&" to ";" inclusive

// What a character becomes; empty when it stays itself.
std::u16string_view MaskOf(char16_t c) {
  switch (c) {
    case 9: return u"&#09;";
    case 34: return kHtmlEntities[97].name;
    case 38: return kHtmlEntities[96].name;
    case 39: return kHtmlEntities[101].name;
    case 60: return kHtmlEntities[98].name;
    case 62: return kHtmlEntities[99].name;
    case 128: return kHtmlEntities[100].name;
    default: break;
  }
  if (c < 128) return {};
  if (c >= 160 && c <= 255) return kHtmlEntities[c - 160].name;
  return kLostCode;
}

// The code of a named entity, or -1.
int NamedEntity(std::u16string_view entity) {
  for (const scHtmlEntity& row : kHtmlEntities)
    if (entity == std::u16string_view(row.name)) return row.code;
  return -1;
}

int DigitValue(char16_t c, int base) {
  int v = -1;
  if (c >= u'0' && c <= u'9') v = c - u'0';
  else if (c >= u'a' && c <= u'f') v = c - u'a' + 10;
  else if (c >= u'A' && c <= u'F') v = c - u'A' + 10;
  return v < base ? v : -1;
}

}  // namespace

String MaskAllHtmlCharacters(std::u16string_view text) {
  int64_t room = 0;
  for (char16_t c : text) {
    const size_t n = MaskOf(c).size();
    room += n ? static_cast<int64_t>(n) : 1;
  }
  String out;
  if (room == 0 || room >= kWholeString) return out;  // too long for any string
  char16_t* w = out.Reserve(room);
  if (!w) return out;
  for (char16_t c : text) {
    const std::u16string_view m = MaskOf(c);
    if (m.empty()) {
      *w++ = c;
    } else {
      std::memcpy(w, m.data(), m.size() * sizeof(char16_t));
      w += m.size();
    }
  }
  out.SetLength(room);
  return out;
}

String DemaskAllHtmlCharacters(std::u16string_view text) {
  String out;
  const int64_t n = static_cast<int64_t>(text.size());
  if (n == 0) return out;
  char16_t* const begin = out.Reserve(n);  // demasking never lengthens
  if (!begin) return out;
  char16_t* w = begin;
  for (int64_t i = 0; i < n;) {
    const char16_t c = text[i];
    // Only a ";" close enough can end an entity, so the look-ahead is bounded.
    int64_t semi = -1;
    if (c == u'&') {
      for (int64_t j = i + 1; j < n && j < i + kMaxEntity; ++j)
        if (text[j] == u';') { semi = j; break; }
    }
    if (semi < 0) {
      *w++ = c;
      ++i;
      continue;
    }
    const std::u16string_view entity = text.substr(i, semi - i + 1);
    if (entity.size() < 2 || entity[1] != u'#') {
      const int code = NamedEntity(entity);
      if (code >= 0) {
        *w++ = static_cast<char16_t>(code);
      } else {
        std::memcpy(w, entity.data(), entity.size() * sizeof(char16_t));
        w += entity.size();
      }
      i = semi + 1;
      continue;
    }
    const bool hex = entity.size() > 2 && entity[2] == u'x';
    const int base = hex ? 16 : 10;
    size_t k = hex ? 3 : 2;
    uint32_t value = 0;
    for (int d; k < entity.size() && (d = DigitValue(entity[k], base)) >= 0; ++k)
      value = value * base + static_cast<uint32_t>(d);
    value &= 0xFFFF;
    if (value != 0 && k == entity.size() - 1) {
      *w++ = static_cast<char16_t>(value);
      i = semi + 1;
    } else {
      ++i;  // only the "&" is lost
    }
  }
  out.SetLength(w - begin);
  return out;
}

}  // namespace zx
