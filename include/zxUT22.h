/* zxUT22 — general-purpose utility library of the reporting product.
 * Public C interface: every export, handle type, constant and error code.
 * Exports with a final A take narrow text in the default code page, W wide text. */
#ifndef ZXUT22_H
#define ZXUT22_H

#include "zxut22/types.h"
#include "zxut22/prof.h"
#include "zxut22/util.h"
#include "zxut22/util_debug.h"
#include "zxut22/util_module.h"
#include "zxut22/util_heap.h"
#include "zxut22/util_text.h"
#include "zxut22/util_convert.h"
#include "zxut22/util_zip.h"
#include "zxut22/util_path.h"
#include "zxut22/util_tempfile.h"
#include "zxut22/util_thread.h"
#include "zxut22/util_crash.h"
#include "zxut22/util_docinfo.h"
#include "zxut22/prof_stream.h"

#endif
