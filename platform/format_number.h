// Numbers as printf spells them, before they are padded to their width. All of it is ASCII.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/format_conversion.h"

namespace qmsd::platform {

// A number in pieces, so that a precision of millions needs no memory:
// prefix, leading zeros, body, trailing zeros, suffix.
class NumberText {
 public:
  std::string_view prefix() const noexcept { return {prefix_, prefix_length_}; }
  std::size_t leading_zeros() const noexcept { return leading_zeros_; }
  std::string_view body() const noexcept { return {body_, body_length_}; }
  std::size_t trailing_zeros() const noexcept { return trailing_zeros_; }
  std::string_view suffix() const noexcept { return {suffix_, suffix_length_}; }
  std::size_t length() const noexcept {
    return prefix_length_ + leading_zeros_ + body_length_ + trailing_zeros_ + suffix_length_;
  }

  void set_integer(const Conversion& conversion, std::uint64_t magnitude, bool negative) noexcept;
  void set_pointer(const Conversion& conversion, const void* pointer) noexcept;
  void set_floating(const Conversion& conversion, double value) noexcept;

 private:
  // The digits of a double end before: 309 in front of the point, 1074 behind it.
  static constexpr int kMaxDigits = 1080;

  void add_prefix(std::string_view text) noexcept;
  void add_sign(const Conversion& conversion, bool negative) noexcept;
  void add_body(char character) noexcept { body_[body_length_++] = character; }
  void set_digits(std::uint64_t value, unsigned base, bool upper) noexcept;
  void set_exponent(char letter, int exponent, std::size_t least_digits) noexcept;

  void set_special(const Conversion& conversion, double value) noexcept;
  void set_hexadecimal(const Conversion& conversion, double magnitude) noexcept;
  void set_fixed(double magnitude, int precision, bool point) noexcept;
  int set_scientific(double magnitude, int precision, bool point) noexcept;
  int set_scientific_body(double magnitude, int digits) noexcept;
  bool round_body(int places) noexcept;
  void set_shorter(const Conversion& conversion, double magnitude, int precision) noexcept;
  void drop_trailing_zeros() noexcept;

  std::size_t prefix_length_ = 0;
  std::size_t leading_zeros_ = 0;
  std::size_t body_length_ = 0;
  std::size_t trailing_zeros_ = 0;
  std::size_t suffix_length_ = 0;
  char prefix_[4];
  char suffix_[8];
  char body_[kMaxDigits + 320];
};

}  // namespace qmsd::platform
