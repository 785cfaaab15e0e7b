// The handle table: the values that callers hold for opened module instances.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"
#include "services/text/qm_string.h"

namespace qmsd {

bool handles_create();
// Closes every handle, oldest first, then takes the table down.
void handles_destroy();

// A new unbound handle, or 0 when there is no table or no memory (nothing is recorded).
std::uint32_t handle_open();
// Binds an unbound handle to a module's instance. False when it is gone, or bound already, or
// memory is exhausted (`*no_memory`).
bool handle_bind(std::uint32_t handle, const qm_wchar* owner_name, std::uint32_t owner_handle);

// A call with a handle, group handles included.
bool handle_call(std::uint32_t handle, std::uint32_t code, void* record);

bool handle_resolve(qm_resolve_handle* record);
bool handle_reference(qm_handle_ref* record);
bool handle_release(qm_handle_ref* record);

qmString handle_statistics();

}  // namespace qmsd
