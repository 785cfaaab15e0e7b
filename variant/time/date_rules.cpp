// A rule reads from the front of the text and gives up at the first mismatch; its caller then drops
// the cursor.
#include "variant/time/date_rules.h"

#include <cstdint>

#include "variant/time/calendar.h"

namespace qmsd {
namespace {

// Two digits, or `unknown` for XX.
std::optional<int> read_place(Cursor& text, int low, int high, int unknown) {
  if (text.skip("XX")) return unknown;
  return text.number(2, low, high);
}

struct Year {
  DateTime value;             // with this year and no other part
  std::optional<int> number;  // nothing if some place of it is unknown
};

Year year_of(int number) { return {DateTime::of(number), number}; }

std::optional<Year> read_signed_year(Cursor& text, bool negative) {
  const std::size_t digits = text.count_digits();
  if (digits < 4 || digits > 6) return std::nullopt;
  const auto number = text.number(digits, 0, DateTime::kLastYear);
  if (!number) return std::nullopt;
  return year_of(negative ? -*number : *number);
}

std::optional<Year> read_year(Cursor& text) {
  if (const char sign = text.skip_one_of("+-")) return read_signed_year(text, sign == '-');
  // Century 00 is known, although the value has no way to tell it from an absent one.
  const bool has_century = !text.skip("XX");
  const auto century = has_century ? text.number(2, 0, 99) : DateTime::kNoCentury;
  if (!century) return std::nullopt;
  const auto year_of_century = read_place(text, 0, 99, DateTime::kNoYearOfCentury);
  if (!year_of_century) return std::nullopt;
  if (has_century && *year_of_century != DateTime::kNoYearOfCentury) {
    return year_of(*century * 100 + *year_of_century);
  }
  Year year;
  year.value.set_century(*century);
  year.value.set_year_of_century(*year_of_century);
  return year;
}

// A year without unknown places, and what separates it from the rest.
std::optional<int> read_known_year(Cursor& text) {
  const auto year = read_year(text);
  if (!year || !text.skip("-")) return std::nullopt;
  return year->number;
}

std::optional<DateTime> date_of_day(std::int32_t days) {
  const CalendarDate date = date_from_days(days);
  // The last week may lead into another year. So may the first, but one year more is in range
  // there.
  if (date.year > DateTime::kLastYear) return std::nullopt;
  return DateTime::of(date.year, date.month, date.day);
}

std::optional<DateTime> month_and_day(Cursor& text) {
  const auto year = read_year(text);
  if (!year || !text.skip("-")) return std::nullopt;
  const auto month = read_place(text, 1, 12, DateTime::kNoMonth);
  if (!month || !text.skip("-")) return std::nullopt;
  const int last = *month == DateTime::kNoMonth ? 31 : longest_month_length(*month);
  const auto day = read_place(text, 1, last, DateTime::kNoDay);
  if (!day) return std::nullopt;
  DateTime value = year->value;
  value.set_month(*month);
  value.set_day(*day);
  return value;
}

std::optional<DateTime> month_only(Cursor& text) {
  const auto year = read_year(text);
  if (!year || !text.skip("-")) return std::nullopt;
  const auto month = text.number(2, 1, 12);
  if (!month) return std::nullopt;
  DateTime value = year->value;
  value.set_month(*month);
  return value;
}

std::optional<DateTime> read_day_of_year(Cursor& text, std::optional<int> year) {
  if (!year) return std::nullopt;
  const auto day = text.number(3, 1, is_leap_year(*year) ? 366 : 365);
  if (!day) return std::nullopt;
  return date_of_day(days_from_date(*year, 1, 1) + *day - 1);
}

std::optional<DateTime> day_of_year(Cursor& text) {
  return read_day_of_year(text, read_known_year(text));
}

// The week's Monday.
std::optional<std::int32_t> read_week(Cursor& text, std::optional<int> year) {
  if (!year || !text.skip_one_of("Ww")) return std::nullopt;
  const auto week = text.number(2, 1, weeks_in_year(*year));
  if (!week) return std::nullopt;
  return first_week_of_year(*year) + 7 * (*week - 1);
}

std::optional<DateTime> read_day_of_week(Cursor& text, std::int32_t monday) {
  const auto day = text.number(1, 1, 7);
  if (!day) return std::nullopt;
  return date_of_day(monday + *day - 1);
}

std::optional<DateTime> week_only(Cursor& text) {
  const auto monday = read_week(text, read_known_year(text));
  return monday ? date_of_day(*monday) : std::nullopt;
}

std::optional<DateTime> week_and_day(Cursor& text) {
  const auto monday = read_week(text, read_known_year(text));
  return monday && text.skip("-") ? read_day_of_week(text, *monday) : std::nullopt;
}

std::optional<DateTime> compact_week_only(Cursor& text) {
  const auto monday = read_week(text, text.number(4, 0, 9999));
  return monday ? date_of_day(*monday) : std::nullopt;
}

std::optional<DateTime> compact_week_and_day(Cursor& text) {
  const auto monday = read_week(text, text.number(4, 0, 9999));
  return monday ? read_day_of_week(text, *monday) : std::nullopt;
}

std::optional<DateTime> compact_month_and_day(Cursor& text) {
  const auto year = text.number(4, 0, 9999);
  const auto month = text.number(2, 1, 12);
  if (!year || !month) return std::nullopt;
  const auto day = text.number(2, 1, longest_month_length(*month));
  if (!day) return std::nullopt;
  return DateTime::of(*year, *month, *day);
}

std::optional<DateTime> compact_day_of_year(Cursor& text) {
  return read_day_of_year(text, text.number(4, 0, 9999));
}

constexpr DateRule kDateRules[] = {
    {month_and_day, true},        {month_only, true},
    {day_of_year, true},          {week_only, true},
    {week_and_day, true},         {compact_week_only, true},
    {compact_week_and_day, true}, {compact_month_and_day, false},
    {compact_day_of_year, false},
};

}  // namespace

std::span<const DateRule> date_rules() noexcept { return kDateRules; }

}  // namespace qmsd
