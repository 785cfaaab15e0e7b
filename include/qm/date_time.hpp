// The kernel's date-time, and the way between it and std::chrono.
#pragma once

#include <qmsd7.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <type_traits>

#include <qm/error.hpp>
#include <qm/result.hpp>

namespace qm {

/// An instant as std::chrono tells it, in the kernel's resolution.
using TimePoint = std::chrono::sys_time<std::chrono::microseconds>;

/// A calendar date, a time of day in microseconds, or both; each part of the date may be absent, as
/// in "some 17th of May". The calendar is the Gregorian one, also before its time, and there are no
/// time zones: a TimePoint is taken as it is written. Years 0 to 99 do not exist.
/// Owner: of nothing. Errors: none but where told. Threads: a plain value.
///
///     using namespace std::chrono_literals;
///     const qm::TimePoint lunch = std::chrono::sys_days(2024y / 2 / 29) + 13h + 5min;
///     const qm::DateTime date_time = qm::DateTime::from(lunch);
///     check(date_time.date() == 2024y / 2 / 29 && date_time.time() == 13h + 5min);
///     check(date_time.time_point() == lunch);
class DateTime {
 public:
  /// Neither date nor time.
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(!qm::DateTime().has_date() && !qm::DateTime().has_time());
  constexpr DateTime() = default;

  /// The value in the kernel's packed form, as variants and records hold it.
  /// Owner: of nothing. Errors: none. Threads: any.
  ///
  ///     check(qm::DateTime::from_packed(0xFFFFFFFFF803F800) == qm::DateTime());
  static constexpr DateTime from_packed(std::uint64_t packed) noexcept { return DateTime(packed); }
  constexpr std::uint64_t packed() const noexcept { return packed_; }

  /// Of an instant (a sys_time of microseconds or coarser), a date alone (a year_month_day) or a
  /// time of day alone (a duration).
  /// Owner: of nothing. Errors: 34 a year that does not exist here (0 to 99, or beyond -102400 to
  /// 102399), a day that is in no calendar, a time of day below 0 or above 137438953470
  /// microseconds. Threads: any.
  ///
  ///     using namespace std::chrono_literals;
  ///     check(qm::DateTime::from(1969y / 7 / 20).has_time() == false);
  ///     check(qm::DateTime::from(20h + 17min).has_date() == false);
  ///     check(qm::DateTime::try_from(44y / 3 / 15).error().code() == QM_ERROR_RANGE);
  template <class Moment>
  static DateTime from(Moment moment) {
    return try_from(moment).value();
  }
  template <class Duration>
  static Result<DateTime> try_from(std::chrono::sys_time<Duration> instant) {
    static_assert(std::is_convertible_v<Duration, std::chrono::microseconds>,
                  "round the instant first: std::chrono::floor<std::chrono::microseconds>(...)");
    return from_instant(instant);
  }
  static Result<DateTime> try_from(std::chrono::year_month_day date);
  static Result<DateTime> try_from(std::chrono::microseconds time_of_day);

  /// The parts of the date, each if it is present. Year 1234 is century 12 and its year 34.
  /// Owner: of nothing. Errors: none; an absent part is nullopt. Threads: any.
  ///
  ///     using namespace std::chrono_literals;
  ///     const qm::DateTime landing = qm::DateTime::from(1969y / 7 / 20);
  ///     check(landing.century() == 19 && landing.year_of_century() == 69);
  ///     check(landing.month() == 7 && landing.day() == 20);
  constexpr std::optional<int> century() const noexcept {
    const int field = static_cast<int>(bits(0, 11) ^ 0x400) - 0x400;
    return field != 0 ? std::optional(field) : std::nullopt;
  }
  constexpr std::optional<int> year_of_century() const noexcept { return part(11, 7, 127); }
  constexpr std::optional<int> month() const noexcept { return part(18, 4, 0); }
  constexpr std::optional<int> day() const noexcept { return part(22, 5, 0); }
  constexpr bool has_date() const noexcept {
    return century() || year_of_century() || month() || day();
  }
  constexpr bool has_time() const noexcept { return bits(27, 37) != kNoTime; }

  /// The whole date, if no part of it is absent and std::chrono knows the year (to 32767); the time
  /// since midnight, if it is present.
  /// Owner: of nothing. Errors: none; what is absent is nullopt. Threads: any.
  ///
  ///     check(!qm::DateTime().date() && !qm::DateTime().time());
  constexpr std::optional<std::chrono::year_month_day> date() const noexcept;
  constexpr std::optional<std::chrono::microseconds> time() const noexcept {
    if (!has_time()) return std::nullopt;
    return std::chrono::microseconds(bits(27, 37));
  }

  /// The instant. A day that the month does not have counts on into the next one.
  /// Owner: of nothing. Errors: 22 without time or with an incomplete date. Threads: any.
  ///
  ///     using namespace std::chrono_literals;
  ///     const qm::DateTime midnight = qm::DateTime::from(std::chrono::sys_days(2024y / 1 / 1));
  ///     check(midnight.time_point() == std::chrono::sys_days(2024y / 1 / 1));
  ///     check(!qm::DateTime::from(2024y / 1 / 1).try_time_point());
  Result<TimePoint> try_time_point() const;
  TimePoint time_point() const { return try_time_point().value(); }

