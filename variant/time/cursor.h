// A place in a text that is being recognised.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "services/text/digits.h"

namespace qmsd {

// Reads from the front of a text. What does not match is not read.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : text_(text) {}

  std::size_t position() const { return at_; }
  std::size_t count_digits() const {
    std::size_t count = 0;
    while (has_digit(at_ + count)) ++count;
    return count;
  }
  // Gives the character that was skipped, 0 if it is none of these.
  char skip_one_of(std::string_view wanted) {
    if (at_ == text_.size() || wanted.find(text_[at_]) == std::string_view::npos) return '\0';
    return text_[at_++];
  }
  bool skip(std::string_view wanted) {
    if (!text_.substr(at_).starts_with(wanted)) return false;
    at_ += wanted.size();
    return true;
  }
  std::optional<int> number(std::size_t digits, int low, int high) {
    int value = 0;
    for (std::size_t i = 0; i < digits; ++i) {
      if (!has_digit(at_ + i)) return std::nullopt;
      value = value * 10 + digit_value(text_[at_ + i]);
    }
    if (value < low || value > high) return std::nullopt;
    at_ += digits;
    return value;
  }

 private:
  bool has_digit(std::size_t at) const { return at < text_.size() && is_digit(text_[at]); }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace qmsd
