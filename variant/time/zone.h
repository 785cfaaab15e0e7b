// The local time zone as the kernel sees it: read from the system once, at the first question.
#pragma once

#include <cstdint>

namespace qmsd {

// Seconds to add to local time for UTC: positive west of Greenwich. The same answer for every
// thread and for the life of the process, whatever becomes of the system's zone.
std::int32_t local_zone_offset() noexcept;

}  // namespace qmsd
