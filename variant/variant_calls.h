// The function codes of variants as such: references, creation, assignment, copies, information.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

bool variant_reference(qm_variant* variant);
bool variant_release(qm_variant* variant);
bool variant_create(qm_variant_create& record);
bool variant_recreate(qm_variant_create& record);
bool variant_assign(qm_variant_create& record);
bool variant_assign_value(qm_variant_create& record);
bool variant_copy(qm_variant_copy& record);
bool variant_info(qm_variant_info& record);
bool variant_info_name(qm_variant_info_name& record);

}  // namespace qmsd
