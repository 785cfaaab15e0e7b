#include "platform/keep_errors.h"

#include <windows.h>

namespace qmsd::platform {

std::uint32_t KeepErrors::last_system_error() noexcept { return ::GetLastError(); }

void KeepErrors::set_last_system_error(std::uint32_t code) noexcept { ::SetLastError(code); }

}  // namespace qmsd::platform
