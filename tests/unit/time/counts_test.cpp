#include "variant/time/counts.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/random.h"
#include "tests/unit/time/date_time_support.h"
#include "tests/unit/time/plain_calendar.h"

namespace qmsd {
namespace {

constexpr std::int64_t kMicrosecondOf1970 = 62'135'596'800'000'000;
// 256 cycles and the leap year -102400 before year 1.
constexpr std::int64_t kFirstMicrosecond = (-256 * 146'097 - 366) * kMicrosecondsPerDay;
constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
constexpr auto kSmallest = std::numeric_limits<std::int64_t>::min();

const DateTime kFirst = at(date(-102'400, 1, 1), 0, 0);
const DateTime kLast = at(date(102'399, 12, 31), 23, 59, 59, 999'999);

TEST(Microseconds, CountFromTheirEpoch) {
  EXPECT_EQ(microseconds_since_1970(at(date(1970, 1, 1), 0, 0)), 0);
  EXPECT_EQ(microseconds_since_year_1(at(date(1970, 1, 1), 0, 0)), kMicrosecondOf1970);
  EXPECT_EQ(microseconds_since_1970(at(date(1970, 1, 2), 0, 0, 1, 5)), 86'401'000'005);
  EXPECT_EQ(microseconds_since_1970(at(date(1969, 12, 31), 23, 59, 59, 500'000)), -500'000);
  EXPECT_EQ(microseconds_since_1970(at(date(2024, 2, 29), 13, 5, 9, 123'456)),
            1'709'211'909'123'456);
}

TEST(Microseconds, TakeADateWithoutATimeAsMidnight) {
  EXPECT_EQ(microseconds_since_1970(date(1970, 1, 2)), kMicrosecondsPerDay);
  EXPECT_EQ(microseconds_since_year_1(date(1970, 1, 1)), kMicrosecondOf1970);
}

TEST(Microseconds, AreTheTimeOfDayWithoutACompleteDate) {
  for (const auto count : {microseconds_since_year_1, microseconds_since_1970}) {
    EXPECT_EQ(count(clock(13, 5)), 47'100'000'000);
    EXPECT_EQ(count(clock(0, 0)), 0);
    EXPECT_EQ(count(at(of_fields(20, 24, 2, 0), 0, 0, 1)), 1'000'000);
    EXPECT_EQ(count(at(date(99, 12, 31), 0, 0, 2)), 2'000'000);
    EXPECT_EQ(count(of_fields(20, 24, 2, 0)), -1);
    EXPECT_EQ(count(date(1, 1, 1)), -1);
    EXPECT_EQ(count(DateTime()), -1);
    EXPECT_EQ(count(DateTime::invalid()), -1);
  }
}

TEST(Microseconds, TakeATimeBeyond24HoursAsItIs) {
  const DateTime beyond = with_microseconds(date(1970, 1, 1), 137'438'953'470);
  EXPECT_EQ(microseconds_since_1970(beyond), 137'438'953'470);
}

TEST(Microseconds, CarryDaysThatDoNotExist) {
  EXPECT_EQ(microseconds_since_1970(date(2023, 2, 30)), microseconds_since_1970(date(2023, 3, 2)));
  EXPECT_EQ(microseconds_since_1970(of_fields(20, 126, 15, 31)),
            microseconds_since_1970(date(2127, 3, 31)));
}

TEST(Microseconds, GoFromTheFirstToTheLastOfTheRange) {
  EXPECT_EQ(microseconds_since_year_1(kFirst), kFirstMicrosecond);
  EXPECT_EQ(date_time_from_microseconds(kFirstMicrosecond), kFirst);
  EXPECT_EQ(date_time_from_microseconds(kFirstMicrosecond - 1), DateTime::invalid());
  const std::int64_t last = microseconds_since_year_1(kLast);
  EXPECT_EQ(last - kFirstMicrosecond + 1, 512 * std::int64_t{146'097} * kMicrosecondsPerDay);
  EXPECT_EQ(date_time_from_microseconds(last), kLast);
  EXPECT_EQ(date_time_from_microseconds(last + 1), DateTime::invalid());
  EXPECT_EQ(date_time_from_microseconds(kLargest), DateTime::invalid());
  EXPECT_EQ(date_time_from_microseconds(kSmallest), DateTime::invalid());
}

TEST(Microseconds, OfTheFirstCenturyComeBackWithoutADate) {
  const DateTime start = date_time_from_microseconds(0);
  EXPECT_EQ(start, of_fields(0, 1, 1, 1, 0));
  EXPECT_EQ(printed(start), "XX01-01-01 00:00:00.000");
  EXPECT_EQ(microseconds_since_year_1(start), 0);
  const DateTime next_noon = date_time_from_microseconds(3 * kMicrosecondsPerDay / 2);
  EXPECT_EQ(next_noon, at(of_fields(0, 1, 1, 2), 12, 0));
  EXPECT_EQ(microseconds_since_year_1(next_noon), kMicrosecondsPerDay / 2);
}

TEST(Microseconds, RoundDownBeforeYear1) {
  EXPECT_EQ(date_time_from_microseconds(-1), at(of_fields(0, 0, 12, 31), 23, 59, 59, 999'999));
  const DateTime ides = date(-44, 3, 15);
  EXPECT_EQ(ides, of_fields(-1, 56, 3, 15));
  EXPECT_EQ(date_time_from_microseconds(microseconds_since_year_1(ides)), at(ides, 0, 0));
}

TEST(Microseconds, AgreeWithEveryDayOfThirtyFourCenturies) {
  test::Random random(9);
  CalendarDate day{-400, 1, 1};
  std::int64_t midnight = -146'463 * kMicrosecondsPerDay;
  for (; day.year <= 3000; step(day), midnight += kMicrosecondsPerDay) {
    const std::int64_t time = random.below(kMicrosecondsPerDay);
    const DateTime value = with_microseconds(date(day.year, day.month, day.day), time);
    ASSERT_EQ(date_time_from_microseconds(midnight + time), value);
    ASSERT_EQ(microseconds_since_year_1(value), value.century() == 0 ? time : midnight + time);
  }
}

TEST(Microseconds, AgreeWithRandomDaysOfTheWholeRange) {
  const PlainCalendar plain;
  test::Random random(2);
  const std::int64_t first_day = kFirstMicrosecond / kMicrosecondsPerDay;
  for (int i = 0; i < 500'000; ++i) {
    const std::int64_t day = first_day + random.below(std::int64_t{512 * 146'097});
    const std::int64_t time = random.below(kMicrosecondsPerDay);
    const std::int64_t count = day * kMicrosecondsPerDay + time;
    const CalendarDate expected = plain.date_of(day);
    const DateTime value = date_time_from_microseconds(count);
    ASSERT_EQ(value, with_microseconds(date(expected.year, expected.month, expected.day), time));
    ASSERT_EQ(microseconds_since_year_1(value), value.century() == 0 ? time : count);
  }
}

TEST(Milliseconds, CountFrom1970) {
  EXPECT_EQ(date_time_from_milliseconds(std::int64_t{0}), at(date(1970, 1, 1), 0, 0));
  EXPECT_EQ(date_time_from_milliseconds(std::int64_t{86'400'000}), at(date(1970, 1, 2), 0, 0));
  EXPECT_EQ(date_time_from_milliseconds(std::int64_t{-2}),
            at(date(1969, 12, 31), 23, 59, 59, 998'000));
  EXPECT_EQ(milliseconds_since_1970(at(date(1970, 1, 2), 0, 0)), 86'400'000);
}

TEST(Milliseconds, RoundTowardsZero) {
  EXPECT_EQ(milliseconds_since_1970(at(date(1970, 1, 1), 0, 0, 0, 1'999)), 1);
  EXPECT_EQ(milliseconds_since_1970(at(date(1969, 12, 31), 23, 59, 59, 500'000)), -500);
  EXPECT_EQ(milliseconds_since_1970(at(date(1969, 12, 31), 23, 59, 59, 999'998)), 0);
}

TEST(Milliseconds, PassMinus1OnWithoutDividingIt) {
  EXPECT_EQ(milliseconds_since_1970(DateTime()), -1);
  EXPECT_EQ(milliseconds_since_1970(DateTime::invalid()), -1);
  EXPECT_EQ(milliseconds_since_1970(of_fields(20, 24, 2, 0)), -1);
  // The last microsecond before 1970 cannot be told from it.
  EXPECT_EQ(milliseconds_since_1970(at(date(1969, 12, 31), 23, 59, 59, 999'999)), -1);
  EXPECT_EQ(unsigned_milliseconds_since_1970(DateTime()), ~std::uint64_t{0});
  EXPECT_EQ(unsigned_milliseconds_since_1970(DateTime::invalid()), ~std::uint64_t{0});
}

TEST(Milliseconds, OfATimeAloneAreThatTime) {
  EXPECT_EQ(milliseconds_since_1970(clock(13, 5)), 47'100'000);
  EXPECT_EQ(unsigned_milliseconds_since_1970(clock(13, 5)), 47'100'000u);
}

TEST(Milliseconds, DivideByTheRulesOfTheirSign) {
  const DateTime before = at(date(1969, 12, 31), 23, 59, 59, 500'000);
  EXPECT_EQ(unsigned_milliseconds_since_1970(before), (~std::uint64_t{0} - 499'999) / 1000);
  EXPECT_EQ(unsigned_milliseconds_since_1970(date(1970, 1, 2)), 86'400'000u);
}

TEST(Milliseconds, WithoutADateTimeAreInvalid) {
  EXPECT_EQ(date_time_from_milliseconds(std::int64_t{-1}), DateTime::invalid());
  EXPECT_EQ(date_time_from_milliseconds(~std::uint64_t{0}), DateTime::invalid());
  EXPECT_EQ(date_time_from_milliseconds(kLargest), DateTime::invalid());
  EXPECT_EQ(date_time_from_milliseconds(kSmallest), DateTime::invalid());
  EXPECT_EQ(date_time_from_milliseconds(std::uint64_t{1} << 63), DateTime::invalid());
  EXPECT_EQ(date_time_from_milliseconds(~std::uint64_t{0} - 1), DateTime::invalid());
}

TEST(Milliseconds, ReachBothEndsOfTheRange) {
  const std::int64_t first = milliseconds_since_1970(kFirst);
  const std::int64_t last = milliseconds_since_1970(kLast);
  EXPECT_EQ(date_time_from_milliseconds(first), kFirst);
  EXPECT_EQ(date_time_from_milliseconds(first - 1), DateTime::invalid());
  EXPECT_EQ(date_time_from_milliseconds(last), at(date(102'399, 12, 31), 23, 59, 59, 999'000));
  EXPECT_EQ(date_time_from_milliseconds(static_cast<std::uint64_t>(last)),
            date_time_from_milliseconds(last));
  EXPECT_EQ(date_time_from_milliseconds(last + 1), DateTime::invalid());
}

TEST(Milliseconds, ComeBackAsTheyWere) {
  test::Random random(3);
  for (int i = 0; i < 100'000; ++i) {
    const std::int64_t count = random.below(std::int64_t{1} << 50) - (std::int64_t{1} << 49);
    const DateTime value = date_time_from_milliseconds(count);
    if (value.century() == 0) continue;
    ASSERT_EQ(milliseconds_since_1970(value), count);
  }
}

}  // namespace
}  // namespace qmsd
