// Date-times and std::chrono, checked against the kernel's own calendar.
#include <chrono>
#include <cstdint>
#include <random>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

using namespace std::chrono_literals;
using std::chrono::days;
using std::chrono::microseconds;
using std::chrono::sys_days;

// Midnight of a day in any year; std::chrono's own years end at 32767.
qm::TimePoint day(int year, unsigned month, unsigned day_of_month) {
  const int cycle = (year - (year % 400 + 400) % 400) / 400;
  const auto in_cycle = std::chrono::year(year - cycle * 400) / static_cast<int>(month) /
                        static_cast<int>(day_of_month);
  return sys_days(in_cycle) + days(cycle * 146097);
}

using ClientDateTimes = ClientTest;

TEST_F(ClientDateTimes, ComeBackFromEveryKindOfInstant) {
  const qm::TimePoint instants[] = {
      sys_days(1970y / 1 / 1),
      sys_days(1970y / 1 / 1) - 1us,
      sys_days(1969y / 12 / 31) + 23h + 59min + 59s + 500ms,
      sys_days(2024y / 2 / 29) + 13h + 5min + 9s + 123456us,
      sys_days(1900y / 2 / 28),
      sys_days(100y / 1 / 1),
      sys_days(9999y / 12 / 31) + 24h - 1us,
      day(-1, 12, 31) + 24h - 1us,
      day(-44, 3, 15) + 12h,
      day(-102400, 1, 1),
      day(102399, 12, 31) + 24h - 1us,
      day(32768, 1, 1),
  };
  for (const qm::TimePoint instant : instants) {
    const qm::DateTime date_time = qm::DateTime::from(instant);
    EXPECT_EQ(date_time.time_point(), instant);
    EXPECT_EQ(qm::DateTime::from_packed(date_time.packed()), date_time);
    const qm::Variant variant = qm::Variant::create(kernel(), date_time);
    EXPECT_EQ(variant.as<qm::TimePoint>(), instant);
  }
}

TEST_F(ClientDateTimes, AreTheKernelsOwn) {
  std::mt19937_64 random(1);
  const std::int64_t first = day(100, 1, 1).time_since_epoch().count() / 1000;
  const std::int64_t last = day(102399, 12, 31).time_since_epoch().count() / 1000;
  std::uniform_int_distribution<std::int64_t> milliseconds(first, last);
  for (int round = 0; round < 2000; ++round) {
    const std::int64_t count = milliseconds(random);
    if (count == -1) continue;
    const qm::TimePoint instant{microseconds(count * 1000)};
    const auto of_number = qm::Variant::create(kernel(), count).convert<qm::DateTime>();
    ASSERT_EQ(of_number, qm::DateTime::from(instant)) << count;
    ASSERT_EQ(of_number.time_point(), instant);
    ASSERT_EQ(qm::Variant::create(kernel(), instant).convert<std::int64_t>(), count);
  }
}

struct Shown {
  qm::DateTime value;
  const char* text;
};

TEST_F(ClientDateTimes, ReadAndPrintAsTheKernelDoes) {
  const Shown shown[] = {
      {qm::DateTime::from(sys_days(2024y / 2 / 29) + 13h + 5min + 9s + 123ms),
       "2024-02-29 13:05:09.123"},
      {qm::DateTime::from(2024y / 2 / 29), "2024-02-29"},
      {qm::DateTime::from(13h + 5min + 9s), "13:05:09.000"},
      {qm::DateTime::from(0us), "00:00:00.000"},
      {qm::DateTime::from(sys_days(1582y / 10 / 4)), "1582-10-04 00:00:00.000"},
  };
  for (const auto& [value, text] : shown) {
    EXPECT_EQ(qm::Variant::create(kernel(), value).as<std::string>(), text);
    EXPECT_EQ(qm::Variant::create(kernel(), text).as<qm::DateTime>(), value);
    EXPECT_EQ(qm::Variant::create(kernel(), qm::Value::recognised(text)).as<qm::DateTime>(), value);
  }
}

