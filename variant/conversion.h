// Reads variants as other types.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// The variants' lock is held. Records its errors; a failure leaves the record alone, but the target
// may have been written.
bool convert_variant(qm_variant_convert& record);

// The function codes of conversions.
bool variant_convert(qm_variant_convert& record);
bool variant_read_array(qm_variant_array& record);
bool variant_write_array(qm_variant_array& record);

}  // namespace qmsd
