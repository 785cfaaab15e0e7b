// Days are counted in 32 bits, microseconds in 64; the range of years lets neither overflow.
#include "variant/time/counts.h"

#include <cmath>
#include <limits>

#include "variant/time/calendar.h"

namespace qmsd {
namespace {

constexpr std::int32_t kFirstDay = days_from_date(DateTime::kFirstYear, 1, 1);
constexpr std::int32_t kLastDay = days_from_date(DateTime::kLastYear, 12, 31);
constexpr std::int32_t kDayOf1970 = days_from_date(1970, 1, 1);
constexpr std::int32_t kDayOfNumber0 = days_from_date(1899, 12, 30);
static_assert(kDayOf1970 == 719'162 && kDayOfNumber0 == 693'593);

constexpr std::int64_t kFirstMicrosecond = kFirstDay * kMicrosecondsPerDay;
constexpr std::int64_t kLastMicrosecond = (kLastDay + 1) * kMicrosecondsPerDay - 1;
constexpr std::int64_t kMicrosecondOf1970 = kDayOf1970 * kMicrosecondsPerDay;

std::int32_t day_of(DateTime value) {
  return days_from_date(value.year(), value.month(), value.day());
}

std::int64_t time_or_midnight(DateTime value) { return value.has_time() ? value.time_of_day() : 0; }

// Microseconds since the start of `epoch`.
std::int64_t microseconds_since(std::int32_t epoch, DateTime value) {
  if (!value.has_complete_date()) return value.has_time() ? value.time_of_day() : -1;
  return (day_of(value) - epoch) * kMicrosecondsPerDay + time_or_midnight(value);
}

// The nearest integer to what is not negative; halves go up. The runtime library rounds in the x87
// unit, and how precisely that one computes is up to the host.
std::int64_t rounded(double count) {
  const auto whole = static_cast<std::int64_t>(count);
  return count - static_cast<double>(whole) < 0.5 ? whole : whole + 1;
}

}  // namespace

std::int64_t microseconds_since_year_1(DateTime value) noexcept {
  return microseconds_since(0, value);
}

std::int64_t microseconds_since_1970(DateTime value) noexcept {
  return microseconds_since(kDayOf1970, value);
}

DateTime date_time_from_microseconds(std::int64_t since_year_1) noexcept {
  if (since_year_1 < kFirstMicrosecond || since_year_1 > kLastMicrosecond) {
    return DateTime::invalid();
  }
  // Counted from the first day there are no negative numbers to be rounded down.
  const std::int64_t since_first = since_year_1 - kFirstMicrosecond;
  const auto days = static_cast<std::int32_t>(since_first / kMicrosecondsPerDay);
  const CalendarDate date = date_from_days(kFirstDay + days);
  return DateTime::of(date.year, date.month, date.day, since_first % kMicrosecondsPerDay);
}

std::int64_t milliseconds_since_1970(DateTime value) noexcept {
  const std::int64_t microseconds = microseconds_since_1970(value);
  return microseconds == -1 ? -1 : microseconds / 1000;
}

std::uint64_t unsigned_milliseconds_since_1970(DateTime value) noexcept {
  const std::int64_t microseconds = microseconds_since_1970(value);
  const auto bits = static_cast<std::uint64_t>(microseconds);
  return microseconds == -1 ? bits : bits / 1000;
}

DateTime date_time_from_milliseconds(std::int64_t since_1970) noexcept {
  constexpr std::int64_t kFirst = (kFirstMicrosecond - kMicrosecondOf1970) / 1000;
  constexpr std::int64_t kLast = (kLastMicrosecond - kMicrosecondOf1970) / 1000;
  if (since_1970 == -1 || since_1970 < kFirst || since_1970 > kLast) return DateTime::invalid();
  return date_time_from_microseconds(since_1970 * 1000 + kMicrosecondOf1970);
}

DateTime date_time_from_milliseconds(std::uint64_t since_1970) noexcept {
  constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (since_1970 > kMax) return DateTime::invalid();
  return date_time_from_milliseconds(static_cast<std::int64_t>(since_1970));
}

double day_number(DateTime value) noexcept {
  const bool has_date = value.has_complete_date();
  if (!has_date && !value.has_time()) return std::numeric_limits<double>::quiet_NaN();
  const double days = has_date ? day_of(value) - kDayOfNumber0 : 0;
  return days + static_cast<double>(time_or_midnight(value)) / double{kMicrosecondsPerDay};
}

DateTime date_time_from_day_number(double days) noexcept {
  constexpr double kFirst = kFirstDay - kDayOfNumber0;
  constexpr double kLast = kLastDay - kDayOfNumber0;
  const double whole = std::floor(days);
  if (!(whole >= kFirst && whole <= kLast)) return {};
  const std::int64_t day = static_cast<std::int32_t>(whole) + kDayOfNumber0;
  // A fraction that rounds up to a whole day is carried. At the ends of the range doubles are too
  // coarse for that, so the sum stays inside.
  const std::int64_t time = rounded((days - whole) * double{kMicrosecondsPerDay});
  return date_time_from_microseconds(day * kMicrosecondsPerDay + time);
}

}  // namespace qmsd
