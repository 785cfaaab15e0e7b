// The function codes for whole files.
#pragma once

#include "include/qmsd7.h"

namespace qmsd {

bool read_file(qm_file* record);
bool write_file(qm_file* record);

}  // namespace qmsd
