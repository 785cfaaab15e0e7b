// Compares the recogniser with a list of all forms that its grammar has: it has to consume the
// longest prefix of a text that is one of them.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/random.h"
#include "tests/unit/time/plain_calendar.h"
#include "variant/time/recognise.h"

namespace qmsd {
namespace {

// Letters of a form stand for digits of a part; those of C, Y, M and D may be written XX:
//   C Y M D  century, year, month, day          c y m d O w e  the same in digits, day of the year,
//   h i s    hours, minutes, seconds                           week, day of the week
//   f        fraction digits                    H I  hours and minutes of the zone
constexpr std::string_view kPlaces = "CYMD";
constexpr std::string_view kDigits = "cymdOwehisfHI";

constexpr const char* kDates[] = {"CCYY-MM-DD", "CCYY-mm", "ccyy-OOO", "ccyy-Www",
                                  "ccyy-Www-e", "ccyyWww", "ccyyWwwe"};
constexpr const char* kDatesBeforeT[] = {"ccyymmdd", "ccyyOOO"};
constexpr const char* kClocks[] = {"hh:ii", "hh:ii:ss", "hh:ii:ss.f"};
constexpr const char* kCompactTimes[] = {"hh", "hhii", "hhiiss", "hhiiss.f"};
constexpr const char* kZones[] = {"", "Z", "+HH", "+HHII", "+HH:II"};

std::vector<std::string> all_forms() {
  std::vector<std::string> forms(std::begin(kDates), std::end(kDates));
  for (const std::string zone : kZones) {
    for (const std::string clock : kClocks) {
      forms.push_back(clock + zone);
      for (const std::string date : kDates) {
        forms.push_back(date + " " + clock + zone);
        forms.push_back(date + "T" + clock + zone);
      }
      for (const std::string date : kDatesBeforeT) forms.push_back(date + "T" + clock + zone);
    }
    for (const std::string time : kCompactTimes) {
      for (const std::string date : kDates) forms.push_back(date + "T" + time + zone);
      for (const std::string date : kDatesBeforeT) forms.push_back(date + "T" + time + zone);
    }
  }
  return forms;
}

bool is_digit(char character) { return character >= '0' && character <= '9'; }

// The parts of a text by their letters; an unknown part is missing.
using Parts = std::map<char, int>;

bool fits(char wanted, char character, Parts& parts) {
  if (kPlaces.find(wanted) != kPlaces.npos && character == 'X') return true;
  if (kPlaces.find(wanted) != kPlaces.npos || kDigits.find(wanted) != kDigits.npos) {
    parts[wanted] = parts[wanted] * 10 + (character - '0');
    return is_digit(character);
  }
  const std::string_view alternatives = wanted == 'T'   ? "Tt"
                                        : wanted == 'W' ? "Ww"
                                        : wanted == 'Z' ? "Zz"
                                        : wanted == '+' ? "+-"
                                        : wanted == '.' ? ".,"
                                                        : std::string_view(&wanted, 1);
  return alternatives.find(character) != alternatives.npos;
}

class Grammar {
 public:
  Grammar() {
    for (const std::string& form : all_forms()) forms_[form.size()].push_back(form);
  }

  std::size_t longest_prefix(const std::string& text) const {
    for (std::size_t length = text.size(); length > 0; --length) {
      if (matches(text.substr(0, length))) return length;
    }
    return 0;
  }

 private:
  bool matches(std::string text) const {
    // Of a fraction's digits only the first decides.
    if (const std::size_t point = text.find_first_of(".,"); point != text.npos) {
      std::size_t end = point + 1;
      while (end < text.size() && is_digit(text[end])) ++end;
      if (end > point + 2) text.erase(point + 2, end - point - 2);
    }
    const auto of_length = forms_.find(text.size());
    if (of_length == forms_.end()) return false;
    for (const std::string& form : of_length->second) {
      if (matches(text, form)) return true;
    }
    return false;
  }

  static bool matches(const std::string& text, const std::string& form) {
    Parts parts;
    std::string places;  // of the date, pair by pair
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (!fits(form[i], text[i], parts)) return false;
      if (kPlaces.find(form[i]) != kPlaces.npos) places += text[i];
    }
    for (std::size_t i = 0; i < places.size(); i += 2) {
      if ((places[i] == 'X') != (places[i + 1] == 'X')) return false;
      if (places[i] == 'X') parts.erase(kPlaces[i / 2]);
    }
    return is_possible(parts, form);
  }

