// What the lines of statistics that tables report have in common.
#pragma once

#include <atomic>
#include <cstdint>

#include "services/text/qm_string.h"

namespace qmsd {

// A number of the last report.
class LastReported {
 public:
  // The change since the last report; the next one counts from `now`.
  std::int64_t change_to(std::int64_t now) noexcept { return now - last_.exchange(now); }

 private:
  std::atomic<std::int64_t> last_{0};
};

// Throws std::runtime_error when the line cannot be made.
qmString statistics_line(const char* format, ...);

}  // namespace qmsd
