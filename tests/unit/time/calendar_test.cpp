#include "variant/time/calendar.h"

#include <gtest/gtest.h>

#include <ostream>

#include "tests/unit/time/plain_calendar.h"

namespace qmsd {

void PrintTo(const CalendarDate& date, std::ostream* out) {
  *out << date.year << "-" << date.month << "-" << date.day;
}

namespace {

static_assert(days_from_date(1, 1, 1) == 0, "the calendar works at compile time");

TEST(Calendar, KnowsDaysThatEverybodyKnows) {
  struct Row {
    CalendarDate date;
    std::int32_t day;
  };
  const Row rows[] = {
      {{1, 1, 1}, 0},           {{0, 12, 31}, -1},        {{0, 1, 1}, -366},
      {{0, 2, 29}, -307},       {{0, 3, 1}, -306},        {{1899, 12, 30}, 693'593},
      {{1970, 1, 1}, 719'162},  {{2000, 2, 29}, 730'178}, {{2000, 3, 1}, 730'179},
      {{-400, 1, 1}, -146'463}, {{-399, 1, 1}, -146'097}, {{401, 1, 1}, 146'097},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(days_from_date(row.date.year, row.date.month, row.date.day), row.day);
    EXPECT_EQ(date_from_days(row.day), row.date);
  }
}

TEST(Calendar, AgreesWithSteppingThroughEveryDay) {
  CalendarDate date{-400, 1, 1};
  std::int32_t day = -146'463;
  int weekday = day_of_week(day);
  for (; date.year <= 3000; step(date), ++day, weekday = (weekday + 1) % 7) {
    ASSERT_EQ(days_from_date(date.year, date.month, date.day), day);
    ASSERT_EQ(date_from_days(day), date);
    ASSERT_EQ(day_of_week(day), weekday) << day;
  }
  EXPECT_EQ(day, days_from_date(3001, 1, 1));
}

TEST(Calendar, ReachesBothEndsOfTheRange) {
  EXPECT_EQ(date_from_days(days_from_date(-102'400, 1, 1)), (CalendarDate{-102'400, 1, 1}));
  EXPECT_EQ(date_from_days(days_from_date(102'399, 12, 31)), (CalendarDate{102'399, 12, 31}));
  EXPECT_EQ(days_from_date(102'399, 12, 31) - days_from_date(-102'400, 1, 1) + 1, 512 * 146'097);
}

TEST(Calendar, KnowsTheDayOfTheWeek) {
  EXPECT_EQ(day_of_week(0), 0);
  EXPECT_EQ(day_of_week(days_from_date(1970, 1, 1)), 3);   // Thursday
  EXPECT_EQ(day_of_week(days_from_date(2024, 2, 29)), 3);  // Thursday
  EXPECT_EQ(day_of_week(days_from_date(2000, 1, 1)), 5);   // Saturday
  EXPECT_EQ(day_of_week(-1), 6);
}

TEST(Calendar, CarriesDaysAndMonthsThatDoNotExist) {
  EXPECT_EQ(days_from_date(2023, 2, 29), days_from_date(2023, 3, 1));
  EXPECT_EQ(days_from_date(2023, 2, 30), days_from_date(2023, 3, 2));
  EXPECT_EQ(days_from_date(2024, 2, 31), days_from_date(2024, 3, 2));
  EXPECT_EQ(days_from_date(2023, 4, 31), days_from_date(2023, 5, 1));
  EXPECT_EQ(days_from_date(2023, 13, 1), days_from_date(2024, 1, 1));
  EXPECT_EQ(days_from_date(2023, 15, 31), days_from_date(2024, 3, 31));
  EXPECT_EQ(days_from_date(-1, 14, 29), days_from_date(0, 2, 29));
  EXPECT_EQ(days_from_date(2023, 0, 31), days_from_date(2022, 12, 31));
  EXPECT_EQ(days_from_date(2023, 3, 0), days_from_date(2023, 2, 28));
}

TEST(Calendar, GivesLeapYearsTheirDay) {
  for (int year = -800; year <= 3000; ++year) {
    EXPECT_EQ(is_leap_year(year), plain_month_length(year, 2) == 29) << year;
  }
}

TEST(Calendar, KnowsTheLongestOfEachMonth) {
  for (int month = 1; month <= 12; ++month) {
    EXPECT_EQ(longest_month_length(month), plain_month_length(2000, month)) << month;
  }
}

TEST(Calendar, StartsTheFirstWeekOnTheMondayBesideTheFirstThursday) {
  for (int year = -800; year <= 3000; ++year) {
    std::int32_t thursday = days_from_date(year, 1, 1);
    while (day_of_week(thursday) != 3) ++thursday;
    EXPECT_EQ(first_week_of_year(year), thursday - 3) << year;
  }
}

TEST(Calendar, GivesAWeekMoreToYearsThatStartOrEndOnThursday) {
  for (int year = -800; year <= 3000; ++year) {
    const bool starts = day_of_week(days_from_date(year, 1, 1)) == 3;
    const bool ends = day_of_week(days_from_date(year, 12, 31)) == 3;
    EXPECT_EQ(weeks_in_year(year), starts || ends ? 53 : 52) << year;
  }
}

}  // namespace
}  // namespace qmsd
