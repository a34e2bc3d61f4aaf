#include "core/charset/CharsetTable.h"

#include "core/strings/String.h"
#include "platform/codepage.h"

namespace zx {
namespace {

constexpr scCharsetName kRows[] = {
    {u"windows-1250", 1250},   {u"windows-1251", 1251},   {u"windows-1253", 1253},
    {u"windows-1254", 1254},   {u"windows-1255", 1255},   {u"windows-1256", 1256},
    {u"windows-1257", 1257},   {u"windows-1258", 1258},   {u"iso-8859-1", 1252},
    {u"iso-8859-1", 28591},    {u"iso-8859-2", 28592},    {u"iso-8859-3", 28593},
    {u"iso-8859-4", 28594},    {u"iso-8859-5", 28595},    {u"iso-8859-6", 28596},
    {u"iso-8859-7", 28597},    {u"iso-8859-8", 28598},    {u"unicode", 1200},
    {u"unicodeFEFF", 1201},    {u"utf-7", 65000},         {u"utf-8", 65001},
    {u"iso-2022-jp", 50220},   {u"iso-2022-jp", 50222},   {u"iso-2022-kr", 50225},
    {u"DIN_66003", 20106},     {u"NS_4551-1", 20108},     {u"SEN_850200_B", 20107},
    {u"_autodetect", 50932},   {u"_autodetect_kr", 50949}, {u"big5", 950},
    {u"csISO2022JP", 50221},   {u"euc-kr", 51949},        {u"gb2312", 936},
    {u"hz-gb-2312", 52936},    {u"ibm852", 852},          {u"ibm866", 866},
    {u"irv", 20105},           {u"koi8-r", 20866},        {u"ks_c_5601", 949},
    {u"shift-jis", 932},       {u"windows-874", 874},     {u"x-euc", 51932},
    {u"x-user-defined", 50000},
};
static_assert(sizeof(kRows) / sizeof(kRows[0]) == 43, "the charset table has 43 rows");

}  // namespace

std::span<const scCharsetName> CharsetNameTable() { return kRows; }

uint32_t CodePageFromCharsetName(const String& name) {
  if (!name.IsEmpty()) {
    for (const scCharsetName& row : kRows) {
      if (name.Compare(row.name) == 0) return row.codePage;
    }
  }
  return plat::AnsiCodePage();
}

uint32_t CodePageFromCharsetName(const char16_t* name) {
  return CodePageFromCharsetName(String(name));
}

}  // namespace zx
