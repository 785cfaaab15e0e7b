// Builds date-times for the tests and shows them in failures.
#pragma once

#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "variant/time/date_time.h"
#include "variant/time/format.h"

namespace qmsd {

inline DateTime date(int year, int month, int day) { return DateTime::of(year, month, day); }

inline DateTime with_microseconds(DateTime value, std::int64_t time_of_day) {
  value.set_time_of_day(time_of_day);
  return value;
}

inline DateTime at(DateTime value, int hours, int minutes, int seconds = 0, int microseconds = 0) {
  const std::int64_t whole = (hours * 60 + minutes) * 60 + seconds;
  return with_microseconds(value, whole * kMicrosecondsPerSecond + microseconds);
}

inline DateTime clock(int hours, int minutes, int seconds = 0, int microseconds = 0) {
  return at(DateTime(), hours, minutes, seconds, microseconds);
}

// Fields as the layout numbers them, absent markers included.
inline DateTime of_fields(int century, int year_of_century, int month, int day,
                          std::int64_t time = DateTime::kNoTime) {
  DateTime value;
  value.set_century(century);
  value.set_year_of_century(year_of_century);
  value.set_month(month);
  value.set_day(day);
  value.set_time_of_day(time);
  return value;
}

// The format's output in a buffer of that many characters.
inline std::string formatted(DateTime value, std::string_view format, std::size_t capacity = 200,
                             char fill = 'X') {
  std::string buffer(capacity, '#');
  buffer.resize(format_date_time(value, format, buffer, fill));
  return buffer;
}

inline std::string printed(DateTime value) {
  std::array<char, kDefaultFormSize> buffer;
  return {buffer.data(), print_date_time(value, buffer)};
}

inline void PrintTo(DateTime value, std::ostream* out) {
  *out << formatted(value, "%02c%02y-%02m-%02d %02H:%02M:%02S.%6Z") << " (0x" << std::hex
       << value.bits() << std::dec << ")";
}

}  // namespace qmsd
