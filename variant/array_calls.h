// The function codes that read and write elements of arrays.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

bool variant_read_array(qm_variant_array& record);
bool variant_write_array(qm_variant_array& record);

}  // namespace qmsd
