/* Utility family: modules, heaps, debug output and everything the product shares. */
#ifndef ZXUT22_UTIL_H
#define ZXUT22_UTIL_H

#include "types.h"

/* 0: 0x160005, 1: 22, 2: 5, 3: 0, anything else -1. */
ZXUT_EXPORT LONG ZXUT_API UtilGetVersion(LONG selector);

#endif
