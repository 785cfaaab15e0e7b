// A date-time as one number: microseconds, milliseconds or days. Pure arithmetic, the same to the
// bit on every system; impossible days such as 30 February are carried into the next month.
#pragma once

#include <cstdint>

#include "variant/time/date_time.h"

namespace qmsd {

// Without a complete date both give the time of day alone, or -1 when there is none either.
// The first counts from 0001-01-01 00:00.
std::int64_t microseconds_since_year_1(DateTime value) noexcept;
std::int64_t microseconds_since_1970(DateTime value) noexcept;

// Invalid outside the years -102400 to 102399. Years 0 to 99 come out without a century.
DateTime date_time_from_microseconds(std::int64_t since_year_1) noexcept;

// The microseconds since 1970 divided by 1000, as signed or as unsigned numbers; -1 stays -1.
std::int64_t milliseconds_since_1970(DateTime value) noexcept;
std::uint64_t unsigned_milliseconds_since_1970(DateTime value) noexcept;

// Invalid for a count with all bits set and for what does not fit.
DateTime date_time_from_milliseconds(std::int64_t since_1970) noexcept;
DateTime date_time_from_milliseconds(std::uint64_t since_1970) noexcept;

// Days since 1899-12-30, the time of day as the fraction. Without a complete date the fraction
// alone, or not a number when there is no time either.
double day_number(DateTime value) noexcept;
// Rounded to the nearest microsecond. Empty for what is not finite and for what does not fit.
DateTime date_time_from_day_number(double days) noexcept;

}  // namespace qmsd
