// Numbers in narrow text, read and written alike in every locale: the decimal point is ".".
// For wide text, narrow its leading ASCII first. Nothing here fails or allocates.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qmsd {

// All readers skip leading white space and take the longest prefix that is a number, as those of C
// do. `consumed` counts the characters up to its end, white space included; it is 0, and the value
// too, when there is no number.
struct IntegerReading {
  std::int64_t value;    // the nearest limit when the number does not fit
  std::size_t consumed;  // characters
  bool overflow;
};

// The prefix tells the base: 0x or 0X is hexadecimal, 0 octal, anything else decimal.
IntegerReading read_integer(std::string_view text) noexcept;
IntegerReading read_decimal(std::string_view text) noexcept;

struct FloatingReading {
  double value;          // correctly rounded; infinity and "not a number" can be written, too
  std::size_t consumed;  // characters
  bool out_of_range;     // too large for a double, or not zero and below the smallest normal one
};

// Decimal, hexadecimal ("0x1.8p3"), "inf", "infinity", "nan" and "nan(letters)".
FloatingReading read_floating(std::string_view text) noexcept;

struct PrintedNumber {
  char text[24];
  std::size_t length;
  std::string_view view() const noexcept { return {text, length}; }
};

// As the kernel's formatter prints them with "%I64i", "%I64u" and "%g", but faster.
PrintedNumber print_signed(std::int64_t number) noexcept;
PrintedNumber print_unsigned(std::uint64_t number) noexcept;
PrintedNumber print_floating(double number) noexcept;

}  // namespace qmsd
