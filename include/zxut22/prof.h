/* Profile store: named, typed values in nested lists. */
#ifndef ZXUT22_PROF_H
#define ZXUT22_PROF_H

#include "types.h"

typedef struct zxProfJob *HPROFJOB;   /* a job: tree, caches, file */
typedef struct zxProfList *HPROFLIST; /* a list inside a job's tree; null means the root */

/* Error codes of the whole Prof family (there is no -2). */
#define PROF_OK 0
#define PROF_ERR_OPEN (-1)
#define PROF_ERR_SAVE (-3)
#define PROF_ERR_WRITE (-4)
#define PROF_ERR_HANDLE (-5)
#define PROF_ERR_NOT_FOUND (-6)
#define PROF_ERR_PARSE (-7)
#define PROF_ERR_MEMORY (-8)
#define PROF_ERR_FORMAT (-9)
#define PROF_ERR_LOCKED (-10)

/* 0: 5637, 1: 22, 2: 5, anything else -1. */
ZXUT_EXPORT LONG ZXUT_API ProfGetVersion(LONG selector);

#endif
