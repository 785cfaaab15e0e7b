// Reads the conversions of a printf format, the way the Windows runtime reads them.
#pragma once

#include <limits>

namespace qmsd::platform {

enum class ArgumentSize : char {
  usual,
  half,       // h
  longer,     // l: a long
  long_long,  // ll
  wide,       // w: text and characters only
  pointer,    // I, z, t: as wide as an address
  bits32,     // I32
  bits64,     // I64, j
};

struct Conversion {
  bool left = false;       // -
  bool plus = false;       // +
  bool blank = false;      // space
  bool zeros = false;      // 0
  bool alternate = false;  // #
  bool width_from_argument = false;
  bool precision_from_argument = false;
  int width = 0;
  int precision = -1;  // -1: none given
  ArgumentSize size = ArgumentSize::usual;
  char32_t type = 0;  // 0: the format ended within the conversion
};

constexpr bool is_integer_type(char32_t type) noexcept {
  return type == 'd' || type == 'i' || type == 'o' || type == 'u' || type == 'x' || type == 'X';
}

constexpr bool is_floating_type(char32_t type) noexcept {
  const char32_t lower = type | 0x20;
  return lower == 'e' || lower == 'f' || lower == 'g' || lower == 'a';
}

// `at` lies behind the '%' and is moved behind the conversion. A '%' that ends a conversion is left
// there: it begins the next one.
template <class Char>
class ConversionReader {
 public:
  explicit constexpr ConversionReader(const Char*& at) noexcept : at_(at) {}

  constexpr Conversion read() noexcept {
    while (read_flag()) ++at_;
    result_.width_from_argument = skip('*');
    if (!result_.width_from_argument) result_.width = read_number();
    if (skip('.')) {
      result_.precision_from_argument = skip('*');
      if (!result_.precision_from_argument) result_.precision = read_number();
    }
    while (read_size()) {
    }
    result_.type = static_cast<char32_t>(*at_);
    if (*at_ != 0 && *at_ != '%') ++at_;
    return result_;
  }

 private:
  constexpr bool skip(char wanted) noexcept {
    if (*at_ != static_cast<Char>(wanted)) return false;
    ++at_;
    return true;
  }

  constexpr bool read_flag() noexcept {
    switch (*at_) {
      case '-':
        return result_.left = true;
      case '+':
        return result_.plus = true;
      case ' ':
        return result_.blank = true;
      case '0':
        return result_.zeros = true;
      case '#':
        return result_.alternate = true;
      default:
        return false;
    }
  }

  // Numbers too large to mean anything stay the largest.
  constexpr int read_number() noexcept {
    constexpr int kLargest = std::numeric_limits<int>::max();
    int number = 0;
    for (; *at_ >= '0' && *at_ <= '9'; ++at_) {
      const int digit = static_cast<int>(*at_) - '0';
      number = number > (kLargest - digit) / 10 ? kLargest : number * 10 + digit;
    }
    return number;
  }

  constexpr bool set_size(ArgumentSize size, int characters) noexcept {
    result_.size = size;
    at_ += characters;
    return true;
  }

  constexpr bool read_size() noexcept {
    switch (*at_) {
      case 'h':
        return set_size(ArgumentSize::half, 1);
      case 'l':
        return set_size(
            result_.size == ArgumentSize::longer || result_.size == ArgumentSize::long_long
                ? ArgumentSize::long_long
                : ArgumentSize::longer,
            1);
      case 'w':
        return set_size(ArgumentSize::wide, 1);
      case 'j':
        return set_size(ArgumentSize::bits64, 1);
      case 'L':  // the runtime's long double is its double
      case 'N':  // from the time of near and far pointers
        return set_size(result_.size, 1);
      case 'I':
        if (at_[1] == '6' && at_[2] == '4') return set_size(ArgumentSize::bits64, 3);
        if (at_[1] == '3' && at_[2] == '2') return set_size(ArgumentSize::bits32, 3);
        [[fallthrough]];
      case 'z':
      case 't':
        return is_integer_type(static_cast<char32_t>(at_[1])) && set_size(ArgumentSize::pointer, 1);
      default:
        return false;
    }
  }

  const Char*& at_;
  Conversion result_;
};

template <class Char>
constexpr Conversion read_conversion(const Char*& at) noexcept {
  return ConversionReader<Char>(at).read();
}

}  // namespace qmsd::platform
