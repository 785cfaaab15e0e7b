// What can be seen of threads and their stacks.
#pragma once

#include <cstddef>
#include <optional>

#include <qmsd7.h>

namespace qmtool {

// How many threads this process has.
std::size_t thread_count();

// Makes a call and tells by how many bytes it left the stack pointer off; none where a wrong calling
// convention does not show in it.
std::optional<std::ptrdiff_t> stack_drift(qm_call_fn entry, std::uint32_t handle,
                                          std::uint32_t code, void* record);

}  // namespace qmtool
