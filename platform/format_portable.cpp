#include "platform/format_portable.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "platform/format_conversion.h"
#include "platform/format_number.h"
#include "platform/multibyte.h"

namespace qmsd::platform {
namespace {

// The caller's buffer: takes what fits and remembers whether that was all.
template <class Char>
class Output {
 public:
  Output(Char* buffer, std::size_t length) noexcept
      : begin_(buffer), at_(buffer), end_(buffer + length - 1) {}

  bool good() const noexcept { return good_; }
  void fail() noexcept { good_ = false; }

  // Characters of either kind; the other kind's are ASCII here.
  template <class Any>
  void put(const Any* text, std::size_t length) noexcept {
    at_ = std::transform(text, text + fitting(length), at_,
                         [](Any character) { return static_cast<Char>(character); });
  }
  void put(std::string_view text) noexcept { put(text.data(), text.size()); }
  void fill(char character, std::size_t count) noexcept {
    at_ = std::fill_n(at_, fitting(count), static_cast<Char>(character));
  }
  // All or nothing, for the units of one character.
  void put_whole(const Char* text, std::size_t length) noexcept {
    if (length > static_cast<std::size_t>(end_ - at_)) fail();
    if (good_) put(text, length);
  }

  int finish() noexcept {
    *at_ = 0;
    return good_ ? static_cast<int>(at_ - begin_) : -1;
  }

 private:
  std::size_t fitting(std::size_t wanted) noexcept {
    if (!good_) return 0;
    const auto room = static_cast<std::size_t>(end_ - at_);
    if (wanted > room) good_ = false;
    return std::min(wanted, room);
  }

  Char* const begin_;
  Char* at_;
  Char* const end_;  // the terminator's last place
  bool good_ = true;
};

// Owns a copy of the list: a va_list is an array on some systems and cannot be passed by reference.
class Arguments {
 public:
  explicit Arguments(va_list list) noexcept { va_copy(list_, list); }
  ~Arguments() { va_end(list_); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  template <class T>
  T next() noexcept {
    return va_arg(list_, T);
  }

  std::int64_t next_signed(ArgumentSize size) noexcept {
    switch (size) {
      case ArgumentSize::half:
        return static_cast<short>(next<int>());
      case ArgumentSize::longer:
        return next<long>();
      case ArgumentSize::long_long:
      case ArgumentSize::bits64:
        return next<std::int64_t>();
      case ArgumentSize::pointer:
        return next<std::intptr_t>();
      default:
        return next<int>();
    }
  }

  std::uint64_t next_unsigned(ArgumentSize size) noexcept {
    switch (size) {
      case ArgumentSize::half:
        return static_cast<unsigned short>(next<unsigned>());
      case ArgumentSize::longer:
        return next<unsigned long>();
      case ArgumentSize::long_long:
      case ArgumentSize::bits64:
        return next<std::uint64_t>();
      case ArgumentSize::pointer:
        return next<std::uintptr_t>();
      default:
        return next<unsigned>();
    }
  }

 private:
  va_list list_;
};

WideCharacter convert(const char* text, std::size_t length) {
  return widen_character(text, length);
}
NarrowCharacter convert(const qm_wchar* text, std::size_t length) {
  return narrow_character(text, length);
}
const qm_wchar* begin_of(const WideCharacter& character) { return character.units; }
const char* begin_of(const NarrowCharacter& character) { return character.bytes; }

template <class Char>
class Formatter {
  using Other = std::conditional_t<std::is_same_v<Char, char>, qm_wchar, char>;

 public:
  Formatter(Char* buffer, std::size_t length, va_list arguments) noexcept
      : output_(buffer, length), arguments_(arguments) {}

  int format(const Char* at) noexcept {
    while (*at != 0 && output_.good()) {
      const Char* percent = at;
      while (*percent != 0 && *percent != '%') ++percent;
      output_.put(at, static_cast<std::size_t>(percent - at));
      at = percent;
      if (*at == 0) break;
      if (*++at == '%') {
        output_.put(at++, 1);
      } else {
        print(with_arguments(read_conversion(at)));
      }
    }
    return output_.finish();
  }

 private:
  Conversion with_arguments(Conversion conversion) noexcept {
    if (conversion.width_from_argument) {
      const int width = arguments_.next<int>();
      conversion.left |= width < 0;
      conversion.width = width >= 0 ? width : width == INT_MIN ? INT_MAX : -width;
    }
    if (conversion.precision_from_argument) {
      conversion.precision = std::max(arguments_.next<int>(), -1);
    }
    return conversion;
  }

