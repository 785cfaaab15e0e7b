// One look at each character of a text that lies in fixed columns once its year is known.
#include "variant/time/parse.h"

#include <cstddef>
#include <cstdint>

#include "services/text/digits.h"
#include "variant/time/calendar.h"

namespace qmsd {
namespace {

constexpr std::size_t kMaxYearPlaces = 4;
constexpr int kUnknown = -1;

bool is_place(char character) { return is_digit(character) || character == kUnknownDigit; }

// The characters of the text by position; past its end nothing reads as a digit or a separator.
class Characters {
 public:
  explicit Characters(std::string_view text) : text_(text) {}

  char operator[](std::size_t at) const { return at < text_.size() ? text_[at] : '\0'; }
  int digit(std::size_t at) const { return digit_value((*this)[at]); }

  std::size_t places_from(std::size_t at) const {
    std::size_t count = 0;
    while (is_place((*this)[at + count])) ++count;
    return count;
  }
  // The number of two places, unknown when either of them is.
  int pair(std::size_t at) const {
    if (!is_digit((*this)[at]) || !is_digit((*this)[at + 1])) return kUnknown;
    return digit(at) * 10 + digit(at + 1);
  }
  // The number of two digits that nothing of the same kind follows; unknown above the limit.
  int clock_pair(std::size_t at, int limit) const {
    const int number = pair(at);
    return number > limit || is_digit((*this)[at + 2]) ? kUnknown : number;
  }

 private:
  std::string_view text_;
};

void set_year(DateTime& value, const Characters& text, std::size_t places) {
  if (places == 1) {
    if (is_digit(text[0])) value.set_year_of_century(text.digit(0));
    return;
  }
  const std::size_t before_pair = places - 2;
  if (const int year = text.pair(before_pair); year != kUnknown) value.set_year_of_century(year);
  if (before_pair == 1 && is_digit(text[0])) value.set_century(text.digit(0));
  if (before_pair == 2 && text.pair(0) != kUnknown) value.set_century(text.pair(0));
}

bool has_date_layout(const Characters& text, std::size_t places) {
  return places >= 1 && places <= kMaxYearPlaces && text.places_from(places + 1) == 2 &&
         text[places + 3] == '-' && text.places_from(places + 4) == 2;
}

// False for a date that cannot be.
bool read_date(DateTime& value, const Characters& text, std::size_t places) {
  if (!has_date_layout(text, places)) return false;
  const int month = text.pair(places + 1);
  const int day = text.pair(places + 4);
  if (month > 12) return false;
  // Without a month 31 days are possible.
  if (day > (month < 1 ? 31 : longest_month_length(month))) return false;
  set_year(value, text, places);
  if (month != kUnknown) value.set_month(month);
  if (day != kUnknown) value.set_day(day);
  return true;
}

// The digits behind a decimal point, as microseconds.
std::int64_t read_fraction(const Characters& text, std::size_t at) {
  std::int64_t fraction = 0;
  for (std::int64_t unit = kMicrosecondsPerSecond / 10; unit != 0 && is_digit(text[at]); ++at) {
    fraction += text.digit(at) * unit;
    unit /= 10;
  }
  return fraction;
}

void read_time(DateTime& value, const Characters& text, std::size_t at) {
  const int hours = text.pair(at);
  if (hours == kUnknown || hours > 23 || text[at + 2] != ':') return;
  const int minutes = text.clock_pair(at + 3, 59);
  if (minutes == kUnknown) return;
  std::int64_t time = std::int64_t{hours * 60 + minutes} * 60 * kMicrosecondsPerSecond;
  const int seconds = text[at + 5] == ':' ? text.clock_pair(at + 6, 59) : kUnknown;
  if (seconds != kUnknown) {
    time += seconds * kMicrosecondsPerSecond;
    if (text[at + 8] == '.') time += read_fraction(text, at + 9);
  }
  value.set_time_of_day(time);
}

}  // namespace

DateTime parse_date_time(std::string_view text) noexcept {
  DateTime value;
  const Characters characters(text.substr(0, text.find('\0')));
  const std::size_t places = characters.places_from(0);
  std::size_t time = 0;
  if (characters[places] == '-') {
    if (!read_date(value, characters, places)) return {};
    time = places + 7;
  }
  read_time(value, characters, time);
  return value;
}

}  // namespace qmsd
