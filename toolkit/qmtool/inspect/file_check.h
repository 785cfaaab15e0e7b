// What the file of a module tells without being loaded.
#pragma once

#include "toolkit/qmtool/inspect/diagnosis.h"

namespace qmtool {

// Adds image, exports, imports and steps of the file to the diagnosis, and the finding when one of
// them keeps the module from being loaded.
void check_file(Diagnosis& diagnosis);

}  // namespace qmtool
