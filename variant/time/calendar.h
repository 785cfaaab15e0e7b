// The proleptic Gregorian calendar with astronomical years (year 0 exists), without tables.
// Days are counted from 0001-01-01, which is day 0 and a Monday.
//
// The arithmetic shifts the calendar: years begin in March, which puts the leap day last, and
// counting begins many whole 400-year cycles earlier, which avoids negative numbers.
#pragma once

#include <cstdint>

namespace qmsd {

struct CalendarDate {
  int year;
  int month;
  int day;
  friend constexpr bool operator==(const CalendarDate&, const CalendarDate&) noexcept = default;
};

namespace calendar_detail {

inline constexpr std::uint32_t kDaysPerYear = 365;
inline constexpr std::uint32_t kDaysPer4Years = 1461;
inline constexpr std::uint32_t kDaysPer400Years = 146'097;
inline constexpr std::uint32_t kDaysPer5Months = 153;  // March to July, August to December

inline constexpr std::uint32_t kCycles = 257;  // behind the first year of every date-time
inline constexpr std::uint32_t kShiftedYears = 400 * kCycles;
// 0001-01-01 lies 306 days behind 0000-03-01.
inline constexpr std::uint32_t kShiftedDays = kDaysPer400Years * kCycles + 306;

// Days from 1 March to the first day of the month that many months later.
constexpr std::uint32_t days_before_month(std::uint32_t months_since_march) noexcept {
  return (kDaysPer5Months * months_since_march + 2) / 5;
}

}  // namespace calendar_detail

constexpr bool is_leap_year(int year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// The month's length in the longest year.
constexpr int longest_month_length(int month) noexcept {
  if (month == 2) return 29;
  return 30 + ((month + month / 8) & 1);
}

// Years -102401 to 102800, months 0 to 15 and days 0 to 31; what the calendar does not have is
// carried into the following month or year, or borrowed from the one before.
constexpr std::int32_t days_from_date(int year, int month, int day) noexcept {
  using namespace calendar_detail;
  const auto months =
      static_cast<std::uint32_t>((year + static_cast<int>(kShiftedYears)) * 12 + month - 3);
  const std::uint32_t y = months / 12;
  const std::uint32_t leap_days = y / 4 - y / 100 + y / 400;
  const std::uint32_t first_of_month =
      kDaysPerYear * y + leap_days + days_before_month(months % 12);
  return static_cast<std::int32_t>(first_of_month - kShiftedDays) + day - 1;
}

constexpr CalendarDate date_from_days(std::int32_t days) noexcept {
  using namespace calendar_detail;
  // Four times the days, plus 3, makes the leap day of a cycle fall on its end.
  const std::uint32_t n = 4 * (static_cast<std::uint32_t>(days) + kShiftedDays) + 3;
  const std::uint32_t century = n / kDaysPer400Years;
  const std::uint32_t n_of_century = n % kDaysPer400Years | 3;
  const std::uint32_t year = 100 * century + n_of_century / kDaysPer4Years;
  const std::uint32_t day_of_year = n_of_century % kDaysPer4Years / 4;
  const std::uint32_t month = (5 * day_of_year + 2) / kDaysPer5Months;  // 0 is March
  const std::uint32_t day = day_of_year - days_before_month(month) + 1;
  const std::uint32_t next_year = month >= 10 ? 1 : 0;
  return {static_cast<int>(year + next_year) - static_cast<int>(kShiftedYears),
          static_cast<int>(month + 3 - 12 * next_year), static_cast<int>(day)};
}

// Monday is 0.
constexpr int day_of_week(std::int32_t days) noexcept {
  // A 400-year cycle is a whole number of weeks.
  return static_cast<int>((static_cast<std::uint32_t>(days) + calendar_detail::kShiftedDays - 306) %
                          7);
}

// The Monday of the year's first week, the one that holds 4 January.
constexpr std::int32_t first_week_of_year(int year) noexcept {
  const std::int32_t january_4 = days_from_date(year, 1, 4);
  return january_4 - day_of_week(january_4);
}

constexpr int weeks_in_year(int year) noexcept {
  return (first_week_of_year(year + 1) - first_week_of_year(year)) / 7;
}

}  // namespace qmsd
