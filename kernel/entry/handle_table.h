// The handle table: the values that callers hold for opened module instances.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"
#include "services/text/qm_string.h"

namespace qmsd {

bool handles_create();
// Closes every handle, oldest first, then takes the table down.
void handles_destroy();

// Issues a new, unbound handle; 0 when there is no table or no memory (nothing is recorded).
std::uint32_t handle_issue();
// Binds an unbound handle to a module's instance. Fails, with an error recorded, when the handle is
// gone or bound already and when memory is exhausted.
bool handle_bind(std::uint32_t handle, const qm_wchar* owner_name, std::uint32_t owner_handle);
enum class HandleDrop { unknown, others_remain, last };
// Drops one reference; the last one closes the owner's side. An unknown handle leaves an error.
HandleDrop handle_drop(std::uint32_t handle);

// A call with a handle, group handles included.
bool handle_call(std::uint32_t handle, std::uint32_t code, void* record);

// The function codes about handles. Without a table the first always refuses and the last succeeds,
// so they take even a null record.
bool handle_resolve(qm_resolve_handle* record);
bool handle_reference(const qm_handle_ref& record);
bool handle_release(qm_handle_ref* record);

// One line: count and total size, each with its change since the last report.
qmString handle_statistics();

}  // namespace qmsd
