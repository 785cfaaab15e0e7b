// Finds variants by path.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

// The variants' lock is held. The result carries no reference yet. Null with an error recorded,
// which tells the position in the path.
qm_variant* find_by_path(qm_variant* root, const qm_wchar* path);

// The function codes of paths.
bool variant_path_wide(qm_variant_path_w& record);
bool variant_path_narrow(qm_variant_path_a& record);
bool variant_path_value_wide(qm_variant_path_value_w& record);
bool variant_path_value_narrow(qm_variant_path_value_a& record);

}  // namespace qmsd
