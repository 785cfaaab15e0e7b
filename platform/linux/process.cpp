#include "platform/process.h"

namespace qmsd::platform {

bool process_is_ending() noexcept { return false; }

}  // namespace qmsd::platform
