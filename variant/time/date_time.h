// The date-time value: calendar date and time of day in 64 bits, every part of which may be absent.
// This is the layout only; calendar.h and counts.h do the arithmetic.
#pragma once

#include <cstdint>
#include <type_traits>

namespace qmsd {

inline constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
inline constexpr std::int64_t kMicrosecondsPerDay = 86'400 * kMicrosecondsPerSecond;

// The character that stands for each digit of an absent part, in printing as in reading.
inline constexpr char kUnknownDigit = 'X';

class DateTime {
 public:
  // What the parts read as when they are absent.
  static constexpr int kNoCentury = 0;
  static constexpr int kNoYearOfCentury = 127;
  static constexpr int kNoMonth = 0;
  static constexpr int kNoDay = 0;
  static constexpr std::int64_t kNoTime = (std::int64_t{1} << 37) - 1;

  static constexpr int kFirstYear = -102'400;
  static constexpr int kLastYear = 102'399;

  // Empty: every part is absent.
  constexpr DateTime() noexcept = default;
  static constexpr DateTime from_bits(std::uint64_t bits) noexcept { return DateTime(bits); }
  // Years kFirstYear to kLastYear; 0 to 99 come out without a century, since century 0 means none.
  static constexpr DateTime of(int year, int month = kNoMonth, int day = kNoDay,
                               std::int64_t time_of_day = kNoTime) noexcept {
    const int since_first = year - kFirstYear;  // not negative, so division rounds down
    return DateTime(place(kCentury, since_first / 100 + kFirstYear / 100) |
                    place(kYearOfCentury, since_first % 100) | place(kMonth, month) |
                    place(kDay, day) | place(kTime, time_of_day));
  }
  // What a count that no date-time can hold becomes. It looks like a date of century -1.
  static constexpr DateTime invalid() noexcept { return DateTime(~std::uint64_t{0}); }

  constexpr std::uint64_t bits() const noexcept { return bits_; }
  friend constexpr bool operator==(DateTime, DateTime) noexcept = default;

  constexpr int century() const noexcept {
    const int raw = small(kCentury);
    return raw < kCenturyLimit ? raw : raw - 2 * kCenturyLimit;
  }
  constexpr int year_of_century() const noexcept { return small(kYearOfCentury); }
  constexpr int month() const noexcept { return small(kMonth); }
  constexpr int day() const noexcept { return small(kDay); }
  // Microseconds since midnight; may lie beyond 24 hours.
  constexpr std::int64_t time_of_day() const noexcept {
    return static_cast<std::int64_t>(get(kTime));
  }
  // Means something only if century and year of the century are present.
  constexpr int year() const noexcept { return century() * 100 + year_of_century(); }

  constexpr bool has_year() const noexcept {
    return century() != kNoCentury && year_of_century() < kNoYearOfCentury;
  }
  constexpr bool has_date() const noexcept { return (bits_ & kDateMask) != kNoDate; }
  constexpr bool has_time() const noexcept { return time_of_day() != kNoTime; }
  constexpr bool has_complete_date() const noexcept {
    return has_year() && month() != kNoMonth && day() != kNoDay;
  }

  // Values are cut to the width of their field.
  constexpr void set_century(int century) noexcept { set(kCentury, century); }
  constexpr void set_year_of_century(int year) noexcept { set(kYearOfCentury, year); }
  constexpr void set_month(int month) noexcept { set(kMonth, month); }
  constexpr void set_day(int day) noexcept { set(kDay, day); }
  constexpr void set_time_of_day(std::int64_t microseconds) noexcept { set(kTime, microseconds); }

 private:
  struct Field {
    int shift;
    int width;
  };
  static constexpr Field kCentury{0, 11};  // signed
  static constexpr Field kYearOfCentury{11, 7};
  static constexpr Field kMonth{18, 4};
  static constexpr Field kDay{22, 5};
  static constexpr Field kTime{27, 37};

  static constexpr int kCenturyLimit = 1 << 10;
  static constexpr std::uint64_t kDateMask = (std::uint64_t{1} << 27) - 1;
  static constexpr std::uint64_t kNoDate = std::uint64_t{kNoYearOfCentury} << 11;
  static constexpr std::uint64_t kEmpty = std::uint64_t{kNoTime} << 27 | kNoDate;

  explicit constexpr DateTime(std::uint64_t bits) noexcept : bits_(bits) {}

  static constexpr std::uint64_t mask(Field field) noexcept {
    return (std::uint64_t{1} << field.width) - 1;
  }
  static constexpr std::uint64_t place(Field field, std::int64_t value) noexcept {
    return (static_cast<std::uint64_t>(value) & mask(field)) << field.shift;
  }
  constexpr std::uint64_t get(Field field) const noexcept {
    return bits_ >> field.shift & mask(field);
  }
  constexpr int small(Field field) const noexcept { return static_cast<int>(get(field)); }
  constexpr void set(Field field, std::int64_t value) noexcept {
    bits_ = (bits_ & ~(mask(field) << field.shift)) | place(field, value);
  }

  std::uint64_t bits_ = kEmpty;
};

static_assert(sizeof(DateTime) == 8 && std::is_trivially_copyable_v<DateTime>);
static_assert(DateTime().bits() == 0xFFFFFFFF'F803F800);

}  // namespace qmsd
