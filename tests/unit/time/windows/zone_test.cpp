// The zone against the system's own conversion between local time and UTC.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>

#include "platform/time_zone.h"

namespace qmsd {
namespace {

// 100-nanosecond steps.
std::int64_t steps_of(const FILETIME& time) {
  return std::int64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

TEST(ZoneOnWindows, TurnsTheSystemsLocalTimeIntoItsUtc) {
  FILETIME utc{};
  FILETIME local{};
  ::GetSystemTimeAsFileTime(&utc);
  ASSERT_TRUE(::FileTimeToLocalFileTime(&utc, &local));
  EXPECT_EQ(platform::zone_offset_now(), (steps_of(utc) - steps_of(local)) / 10'000'000);
}

}  // namespace
}  // namespace qmsd
