#include "variant/time/format.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/random.h"
#include "tests/unit/time/date_time_support.h"

namespace qmsd {
namespace {

const DateTime kMoment = at(date(2024, 2, 29), 13, 5, 9, 123'456);

TEST(DefaultForm, PrintsThePartsThatAreThere) {
  EXPECT_EQ(printed(kMoment), "2024-02-29 13:05:09.123");
  EXPECT_EQ(printed(date(2024, 2, 29)), "2024-02-29");
  EXPECT_EQ(printed(clock(13, 5, 9, 123'456)), "13:05:09.123");
  EXPECT_EQ(printed(DateTime()), "");
}

TEST(DefaultForm, MarksEveryAbsentPartOfADate) {
  EXPECT_EQ(printed(of_fields(0, 24, 2, 29)), "XX24-02-29");
  EXPECT_EQ(printed(of_fields(20, 127, 2, 29)), "20XX-02-29");
  EXPECT_EQ(printed(of_fields(20, 24, 0, 29)), "2024-XX-29");
  EXPECT_EQ(printed(of_fields(20, 24, 2, 0)), "2024-02-XX");
  EXPECT_EQ(printed(at(of_fields(0, 127, 0, 1), 0, 0)), "XXXX-XX-01 00:00:00.000");
}

TEST(DefaultForm, PrintsWhatNoCalendarHas) {
  EXPECT_EQ(printed(DateTime::invalid()), "-1XX-15-31");
  EXPECT_EQ(printed(date(-44, 3, 15)), "-156-03-15");
  EXPECT_EQ(printed(of_fields(-1, 5, 3, 15)), "-105-03-15");
  EXPECT_EQ(printed(of_fields(5, 126, 15, 31)), "05126-15-31");
  EXPECT_EQ(printed(of_fields(1023, 99, 12, 31)), "102399-12-31");
  EXPECT_EQ(printed(with_microseconds({}, 137'438'953'470)), "38:10:38.953");
}

TEST(DefaultForm, EndsWithATerminatorAndFitsItsBuffer) {
  const DateTime longest = of_fields(-1024, 126, 15, 31, DateTime::kNoTime - 1);
  char buffer[kDefaultFormSize];
  std::memset(buffer, '#', sizeof buffer);
  EXPECT_EQ(print_date_time(longest, buffer), 27u);
  EXPECT_STREQ(buffer, "-1024126-15-31 38:10:38.953");
  EXPECT_EQ(print_date_time(DateTime(), buffer), 0u);
  EXPECT_STREQ(buffer, "");
}

TEST(DefaultForm, IsCutToSmallBuffersAndTerminated) {
  const std::string whole = "2024-02-29 13:05:09.123";
  for (std::size_t capacity = 1; capacity <= 40; ++capacity) {
    std::string buffer(40, '#');
    const std::size_t written = print_date_time(kMoment, {buffer.data(), capacity});
    EXPECT_EQ(written, std::min(capacity - 1, whole.size()));
    EXPECT_EQ(buffer.substr(0, written), whole.substr(0, written));
    EXPECT_EQ(buffer[written], '\0');
    EXPECT_EQ(buffer.substr(capacity).find_first_not_of('#'), std::string::npos);
  }
  EXPECT_EQ(print_date_time(kMoment, {}), 0u);
}

TEST(DefaultForm, PrintsEveryBitPatternLikeTheFormatLanguage) {
  test::Random random(5);
  for (int i = 0; i < 200'000; ++i) {
    DateTime value = DateTime::from_bits(random.bits());
    if (i % 2 == 0) value.set_century(random.below(100));
    if (i % 3 == 0) value.set_time_of_day(DateTime::kNoTime);
    if (i % 5 == 0) value.set_year_of_century(random.below(128));
    ASSERT_EQ(printed(value), formatted(value, default_form(value), kDefaultFormSize));
  }
}

struct FormatRow {
  const char* format;
  DateTime value;
  const char* text;
};

void expect_formats(std::initializer_list<FormatRow> rows) {
  for (const FormatRow& row : rows) {
    EXPECT_EQ(formatted(row.value, row.format), row.text)
        << row.format << " of " << ::testing::PrintToString(row.value);
  }
}

TEST(FormatLanguage, CopiesWhatIsNoConversion) {
  expect_formats({
      {"", kMoment, ""},
      {"plain text\n\x80", kMoment, "plain text\n\x80"},
      {"c y Y m d H M S Z", kMoment, "c y Y m d H M S Z"},
      {"at %H.", kMoment, "at 13."},
  });
}

TEST(FormatLanguage, PrintsEachPart) {
  expect_formats({
      {"%c", kMoment, "20"},
      {"%y", kMoment, "24"},
      {"%Y", kMoment, "2024"},
      {"%m", kMoment, "2"},
      {"%d", kMoment, "29"},
      {"%H", kMoment, "13"},
      {"%M", kMoment, "5"},
      {"%S", kMoment, "9"},
      {"%Z", kMoment, "123"},
      {"%Y", date(-44, 3, 15), "-44"},
      {"%H", with_microseconds({}, 137'438'953'470), "38"},
      {"%M", with_microseconds({}, 137'438'953'470), "10"},
      {"%m", DateTime::invalid(), "15"},
  });
}

TEST(FormatLanguage, PadsWithZerosOnlyBehindALeadingZero) {
  expect_formats({
      {"%2m", kMoment, " 2"},
      {"%02m", kMoment, "02"},
      {"%20m", kMoment, "        2"},  // the 0 is not the first digit
      {"%4Y", kMoment, "2024"},
      {"%6Y", kMoment, "  2024"},
      {"%06Y", kMoment, "002024"},
      {"%1Y", kMoment, "2024"},
      {"%0m", kMoment, "2"},
      {"%00m", kMoment, "2"},
      {"%002m", kMoment, "02"},
      {"%04c", date(-44, 3, 15), "-001"},
      {"%4c", date(-44, 3, 15), "  -1"},
      {"%02c", date(-44, 3, 15), "-1"},
      {"%06Y", date(-44, 3, 15), "-00044"},
  });
}

TEST(FormatLanguage, CapsTheWidthAtNine) {
  expect_formats({
      {"%9d", kMoment, "       29"},
      {"%10d", kMoment, "       29"},
      {"%012d", kMoment, "000000029"},
      {"%099999999999999999999d", kMoment, "000000029"},
      {"%012d", DateTime(), "XXXXXXXXX"},
      {"%12Z", kMoment, "123456000"},
  });
}

TEST(FormatLanguage, RepeatsTheFillCharacterForAnAbsentPart) {
  expect_formats({
      {"%02d", of_fields(20, 24, 2, 0), "XX"},
      {"%2d", of_fields(20, 24, 2, 0), "XX"},
      {"%d", of_fields(20, 24, 2, 0), ""},
      {"%0d", of_fields(20, 24, 2, 0), ""},
      {"%2c%2y", DateTime(), "XXXX"},
      {"%4Y", of_fields(0, 24, 2, 29), "XXXX"},
      {"%4Y", of_fields(20, 127, 2, 29), "XXXX"},
      {"%Y", of_fields(0, 24, 2, 29), ""},
      {"%3m", of_fields(20, 24, 0, 29), "XXX"},
      {"%02H:%02M:%02S", date(2024, 2, 29), "XX:XX:XX"},
      {"%H%M%S", date(2024, 2, 29), ""},
  });
  EXPECT_EQ(formatted(DateTime(), "%02c%3d", 20, '?'), "?????");
}

TEST(FormatLanguage, CutsTheFractionFromNineDigits) {
  const DateTime five = clock(0, 0, 1, 5);
  expect_formats({
      {"%Z", five, "000"},
      {"%0Z", five, "000"},
      {"%1Z", five, "0"},
      {"%3Z", five, "000"},
      {"%6Z", five, "000005"},
      {"%9Z", five, "000005000"},
      {"%09Z", five, "000005000"},
      {"%12Z", five, "000005000"},
      {"%1Z", clock(0, 0, 0, 999'999), "9"},
      {"%6Z", clock(0, 0, 0, 999'999), "999999"},
      {"%7Z", kMoment, "1234560"},
      {"%Z", DateTime(), ""},
      {"%0Z", DateTime(), ""},
      {"%3Z", DateTime(), "XXX"},
      {"%12Z", DateTime(), "XXXXXXXXX"},
  });
}

TEST(FormatLanguage, PrintsOnePercentSignWhateverTheWidth) {
  expect_formats({
      {"%%", kMoment, "%"},
      {"%5%", kMoment, "%"},
      {"%05%", kMoment, "%"},
      {"%%d", kMoment, "%d"},
      {"%%%d", kMoment, "%29"},
  });
}

TEST(FormatLanguage, CopiesUnknownConversionsAsWritten) {
  expect_formats({
      {"%q", kMoment, "%q"},
      {"%5q", kMoment, "%5q"},
      {"%012q", kMoment, "%012q"},
      {"%-2d", kMoment, "%-2d"},
      {"% d", kMoment, "% d"},
      {"%h%s", kMoment, "%h%s"},
      {"%", kMoment, "%"},
      {"%5", kMoment, "%5"},
      {"%012", kMoment, "%012"},
      {"%d%", kMoment, "29%"},
      {"%\xFF", kMoment, "%\xFF"},
  });
  EXPECT_EQ(formatted(kMoment, std::string_view("%\0%d", 4)), std::string_view("%\0"
                                                                               "29",
                                                                               4));
}

TEST(FormatLanguage, StopsOneCharacterBeforeTheCapacity) {
  struct Row {
    std::size_t capacity;
    const char* text;
  };
  const Row rows[] = {{1, ""}, {2, "2"}, {4, "202"}, {5, "2024"}, {6, "2024-"}, {8, "2024-02"}};
  for (const Row& row : rows) {
    EXPECT_EQ(formatted(kMoment, "%04Y-%02m", row.capacity), row.text);
  }
  EXPECT_EQ(formatted(kMoment, "%9d", 4), "   ");
  EXPECT_EQ(formatted(kMoment, "%09Y", 4), "000");
  EXPECT_EQ(formatted(kMoment, "%9Z", 4), "123");
  EXPECT_EQ(formatted(DateTime(), "%9d", 4), "XXX");
  EXPECT_EQ(formatted(kMoment, "%5q", 3), "%5");
}

TEST(FormatLanguage, TerminatesAndWritesNothingBeyond) {
  char buffer[4] = {'#', '#', '#', '#'};
  EXPECT_EQ(format_date_time(kMoment, "abcdef", std::span(buffer).first(3)), 2u);
  EXPECT_EQ(std::string_view(buffer, 4), std::string_view("ab\0#", 4));
  EXPECT_EQ(format_date_time(kMoment, "abcdef", std::span(buffer).first(0)), 0u);
  EXPECT_EQ(std::string_view(buffer, 4), std::string_view("ab\0#", 4));
}

}  // namespace
}  // namespace qmsd
