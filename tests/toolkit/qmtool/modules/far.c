/* Imported by "near". */
#include <stdint.h>

#include "qmsd7.h"

QM_EXPORT int32_t far_number(void) { return 41; }
