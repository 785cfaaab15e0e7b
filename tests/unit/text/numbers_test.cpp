#include "services/text/numbers.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>

#include "services/text/strings.h"
#include "tests/support/random.h"
#include "tests/support/x87_precision.h"
#include "tests/unit/text/text_support.h"

namespace qmsd {
namespace {

constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
constexpr auto kSmallest = std::numeric_limits<std::int64_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct IntegerRow {
  std::string_view text;
  std::int64_t value;
  std::size_t consumed;
  bool overflow = false;
};

using ReadInteger = IntegerReading (*)(std::string_view) noexcept;

void expect_integers(ReadInteger read, std::initializer_list<IntegerRow> rows) {
  for (const IntegerRow& row : rows) {
    const IntegerReading result = read(row.text);
    EXPECT_EQ(result.value, row.value) << row.text;
    EXPECT_EQ(result.consumed, row.consumed) << row.text;
    EXPECT_EQ(result.overflow, row.overflow) << row.text;
  }
}

TEST(ReadInteger, TakesTheBaseFromThePrefix) {
  expect_integers(read_integer, {{"0", 0, 1},
                                 {"12", 12, 2},
                                 {"010", 8, 3},
                                 {"0777", 511, 4},
                                 {"0x10", 16, 4},
                                 {"0XfF", 255, 4},
                                 {"-0x10", -16, 5},
                                 {"-010", -8, 4},
                                 {"+7", 7, 2},
                                 {"00", 0, 2},
                                 {"0x0", 0, 3}});
}

TEST(ReadInteger, StopsAtTheFirstCharacterThatIsNoDigitOfTheBase) {
  expect_integers(read_integer, {{"08", 0, 1},
                                 {"0188", 1, 2},
                                 {"0x", 0, 1},
                                 {"0xg", 0, 1},
                                 {"0x-1", 0, 1},
                                 {"-0x", 0, 2},
                                 {"12abc", 12, 2},
                                 {"1 ", 1, 1},
                                 {"1e5", 1, 1},
                                 {"1.5", 1, 1},
                                 {"0x1G", 1, 3},
                                 {"1,000", 1, 1},
                                 {"2024-02-29", 2024, 4}});
}

TEST(ReadInteger, SkipsLeadingWhiteSpaceAndOneSign) {
  expect_integers(read_integer, {{" 5", 5, 2},
                                 {" \t\n\v\f\r-5", -5, 8},
                                 {" +0x1f", 31, 6},
                                 {"\xA0"
                                  "5",
                                  0, 0},
                                 {"- 5", 0, 0},
                                 {"--5", 0, 0},
                                 {"+-5", 0, 0}});
}

TEST(ReadInteger, ReadsNothingWhereThereIsNoNumber) {
  expect_integers(read_integer, {{"", 0, 0},
                                 {{}, 0, 0},
                                 {" ", 0, 0},
                                 {"-", 0, 0},
                                 {"+", 0, 0},
                                 {"abc", 0, 0},
                                 {"x10", 0, 0},
                                 {".5", 0, 0},
                                 {std::string_view("\0"
                                                   "5",
                                                   2),
                                  0, 0}});
}

TEST(ReadInteger, SaturatesAtTheLimits) {
  expect_integers(read_integer, {{"9223372036854775807", kLargest, 19},
                                 {"9223372036854775808", kLargest, 19, true},
                                 {"-9223372036854775808", kSmallest, 20},
                                 {"-9223372036854775809", kSmallest, 20, true},
                                 {"18446744073709551615", kLargest, 20, true},
                                 {"99999999999999999999999 ", kLargest, 23, true},
                                 {"-99999999999999999999999", kSmallest, 24, true},
                                 {"0x7FFFFFFFFFFFFFFF", kLargest, 18},
                                 {"0x8000000000000000", kLargest, 18, true},
                                 {"-0x8000000000000000", kSmallest, 19},
                                 {"0xFFFFFFFFFFFFFFFFFz", kLargest, 19, true},
                                 {"0777777777777777777777", kLargest, 22},
                                 {"01000000000000000000000", kLargest, 23, true}});
}

TEST(ReadDecimal, KnowsNoPrefix) {
  expect_integers(read_decimal, {{"010", 10, 3},
                                 {"0x10", 0, 1},
                                 {"08", 8, 2},
                                 {" -5x", -5, 3},
                                 {"12 monkeys", 12, 2},
                                 {"abc", 0, 0},
                                 {"", 0, 0},
                                 {"99999999999999999999", kLargest, 20, true},
                                 {"-99999999999999999999", kSmallest, 21, true},
                                 {"-9223372036854775808", kSmallest, 20},
                                 {"00000000000000000000000000012", 12, 29}});
}

struct FloatingRow {
  std::string_view text;
  double value;
  std::size_t consumed;
  bool out_of_range = false;
};

void expect_floating(std::initializer_list<FloatingRow> rows) {
  for (const FloatingRow& row : rows) {
    const FloatingReading result = read_floating(row.text);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(result.value), std::bit_cast<std::uint64_t>(row.value))
        << row.text << " gave " << result.value;
    EXPECT_EQ(result.consumed, row.consumed) << row.text;
    EXPECT_EQ(result.out_of_range, row.out_of_range) << row.text;
  }
}

TEST(ReadFloating, ReadsDecimalNumbers) {
  expect_floating({{"0", 0.0, 1},
                   {"-0", -0.0, 2},
                   {"08", 8.0, 2},
                   {"0.5", 0.5, 3},
                   {".5", 0.5, 2},
                   {"5.", 5.0, 2},
                   {"+1.5e3", 1500.0, 6},
                   {"-1.5E-3", -0.0015, 7},
                   {" \t\n\v\f\r2", 2.0, 7},
                   {"16777217", 16777217.0, 8},
                   {"1e22", 1e22, 4},
                   {"1e23", 1e23, 4}});
}

TEST(ReadFloating, TakesTheLongestPrefixThatIsANumber) {
  expect_floating({{"1e3z", 1000.0, 3},
                   {"1e", 1.0, 1},
                   {"1e+", 1.0, 1},
                   {"1ex", 1.0, 1},
                   {"1.5.5", 1.5, 3},
                   {"0,5", 0.0, 1},
                   {"12abc", 12.0, 2},
                   {"1 2", 1.0, 1},
                   {"0x", 0.0, 1},
                   {"0xg", 0.0, 1},
                   {"0x.", 0.0, 1},
                   {"0x.p1", 0.0, 1},
                   {"0x1p", 1.0, 3},
                   {"0x1p+", 1.0, 3},
                   {"0x1p+-3", 1.0, 3},
                   {"0x1p-+3", 1.0, 3},
                   {"1e+-3", 1.0, 1},
                   {"1p3", 1.0, 1}});
}

TEST(ReadFloating, ReadsNothingWhereThereIsNoNumber) {
  expect_floating({{"", 0.0, 0},
                   {{}, 0.0, 0},
                   {" ", 0.0, 0},
                   {"-", 0.0, 0},
                   {"--1", 0.0, 0},
                   {"+-1", 0.0, 0},
                   {"-+1", 0.0, 0},
                   {"- 1", 0.0, 0},
                   {".", 0.0, 0},
                   {"-.", 0.0, 0},
                   {".e5", 0.0, 0},
                   {"e5", 0.0, 0},
                   {"abc", 0.0, 0},
                   {"in", 0.0, 0}});
}

TEST(ReadFloating, ReadsHexadecimalNumbers) {
  expect_floating({{"0x1p3", 8.0, 5},
                   {"0X1P3", 8.0, 5},
                   {"-0x1.8p1", -3.0, 8},
                   {"0x.8p1", 1.0, 6},
                   {"0x10", 16.0, 4},
                   {"0xfF", 255.0, 4},
                   {"0x1p-2", 0.25, 6},
                   {"0x1.p+1", 2.0, 7},
                   {"0x1e5", 485.0, 5},
                   {"0x1p3p", 8.0, 5},
                   {"0x1.00000000000008p0", 1.0, 20},                // a tie
                   {"0x1.00000000000018p0", 1.0 + 2 * 0x1p-52, 20},  // a tie
                   {"0x1.000000000000081p0", 1.0 + 0x1p-52, 21}});
}

TEST(ReadFloating, ReadsWhatIsNotFinite) {
  expect_floating({{"inf", kInfinity, 3},
                   {"-INF", -kInfinity, 4},
                   {"infinity", kInfinity, 8},
                   {"InFiNiTy!", kInfinity, 8},
                   {"infinit", kInfinity, 3}});
  for (const char* text : {"nan", "-NaN", "nan(12_a)", "nan()"}) {
    const FloatingReading result = read_floating(text);
    EXPECT_TRUE(std::isnan(result.value)) << text;
    EXPECT_EQ(result.consumed, std::string_view(text).size()) << text;
    EXPECT_FALSE(result.out_of_range) << text;
    EXPECT_EQ(std::signbit(result.value), *text == '-') << text;
  }
  EXPECT_EQ(read_floating("nan(1").consumed, 3u);
  EXPECT_EQ(read_floating("nan(1-)").consumed, 3u);
}

TEST(ReadFloating, TellsWhatADoubleCannotHold) {
  const std::string zeros(400, '0');
  const std::string nines(400, '9');
  const std::string tiny = "0." + zeros + "1";
  expect_floating({{"1e400", kInfinity, 5, true},
                   {"-1e400", -kInfinity, 6, true},
                   {"1e99999999999999999999", kInfinity, 22, true},
                   {"1.7976931348623158e308", 0x1.fffffffffffffp1023, 22},
                   {"1.7976931348623159e308", kInfinity, 22, true},
                   {"1e-400", 0.0, 6, true},
                   {"-1e-400", -0.0, 7, true},
                   {"1e-99999999999999999999", 0.0, 23, true},
                   {"1e-320", 9.99989e-321, 6, true},
                   {"-4.9e-324", -4.9e-324, 9, true},
                   {"2e-324", 0.0, 6, true},
                   {"2.2250738585072011e-308", 0x0.fffffffffffffp-1022, 23, true},
                   {"2.2250738585072014e-308", 0x1p-1022, 23},
                   {"0e99999999999999999999", 0.0, 22},
                   {"0.0e-99999999999999999999", 0.0, 25},
                   {nines, kInfinity, 400, true},
                   {tiny, 0.0, 403, true},
                   {"0x1p1024", kInfinity, 8, true},
                   {"-0x1p1024", -kInfinity, 9, true},
                   {"0x1.fffffffffffff8p1023", kInfinity, 23, true},
                   {"0x1p-1074", 4.9e-324, 9, true},
                   {"0x1p-1075", 0.0, 9, true},
                   {"0x1p-1022", 0x1p-1022, 9},
                   {"0x1p99999999999999999999", kInfinity, 24, true},
                   {"0x1p-99999999999999999999", 0.0, 25, true}});
  // Places and exponent may point in opposite directions.
  EXPECT_EQ(read_floating(tiny + "e401").value, 1.0);
  EXPECT_EQ(read_floating("1" + zeros + "e-400").value, 1.0);
  EXPECT_EQ(read_floating(nines + "e-50").value, kInfinity);
  EXPECT_EQ(read_floating(tiny + "e50").value, 0.0);
  EXPECT_EQ(read_floating("000" + nines).value, kInfinity);
  EXPECT_EQ(read_floating("0x." + zeros + "1").value, 0.0);
  EXPECT_EQ(read_floating("0x1" + zeros + "p-3").value, kInfinity);
  EXPECT_EQ(read_floating("0x1" + zeros + "p-1600").value, 1.0);
}

TEST(ReadFloating, RoundsCorrectlyHoweverLongTheTextAndPreciseTheHost) {
  struct Row {
    const char* text;
    std::uint64_t bits;
  };
  const Row rows[] = {
      {"0.1", 0x3FB999999999999A},
      {"1.000000059604644775", 0x3FF0000010000000},
      {"9007199254740993", 0x4340000000000000},
      {"9007199254740993.00000000000000000000000000000000000000001", 0x4340000000000001},
      {"9007199254740992.99999999999999999999999999999999999999999", 0x4340000000000000},
      {"123456789012345678", 0x437B69B4BA630F35},
      {"3.141592653589793238462643383279502884197", 0x400921FB54442D18},
      {"6.02214076e23", 0x44DFE185CA57C517},
      {"8.41e21", 0x447C7E83209E90B2},
      {"1.00000000000000011102230246251565404", 0x3FF0000000000000},
      {"1.00000000000000011102230246251565405", 0x3FF0000000000001},
      // a product of two doubles, close to the middle between two more
      {"1281127283698036e15", 0x46302B8BA6BACB0F},
  };
  for (const test::Precision precision : test::kPrecisions) {
    const test::X87Precision guard(precision);
    for (const Row& row : rows) {
      EXPECT_EQ(std::bit_cast<std::uint64_t>(read_floating(row.text).value), row.bits)
          << row.text << " with the x87 unit at " << static_cast<int>(precision);
    }
  }
}

// Enough digits to tell every double from its neighbours.
std::string with_17_digits(double number) {
  char text[64];
  const char* end =
      std::to_chars(std::begin(text), std::end(text), number, std::chars_format::scientific, 16)
          .ptr;
  return {static_cast<const char*>(text), end};
}

double random_finite(test::Random& random) {
  double number;
  do {
    number = std::bit_cast<double>(random.bits());
  } while (!std::isfinite(number));
  return number;
}

TEST(ReadFloating, GivesBackEveryDoubleThatWasPrinted) {
  test::Random random(13);
  for (int i = 0; i < 100'000; ++i) {
    const double number = random_finite(random);
    const FloatingReading result = read_floating(with_17_digits(number));
    ASSERT_EQ(result.value, number) << with_17_digits(number);
    ASSERT_EQ(result.out_of_range, std::fabs(number) < std::numeric_limits<double>::min());
  }
}

TEST(PrintNumber, PrintsIntegers) {
  EXPECT_EQ(print_signed(0).view(), "0");
  EXPECT_EQ(print_signed(-123).view(), "-123");
  EXPECT_EQ(print_signed(kLargest).view(), "9223372036854775807");
  EXPECT_EQ(print_signed(kSmallest).view(), "-9223372036854775808");
  EXPECT_EQ(print_unsigned(0).view(), "0");
  EXPECT_EQ(print_unsigned(std::numeric_limits<std::uint64_t>::max()).view(),
            "18446744073709551615");
}

TEST(PrintNumber, PrintsFloatingWithSixDigits) {
  struct Row {
    double number;
    const char* text;
  };
  const Row rows[] = {{0.0, "0"},
                      {-0.0, "-0"},
                      {0.5, "0.5"},
                      {-1.5, "-1.5"},
                      {0.1, "0.1"},
                      {123456, "123456"},
                      {1234567, "1.23457e+006"},
                      {999999.4, "999999"},
                      {999999.6, "1e+006"},
                      {1e5, "100000"},
                      {1e6, "1e+006"},
                      {1e20, "1e+020"},
                      {1e100, "1e+100"},
                      {0.0001, "0.0001"},
                      {0.00001, "1e-005"},
                      {1.5e-7, "1.5e-007"},
                      {1e-300, "1e-300"},
                      {-1.7976931348623157e308, "-1.79769e+308"},
                      {4.9e-324, "4.94066e-324"},
                      {1.0 / 3, "0.333333"}};
  for (const Row& row : rows) EXPECT_EQ(print_floating(row.number).view(), row.text);
}

TEST(PrintNumber, RoundsTiesAwayFromZero) {
  EXPECT_EQ(print_floating(100000.5).view(), "100001");
  EXPECT_EQ(print_floating(-100000.5).view(), "-100001");
  EXPECT_EQ(print_floating(262144.5).view(), "262145");
  EXPECT_EQ(print_floating(1000005).view(), "1.00001e+006");
  EXPECT_EQ(print_floating(0x1p-10).view(), "0.000976563");
  EXPECT_EQ(print_floating(std::nextafter(100000.5, 0.0)).view(), "100000");
}

TEST(PrintNumber, SpellsWhatIsNotFiniteAsTheRuntimeDoes) {
  EXPECT_EQ(print_floating(kInfinity).view(), "1.#INF");
  EXPECT_EQ(print_floating(-kInfinity).view(), "-1.#INF");
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(print_floating(std::copysign(nan, 1.0)).view(), "1.#QNAN");
  EXPECT_EQ(print_floating(std::copysign(nan, -1.0)).view(), "-1.#IND");
}

template <class... Arguments>
std::string by_formatter(const char* format, Arguments... arguments) {
  char text[64];
  return {text, static_cast<std::size_t>(format_narrow(text, sizeof text, format, arguments...))};
}

TEST(PrintNumber, AgreesWithTheFormatter) {
  test::Random random(14);
  for (int i = 0; i < 100'000; ++i) {
    const auto bits = static_cast<std::int64_t>(random.bits()) >> random.below(64);
    ASSERT_EQ(print_signed(bits).view(), by_formatter("%I64i", bits));
    const auto unsigned_bits = static_cast<std::uint64_t>(bits);
    ASSERT_EQ(print_unsigned(unsigned_bits).view(), by_formatter("%I64u", unsigned_bits));
    const double number = random_finite(random);
    ASSERT_EQ(print_floating(number).view(), by_formatter("%g", number)) << number;
  }
}

TEST(PrintNumber, AgreesWithTheFormatterNearTies) {
  test::Random random(15);
  for (int i = 0; i < 100'000; ++i) {
    // Seven digits ending in 5, moved by powers of ten and two.
    double number = 1'000'005.0 + 10.0 * random.below(900'000);
    for (int k = random.below(20); k > 0; --k) number *= 10;
    number = std::ldexp(number, -random.below(40));
    for (const double neighbour : {-kInfinity, number, kInfinity}) {
      const double near = std::nextafter(number, neighbour);
      ASSERT_EQ(print_floating(near).view(), by_formatter("%g", near)) << with_17_digits(near);
    }
  }
}

TEST(Numbers, KeepTheirPointWhateverTheLocale) {
  for (const char* name : {"C", "German", "de_DE.UTF-8", "French", "fr_FR.UTF-8"}) {
    const test::LocaleScope locale(name);
    if (!locale) continue;
    EXPECT_EQ(print_floating(0.5).view(), "0.5") << name;
    EXPECT_EQ(print_floating(0x1p-10).view(), "0.000976563") << name;  // the formatter prints it
    EXPECT_EQ(read_floating("0.5").value, 0.5) << name;
    EXPECT_EQ(read_floating("0,5").consumed, 1u) << name;
  }
}

}  // namespace
}  // namespace qmsd
