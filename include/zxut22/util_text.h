/* Text utilities of the utility family: charsets, HTML and plain text, locale
 * dates and times. */
#ifndef ZXUT22_UTIL_TEXT_H
#define ZXUT22_UTIL_TEXT_H

#include "types.h"

#if defined(_WIN32)
#  include <oaidl.h>
#else
struct tagVARIANT;
typedef struct tagVARIANT VARIANT;
#endif

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

/* Dates and times as a person types them in a locale. The reader builds
 * expressions from the locale's separators and tries date + 24-hour time, date +
 * 12-hour time ("AM"/"PM"), ISO date + 24-hour time; numbers go to day, month and
 * year in the locale's order. Flags: 0x1 two-digit years become 2000-2029 or
 * 1930-1999; 0x2 a date part the text lacks is an error; 0x4 lacking parts stay 0
 * (not today's) and an invalid date is no error; 0x8 a time alone is accepted;
 * 0x10 without a time the seconds become 65535. Returns 0, or -52 for an invalid
 * date; text that fits nothing gives 0 and a zeroed *pTime (year 0); an empty
 * text gives the local time. */
ZXUT_EXPORT LONG ZXUT_API UtilLocSystemTimeFromLocaleString(LCID lcid, BSTR text, SYSTEMTIME *pTime, DWORD flags);
/* The locale's short date and/or time as a VT_BSTR in *pResult (cleared first).
 * Flags: 0x1 time without seconds, 0x2 time, 0x4 date, 0x10 24-hour time. A null
 * pTime is now; the time is left out at 00:00:00. The plain form uses flags 6. */
ZXUT_EXPORT LONG ZXUT_API UtilLocLocaleStringFromSystemTime(LCID lcid, const SYSTEMTIME *pTime, VARIANT *pResult);
ZXUT_EXPORT LONG ZXUT_API UtilLocLocaleStringFromSystemTimeEx(LCID lcid, const SYSTEMTIME *pTime, VARIANT *pResult,
                                                             DWORD flags);
/* Compact date text, YYYYMMDD or YYYYMMDDhhmmss, to the user's locale (1), or 0
 * when out (outSize characters with the terminator) is too small. */
ZXUT_EXPORT BOOL ZXUT_API UtilDateTimeToLocaleString(LPCWSTR compact, LPWSTR out, UINT outSize);
/* Text in the user's locale (or compact already) to 14 compact digits; 0 for a
 * null text or an invalid date. A text without a date leaves out empty. */
ZXUT_EXPORT BOOL ZXUT_API UtilDateTimeFromLocaleString(LPCWSTR text, LPWSTR out, UINT outSize, DWORD flags);
/* Compact digits, a mail-header date ("Tue, 2 Mar 2021 10:00:00 +0100", to UTC), an
 * ISO 8601 date and time (with a zone: to UTC), or the variant conversion's date. */
ZXUT_EXPORT LONG ZXUT_API UtilLocDateTimeToSYSTEMTIME(LPCWSTR text, SYSTEMTIME *pTime);
/* In place, with the current time zone. E_INVALIDARG for a null pointer, a year of
 * 0 or a time the system refuses. */
ZXUT_EXPORT HRESULT ZXUT_API UtilLocConvertLocalTimeToUTCTime(SYSTEMTIME *pTime);
ZXUT_EXPORT HRESULT ZXUT_API UtilLocConvertUTCTimeToLocalTime(SYSTEMTIME *pTime);
/* Start and end of daylight-saving time in the year, in UTC; both zero where the
 * zone has none. */
ZXUT_EXPORT LONG ZXUT_API UtilLocGetDSTStartAndEndInUTC(UINT year, SYSTEMTIME *pStart, SYSTEMTIME *pEnd);

#endif
