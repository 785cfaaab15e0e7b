// The listing of installed module libraries.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

bool list_modules_wide(qm_list_modules_w* record);
bool list_modules_narrow(qm_list_modules_a* record);

}  // namespace qmsd
