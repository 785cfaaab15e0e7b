// The kernel's function codes and who serves them.
#pragma once

#include <cstdint>

namespace qmsd {

// Serves a code that was called without a handle; unknown codes are refused with an error.
std::int32_t serve(std::uint32_t function, void* params);

}  // namespace qmsd
