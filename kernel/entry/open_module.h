// Opening a module instance: a handle is issued, the module asked, the two bound together.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

// On failure the record's handle is 0; name and group are always the caller's again afterwards.
bool open_module_wide(qm_open_module_w* record);
bool open_module_narrow(qm_open_module_a* record);

}  // namespace qmsd
