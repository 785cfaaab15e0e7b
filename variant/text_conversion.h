// Texts read as other types.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// What was written to the record's target, a scalar or a text; kConversionFailed with an error
// recorded.
std::int32_t convert_narrow_text(const qm_variant& source, const qm_variant_convert& record);
std::int32_t convert_wide_text(const qm_variant& source, const qm_variant_convert& record);

}  // namespace qmsd
