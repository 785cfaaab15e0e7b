// The runtime library's own words, and what has to be awake before them. Any thread may call these.
#pragma once

#include <cstddef>

namespace qmsd::platform {

// Text for an errno value, narrow, cut and terminated; empty when the runtime has none. `size` is
// above 0. Keeps errno.
void runtime_error_text(int code, char* buffer, std::size_t size) noexcept;

// Resolves what the runtime resolves on first use, while no lock is held: a routine that needs the
// loader lock for it must not be called for the first time under a kernel lock.
void warm_up_runtime() noexcept;

// A line for the developer, without a line end: to the debugger's output (Windows) or stderr.
// Allocates nothing and keeps errno and the last system error.
void write_debug_line(const char* line) noexcept;

}  // namespace qmsd::platform
