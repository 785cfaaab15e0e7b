// Texts of the runtime library, its warm-up, and lines for the developer. For any thread.
#pragma once

#include <cstddef>

namespace qmsd::platform {

// Text for an errno value, narrow, cut and terminated; empty when the runtime has none. `size` is
// above 0. Keeps errno.
void runtime_error_text(int code, char* buffer, std::size_t size) noexcept;

// Calls what the runtime sets up lazily, while no lock is held: the first call of such a routine
// may take the loader's lock, so it must not come under a kernel lock.
void warm_up_runtime() noexcept;

// A line for the developer, without a line end: to the debugger's output (Windows) or stderr.
// Allocates nothing and keeps errno and the last system error.
void write_debug_line(const char* line) noexcept;

}  // namespace qmsd::platform
