// Slots: 8-byte cells that independently loaded modules share by number.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"
#include "modules/slot_table.h"

namespace qmsd {

// False when memory is exhausted. Tests pass a smaller `last_id`, to run out of ids.
bool slots_create(std::int32_t last_id = SlotTable::kLastId);
void slots_destroy();  // frees every cell, whoever uses it

bool slot_create(qm_slot& record);
bool slot_join(qm_slot& record);
bool slot_release(const qm_slot& record);

}  // namespace qmsd