  static int part(const Parts& parts, char letter, int otherwise) {
    const auto found = parts.find(letter);
    return found == parts.end() ? otherwise : found->second;
  }

  static bool is_possible(const Parts& parts, const std::string& form) {
    const int century = part(parts, 'C', part(parts, 'c', 0));
    const int year = century * 100 + part(parts, 'y', 0);
    const int month = part(parts, 'M', part(parts, 'm', 1));
    if (month < 1 || month > 12) return false;
    const bool has_month = parts.contains('M') || parts.contains('m');
    const int day = part(parts, 'D', part(parts, 'd', 1));
    if (day < 1 || day > (has_month ? plain_month_length(2000, month) : 31)) return false;
    const int day_of_year = part(parts, 'O', 1);
    if (day_of_year < 1 || day_of_year > plain_days(year)) return false;
    if (const int week = part(parts, 'w', 1); week < 1 || week > plain_weeks(year)) return false;
    if (const int weekday = part(parts, 'e', 1); weekday < 1 || weekday > 7) return false;
    for (const char hours : {'h', 'H'}) {
      if (part(parts, hours, 0) > 23) return false;
    }
    for (const char sixtieth : {'i', 's', 'I'}) {
      if (part(parts, sixtieth, 0) > 59) return false;
    }
    return has_what_it_needs(parts, form, century != 0);
  }

  // Something must be present, and with a zone the date must be complete or absent.
  static bool has_what_it_needs(const Parts& parts, const std::string& form, bool has_century) {
    const bool has_year = parts.contains('Y') || parts.contains('y');
    const bool has_month = parts.contains('M') || parts.contains('m');
    const bool has_day = parts.contains('D') || parts.contains('d');
    const bool whole_day = parts.contains('O') || parts.contains('w') || (has_month && has_day);
    const bool any = has_century || has_year || has_month || has_day;
    const bool has_zone = form.ends_with('Z') || form.find('H') != form.npos;
    if (has_zone) return !any || (has_century && has_year && whole_day);
    return any || parts.contains('h');
  }

  static int plain_days(int year) { return plain_month_length(year, 2) == 29 ? 366 : 365; }

  // Monday is 0. 0001-01-01 is one, and 400 years are a whole number of weeks.
  static int weekday_of_new_year(int year) {
    int days = 0;
    for (int y = 1; y < year + 400; ++y) days += plain_days(y);
    return days % 7;
  }

  static int plain_weeks(int year) {
    constexpr int kThursday = 3;
    constexpr int kFriday = 4;
    const bool is_long =
        weekday_of_new_year(year) == kThursday || weekday_of_new_year(year + 1) == kFriday;
    return is_long ? 53 : 52;
  }

  std::map<std::size_t, std::vector<std::string>> forms_;
};

TEST(RecognisePrefix, IsTheLongestThatTheGrammarAllows) {
  const Grammar grammar;
  const std::string dates[] = {"2024-02-29", "XX24-XX-31", "2023-12", "2020-W53-7", "2024-366",
                               "2024W094",   "20240229",   "2024060", "0050-123",   "XXXX-XX-XX"};
  const std::string separators[] = {"T", "t", " ", "", "-"};
  const std::string times[] = {"13:05:09.123", "23:59", "1305", "13", "130509,5", ""};
  const std::string zones[] = {"", "Z", "+01:30", "-0230", "+23", " "};
  const std::string_view characters = "0123456789012345XTtWwZ-:+., ";
  test::Random random(8);
  for (int i = 0; i < 20'000; ++i) {
    std::string text = i % 8 == 0 ? "" : random.one_of(dates) + random.one_of(separators);
    text += random.one_of(times) + random.one_of(zones);
    for (int change = random.below(3); change > 0 && !text.empty(); --change) {
      text[random.below(text.size())] = random.one_of(characters);
    }
    // Years with a sign are no part of the list.
    if (text.starts_with('+') || text.starts_with('-')) continue;
    ASSERT_EQ(recognise_date_time(text, 0).consumed, grammar.longest_prefix(text)) << text;
  }
}

}  // namespace
}  // namespace qmsd
