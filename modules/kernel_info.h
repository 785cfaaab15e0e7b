// The kernel's own information record.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

// QM_CALL_GETKERNELINFO: accepts null.
bool kernel_info(qm_info_request* record);

}  // namespace qmsd
