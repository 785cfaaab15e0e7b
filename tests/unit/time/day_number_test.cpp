// Date-times as numbers of days.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "tests/support/random.h"
#include "tests/unit/time/date_time_support.h"
#include "variant/time/counts.h"

namespace qmsd {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(DayNumber, CountsDaysSinceTheEndOf1899) {
  EXPECT_EQ(day_number(at(date(1899, 12, 30), 0, 0)), 0.0);
  EXPECT_EQ(day_number(at(date(1900, 1, 1), 12, 0)), 2.5);
  EXPECT_EQ(day_number(date(1970, 1, 1)), 25'569.0);
  EXPECT_EQ(day_number(date(2023, 2, 30)), day_number(date(2023, 3, 2)));
}

TEST(DayNumber, IsTheSameToTheBitEverywhere) {
  struct Row {
    DateTime value;
    std::uint64_t bits;
  };
  const auto last = std::int64_t{86'399'999'999};
  const Row rows[] = {
      {with_microseconds(date(1899, 12, 30), 0), 0x0000000000000000},
      {with_microseconds(date(1900, 1, 1), 43'200'000'000), 0x4004000000000000},
      {with_microseconds(date(1899, 12, 28), 64'800'000'000), 0xBFF4000000000000},
      {with_microseconds(date(1970, 1, 1), 1), 0x40D8F84000000003},
      {with_microseconds(date(2024, 2, 29), 47'109'123'456), 0x40E624F172A48FA0},
      {with_microseconds(date(2024, 2, 29), last), 0x40E624FFFFFFFFFE},
      {with_microseconds(date(1600, 1, 1), 1), 0xC0FAC02FFFFFFFFF},
      {with_microseconds(date(9999, 12, 31), last), 0x4146924100000000},
      {with_microseconds(date(1899, 12, 29), last), 0xBDA973A000000000},
      {with_microseconds(date(1899, 12, 30), 1), 0x3DA9739FDCAB50DC},
      {with_microseconds(date(2000, 1, 1), 1'000'000), 0x40E1D5C0001845C9},
      {with_microseconds(date(1899, 12, 29), 1), 0xBFEFFFFFFFFE68C6},
      {with_microseconds({}, 1), 0x3DA9739FDCAB50DC},
      {with_microseconds({}, 3), 0x3DC316B7E5807CA5},
      {with_microseconds({}, 33'333'333'333), 0x3FD8B0FCD6E8D0E9},
      {with_microseconds({}, last), 0x3FEFFFFFFFFE68C6},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(day_number(row.value)), row.bits)
        << ::testing::PrintToString(row.value);
  }
}

TEST(DayNumber, OfATimeAloneIsItsFraction) {
  EXPECT_EQ(day_number(clock(18, 0)), 0.75);
  EXPECT_EQ(day_number(at(of_fields(20, 24, 0, 29), 6, 0)), 0.25);
  EXPECT_EQ(day_number(at(date(99, 1, 1), 6, 0)), 0.25);
}

TEST(DayNumber, OfNeitherIsNotANumber) {
  EXPECT_TRUE(std::isnan(day_number(DateTime())));
  EXPECT_TRUE(std::isnan(day_number(DateTime::invalid())));
  EXPECT_TRUE(std::isnan(day_number(of_fields(20, 24, 0, 29))));
}

TEST(DayNumber, BecomesADateAndATime) {
  EXPECT_EQ(date_time_from_day_number(0.0), at(date(1899, 12, 30), 0, 0));
  EXPECT_EQ(date_time_from_day_number(-0.0), at(date(1899, 12, 30), 0, 0));
  EXPECT_EQ(date_time_from_day_number(2.5), at(date(1900, 1, 1), 12, 0));
  EXPECT_EQ(date_time_from_day_number(25'569.0), at(date(1970, 1, 1), 0, 0));
}

TEST(DayNumber, BelowZeroKeepsAPositiveTime) {
  EXPECT_EQ(date_time_from_day_number(-1.25), at(date(1899, 12, 28), 18, 0));
  EXPECT_EQ(date_time_from_day_number(-0.5), at(date(1899, 12, 29), 12, 0));
}

TEST(DayNumber, IsRoundedToTheNearestMicrosecond) {
  constexpr double kMicrosecond = 1.0 / 86'400'000'000.0;
  EXPECT_EQ(date_time_from_day_number(0.4 * kMicrosecond), at(date(1899, 12, 30), 0, 0));
  EXPECT_EQ(date_time_from_day_number(0.6 * kMicrosecond), at(date(1899, 12, 30), 0, 0, 0, 1));
  // Half a microsecond, exactly.
  EXPECT_EQ(date_time_from_day_number(0x1p-14), at(date(1899, 12, 30), 0, 0, 5, 273'438));
  EXPECT_EQ(date_time_from_day_number(std::nextafter(0x1p-14, 0.0)),
            at(date(1899, 12, 30), 0, 0, 5, 273'437));
}

TEST(DayNumber, CarriesARoundedUpMidnightIntoTheNextDay) {
  EXPECT_EQ(date_time_from_day_number(std::nextafter(1.0, 0.0)), at(date(1899, 12, 31), 0, 0));
  EXPECT_EQ(date_time_from_day_number(-1e-20), at(date(1899, 12, 30), 0, 0));
}

TEST(DayNumber, OutOfRangeGivesTheEmptyValue) {
  const double first = day_number(date(-102'400, 1, 1));
  const double last = day_number(date(102'399, 12, 31));
  EXPECT_EQ(date_time_from_day_number(first), at(date(-102'400, 1, 1), 0, 0));
  EXPECT_EQ(date_time_from_day_number(last + 0.5), at(date(102'399, 12, 31), 12, 0));
  const DateTime latest = date_time_from_day_number(std::nextafter(last + 1, 0.0));
  EXPECT_EQ(latest, at(date(102'399, 12, 31), 23, 59, 59, 999'356));
  const double bad[] = {
      std::nextafter(first, -kInfinity),       last + 1, 1e300, -1e300, kInfinity, -kInfinity,
      std::numeric_limits<double>::quiet_NaN()};
  for (const double days : bad) EXPECT_EQ(date_time_from_day_number(days), DateTime()) << days;
}

TEST(DayNumber, ComesBackWithinAMicrosecond) {
  test::Random random(4);
  const std::int64_t first = microseconds_since_year_1(date(1800, 1, 1));
  const std::int64_t range = microseconds_since_year_1(date(2100, 1, 1)) - first;
  for (int i = 0; i < 100'000; ++i) {
    const std::int64_t count = first + random.below(range);
    const double days = day_number(date_time_from_microseconds(count));
    const std::int64_t back = microseconds_since_year_1(date_time_from_day_number(days));
    ASSERT_LE(std::abs(back - count), 1) << count;
  }
}

}  // namespace
}  // namespace qmsd
