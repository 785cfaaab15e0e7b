#include "platform/double_precision.h"

namespace qmsd::platform {

std::uint16_t DoublePrecision::control_word() noexcept { return 0; }

void DoublePrecision::set_control_word(std::uint16_t) noexcept {}

}  // namespace qmsd::platform
