// Digits in ASCII, in narrow or wide text, whatever the locale thinks of other characters.
#pragma once

namespace qmsd {

template <class Character>
constexpr bool is_digit(Character character) noexcept {
  return character >= '0' && character <= '9';
}
// Only for a digit.
template <class Character>
constexpr int digit_value(Character digit) noexcept {
  return digit - '0';
}

// What is no digit has a value that no base reaches.
inline constexpr int kNoDigit = 99;

template <class Character>
constexpr int hexadecimal_value(Character character) noexcept {
  if (is_digit(character)) return digit_value(character);
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return kNoDigit;
}

}  // namespace qmsd
