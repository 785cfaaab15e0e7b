// Decimal digits in ASCII, whatever the locale thinks of other characters.
#pragma once

namespace qmsd {

constexpr bool is_digit(char character) noexcept { return character >= '0' && character <= '9'; }
// Only for a digit.
constexpr int digit_value(char digit) noexcept { return digit - '0'; }

}  // namespace qmsd
