// Every day of a whole cycle of the calendar in each of the ways to write it, against a calendar
// that steps from one day to the next.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/support/random.h"
#include "tests/unit/time/date_time_support.h"
#include "tests/unit/time/plain_calendar.h"
#include "variant/time/counts.h"
#include "variant/time/recognise.h"

namespace qmsd {
namespace {

constexpr int kThursday = 4;

int days_in_year(int year) { return plain_month_length(year, 2) == 29 ? 366 : 365; }

struct Week {
  int year;
  int number;
};

struct Day {
  CalendarDate date;
  int of_year;
  int of_week;  // Monday is 1

  void go_on() {
    step(date);
    of_year = date.month == 1 && date.day == 1 ? 1 : of_year + 1;
    of_week = of_week % 7 + 1;
  }
  // A week belongs to the year that has its Thursday.
  Week week() const {
    int year = date.year;
    int thursday = of_year + kThursday - of_week;
    if (thursday < 1) {
      --year;
      thursday += days_in_year(year);
    } else if (thursday > days_in_year(year)) {
      thursday -= days_in_year(year);
      ++year;
    }
    return {year, (thursday - 1) / 7 + 1};
  }
};

template <class... Numbers>
std::string written(const char* format, Numbers... numbers) {
  char text[40];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  std::snprintf(text, sizeof text, format, numbers...);
#pragma GCC diagnostic pop
  return text;
}

void expect_day(const std::string& text, DateTime value) {
  const RecognisedTime result = recognise_date_time(text, 0);
  ASSERT_EQ(result.value, value) << text;
  ASSERT_EQ(result.consumed, text.size()) << text;
}

TEST(RecogniseDays, FindsEveryDayByAllItsNames) {
  Day day{{1800, 1, 1}, 1, 3};  // a Wednesday
  for (; day.date.year < 2200; day.go_on()) {
    const auto [year, month, of_month] = day.date;
    const Week week = day.week();
    const DateTime value = date(year, month, of_month);
    expect_day(written("%04d-%02d-%02d", year, month, of_month), value);
    expect_day(written("%04d-%03d", year, day.of_year), value);
    expect_day(written("%04d-W%02d-%d", week.year, week.number, day.of_week), value);
    expect_day(written("%04dW%02d%d", week.year, week.number, day.of_week), value);
    expect_day(written("%04d%02d%02dT00", year, month, of_month), at(value, 0, 0));
    expect_day(written("%04d%03dT00", year, day.of_year), at(value, 0, 0));
    if (day.of_week == 1) expect_day(written("%04d-W%02d", week.year, week.number), value);
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_EQ(day.of_week, 3) << "a cycle is a whole number of weeks";
}

// With a zone of its own, and the kernel somewhere else.
TEST(RecogniseZone, ShiftsEveryMomentByBothOffsets) {
  test::Random random(11);
  for (int i = 0; i < 100'000; ++i) {
    const DateTime moment = with_microseconds(
        date(200 + random.below(9000), 1 + random.below(12), 1 + random.below(28)),
        random.below(kMicrosecondsPerDay));
    const int hours = random.below(24);
    const int minutes = random.below(60);
    const int east = random.below(2) == 0 ? 1 : -1;
    const std::int32_t local = (random.below(2 * 14 * 4 + 1) - 14 * 4) * 900;
    const std::string text = formatted(moment, "%04Y-%02m-%02dT%02H:%02M:%02S.%6Z") +
                             written(east > 0 ? "+%02d:%02d" : "-%02d:%02d", hours, minutes);
    const std::int64_t offset = east * (hours * 60 + minutes) * 60;
    const std::int64_t expected =
        microseconds_since_year_1(moment) - (offset + local) * kMicrosecondsPerSecond;
    const RecognisedTime result = recognise_date_time(text, local);
    ASSERT_EQ(result.consumed, text.size()) << text;
    ASSERT_EQ(microseconds_since_year_1(result.value), expected) << text << " " << local;
  }
}

}  // namespace
}  // namespace qmsd