  friend constexpr bool operator==(DateTime, DateTime) = default;

 private:
  static constexpr std::uint64_t kNothing = 0xFFFFFFFFF803F800;
  static constexpr std::uint64_t kNoDate = kNothing & 0x7FFFFFF;
  static constexpr std::uint64_t kNoTime = 0x1FFFFFFFFF;
  // std::chrono's years are fewer than the kernel's; the calendar repeats itself.
  static constexpr int kCycle = 400;
  static constexpr int kDaysOfCycle = 146097;

  explicit constexpr DateTime(std::uint64_t packed) noexcept : packed_(packed) {}

  constexpr std::uint64_t bits(int first, int width) const noexcept {
    return packed_ >> first & ((std::uint64_t{1} << width) - 1);
  }
  constexpr std::optional<int> part(int first, int width, int absent) const noexcept {
    const int field = static_cast<int>(bits(first, width));
    return field != absent ? std::optional(field) : std::nullopt;
  }
  constexpr bool is_complete() const noexcept {
    return century() && year_of_century() && month() && day();
  }
  constexpr int year() const noexcept { return *century() * 100 + *year_of_century(); }

  // The quotient rounded down.
  static constexpr int floor_of(int value, int unit) noexcept {
    return value / unit - (value % unit < 0);
  }
  // Both parts are in range, the date in the form of the packed value.
  static constexpr DateTime of(std::uint64_t date, std::uint64_t time) noexcept {
    return DateTime(date | time << 27);
  }
  static Result<DateTime> from_instant(TimePoint instant);
  static Result<std::uint64_t> pack_date(int year, std::chrono::month month, std::chrono::day day);

  std::uint64_t packed_ = kNothing;
};

inline Result<std::uint64_t> DateTime::pack_date(int year, std::chrono::month month,
                                                 std::chrono::day day) {
  const int century = floor_of(year, 100);
  if (century == 0 || century < -1024 || century > 1023) {
    return Error(QM_ERROR_RANGE, "date-times have no such year");
  }
  return (static_cast<std::uint64_t>(century) & 0x7FF) |
         static_cast<std::uint64_t>(year - century * 100) << 11 |
         std::uint64_t{static_cast<unsigned>(month)} << 18 |
         std::uint64_t{static_cast<unsigned>(day)} << 22;
}

inline Result<DateTime> DateTime::try_from(std::chrono::year_month_day date) {
  if (!date.ok()) return Error(QM_ERROR_RANGE, "this date is in no calendar");
  return pack_date(static_cast<int>(date.year()), date.month(), date.day())
      .transform([](std::uint64_t packed) { return of(packed, kNoTime); });
}

inline Result<DateTime> DateTime::try_from(std::chrono::microseconds time_of_day) {
  if (time_of_day.count() < 0 || time_of_day.count() >= std::int64_t{kNoTime}) {
    return Error(QM_ERROR_RANGE, "this is no time of a day");
  }
  return of(kNoDate, static_cast<std::uint64_t>(time_of_day.count()));
}

inline Result<DateTime> DateTime::from_instant(TimePoint instant) {
  constexpr std::chrono::microseconds kDay = std::chrono::days(1);
  const auto whole = std::chrono::duration_cast<std::chrono::days>(instant.time_since_epoch());
  const std::chrono::microseconds rest = instant.time_since_epoch() % kDay;
  const std::chrono::days midnight = whole - std::chrono::days(rest.count() < 0);
  const auto time = static_cast<std::uint64_t>((rest.count() < 0 ? rest + kDay : rest).count());
  const int cycles = floor_of(static_cast<int>(midnight.count()), kDaysOfCycle);
  const std::chrono::year_month_day date(std::chrono::sys_days(midnight) -
                                         std::chrono::days(cycles * kDaysOfCycle));
  return pack_date(static_cast<int>(date.year()) + cycles * kCycle, date.month(), date.day())
      .transform([time](std::uint64_t packed) { return of(packed, time); });
}

constexpr std::optional<std::chrono::year_month_day> DateTime::date() const noexcept {
  constexpr int kLastYear = static_cast<int>(std::chrono::year::max());
  if (!is_complete() || year() < -kLastYear || year() > kLastYear) return std::nullopt;
  return std::chrono::year(year()) / *month() / *day();
}

inline Result<TimePoint> DateTime::try_time_point() const {
  if (!is_complete() || !has_time() || *month() > 12) {
    return Error(QM_ERROR_ARGUMENT, "this date-time is no instant");
  }
  const int cycles = floor_of(year(), kCycle);
  const auto date = std::chrono::year(year() - cycles * kCycle) / *month() / *day();
  return TimePoint(std::chrono::sys_days(date) + std::chrono::days(cycles * kDaysOfCycle)) +
         *time();
}

}  // namespace qm
