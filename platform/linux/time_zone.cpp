#include "platform/time_zone.h"

#include <time.h>

namespace qmsd::platform {

std::int32_t zone_offset_now() noexcept {
  // localtime_r() need not look at the environment again; tzset() does.
  ::tzset();
  const time_t now = ::time(nullptr);
  tm local{};
  if (::localtime_r(&now, &local) == nullptr) return 0;
  return static_cast<std::int32_t>(-local.tm_gmtoff);
}

}  // namespace qmsd::platform
