/* Imported by the module "importing"; imports "far" itself. */
#include <stdint.h>

#include "qmsd7.h"

int32_t far_number(void);

QM_EXPORT int32_t near_number(void) { return far_number() + 1; }