  void print(const Conversion& conversion) noexcept {
    const char32_t type = conversion.type;
    if (is_integer_type(type)) return print_integer(conversion);
    if (is_floating_type(type)) {
      NumberText number;
      number.set_floating(conversion, arguments_.next<double>());
      return print_number(conversion, number);
    }
    switch (type) {
      case 0:
      case '%':
        return;
      case 'c':
      case 'C':
        return print_character(conversion);
      case 's':
      case 'S':
        return is_own_kind(conversion) ? print_text(conversion, arguments_.next<const Char*>())
                                       : print_text(conversion, arguments_.next<const Other*>());
      case 'p':
        return print_pointer(conversion);
      case 'n':  // would write to memory that a mere text names
        arguments_.next<void*>();
        return;
      default: {
        const auto unknown = static_cast<Char>(type);
        output_.put(&unknown, 1);
      }
    }
  }

  void print_integer(const Conversion& conversion) noexcept {
    NumberText number;
    if (conversion.type == 'd' || conversion.type == 'i') {
      const std::int64_t value = arguments_.next_signed(conversion.size);
      const auto bits = static_cast<std::uint64_t>(value);
      number.set_integer(conversion, value < 0 ? 0 - bits : bits, value < 0);
    } else {
      number.set_integer(conversion, arguments_.next_unsigned(conversion.size), false);
    }
    print_number(conversion, number);
  }

  void print_pointer(Conversion conversion) noexcept {
    NumberText number;
    number.set_pointer(conversion, arguments_.next<const void*>());
    conversion.zeros = false;
    print_number(conversion, number);
  }

  void print_number(const Conversion& conversion, const NumberText& number) noexcept {
    const std::size_t padding = padding_for(conversion, number.length());
    const bool zeros = conversion.zeros && !conversion.left;
    if (!zeros && !conversion.left) output_.fill(' ', padding);
    output_.put(number.prefix());
    if (zeros) output_.fill('0', padding);
    output_.fill('0', number.leading_zeros());
    output_.put(number.body());
    output_.fill('0', number.trailing_zeros());
    output_.put(number.suffix());
    if (conversion.left) output_.fill(' ', padding);
  }

  static std::size_t padding_for(const Conversion& conversion, std::size_t length) noexcept {
    const auto width = static_cast<std::size_t>(conversion.width);
    return width > length ? width - length : 0;
  }

  // Whether text is of the format's own kind: by its size, else by the letter's case.
  static bool is_own_kind(const Conversion& conversion) noexcept {
    constexpr bool kWideFormat = !std::is_same_v<Char, char>;
    switch (conversion.size) {
      case ArgumentSize::half:
        return !kWideFormat;
      case ArgumentSize::longer:
      case ArgumentSize::wide:
        return kWideFormat;
      default:
        return conversion.type == 'c' || conversion.type == 's';
    }
  }

  void print_character(const Conversion& conversion) noexcept {
    const int argument = arguments_.next<int>();
    if (is_own_kind(conversion)) {
      const auto character = static_cast<Char>(argument);
      return print_padded(conversion, &character, 1);
    }
    const auto other = static_cast<Other>(argument);
    // A character that cannot be converted prints as nothing, which is no failure.
    print_padded(conversion, &other, convert(&other, 1).taken);
  }

  template <class Any>
  void print_text(const Conversion& conversion, const Any* text) noexcept {
    if (text == nullptr) return print_padded(conversion, "(null)", 6);
    std::size_t length = 0;
    const auto limit =
        conversion.precision < 0 ? SIZE_MAX : static_cast<std::size_t>(conversion.precision);
    while (length < limit && text[length] != 0) ++length;
    print_padded(conversion, text, length);
  }

  // Width and precision count the characters of the argument, whatever they become.
  template <class Any>
  void print_padded(const Conversion& conversion, const Any* text, std::size_t length) noexcept {
    if (conversion.precision >= 0) {
      length = std::min(length, static_cast<std::size_t>(conversion.precision));
    }
    const std::size_t padding = padding_for(conversion, length);
    if (!conversion.left) output_.fill(conversion.zeros ? '0' : ' ', padding);
    if constexpr (std::is_same_v<Any, Char>) {
      output_.put(text, length);
    } else {
      put_converted(text, length);
    }
    if (conversion.left) output_.fill(' ', padding);
  }

  void put_converted(const Other* text, std::size_t length) noexcept {
    while (length != 0 && output_.good()) {
      const auto character = convert(text, length);
      if (character.taken == 0) return output_.fail();
      output_.put_whole(begin_of(character), character.made);
      text += character.taken;
      length -= character.taken;
    }
  }

  Output<Char> output_;
  Arguments arguments_;
};

}  // namespace

int format_portable(qm_wchar* buffer, std::size_t length, const qm_wchar* format,
                    va_list arguments) {
  return Formatter<qm_wchar>(buffer, length, arguments).format(format);
}

int format_portable(char* buffer, std::size_t length, const char* format, va_list arguments) {
  return Formatter<char>(buffer, length, arguments).format(format);
}

}  // namespace qmsd::platform
