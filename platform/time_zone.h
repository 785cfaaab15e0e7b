// The system's time zone as it is now.
#pragma once

#include <cstdint>

namespace qmsd::platform {

// Seconds to add to local time for UTC, daylight saving included when it is in force: positive west
// of Greenwich. 0 when the system cannot tell. Any thread may ask.
std::int32_t zone_offset_now() noexcept;

}  // namespace qmsd::platform
