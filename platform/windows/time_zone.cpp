#include "platform/time_zone.h"

#include <windows.h>

namespace qmsd::platform {
namespace {

constexpr LONG kSecondsPerMinute = 60;

// Minutes.
LONG bias_in_force(DWORD season, const TIME_ZONE_INFORMATION& zone) {
  switch (season) {
    case TIME_ZONE_ID_STANDARD:
      return zone.Bias + zone.StandardBias;
    case TIME_ZONE_ID_DAYLIGHT:
      return zone.Bias + zone.DaylightBias;
    default:  // the zone has no seasons
      return zone.Bias;
  }
}

}  // namespace

std::int32_t zone_offset_now() noexcept {
  TIME_ZONE_INFORMATION zone{};
  const DWORD season = ::GetTimeZoneInformation(&zone);
  if (season == TIME_ZONE_ID_INVALID) return 0;
  return bias_in_force(season, zone) * kSecondsPerMinute;
}

}  // namespace qmsd::platform
