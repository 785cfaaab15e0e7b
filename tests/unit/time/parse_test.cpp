#include "variant/time/parse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "tests/support/random.h"
#include "tests/unit/time/date_time_support.h"

namespace qmsd {
namespace {

struct ParseRow {
  std::string_view text;
  DateTime value;
};

void expect_parsed(std::initializer_list<ParseRow> rows) {
  for (const ParseRow& row : rows) EXPECT_EQ(parse_date_time(row.text), row.value) << row.text;
}

const DateTime kLeapDay = date(2024, 2, 29);

TEST(Parse, ReadsTheDefaultForm) {
  expect_parsed({
      {"2024-02-29 13:05:09.123", at(kLeapDay, 13, 5, 9, 123'000)},
      {"2024-02-29 13:05:09.123456", at(kLeapDay, 13, 5, 9, 123'456)},
      {"2024-02-29", kLeapDay},
      {"13:05:09.123", clock(13, 5, 9, 123'000)},
      {"", DateTime()},
      {{}, DateTime()},
  });
}

TEST(Parse, TakesAnySeparatorThatIsNoDigit) {
  expect_parsed({
      {"2024-02-29T13:05", at(kLeapDay, 13, 5)},
      {"2024-02-29-13:05", at(kLeapDay, 13, 5)},
      {"2024-02-29\x01"
       "13:05",
       at(kLeapDay, 13, 5)},
      {"2024-02-29\x80"
       "13:05",
       at(kLeapDay, 13, 5)},
      {"2024-02-29  13:05", kLeapDay},
      {"2024-02-29 ", kLeapDay},
      {"2024-02-291", DateTime()},
      {"2024-02-29X", DateTime()},
      {"2024-02-29x13:05", at(kLeapDay, 13, 5)},
  });
}

TEST(Parse, ReadsYearsOfOneToFourPlaces) {
  expect_parsed({
      {"5-01-02", of_fields(0, 5, 1, 2)},
      {"24-01-02", of_fields(0, 24, 1, 2)},
      {"124-01-02", of_fields(1, 24, 1, 2)},
      {"0024-01-02", of_fields(0, 24, 1, 2)},
      {"024-01-02", of_fields(0, 24, 1, 2)},
      {"2000-01-02", of_fields(20, 0, 1, 2)},
      {"12345-01-01", DateTime()},
      {"-05-17", DateTime()},
      {"-2024-05-17", DateTime()},
      {"+2024-05-17", DateTime()},
  });
}

TEST(Parse, LeavesAPartWithAnUnknownPlaceAbsent) {
  expect_parsed({
      {"XXXX-05-17", of_fields(0, 127, 5, 17)},
      {"2X24-02-29", of_fields(0, 24, 2, 29)},
      {"X024-02-29", of_fields(0, 24, 2, 29)},
      {"X24-02-29", of_fields(0, 24, 2, 29)},
      {"20X4-02-29", of_fields(20, 127, 2, 29)},
      {"202X-02-29", of_fields(20, 127, 2, 29)},
      {"X-02-29", of_fields(0, 127, 2, 29)},
      {"2024-0X-29", of_fields(20, 24, 0, 29)},
      {"2024-X2-29", of_fields(20, 24, 0, 29)},
      {"2024-02-2X", of_fields(20, 24, 2, 0)},
      {"2024-02-X9", of_fields(20, 24, 2, 0)},
      {"2024-XX-XX 13:05", at(of_fields(20, 24, 0, 0), 13, 5)},
      {"XXXX-XX-XX", DateTime()},
      {"xxxx-05-17", DateTime()},
  });
}

TEST(Parse, LeavesMonthAndDayZeroAbsent) {
  expect_parsed({
      {"2024-00-00 13:05", at(of_fields(20, 24, 0, 0), 13, 5)},
      {"2024-00-31", of_fields(20, 24, 0, 31)},
      {"2024-02-00", of_fields(20, 24, 2, 0)},
      {"0000-01-01", of_fields(0, 0, 1, 1)},
  });
}

TEST(Parse, GivesNothingForADateThatCannotBe) {
  expect_parsed({
      {"2024-13-01", DateTime()},
      {"2024-13-01 13:05", DateTime()},
      {"2024-99-XX", DateTime()},
      {"2024-02-30 13:05", DateTime()},
      {"2024-04-31", DateTime()},
      {"2024-01-32", DateTime()},
      {"XXXX-XX-32", DateTime()},
      {"2024-00-32", DateTime()},
      {"XXXX-XX-31", of_fields(0, 127, 0, 31)},
  });
}

TEST(Parse, AllowsEveryMonthItsLongestLength) {
  const int lengths[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int month = 1; month <= 12; ++month) {
    for (int day = 1; day <= 32; ++day) {
      char text[] = "2023-00-00";
      text[5] = static_cast<char>('0' + month / 10);
      text[6] = static_cast<char>('0' + month % 10);
      text[8] = static_cast<char>('0' + day / 10);
      text[9] = static_cast<char>('0' + day % 10);
      const bool possible = day <= lengths[month - 1];
      EXPECT_EQ(parse_date_time(text), possible ? date(2023, month, day) : DateTime()) << text;
    }
  }
}

TEST(Parse, GivesNothingForABadDateLayout) {
  for (const char* text : {"2024-", "2024-0", "2024-02", "2024-02-", "2024-02-2", "2024-2-29",
                           "2024-02-9", "2024-002-29", "2024-02:29", "2024-02-029", "2024--02-29",
                           "2024-02-29-", "2024-02 29 13:05", "-", "--", "2024-AB-29"}) {
    const DateTime expected = std::string_view(text) == "2024-02-29-" ? kLeapDay : DateTime();
    EXPECT_EQ(parse_date_time(text), expected) << text;
  }
}

TEST(Parse, ReadsATimeAlone) {
  expect_parsed({
      {"13:05", clock(13, 5)},
      {"00:00", clock(0, 0)},
      {"23:59:59.999999", clock(23, 59, 59, 999'999)},
      {"13:05:09", clock(13, 5, 9)},
      {"13:05 and more", clock(13, 5)},
      {"13:05X", clock(13, 5)},
  });
}

TEST(Parse, ReadsNoTimeThatIsNone) {
  expect_parsed({
      {"24:00", DateTime()},
      {"30:00", DateTime()},
      {"23:60", DateTime()},
      {"23:5", DateTime()},
      {"2:05", DateTime()},
      {"13", DateTime()},
      {"13:", DateTime()},
      {"1305", DateTime()},
      {"13.05", DateTime()},
      {"13:055", DateTime()},
      {"XX:05", DateTime()},
      {"13:XX", DateTime()},
      {"1X:05", DateTime()},
      {" 13:05", DateTime()},
      {"\x80", DateTime()},
      {"hello", DateTime()},
      {"2024-02-29 24:00", kLeapDay},
      {"2024-02-29 13:XX", kLeapDay},
  });
}

TEST(Parse, KeepsTheMinutesBeforeBadSeconds) {
  expect_parsed({
      {"13:05:7", clock(13, 5)},
      {"13:05:60", clock(13, 5)},
      {"13:05:", clock(13, 5)},
      {"13:05:077", clock(13, 5)},
      {"13:05:0X", clock(13, 5)},
      {"13:05:XX.5", clock(13, 5)},
      {"13:05.5", clock(13, 5)},
      {"13:05.", clock(13, 5)},
  });
}

TEST(Parse, ReadsUpToSixFractionDigits) {
  expect_parsed({
      {"13:05:09.", clock(13, 5, 9)},
      {"13:05:09.X", clock(13, 5, 9)},
      {"13:05:09,5", clock(13, 5, 9)},
      {"13:05:09.5", clock(13, 5, 9, 500'000)},
      {"13:05:09.05", clock(13, 5, 9, 50'000)},
      {"13:05:09.000001", clock(13, 5, 9, 1)},
      {"13:05:09.1234567", clock(13, 5, 9, 123'456)},
      {"13:05:09.999999999", clock(13, 5, 9, 999'999)},
      {"13:05:09.1X2", clock(13, 5, 9, 100'000)},
      {"13:05:09.5 ", clock(13, 5, 9, 500'000)},
  });
}

TEST(Parse, SurvivesLongRunsOfDigits) {
  for (const std::size_t length : {31, 32, 33, 40, 1000}) {
    EXPECT_EQ(parse_date_time(std::string(length, '7')), DateTime());
    EXPECT_EQ(parse_date_time(std::string(length, '7') + "-01-01"), DateTime());
    EXPECT_EQ(parse_date_time(std::string(length, 'X')), DateTime());
  }
}

TEST(Parse, EndsAtTheFirstNul) {
  EXPECT_EQ(parse_date_time(std::string_view("2024-02-29\0"
                                             "13:05",
                                             16)),
            kLeapDay);
  EXPECT_EQ(parse_date_time(std::string_view("13:05\0:09", 9)), clock(13, 5));
  EXPECT_EQ(parse_date_time(std::string_view("\0"
                                             "13:05",
                                             6)),
            DateTime());
}

TEST(Parse, GivesBackEveryPartThatWasPrinted) {
  test::Random random(6);
  for (int i = 0; i < 200'000; ++i) {
    DateTime value;
    if (random.below(4) != 0) value.set_century(random.below(100));
    if (random.below(4) != 0) value.set_year_of_century(random.below(100));
    if (random.below(4) != 0) value.set_month(1 + random.below(12));
    if (random.below(4) != 0) value.set_day(1 + random.below(29));
    if (random.below(2) != 0) value.set_time_of_day(random.below(std::int64_t{86'400'000}) * 1000);
    ASSERT_EQ(parse_date_time(printed(value)), value) << printed(value);
  }
}

TEST(Parse, GivesBackEveryMicrosecond) {
  test::Random random(10);
  for (int i = 0; i < 100'000; ++i) {
    const DateTime value = with_microseconds(
        date(100 + random.below(9900), 1 + random.below(12), 1 + random.below(28)),
        random.below(kMicrosecondsPerDay));
    const std::string text = formatted(value, "%04Y-%02m-%02d %02H:%02M:%02S.%6Z");
    ASSERT_EQ(parse_date_time(text), value) << text;
  }
}

// The same parser written the long way, over a buffer of classified characters.
class BufferParser {
 public:
  static DateTime parse(std::string_view text) { return BufferParser(text).run(); }

 private:
  static constexpr int kMark = 1000;

  explicit BufferParser(std::string_view text) {
    places_.fill('E');
    for (std::size_t i = 0; i < 32 && i < text.size() && text[i] != 0; ++i) {
      const int character = static_cast<unsigned char>(text[i]);
      if (character >= '0' && character <= '9') {
        places_[i] = character - '0';
      } else if (character == 'X') {
        places_[i] = kMark;
      } else {
        places_[i] = character < 32 ? ' ' : character;
      }
    }
  }

  bool digit(std::size_t at) const { return places_[at] <= 9; }
  bool counts(std::size_t at) const { return digit(at) || places_[at] == kMark; }
  int two(std::size_t at) const { return 10 * places_[at] + places_[at + 1]; }
  bool two_digits(std::size_t at) const { return digit(at) && digit(at + 1); }

  DateTime run() {
    std::size_t n = 0;
    while (counts(n)) ++n;
    std::size_t start = 0;
    if (places_[n] == '-') {
      if (!read_date(n)) return DateTime();
      start = n + 7;
    }
    std::replace(places_.begin(), places_.end(), kMark, int{'X'});
    read_time(start);
    return value_;
  }

  bool read_date(std::size_t n) {
    const std::size_t month = n + 1;
    const std::size_t day = n + 4;
    if (n < 1 || n > 4 || !counts(month) || !counts(month + 1) || places_[n + 3] != '-' ||
        !counts(day) || !counts(day + 1) || counts(day + 2)) {
      return false;
    }
    if (n > 2) {
      bool known = true;
      int century = 0;
      for (std::size_t i = 0; i < n - 2; ++i) {
        known = known && digit(i);
        century = century * 10 + places_[i];
      }
      if (known) value_.set_century(century);
    }
    const std::size_t pair = n > 2 ? n - 2 : 0;
    if (n == 1 && digit(0)) value_.set_year_of_century(places_[0]);
    if (n > 1 && two_digits(pair)) value_.set_year_of_century(two(pair));
    if (two_digits(month)) {
      if (two(month) > 12) return false;
      value_.set_month(two(month));
    }
    const int lengths[] = {31, 31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (two_digits(day)) {
      if (two(day) > lengths[value_.month()]) return false;
      value_.set_day(two(day));
    }
    return true;
  }

  void read_time(std::size_t p) {
    if (!(places_[p] <= 2 && digit(p + 1) && (places_[p] < 2 || places_[p + 1] <= 3))) return;
    if (places_[p + 2] != ':' || places_[p + 3] > 5 || !digit(p + 4) || digit(p + 5)) return;
    std::int64_t time = (two(p) * 60 + two(p + 3)) * std::int64_t{60'000'000};
    value_.set_time_of_day(time);
    if (places_[p + 5] != ':' || places_[p + 6] > 5 || !digit(p + 7) || digit(p + 8)) return;
    time += two(p + 6) * std::int64_t{1'000'000};
    value_.set_time_of_day(time);
    if (places_[p + 8] != '.' || !digit(p + 9)) return;
    int fraction = 0;
    int count = 0;
    for (; count < 6 && digit(p + 9 + static_cast<std::size_t>(count)); ++count) {
      fraction = fraction * 10 + places_[p + 9 + static_cast<std::size_t>(count)];
    }
    for (; count < 6; ++count) fraction *= 10;
    value_.set_time_of_day(time + fraction);
  }

  std::array<int, 64> places_;
  DateTime value_;
};

TEST(Parse, AgreesWithTheSameParserWrittenTheLongWay) {
  test::Random random(7);
  const std::string_view characters = "0123456789012345X-:. T\x01\xFF";
  const std::string shapes[] = {"2024-02-29 13:05:09.123456", "24-12-31 23:59:59.9",
                                "XXXX-05-17T00:00:00", "13:05:09.123", "1-01-01 10:10"};
  for (int i = 0; i < 300'000; ++i) {
    std::string text = random.one_of(shapes);
    for (int change = random.below(4); change > 0; --change) {
      const std::size_t at = random.below(text.size() + 1);
      const char character = random.one_of(characters);
      switch (random.below(3)) {
        case 0:
          text.insert(at, 1, character);
          break;
        case 1:
          text.erase(at, 1);
          break;
        default:
          if (at < text.size()) text[at] = character;
      }
    }
    ASSERT_EQ(parse_date_time(text), BufferParser::parse(text)) << text;
  }
}

}  // namespace
}  // namespace qmsd
