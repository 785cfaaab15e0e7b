// The function codes of the tracked allocator.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

bool memory_realloc(qm_realloc* record);
bool memory_size(qm_mem_size* record);
bool memory_realloc_position(qm_realloc_pos& record);
bool memory_check();
bool memory_info(qm_mem_info& record);

}  // namespace qmsd
