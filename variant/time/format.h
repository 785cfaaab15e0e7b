// Prints date-times: a small format language, and the default text form written in it.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "variant/time/date_time.h"

namespace qmsd {

// A conversion is "%", a width in decimal digits (at most 9; numbers are padded with zeros if its
// first digit is 0, else with blanks) and a letter:
//   c century   y year of the century   Y year   m month   d day
//   H hours   M minutes   S seconds   Z the second's nine fraction digits, cut to the width (0: 3)
//   % a percent sign
// Of an absent part `fill` is printed, width times. Everything else is copied as it stands.
// Writes at most buffer.size() - 1 characters and a terminator, into an empty buffer nothing.
// Returns the characters written.
std::size_t format_date_time(DateTime value, std::string_view format, std::span<char> buffer,
                             char fill = kUnknownDigit) noexcept;

// The default text form of a value with date and time, with either, with neither.
inline constexpr std::string_view kDateTimeForm = "%02c%02y-%02m-%02d %02H:%02M:%02S.%3Z";
inline constexpr std::string_view kDateForm = "%02c%02y-%02m-%02d";
inline constexpr std::string_view kTimeForm = "%02H:%02M:%02S.%3Z";
constexpr std::string_view default_form(DateTime value) noexcept {
  if (!value.has_date()) return value.has_time() ? kTimeForm : std::string_view{};
  return value.has_time() ? kDateTimeForm : kDateForm;
}

// Room for the default form of every value, terminator included.
inline constexpr std::size_t kDefaultFormSize = 32;

// Same as format_date_time() with the value's default form, and much faster.
std::size_t print_date_time(DateTime value, std::span<char> buffer) noexcept;

}  // namespace qmsd
