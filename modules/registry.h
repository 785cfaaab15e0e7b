// The registry of loaded modules: loads them on the first call, counts their uses, passes calls on,
// unloads them when the last use goes.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"
#include "services/text/qm_string.h"

namespace qmsd {

// Every call on a loaded module takes a use of it. The mode says whether it is given back.
enum class UseMode {
  instance,  // open keeps it, close drops the opener's as well, any other call gives it back
  group,     // always given back
};

bool registry_create();
void registry_destroy();  // closes every module still open, whatever its uses

// Calls the module by name, loading it if needed; returns the module's result, or 0 with an error.
// For QM_CALL_OPENMODULEW the record's two texts are kernel heap copies owned by the caller, which
// an alias may replace; `name` is not looked at after that. The module runs without any lock held.
std::int32_t registry_call(const qm_wchar* name, std::uint32_t handle, std::uint32_t code,
                           void* record, UseMode mode);

// Library and call entry of an open module, for direct calls. False when it is not open or has no
// entry (nothing is recorded).
bool registry_resolve(const qm_wchar* name, void*& library, qm_call_fn& entry);

qmString registry_statistics();

}  // namespace qmsd
