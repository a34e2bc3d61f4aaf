/* Text utilities of the utility family: charsets, HTML and plain text. */
#ifndef ZXUT22_UTIL_TEXT_H
#define ZXUT22_UTIL_TEXT_H

#include "types.h"

/* The likely font charset of a text from the scripts it uses: 0 for none (Latin),
 * 161 Greek, 204 Cyrillic, 177 Hebrew, 178 Arabic, 222 Thai, 129 Hangul,
 * 128 Japanese. Several scripts (ideographs always count as several) follow the
 * default code page: 932 -> 128, 936 -> 134, 949 -> 129, 950 -> 136, otherwise 0.
 * A null text gives 0. */
ZXUT_EXPORT int ZXUT_API UtilGetLikelyCharsetFromString(LPCWSTR text);

/* HTML and plain text. Each result goes to *pResult as an OLE string: a null
 * pResult drops it, a null *pResult is allocated, any other is reallocated. A null
 * text reads as empty. With bBracketTags the mark-up is written "[_[p]_]" instead
 * of "<p>".
 *
 * UtilConvertHtml2PlainText: the text of a simple HTML text (mail bodies, text
 * controls): comments, head, script and style regions dropped, links as
 * "text [url]", block ends and br as carriage returns, li as "- ", td ends as a
 * space, white space folded, entities resolved. Tag names are compared exactly as
 * written (lower case).
 * UtilConvertText2HTML: one <p> paragraph a line (CR LF or CR), characters masked.
 * UtilMaskAllHTMLCharacters: mark-up characters, tab, 128 and 160..255 as entities;
 * other codes from 128 on become the literal "&#x04x;".
 * UtilDemaskAllHTMLCharacters: named entities of ISO 8859-1 (and &amp; &quot; &lt;
 * &gt; &apos;, &euro; as 128) and numeric ones up to 8 characters long. */
ZXUT_EXPORT void ZXUT_API UtilConvertHtml2PlainText(LPCWSTR html, BSTR *pResult, UINT bBracketTags);
ZXUT_EXPORT void ZXUT_API UtilConvertText2HTML(LPCWSTR text, BSTR *pResult, UINT bBracketTags);
ZXUT_EXPORT void ZXUT_API UtilMaskAllHTMLCharacters(LPCWSTR text, BSTR *pResult);
ZXUT_EXPORT void ZXUT_API UtilDemaskAllHTMLCharacters(LPCWSTR text, BSTR *pResult);

#endif
