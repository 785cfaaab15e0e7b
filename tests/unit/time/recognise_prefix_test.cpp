// Compares the recogniser with regular expressions of the same grammar: it has to consume the
// longest prefix of a text that they match as a whole.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <string_view>

#include "tests/support/random.h"
#include "tests/unit/time/plain_calendar.h"
#include "variant/time/recognise.h"

namespace qmsd {
namespace {

// Monday is 0. 0001-01-01 is one, and 400 years are a whole number of weeks.
int weekday_of_new_year(int year) {
  int days = 0;
  for (int y = 1; y < year + 400; ++y) days += plain_month_length(y, 2) == 29 ? 366 : 365;
  return days % 7;
}

// The grammar without signed years.
class Grammar {
 public:
  bool matches(const std::string& text) const {
    std::smatch found;
    if (std::regex_match(text, clock_)) return true;
    if (std::regex_match(text, found, month_and_day_)) return is_date(found);
    if (std::regex_match(text, found, compact_month_and_day_)) return is_date(found);
    if (std::regex_match(text, found, day_of_year_) ||
        std::regex_match(text, found, compact_day_of_year_)) {
      return is_ordinal(found, days_of(year_of(found)));
    }
    return (std::regex_match(text, found, week_) || std::regex_match(text, found, compact_week_)) &&
           is_ordinal(found, weeks_of(year_of(found)));
  }

 private:
  static int year_of(const std::smatch& found) { return std::stoi(found.str(1) + found.str(2)); }
  static int days_of(int year) { return plain_month_length(year, 2) == 29 ? 366 : 365; }
  static int weeks_of(int year) {
    constexpr int kThursday = 3;
    constexpr int kFriday = 4;
    return weekday_of_new_year(year) == kThursday || weekday_of_new_year(year + 1) == kFriday ? 53
                                                                                              : 52;
  }

  // Groups: century, year of the century, ordinal, time, zone.
  static bool is_ordinal(const std::smatch& found, int highest) {
    const int ordinal = std::stoi(found.str(3));
    return ordinal >= 1 && ordinal <= highest && (!found[5].matched || found.str(1) != "00");
  }

  // Groups: century, year of the century, month, day (perhaps unmatched), time, zone.
  static bool is_date(const std::smatch& found) {
    const std::string month = found.str(3);
    const bool has_century = found.str(1) != "XX" && found.str(1) != "00";
    const bool has_year = found.str(2) != "XX";
    const bool has_month = month != "XX";
    const bool has_day = found[4].matched && found.str(4) != "XX";
    if (!has_month && !found[4].matched) return false;
    const int highest = has_month ? plain_month_length(2000, std::stoi(month)) : 31;
    if (has_day && std::stoi(found.str(4)) > highest) return false;
    const bool any = has_century || has_year || has_month || has_day;
    const bool complete = has_century && has_year && has_month && has_day;
    return found[6].matched ? complete || !any : any || found[5].matched;
  }

  const std::string zone_ = R"((Z|z|[+-](?:[01]\d|2[0-3])(?::?[0-5]\d)?)?)";
  const std::string fraction_ = R"((?:[.,]\d+)?)";
  const std::string hour_ = R"((?:[01]\d|2[0-3]))";
  const std::string minute_ = R"([0-5]\d)";
  const std::string clock_text_ = hour_ + ":" + minute_ + "(?::" + minute_ + fraction_ + ")?";
  const std::string compact_text_ = hour_ + "(?:" + minute_ + "(?:" + minute_ + fraction_ + ")?)?";
  const std::string t_time_ = "([Tt](?:" + clock_text_ + "|" + compact_text_ + ")" + zone_ + ")";
  const std::string any_time_ =
      "((?:[Tt](?:" + clock_text_ + "|" + compact_text_ + ")| " + clock_text_ + ")" + zone_ + ")?";
  const std::string month_ = "(0[1-9]|1[0-2]|XX)";
  const std::string day_ = R"((0[1-9]|[12]\d|3[01]|XX))";

  const std::regex clock_{clock_text_ + zone_};
  const std::regex month_and_day_{R"((\d\d|XX)(\d\d|XX)-)" + month_ + "(?:-" + day_ + ")?" +
                                  any_time_};
  const std::regex compact_month_and_day_{R"((\d\d)(\d\d)(0[1-9]|1[0-2])(\d\d))" + t_time_};
  const std::regex day_of_year_{R"((\d\d)(\d\d)-(\d{3}))" + any_time_};
  const std::regex compact_day_of_year_{R"((\d\d)(\d\d)(\d{3}))" + t_time_};
  const std::regex week_{R"((\d\d)(\d\d)-[Ww](\d\d)(?:-[1-7])?)" + any_time_};
  const std::regex compact_week_{R"((\d\d)(\d\d)[Ww](\d\d)[1-7]?)" + any_time_};
};

std::size_t longest_match(const Grammar& grammar, const std::string& text) {
  for (std::size_t length = text.size(); length > 0; --length) {
    if (grammar.matches(text.substr(0, length))) return length;
  }
  return 0;
}

TEST(RecognisePrefix, IsTheLongestThatTheGrammarAllows) {
  const Grammar grammar;
  const std::string dates[] = {"2024-02-29", "XX24-XX-31", "2023-12", "2020-W53-7", "2024-366",
                               "2024W094",   "20240229",   "2024060", "0050-123",   "XXXX-XX-XX"};
  const std::string separators[] = {"T", "t", " ", "", "-"};
  const std::string times[] = {"13:05:09.123", "23:59", "1305", "13", "130509,5", ""};
  const std::string zones[] = {"", "Z", "+01:30", "-0230", "+23", " "};
  const std::string_view characters = "0123456789012345XTtWwZ-:+., ";
  test::Random random(8);
  for (int i = 0; i < 10000; ++i) {
    std::string text = i % 8 == 0 ? "" : random.one_of(dates) + random.one_of(separators);
    text += random.one_of(times) + random.one_of(zones);
    for (int change = random.below(3); change > 0 && !text.empty(); --change) {
      text[random.below(text.size())] = random.one_of(characters);
    }
    if (text.starts_with('+') || text.starts_with('-')) continue;
    ASSERT_EQ(recognise_date_time(text, 0).consumed, longest_match(grammar, text)) << text;
  }
}

}  // namespace
}  // namespace qmsd
