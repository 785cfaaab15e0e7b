// The interpreter of the format language, and the default forms written out: nearly all that is
// printed is in one of these.
#include "variant/time/format.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>

#include "services/text/digits.h"

namespace qmsd {
namespace {

constexpr int kMaxWidth = 9;

// Both mean something only for a value with a time.
int seconds_of_day(DateTime value) {
  return static_cast<int>(value.time_of_day() / kMicrosecondsPerSecond);
}
int microseconds_of_second(DateTime value) {
  return static_cast<int>(value.time_of_day() % kMicrosecondsPerSecond);
}

// A bounded buffer that keeps room for its terminator.
class Output {
 public:
  explicit Output(std::span<char> buffer) : room_(buffer.first(buffer.size() - 1)) {}

  void put(char character) {
    if (length_ < room_.size()) room_[length_++] = character;
  }
  void put(std::string_view text) {
    length_ += text.copy(room_.data() + length_, room_.size() - length_);
  }
  void repeat(char character, std::size_t count) {
    count = std::min(count, room_.size() - length_);
    std::fill_n(room_.data() + length_, count, character);
    length_ += count;
  }
  std::size_t finish() {
    room_.data()[length_] = 0;
    return length_;
  }

 private:
  std::span<char> room_;
  std::size_t length_ = 0;
};

struct Conversion {
  std::string_view text;  // as written, from the percent sign on
  std::size_t width;
  bool zero_padded;
  char letter;  // 0 when the format ends before it
};

// `format` begins with a percent sign.
Conversion read_conversion(std::string_view format) {
  int width = 0;
  std::size_t at = 1;
  for (; at < format.size() && is_digit(format[at]); ++at) {
    width = std::min(width * 10 + digit_value(format[at]), kMaxWidth);
  }
  const bool ended = at == format.size();
  return {format.substr(0, ended ? at : at + 1), static_cast<std::size_t>(width),
          format.size() > 1 && format[1] == '0', ended ? '\0' : format[at]};
}

struct Part {
  int number;
  bool is_present;
};

// What the letter prints; nothing for one that stands for no number.
std::optional<Part> part_of(DateTime value, char letter) {
  switch (letter) {
    case 'c':
      return Part{value.century(), value.century() != DateTime::kNoCentury};
    case 'y':
      return Part{value.year_of_century(), value.year_of_century() != DateTime::kNoYearOfCentury};
    case 'Y':
      return Part{value.year(), value.has_year()};
    case 'm':
      return Part{value.month(), value.month() != DateTime::kNoMonth};
    case 'd':
      return Part{value.day(), value.day() != DateTime::kNoDay};
    case 'H':
      return Part{seconds_of_day(value) / 3600, value.has_time()};
    case 'M':
      return Part{seconds_of_day(value) / 60 % 60, value.has_time()};
    case 'S':
      return Part{seconds_of_day(value) % 60, value.has_time()};
    default:
      return std::nullopt;
  }
}

void put_number(Output& output, const Conversion& conversion, int number) {
  char text[12];
  const char* end = std::to_chars(text, text + sizeof text, number).ptr;
  std::string_view digits(text, static_cast<std::size_t>(end - text));
  const std::size_t padding = conversion.width - std::min(conversion.width, digits.size());
  if (!conversion.zero_padded) {
    output.repeat(' ', padding);
  } else {
    if (number < 0) {
      output.put('-');
      digits.remove_prefix(1);
    }
    output.repeat('0', padding);
  }
  output.put(digits);
}

void put_fraction(Output& output, const Conversion& conversion, DateTime value, char fill) {
  if (!value.has_time()) return output.repeat(fill, conversion.width);
  char digits[] = "000000000";
  int microseconds = microseconds_of_second(value);
  for (int place = 5; place >= 0; --place, microseconds /= 10) {
    digits[place] = static_cast<char>('0' + microseconds % 10);
  }
  output.put(std::string_view(digits).substr(0, conversion.width == 0 ? 3 : conversion.width));
}

void put_conversion(Output& output, const Conversion& conversion, DateTime value, char fill) {
  if (conversion.letter == '%') return output.put('%');
  if (conversion.letter == 'Z') return put_fraction(output, conversion, value, fill);
  const auto part = part_of(value, conversion.letter);
  if (!part) return output.put(conversion.text);
  if (!part->is_present) return output.repeat(fill, conversion.width);
  put_number(output, conversion, part->number);
}

// Whether no part of the default form takes more places than its width.
bool has_usual_width(DateTime value) {
  return value.century() >= 0 && value.century() < 100 &&
         (value.year_of_century() < 100 || value.year_of_century() == DateTime::kNoYearOfCentury);
}

char* write_two_digits(char* to, int number) {
  to[0] = static_cast<char>('0' + number / 10);
  to[1] = static_cast<char>('0' + number % 10);
  return to + 2;
}

char* write_part(char* to, int number, int absent) {
  if (number != absent) return write_two_digits(to, number);
  return std::fill_n(to, 2, kUnknownDigit);
}

char* write_date(char* to, DateTime value) {
  to = write_part(to, value.century(), DateTime::kNoCentury);
  to = write_part(to, value.year_of_century(), DateTime::kNoYearOfCentury);
  *to++ = '-';
  to = write_part(to, value.month(), DateTime::kNoMonth);
  *to++ = '-';
  return write_part(to, value.day(), DateTime::kNoDay);
}

char* write_time(char* to, DateTime value) {
  const int seconds = seconds_of_day(value);
  const int milliseconds = microseconds_of_second(value) / 1000;
  to = write_two_digits(to, seconds / 3600);
  *to++ = ':';
  to = write_two_digits(to, seconds / 60 % 60);
  *to++ = ':';
  to = write_two_digits(to, seconds % 60);
  *to++ = '.';
  *to++ = static_cast<char>('0' + milliseconds / 100);
  return write_two_digits(to, milliseconds % 100);
}

}  // namespace

std::size_t format_date_time(DateTime value, std::string_view format, std::span<char> buffer,
                             char fill) noexcept {
  if (buffer.empty()) return 0;
  Output output(buffer);
  while (!format.empty()) {
    if (format.front() != '%') {
      output.put(format.front());
      format.remove_prefix(1);
    } else {
      const Conversion conversion = read_conversion(format);
      put_conversion(output, conversion, value, fill);
      format.remove_prefix(conversion.text.size());
    }
  }
  return output.finish();
}

std::size_t print_date_time(DateTime value, std::span<char> buffer) noexcept {
  if (buffer.size() < kDefaultFormSize || !has_usual_width(value)) {
    return format_date_time(value, default_form(value), buffer);
  }
  char* to = buffer.data();
  if (value.has_date()) to = write_date(to, value);
  if (value.has_date() && value.has_time()) *to++ = ' ';
  if (value.has_time()) to = write_time(to, value);
  *to = 0;
  return static_cast<std::size_t>(to - buffer.data());
}

}  // namespace qmsd
