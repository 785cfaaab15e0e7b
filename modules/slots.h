// Slots: 8-byte cells that independently loaded modules share by number.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

bool slots_create();
void slots_destroy();  // frees every cell, whoever uses it

bool slot_create(qm_slot& record);
bool slot_join(qm_slot& record);
bool slot_release(const qm_slot& record);

}  // namespace qmsd
