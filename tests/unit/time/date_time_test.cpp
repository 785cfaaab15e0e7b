#include "variant/time/date_time.h"

#include <gtest/gtest.h>

#include "tests/support/random.h"
#include "tests/unit/time/date_time_support.h"

namespace qmsd {
namespace {

constexpr std::uint64_t kEmptyBits = 0xFFFFFFFF'F803F800;

TEST(DateTime, IsEmptyFromTheStart) {
  const DateTime value;
  EXPECT_EQ(value.bits(), kEmptyBits);
  EXPECT_EQ(value.century(), 0);
  EXPECT_EQ(value.year_of_century(), 127);
  EXPECT_EQ(value.month(), 0);
  EXPECT_EQ(value.day(), 0);
  EXPECT_EQ(value.time_of_day(), DateTime::kNoTime);
  EXPECT_FALSE(value.has_date());
  EXPECT_FALSE(value.has_time());
  EXPECT_FALSE(value.has_complete_date());
}

TEST(DateTime, KeepsEachPartInItsOwnBits) {
  const std::uint64_t time = std::uint64_t{DateTime::kNoTime} << 27;
  struct Row {
    DateTime value;
    std::uint64_t bits;
  };
  const Row rows[] = {
      {of_fields(20, 127, 0, 0), time | 127 << 11 | 20},
      {of_fields(-1, 127, 0, 0), time | 127 << 11 | 0x7FF},
      {of_fields(-1024, 127, 0, 0), time | 127 << 11 | 0x400},
      {of_fields(1023, 127, 0, 0), time | 127 << 11 | 0x3FF},
      {of_fields(0, 0, 0, 0), time},
      {of_fields(0, 99, 0, 0), time | 99 << 11},
      {of_fields(0, 0, 12, 0), time | 12 << 18},
      {of_fields(0, 0, 0, 31), time | 31 << 22},
      {of_fields(0, 0, 0, 0, 0), 0},
      {of_fields(0, 0, 0, 0, 1), std::uint64_t{1} << 27},
      {of_fields(0, 0, 0, 0, 86'399'999'999), std::uint64_t{86'399'999'999} << 27},
      {of_fields(20, 24, 2, 29, 47'109'123'456),
       std::uint64_t{47'109'123'456} << 27 | 29 << 22 | 2 << 18 | 24 << 11 | 20},
  };
  for (const Row& row : rows) EXPECT_EQ(row.value.bits(), row.bits) << row.bits;
}

TEST(DateTime, ReadsBackWhatWasSet) {
  test::Random random(1);
  for (int i = 0; i < 100'000; ++i) {
    const int century = random.below(2048) - 1024;
    const int year = random.below(128);
    const int month = random.below(16);
    const int day = random.below(32);
    const std::int64_t time = random.below(std::int64_t{1} << 37);
    const DateTime value = of_fields(century, year, month, day, time);
    ASSERT_EQ(value.century(), century);
    ASSERT_EQ(value.year_of_century(), year);
    ASSERT_EQ(value.month(), month);
    ASSERT_EQ(value.day(), day);
    ASSERT_EQ(value.time_of_day(), time);
    ASSERT_EQ(DateTime::from_bits(value.bits()), value);
  }
}

TEST(DateTime, SettingAPartLeavesTheOthers) {
  DateTime value = DateTime::invalid();
  value.set_month(0);
  EXPECT_EQ(value.bits(), ~(std::uint64_t{15} << 18));
  value.set_month(15);
  EXPECT_EQ(value, DateTime::invalid());
}

TEST(DateTime, SplitsYearsIntoCenturyAndRest) {
  struct Row {
    int year, century, of_century;
  };
  const Row rows[] = {{2024, 20, 24}, {100, 1, 0},        {99, 0, 99},        {1, 0, 1},
                      {0, 0, 0},      {-1, -1, 99},       {-44, -1, 56},      {-100, -1, 0},
                      {-101, -2, 99}, {102399, 1023, 99}, {-102400, -1024, 0}};
  for (const Row& row : rows) {
    const DateTime value = DateTime::of(row.year);
    EXPECT_EQ(value.century(), row.century) << row.year;
    EXPECT_EQ(value.year_of_century(), row.of_century) << row.year;
    EXPECT_EQ(value.year(), row.year);
  }
}

TEST(DateTime, HasADateWhenAnyPartOfItIsPresent) {
  EXPECT_TRUE(of_fields(20, 127, 0, 0).has_date());
  EXPECT_TRUE(of_fields(-1, 127, 0, 0).has_date());
  EXPECT_TRUE(of_fields(0, 0, 0, 0).has_date());
  EXPECT_TRUE(of_fields(0, 127, 1, 0).has_date());
  EXPECT_TRUE(of_fields(0, 127, 0, 1).has_date());
  EXPECT_FALSE(of_fields(0, 127, 0, 0).has_date());
  EXPECT_FALSE(clock(0, 0).has_date());
}

TEST(DateTime, HasATimeUnlessAllItsBitsAreSet) {
  EXPECT_TRUE(clock(0, 0).has_time());
  EXPECT_TRUE(with_microseconds({}, DateTime::kNoTime - 1).has_time());
  EXPECT_FALSE(with_microseconds({}, DateTime::kNoTime).has_time());
  EXPECT_FALSE(date(2024, 2, 29).has_time());
}

TEST(DateTime, IsCompleteOnlyWithEveryPartOfTheDate) {
  EXPECT_TRUE(date(2024, 2, 29).has_complete_date());
  EXPECT_TRUE(of_fields(-1, 126, 15, 31).has_complete_date());
  EXPECT_FALSE(of_fields(0, 24, 2, 29).has_complete_date());
  EXPECT_FALSE(of_fields(20, 127, 2, 29).has_complete_date());
  EXPECT_FALSE(of_fields(20, 24, 0, 29).has_complete_date());
  EXPECT_FALSE(of_fields(20, 24, 2, 0).has_complete_date());
}

TEST(DateTime, InvalidLooksLikeACenturyWithoutATime) {
  const DateTime value = DateTime::invalid();
  EXPECT_EQ(value.bits(), ~std::uint64_t{0});
  EXPECT_EQ(value.century(), -1);
  EXPECT_TRUE(value.has_date());
  EXPECT_FALSE(value.has_complete_date());
  EXPECT_FALSE(value.has_time());
}

}  // namespace
}  // namespace qmsd
