#include "services/text/numbers.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "platform/double_precision.h"
#include "services/text/digits.h"
#include "services/text/strings.h"

namespace qmsd {
namespace {

using Limits = std::numeric_limits<std::int64_t>;

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
bool is_hexadecimal_digit(char character) { return hexadecimal_value(character) != kNoDigit; }

bool has_hexadecimal_prefix(std::string_view text) {
  return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

std::size_t length_between(const char* begin, const char* end) {
  return static_cast<std::size_t>(end - begin);
}

// A text behind its white space and sign.
struct Unsigned {
  std::string_view text;
  bool negative;
};

Unsigned skip_sign(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  if (text.empty() || (text[0] != '-' && text[0] != '+')) return {text, false};
  return {text.substr(1), text[0] == '-'};
}

// `digits` is the end of `text`.
IntegerReading read_digits(std::string_view text, std::string_view digits, int base,
                           bool negative) {
  std::uint64_t magnitude = 0;
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, base);
  if (error == std::errc::invalid_argument) return {};
  const std::size_t consumed = length_between(text.data(), end);
  const std::uint64_t most = static_cast<std::uint64_t>(Limits::max()) + (negative ? 1 : 0);
  if (error == std::errc::result_out_of_range || magnitude > most) {
    return {negative ? Limits::min() : Limits::max(), consumed, true};
  }
  return {static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude), consumed, false};
}

bool is_hexadecimal_floating(std::string_view text) {
  if (!has_hexadecimal_prefix(text)) return false;
  const bool point = text[2] == '.' && text.size() > 3;
  return is_hexadecimal_digit(text[point ? 3 : 2]);
}

// Which end of the range a number lies beyond. It has no sign and no prefix and is not zero.
bool is_too_large(std::string_view number, bool hexadecimal) {
  const std::size_t letter =
      std::min(number.find_first_of(hexadecimal ? "pP" : "eE"), number.size());
  const std::string_view places = number.substr(0, letter);
  const auto point = static_cast<std::int64_t>(std::min(places.find('.'), places.size()));
  const auto first = static_cast<std::int64_t>(places.find_first_not_of("0."));
  constexpr std::int64_t kMax = Limits::max() / 2;  // leaves room for the sum
  const std::int64_t exponent = std::clamp(
      read_decimal(number.substr(std::min(letter + 1, number.size()))).value, -kMax, kMax);
  return (point - first) * (hexadecimal ? 4 : 1) + exponent > 0;
}

// Whether a finite number may lie half way between two numbers of six digits: the standard library
// gives such ties to the even one. A tie of decimal exponent x ends exactly 6 - x places behind the
// binary point; x is only estimated here, hence the margin.
bool may_be_tie(double number) {
  int exponent = 0;
  const double fraction = std::frexp(number, &exponent);
  constexpr std::uint64_t kLeadingBit = std::uint64_t{1} << 52;
  const std::uint64_t mantissa = std::bit_cast<std::uint64_t>(fraction) | kLeadingBit;
  const int binary_places = 53 - exponent - std::countr_zero(mantissa);
  const int decimal_exponent = exponent * 30103 / 100000;
  return std::abs(binary_places - (6 - decimal_exponent)) <= 2;
}

// The kernel's exponents have three digits at least, those of the standard library two.
void widen_exponent(PrintedNumber& number) {
  char* end = number.text + number.length;
  if (number.length < 4 || end[-4] != 'e') return;
  end[0] = end[-1];
  end[-1] = end[-2];
  end[-2] = '0';
  ++number.length;
}

std::from_chars_result parse(std::string_view text, bool hexadecimal, double& magnitude) {
  const platform::DoublePrecision precision;
  return std::from_chars(text.data(), text.data() + text.size(), magnitude,
                         hexadecimal ? std::chars_format::hex : std::chars_format::general);
}

template <class... Form>
PrintedNumber print(Form... form) {
  PrintedNumber number;
  const auto end = std::to_chars(std::begin(number.text), std::end(number.text), form...).ptr;
  number.length = length_between(number.text, end);
  return number;
}

}  // namespace

IntegerReading read_integer(std::string_view text) noexcept {
  const auto [digits, negative] = skip_sign(text);
  if (has_hexadecimal_prefix(digits) && is_hexadecimal_digit(digits[2])) {
    return read_digits(text, digits.substr(2), 16, negative);
  }
  const bool octal = !digits.empty() && digits[0] == '0';
  return read_digits(text, digits, octal ? 8 : 10, negative);
}

IntegerReading read_decimal(std::string_view text) noexcept {
  const auto [digits, negative] = skip_sign(text);
  return read_digits(text, digits, 10, negative);
}

FloatingReading read_floating(std::string_view text) noexcept {
  auto [number, negative] = skip_sign(text);
  const bool hexadecimal = is_hexadecimal_floating(number);
  if (hexadecimal) number.remove_prefix(2);
  // The standard library would take a sign of its own, and two of them in a binary exponent.
  if (number.starts_with('-')) return {};
  number = number.substr(0, number.find("+-"));

  double magnitude = 0;
  const auto [end, error] = parse(number, hexadecimal, magnitude);
  if (error == std::errc::invalid_argument) return {};
  bool out_of_range = error == std::errc::result_out_of_range;
  if (out_of_range) {
    const std::string_view read = number.substr(0, length_between(number.data(), end));
    magnitude = is_too_large(read, hexadecimal) ? std::numeric_limits<double>::infinity() : 0;
  } else {
    out_of_range = magnitude != 0 && magnitude < std::numeric_limits<double>::min();
  }
  return {negative ? -magnitude : magnitude, length_between(text.data(), end), out_of_range};
}

PrintedNumber print_signed(std::int64_t number) noexcept { return print(number); }

PrintedNumber print_unsigned(std::uint64_t number) noexcept { return print(number); }

PrintedNumber print_floating(double number) noexcept {
  if (std::isfinite(number) && !may_be_tie(number)) {
    PrintedNumber printed = print(number, std::chars_format::general, 6);
    widen_exponent(printed);
    return printed;
  }
  PrintedNumber printed;
  const int length = format_narrow(printed.text, sizeof printed.text, "%g", number);
  printed.length = static_cast<std::size_t>(std::max(length, 0));
  return printed;
}

}  // namespace qmsd
