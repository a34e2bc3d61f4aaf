/* Text utilities of the utility family: charsets. */
#ifndef ZXUT22_UTIL_TEXT_H
#define ZXUT22_UTIL_TEXT_H

#include "types.h"

/* The likely font charset of a text from the scripts it uses: 0 for none (Latin),
 * 161 Greek, 204 Cyrillic, 177 Hebrew, 178 Arabic, 222 Thai, 129 Hangul,
 * 128 Japanese. Several scripts (ideographs always count as several) follow the
 * default code page: 932 -> 128, 936 -> 134, 949 -> 129, 950 -> 136, otherwise 0.
 * A null text gives 0. */
ZXUT_EXPORT int ZXUT_API UtilGetLikelyCharsetFromString(LPCWSTR text);

#endif