TEST_F(ClientDateTimes, HaveTheirPartsOrNot) {
  const qm::DateTime nothing;
  EXPECT_FALSE(nothing.has_date() || nothing.has_time());
  EXPECT_FALSE(nothing.century() || nothing.year_of_century() || nothing.month() || nothing.day());
  EXPECT_FALSE(nothing.date() || nothing.time());

  const auto birthday = qm::Variant::create(kernel(), "XXXX-05-17").as<qm::DateTime>();
  EXPECT_TRUE(birthday.has_date());
  EXPECT_FALSE(birthday.century() || birthday.year_of_century() || birthday.date());
  EXPECT_EQ(birthday.month(), 5);
  EXPECT_EQ(birthday.day(), 17);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, birthday.try_time_point()));

  const auto ides = qm::DateTime::from(day(-44, 3, 15) + 12h);
  EXPECT_EQ(ides.century(), -1);
  EXPECT_EQ(ides.year_of_century(), 56);
  EXPECT_EQ(ides.date(), -44y / 3 / 15);
  EXPECT_EQ(ides.time(), 12h);
  EXPECT_FALSE(qm::DateTime::from(day(32768, 1, 1)).date());
}

TEST_F(ClientDateTimes, ThatDoNotExistAreRefused) {
  for (const int year : {-102401, 0, 1, 99, 102400}) {
    EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::DateTime::try_from(day(year, 6, 1)))) << year;
  }
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::DateTime::try_from(qm::TimePoint::min())));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::DateTime::try_from(qm::TimePoint::max())));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::DateTime::try_from(2023y / 2 / 30)));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::DateTime::try_from(99y / 1 / 1)));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::DateTime::try_from(-1us)));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::DateTime::try_from(137438953471us)));
  EXPECT_TRUE(qm::DateTime::try_from(137438953470us).has_value());
  EXPECT_TRUE(throws_with(QM_ERROR_RANGE, [] { qm::DateTime::from(44y / 3 / 15); }));
  EXPECT_TRUE(throws_with(QM_ERROR_RANGE, [] { const qm::Value value = sys_days(44y / 3 / 15); }));
}

TEST_F(ClientDateTimes, AreInstantsOnlyWithDateAndTime) {
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::DateTime().try_time_point()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::DateTime::from(2024y / 1 / 1).try_time_point()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::DateTime::from(5h).try_time_point()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::DateTime::from_packed(~0ull).try_time_point()));
}

TEST_F(ClientDateTimes, CarryDaysThatAMonthDoesNotHave) {
  const std::uint64_t thirtieth = 20 | 23u << 11 | 2u << 18 | 30u << 22;
  const auto packed = qm::DateTime::from_packed(thirtieth);
  EXPECT_EQ(packed.time_point(), sys_days(2023y / 3 / 2));
  EXPECT_EQ(qm::Variant::create(kernel(), packed).convert<std::int64_t>(),
            sys_days(2023y / 3 / 2).time_since_epoch() / 1ms);
}

TEST_F(ClientDateTimes, OfVariantsAreReadAsWhatTheyAre) {
  const auto noon = qm::Variant::create(kernel(), sys_days(2024y / 2 / 29) + 12h);
  const auto date = qm::Variant::create(kernel(), 2024y / 2 / 29);
  EXPECT_EQ(noon.as<qm::TimePoint>(), sys_days(2024y / 2 / 29) + 12h);
  EXPECT_EQ(date.as<std::chrono::year_month_day>(), 2024y / 2 / 29);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, noon.try_as<std::chrono::year_month_day>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, date.try_as<qm::TimePoint>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, noon.try_as<std::int64_t>()));
  const auto fine = qm::Variant::create(kernel(), sys_days(2024y / 2 / 29) + 1us);
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, fine.try_as<std::string>())) << "microseconds get lost";
  EXPECT_EQ(fine.convert<std::string>(), "2024-02-29 00:00:00.000");
  EXPECT_EQ(qm::Variant::create(kernel(), "no date").convert<qm::DateTime>(), qm::DateTime());
}

}  // namespace
}  // namespace client_test
