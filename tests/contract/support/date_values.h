// Packed date-times as their layout describes them, built without the kernel.
#pragma once

#include <cstdint>

namespace contract {

inline constexpr int kNoYear = 127;  // of a century
inline constexpr std::uint64_t kNoTime = (std::uint64_t{1} << 37) - 1;
inline constexpr std::uint64_t kEmptyDateTime = 0xFFFFFFFFF803F800;
inline constexpr std::uint64_t kInvalidDateTime = UINT64_MAX;

// The fields themselves; 0 is an absent century, month or day.
constexpr std::uint64_t packed(int century, int year, int month, int day,
                               std::uint64_t time = kNoTime) {
  return (static_cast<std::uint64_t>(century) & 0x7FF) | static_cast<std::uint64_t>(year) << 11 |
         static_cast<std::uint64_t>(month) << 18 | static_cast<std::uint64_t>(day) << 22 |
         time << 27;
}
static_assert(packed(0, kNoYear, 0, 0) == kEmptyDateTime);

// A time of day in microseconds.
constexpr std::uint64_t clock(int hours, int minutes, int seconds = 0, int microseconds = 0) {
  return static_cast<std::uint64_t>((hours * 60 + minutes) * 60 + seconds) * 1000000 +
         static_cast<std::uint64_t>(microseconds);
}
// A day of the years from 100 on.
constexpr std::uint64_t date(int year, int month, int day, std::uint64_t time = kNoTime) {
  return packed(year / 100, year % 100, month, day, time);
}
constexpr std::uint64_t time_only(std::uint64_t time) { return packed(0, kNoYear, 0, 0, time); }

}  // namespace contract
