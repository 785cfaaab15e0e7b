// Reads variants as other types.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

// The variants' lock is held. Records its errors; a failure leaves the record alone, but the target
// may have been written.
bool convert_variant(qm_variant_convert& record);

// The function code of it.
bool variant_convert(qm_variant_convert& record);

}  // namespace qmsd
