// Turns a module name into a loaded library.
#pragma once

#include <cstddef>

#include "include/qmsd7.h"
#include "modules/owned_library.h"

namespace qmsd {

// Length of path and name texts of the module subsystem, terminator included.
inline constexpr std::size_t kModuleTextLength = 512;

// Looks for the library by the system's rules, then in the system directory's `qm` folder, and
// fills in its full path. On failure records error 0x1000 with the name and the system's words for
// the second attempt, and returns empty. Foreign code runs: no lock may be held.
OwnedLibrary load_module_library(const qm_wchar* name, qm_wchar (&path)[kModuleTextLength]);

}  // namespace qmsd
