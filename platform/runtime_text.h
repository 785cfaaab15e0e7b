// The runtime library's own words, and its locale.
#pragma once

#include <cstddef>

namespace qmsd::platform {

// Text for an errno value, narrow, cut and terminated; empty when the runtime has none.
void runtime_error_text(int code, char* buffer, std::size_t size) noexcept;

// Resolves what the runtime resolves on first use, while no lock is held: a routine that needs the
// loader lock for it must not be called for the first time under a kernel lock.
void warm_up_runtime() noexcept;

// A line for the developer: the debugger's output (Windows) or stderr. Allocates nothing.
void write_debug_line(const char* line) noexcept;

}  // namespace qmsd::platform
