// The names of the kernel's function codes. The build takes them from the public header.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qmtool {

// "NOP", "QM_CALL_NOP" or "nop".
std::optional<std::uint32_t> function_code(std::string_view name);

}  // namespace qmtool
