// Conversions between numbers that are refused when they would lose anything.
#pragma once

#include <qmsd7.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include <qm/error.hpp>
#include <qm/result.hpp>
#include <qm/value.hpp>

namespace qm::detail {

// "int8", "uint64", "float32".
template <Number T>
std::string name_of() {
  const char* kind = Floating<T> ? "float" : std::is_signed_v<T> ? "int" : "uint";
  return kind + std::to_string(sizeof(T) * 8);
}

template <Number From>
std::string shown(From value) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// Infinite or not a number?
template <Number T>
bool is_special(T value) noexcept {
  if constexpr (Floating<T>) {
    return !std::isfinite(value);
  } else {
    return false;
  }
}

// Is there a T with exactly this value? Floating values are compared with powers of two, which are
// exact in either type, so that no conversion is out of range.
template <Integer T, Integer From>
constexpr bool fits(From value) noexcept {
  return std::in_range<T>(value);
}
template <Integer T, Floating From>
bool fits(From value) noexcept {
  const From above = std::ldexp(From{1}, std::numeric_limits<T>::digits);
  const From lowest = std::is_signed_v<T> ? -above : From{0};
  return value >= lowest && value < above && std::trunc(value) == value;
}
template <Floating T, Integer From>
bool fits(From value) noexcept {
  const T nearest = static_cast<T>(value);
  return fits<From>(nearest) && static_cast<From>(nearest) == value;
}
template <Floating T, Floating From>
bool fits(From value) noexcept {
  if (is_special(value)) return true;
  return std::abs(value) <= static_cast<From>(std::numeric_limits<T>::max()) &&
         static_cast<From>(static_cast<T>(value)) == value;
}

// Not-a-number is the same as itself here.
template <class T>
bool is_same(const T& one, const T& other) {
  return one == other || (one != one && other != other);
}

// The value as a T, or error 34.
template <Number T, Number From>
Result<T> exactly(From value) {
  if (fits<T>(value)) return static_cast<T>(value);
  return Error(QM_ERROR_RANGE, shown(value) + " is no " + name_of<T>());
}

// The number that the whole text is, in decimal notation with "." as the decimal point; error 22 if
// it is none, 34 if it lies outside of T. Fractions are rounded to the nearest T; infinity and
// not-a-number are no numbers here.
template <Number T>
Result<T> number_of(std::string_view text) {
  T number{};
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto refusal = [&](std::int32_t code) {
    return Error(code, "'" + std::string(text) + "' is no " + name_of<T>());
  };
  if (problem == std::errc::result_out_of_range) return refusal(QM_ERROR_RANGE);
  if (problem != std::errc() || end != text.data() + text.size() || is_special(number)) {
    return refusal(QM_ERROR_ARGUMENT);
  }
  return number;
}

}  // namespace qm::detail
