// The function codes of items and attributes.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

bool item_get(qm_variant_child& record);
bool item_take(qm_variant_child& record);
bool item_delete(qm_variant_child& record);
bool item_insert(qm_variant_child& record);
bool item_position(qm_variant_child& record);
bool item_count_named(qm_variant_child& record);

bool attribute_get(qm_variant_child& record);
bool attribute_take(qm_variant_child& record);
bool attribute_delete(qm_variant_child& record);
bool attribute_insert(qm_variant_child& record);
bool attribute_find(qm_variant_child& record);
bool attribute_position(qm_variant_attribute_position& record);
bool attribute_count_named(qm_variant_child& record);

}  // namespace qmsd
