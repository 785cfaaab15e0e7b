#include "platform/keep_errors.h"

namespace qmsd::platform {

std::uint32_t KeepErrors::last_system_error() noexcept { return 0; }

void KeepErrors::set_last_system_error(std::uint32_t) noexcept {}

}  // namespace qmsd::platform
