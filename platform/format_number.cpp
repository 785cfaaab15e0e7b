// How the Windows runtime spells numbers where C leaves a choice or says otherwise: exponents have
// three digits, ties round away from zero, and what is not finite is rounded like a row of digits.
#include "platform/format_number.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <span>

namespace qmsd::platform {
namespace {

constexpr int kUsualPrecision = 6;
constexpr int kMantissaDigits = 13;  // hexadecimal, behind the point
constexpr int kMantissaBits = 52;

bool is_upper(char32_t type) { return type >= 'A' && type <= 'Z'; }

// Places behind the binary point, below 0 for multiples of 2.
int binary_places(double magnitude) {
  const auto bits = std::bit_cast<std::uint64_t>(magnitude);
  const std::uint64_t fraction = bits & ((std::uint64_t{1} << kMantissaBits) - 1);
  const int biased = static_cast<int>(bits >> kMantissaBits);
  const std::uint64_t mantissa =
      biased == 0 ? fraction : fraction | std::uint64_t{1} << kMantissaBits;
  const int lowest_place = 1074 - std::max(biased - 1, 0);
  return lowest_place - std::countr_zero(mantissa);
}

// Whether the number may lie half way between two decimals of so many places, which to_chars()
// rounds to even. Such a tie has exactly one binary place more; in front of the decimal point not
// every number that has is one.
bool may_be_tie(double magnitude, int places) {
  return magnitude != 0 && binary_places(magnitude) == places + 1;
}

// Adds one in the last place. True on overflow: the digits were all nines and are zeros now.
bool increment(std::span<char> digits) {
  for (std::size_t at = digits.size(); at-- > 0;) {
    char& digit = digits[at];
    if (digit == '.') continue;
    if (digit != '9') {
      ++digit;
      return false;
    }
    digit = '0';
  }
  return true;
}

}  // namespace

void NumberText::add_prefix(std::string_view text) noexcept {
  prefix_length_ += text.copy(prefix_ + prefix_length_, text.size());
}

void NumberText::add_sign(const Conversion& conversion, bool negative) noexcept {
  if (negative) {
    add_prefix("-");
  } else if (conversion.plus) {
    add_prefix("+");
  } else if (conversion.blank) {
    add_prefix(" ");
  }
}

void NumberText::set_digits(std::uint64_t value, unsigned base, bool upper) noexcept {
  const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  char reversed[22];  // octal
  std::size_t count = 0;
  for (; value != 0; value /= base) reversed[count++] = digits[value % base];
  std::reverse_copy(reversed, reversed + count, body_);
  body_length_ = count;
}

void NumberText::set_integer(const Conversion& conversion, std::uint64_t magnitude,
                             bool negative) noexcept {
  const bool has_sign = conversion.type == 'd' || conversion.type == 'i';
  const bool octal = conversion.type == 'o';
  const bool hexadecimal = conversion.type == 'x' || conversion.type == 'X';
  if (has_sign) add_sign(conversion, negative);
  set_digits(magnitude, octal ? 8 : hexadecimal ? 16 : 10, conversion.type == 'X');
  const auto least = static_cast<std::size_t>(conversion.precision < 0 ? 1 : conversion.precision);
  if (least > body_length_) leading_zeros_ = least - body_length_;
  if (!conversion.alternate || magnitude == 0) return;
  if (hexadecimal) add_prefix(conversion.type == 'X' ? "0X" : "0x");
  if (octal && leading_zeros_ == 0) leading_zeros_ = 1;
}

// A pointer is text: its precision cuts it.
void NumberText::set_pointer(const Conversion& conversion, const void* pointer) noexcept {
  constexpr std::size_t kDigits = 2 * sizeof(void*);
  const auto address = reinterpret_cast<std::uintptr_t>(pointer);
  if (conversion.alternate && address != 0) {
    add_body('0');
    add_body('X');
  }
  for (std::size_t digit = kDigits; digit-- > 0;) {
    add_body("0123456789ABCDEF"[address >> (4 * digit) & 0xF]);
  }
  if (conversion.precision >= 0) {
    body_length_ = std::min(body_length_, static_cast<std::size_t>(conversion.precision));
  }
}

void NumberText::set_exponent(char letter, int exponent, std::size_t least_digits) noexcept {
  char digits[4];
  char* end = std::to_chars(digits, digits + sizeof digits, std::abs(exponent)).ptr;
  const auto count = static_cast<std::size_t>(end - digits);
  char* to = suffix_;
  *to++ = letter;
  *to++ = exponent < 0 ? '-' : '+';
  if (least_digits > count) to = std::fill_n(to, least_digits - count, '0');
  suffix_length_ = static_cast<std::size_t>(std::copy(digits, end, to) - suffix_);
}

// Rounds the body, which holds all digits of the number, to so many places; ties go away from zero.
// True on overflow: only zeros are left, and a one has to come in front of them.
bool NumberText::round_body(int places) noexcept {
  const std::size_t point = body().find('.');
  const std::size_t end = point + 1 + static_cast<std::size_t>(places);
  const bool up = body_[end] >= '5';
  body_length_ = places == 0 ? point : end;
  return up && increment({body_, body_length_});
}

void NumberText::set_fixed(double magnitude, int precision, bool point) noexcept {
  const int digits = std::min(precision, kMaxDigits);
  const bool tie = may_be_tie(magnitude, digits);
  const char* end = std::to_chars(body_, body_ + sizeof body_, magnitude, std::chars_format::fixed,
                                  tie ? digits + 1 : digits)
                        .ptr;
  body_length_ = static_cast<std::size_t>(end - body_);
  if (tie && round_body(digits)) {
    std::copy_backward(body_, body_ + body_length_, body_ + body_length_ + 1);
    body_[0] = '1';
    ++body_length_;
  }
  trailing_zeros_ = static_cast<std::size_t>(precision - digits);
  if (precision == 0 && point) add_body('.');
}

// Returns the decimal exponent.
int NumberText::set_scientific_body(double magnitude, int digits) noexcept {
  const char* end =
      std::to_chars(body_, body_ + sizeof body_, magnitude, std::chars_format::scientific, digits)
          .ptr;
  const char* letter = std::find(body_, body_ + sizeof body_, 'e');
  const char* number = letter[1] == '+' ? letter + 2 : letter + 1;
  int exponent = 0;
  std::from_chars(number, end, exponent);
  body_length_ = static_cast<std::size_t>(letter - body_);
  return exponent;
}

// Returns the decimal exponent.
int NumberText::set_scientific(double magnitude, int precision, bool point) noexcept {
  const int digits = std::min(precision, kMaxDigits);
  int exponent = set_scientific_body(magnitude, digits);
  if (may_be_tie(magnitude, digits - exponent)) {
    // All its digits: one more behind the decimal point, or else all that are in front of it.
    exponent = set_scientific_body(magnitude, std::max(digits + 1, exponent));
    if (round_body(digits)) {
      body_[0] = '1';
      ++exponent;
    }
  }
  trailing_zeros_ = static_cast<std::size_t>(precision - digits);
  if (precision == 0 && point) add_body('.');
  return exponent;
}

void NumberText::drop_trailing_zeros() noexcept {
  trailing_zeros_ = 0;
  if (body().find('.') == std::string_view::npos) return;
  while (body_[body_length_ - 1] == '0') --body_length_;
  if (body_[body_length_ - 1] == '.') --body_length_;
}

// %g: whichever of the other two is shorter.
void NumberText::set_shorter(const Conversion& conversion, double magnitude,
                             int precision) noexcept {
  const int digits = std::max(precision, 1);
  const int exponent = set_scientific(magnitude, digits - 1, conversion.alternate);
  if (exponent < -4 || exponent >= digits) {
    set_exponent(conversion.type == 'G' ? 'E' : 'e', exponent, 3);
  } else {
    set_fixed(magnitude, digits - 1 - exponent, conversion.alternate);
  }
  if (!conversion.alternate) drop_trailing_zeros();
}

void NumberText::set_hexadecimal(const Conversion& conversion, double magnitude) noexcept {
  const auto bits = std::bit_cast<std::uint64_t>(magnitude);
  const int biased = static_cast<int>(bits >> kMantissaBits);
  const int exponent = magnitude == 0 ? 0 : std::max(biased, 1) - 1023;
  std::uint64_t mantissa = bits & ((std::uint64_t{1} << kMantissaBits) - 1);
  if (biased != 0) mantissa |= std::uint64_t{1} << kMantissaBits;

  const int precision = conversion.precision < 0 ? kMantissaDigits : conversion.precision;
  const int digits = std::min(precision, kMantissaDigits);
  if (const int dropped = 4 * (kMantissaDigits - digits); dropped != 0) {
    mantissa = (mantissa + (std::uint64_t{1} << (dropped - 1))) >> dropped;
  }
  const bool upper = conversion.type == 'A';
  const char* hexadecimal = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  add_prefix(upper ? "0X" : "0x");
  for (int digit = digits; digit >= 0; --digit) {
    add_body(hexadecimal[mantissa >> (4 * digit) & 0xF]);
    if (digit == digits && (precision != 0 || conversion.alternate)) add_body('.');
  }
  trailing_zeros_ = static_cast<std::size_t>(precision - digits);
  set_exponent(upper ? 'P' : 'p', exponent, 1);
}

// Infinity is "1.#INF" with as many places as the precision asks for, filled with zeros or rounded.
void NumberText::set_special(const Conversion& conversion, double value) noexcept {
  const char32_t kind = conversion.type | 0x20;
  const bool upper = is_upper(conversion.type);
  const std::string_view digits = std::isinf(value)     ? "#INF"
                                  : std::signbit(value) ? "#IND"
                                                        : "#QNAN";
  std::size_t places = digits.size();
  if (kind != 'g') {
    const int usual = kind == 'a' ? kMantissaDigits : kUsualPrecision;
    places = static_cast<std::size_t>(conversion.precision < 0 ? usual : conversion.precision);
  } else if (conversion.precision > 0) {
    places = static_cast<std::size_t>(conversion.precision - 1);
    if (!conversion.alternate) places = std::min(places, digits.size());
  }
  if (kind == 'a') add_prefix(upper ? "0X" : "0x");
  add_body('1');
  if (places != 0) add_body('.');
  for (const char digit : digits.substr(0, places)) add_body(digit);
  if (places < digits.size() && digits[places] >= '5') ++body_[body_length_ - 1];
  if (places > digits.size()) trailing_zeros_ = places - digits.size();
  if (kind == 'e') set_exponent(upper ? 'E' : 'e', 0, 3);
  if (kind == 'a') set_exponent(upper ? 'P' : 'p', 0, 1);
}

void NumberText::set_floating(const Conversion& conversion, double value) noexcept {
  const double magnitude = std::fabs(value);
  const int precision = conversion.precision < 0 ? kUsualPrecision : conversion.precision;
  add_sign(conversion, std::signbit(value));
  if (!std::isfinite(value)) return set_special(conversion, value);
  switch (conversion.type | 0x20) {
    case 'e': {
      const int exponent = set_scientific(magnitude, precision, conversion.alternate);
      return set_exponent(is_upper(conversion.type) ? 'E' : 'e', exponent, 3);
    }
    case 'f':
      return set_fixed(magnitude, precision, conversion.alternate);
    case 'g':
      return set_shorter(conversion, magnitude, precision);
    default:
      return set_hexadecimal(conversion, magnitude);
  }
}

}  // namespace qmsd::platform
