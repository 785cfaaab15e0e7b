// Reads the property store. It is a module like any other, so it is asked through the kernel's own
// public entry; no lock may be held.
#pragma once

#include <span>

#include "include/qmsd7.h"

namespace qmsd {

// Value of a node, and names of its children, one per line. The buffer is cleared first and always
// terminated. False when there is no store or no such node; the failed call has left its error.
bool property_read(const qm_wchar* path, std::span<qm_wchar> value);
bool property_list(const qm_wchar* node, std::span<qm_wchar> names);

}  // namespace qmsd
