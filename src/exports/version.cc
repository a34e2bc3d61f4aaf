// The two version exports.
#include "zxUT22.h"

ZXUT_EXPORT LONG ZXUT_API ProfGetVersion(LONG selector) {
  switch (selector) {
    case 0: return 5637;  // build
    case 1: return 22;    // major
    case 2: return 5;     // minor
    default: return -1;
  }
}

ZXUT_EXPORT LONG ZXUT_API UtilGetVersion(LONG selector) {
  switch (selector) {
    case 0: return 0x160005;  // major << 16 | minor
    case 1: return 22;
    case 2: return 5;
    case 3: return 0;
    default: return -1;
  }
}
