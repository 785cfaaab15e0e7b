// Any bytes through the parser of the default form: it reads nothing behind the text, gives only
// values that can be printed, and reads what is printed as the same value.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "variant/time/calendar.h"
#include "variant/time/format.h"
#include "variant/time/parse.h"

using namespace qmsd;

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

bool is_possible(DateTime value) {
  const int month = value.month();
  return value.century() >= 0 && value.century() <= 99 && month <= 12 &&
         value.day() <= (month == DateTime::kNoMonth ? 31 : longest_month_length(month)) &&
         (!value.has_time() || value.time_of_day() < kMicrosecondsPerDay);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);  // its end is guarded by the sanitizer
  const DateTime value = parse_date_time(text);
  require(is_possible(value));
  require(parse_date_time(text.substr(0, text.find('\0'))) == value);

  char printed[kDefaultFormSize];
  const std::size_t length = print_date_time(value, printed);
  DateTime expected = value;
  if (value.has_time()) expected.set_time_of_day(value.time_of_day() / 1000 * 1000);
  require(parse_date_time({printed, length}) == expected);
  return 0;
}
