// Date-times to the bit: printed, read back, counted, and built from counts.
#include <cmath>
#include <limits>

#include "tests/contract/support/date_values.h"
#include "tests/contract/support/guarded_target.h"
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

constexpr std::int64_t kDay = 86400000;  // milliseconds
// Days from 1970-01-01 to the first and behind the last of the years -102400 to 102399.
constexpr std::int64_t kFirstDay = -256 * std::int64_t{146097} - 366 - 719162;
constexpr std::int64_t kEndDay = kFirstDay + 512 * std::int64_t{146097};
constexpr std::int64_t kDaysTo1970 = 25569;  // from 1899-12-30
constexpr std::uint64_t kLongestTime = kNoTime - 1;

class VariantDates : public VariantTest {
 protected:
  qm_variant* date_time(std::uint64_t bits) { return scalar(QM_TYPE_DATETIME, bits); }

  template <class Value>
  Value converted(qm_variant* source, std::int32_t type) {
    Value value{};
    qm_variant_convert record{source, 0, type, sizeof value, 1, &value, sizeof value};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1)
        << testing::PrintToString(kernel().error());
    EXPECT_EQ(record.size, static_cast<std::int32_t>(sizeof value));
    return value;
  }
  // As a scalar and as an element of an array alike.
  template <class Value>
  Value counted(std::uint64_t bits, std::int32_t type) {
    const auto value = converted<Value>(date_time(bits), type);
    Value element{};
    qm_variant* dates = array<std::uint64_t>(QM_TYPE_DATETIME_ARRAY, {0, bits});
    qm_variant_array record{dates, sizeof element, type, 1, 1, &element, sizeof element};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTREADARRAY, &record), 1);
    EXPECT_EQ(std::memcmp(&element, &value, sizeof value), 0);
    return value;
  }
  template <class Value>
  std::uint64_t dated(std::int32_t type, Value count) {
    return converted<std::uint64_t>(scalar(type, count), QM_TYPE_DATETIME);
  }
};

// ---- Printing ----------------------------------------------------------------------------------

TEST_F(VariantDates, PrintThePartsThatAreThere) {
  struct {
    std::uint64_t bits;
    std::string text;
  } const all[] = {
      {date(2024, 2, 29, clock(13, 5, 9, 123456)), "2024-02-29 13:05:09.123"},
      {date(2024, 2, 29), "2024-02-29"},
      {time_only(clock(13, 5, 9, 123999)), "13:05:09.123"},
      {time_only(0), "00:00:00.000"},
      {time_only(clock(23, 59, 59, 999999)), "23:59:59.999"},
      {kEmptyDateTime, ""},
      {packed(0, 24, 2, 29), "XX24-02-29"},
      {packed(20, kNoYear, 2, 29), "20XX-02-29"},
      {packed(20, 24, 0, 29), "2024-XX-29"},
      {packed(20, 24, 2, 0), "2024-02-XX"},
      {packed(20, kNoYear, 0, 0), "20XX-XX-XX"},
      {packed(0, 5, 0, 0), "XX05-XX-XX"},
      {packed(0, kNoYear, 5, 17), "XXXX-05-17"},
      {packed(0, kNoYear, 0, 1, 0), "XXXX-XX-01 00:00:00.000"},
      {packed(0, 0, 0, 0, clock(1, 2)), "XX00-XX-XX 01:02:00.000"},
      {0, "XX00-XX-XX 00:00:00.000"},
      {packed(1, 0, 1, 1), "0100-01-01"},
      // what no calendar has
      {kInvalidDateTime, "-1XX-15-31"},
      {packed(-1, 56, 3, 15), "-156-03-15"},
      {packed(1023, 99, 12, 31), "102399-12-31"},
      {packed(5, 126, 15, 31), "05126-15-31"},
      {time_only(kLongestTime), "38:10:38.953"},
      {packed(-1024, 126, 15, 31, kLongestTime), "-1024126-15-31 38:10:38.953"},
  };
  for (const auto& [bits, expected] : all) {
    SCOPED_TRACE(expected);
    const auto length = static_cast<std::int32_t>(expected.size() + 1);
    qm_variant* variant = date_time(bits);
    GuardedTarget narrow;
    qm_variant_convert record{variant, 0, QM_TYPE_TEXT, 40, 1, narrow.data(), length};
    ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
    EXPECT_EQ(record.size, length);
    EXPECT_EQ(narrow.text(), expected);
    EXPECT_TRUE(narrow.untouched_from(expected.size() + 1));
    EXPECT_EQ(text_value(variant), Text(expected.begin(), expected.end()));
  }
}

// Unlike numbers, which may fill their width, a date-time has its terminator within it.
TEST_F(VariantDates, PrintWithinTheirWidth) {
  struct {
    std::int32_t size, capacity;
    std::string bytes;  // of the whole capacity
    std::int32_t result;
  } const all[] = {
      {13, 16, std::string("13:05:09.123\0##\0", 16), 13},
      {12, 16, std::string("13:05:09.12\0###\0", 16), 12},
      {6, 8, std::string("13:05\0#\0", 8), 6},
      {2, 4, std::string("1\0#\0", 4), 2},
      {1, 4, std::string("\0##\0", 4), 1},
      {40, 6, std::string("13:05\0", 6), 6},
      {1, 1, std::string("\0", 1), 1},
  };
  qm_variant* variant = date_time(time_only(clock(13, 5, 9, 123456)));
  for (const auto& expected : all) {
    SCOPED_TRACE(printable(text_of("size %d, capacity %d", expected.size, expected.capacity)));
    GuardedTarget target('#');
    qm_variant_convert record{variant,          0, QM_TYPE_TEXT, expected.size, 1, target.data(),
                              expected.capacity};
    ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
    EXPECT_EQ(record.size, expected.result);
    EXPECT_EQ(std::string(target.text(), expected.bytes.size()), expected.bytes);
  }
}

// ---- Reading -----------------------------------------------------------------------------------

TEST_F(VariantDates, AreReadFromTheirPrintedForm) {
  constexpr std::uint64_t kLeapDay = date(2024, 2, 29);
  struct {
    std::string text;
    std::uint64_t bits;
  } const all[] = {
      {"2024-02-29 13:05:09.123", date(2024, 2, 29, clock(13, 5, 9, 123000))},
      {"2024-02-29 13:05:09.123456", date(2024, 2, 29, clock(13, 5, 9, 123456))},
      {"2024-02-29 13:05:09.1234567890", date(2024, 2, 29, clock(13, 5, 9, 123456))},
      {"2024-02-29", kLeapDay},
      {"2023-02-29", date(2023, 2, 29)},
      {"13:05", time_only(clock(13, 5))},
      {"00:00", time_only(0)},
      {"", kEmptyDateTime},
      {"hello", kEmptyDateTime},
      // years of one to four places
      {"5-01-02", packed(0, 5, 1, 2)},
      {"24-01-02", packed(0, 24, 1, 2)},
      {"124-01-02", packed(1, 24, 1, 2)},
      {"2000-01-02", packed(20, 0, 1, 2)},
      {"12345-01-01", kEmptyDateTime},
      {"-05-17", kEmptyDateTime},
      {"+2024-05-17", kEmptyDateTime},
      // unknown places
      {"XXXX-05-17", packed(0, kNoYear, 5, 17)},
      {"2X24-02-29", packed(0, 24, 2, 29)},
      {"X24-02-29", packed(0, 24, 2, 29)},
      {"20X4-02-29", packed(20, kNoYear, 2, 29)},
      {"X-02-29", packed(0, kNoYear, 2, 29)},
      {"2024-0X-29", packed(20, 24, 0, 29)},
      {"2024-02-X9", packed(20, 24, 2, 0)},
      {"2024-XX-31", packed(20, 24, 0, 31)},
      {"2024-00-00 13:05", packed(20, 24, 0, 0, clock(13, 5))},
      {"XXXX-XX-XX 13:05", time_only(clock(13, 5))},
      {"xxxx-05-17", kEmptyDateTime},
      // dates that cannot be, with all behind them
      {"2024-13-01", kEmptyDateTime},
      {"2024-13-01 13:05", kEmptyDateTime},
      {"2024-02-30 13:05", kEmptyDateTime},
      {"2024-04-31", kEmptyDateTime},
      {"XXXX-XX-32", kEmptyDateTime},
      {"2024-02-291", kEmptyDateTime},
      {"2024-02-29X", kEmptyDateTime},
      {"2024-2-29", kEmptyDateTime},
      {"2024-02", kEmptyDateTime},
      {"2024-02:29 13:05", kEmptyDateTime},
      // the separator
      {"2024-02-29T13:05", date(2024, 2, 29, clock(13, 5))},
      {"2024-02-29\t13:05", date(2024, 2, 29, clock(13, 5))},
      {"2024-02-29  13:05", kLeapDay},
      // times that are none, as a whole or from the seconds on
      {" 13:05", kEmptyDateTime},
      {"24:00", kEmptyDateTime},
      {"23:60", kEmptyDateTime},
      {"7:05", kEmptyDateTime},
      {"13:055", kEmptyDateTime},
      {"13:XX", kEmptyDateTime},
      {"2024-02-29 24:00", kLeapDay},
      {"2024-02-29 XX:05", kLeapDay},
      {"13:05:7", time_only(clock(13, 5))},
      {"13:05:60", time_only(clock(13, 5))},
      {"13:05:099", time_only(clock(13, 5))},
      {"13:05.5", time_only(clock(13, 5))},
      {"13:05:09.", time_only(clock(13, 5, 9))},
      {"13:05:09,5", time_only(clock(13, 5, 9))},
      {"13:05:09.05X", time_only(clock(13, 5, 9, 50000))},
      {"13:05:09.1234567", time_only(clock(13, 5, 9, 123456))},
      {"13:05 and a lot of text that is of no interest", time_only(clock(13, 5))},
      {std::string(40, '7'), kEmptyDateTime},
      {std::string(40, 'X') + "-05-17", kEmptyDateTime},
  };
  kernel().plant_error();
  for (const auto& [characters, bits] : all) {
    SCOPED_TRACE(characters);
    qm_variant* wide = wide_text(Text(characters.begin(), characters.end()));
    EXPECT_EQ(converted<std::uint64_t>(text(characters), QM_TYPE_DATETIME), bits);
    EXPECT_EQ(converted<std::uint64_t>(wide, QM_TYPE_DATETIME), bits);
  }
  EXPECT_EQ(kernel().error().code, 31415) << "reading a date-time is never an error";
}

TEST_F(VariantDates, EndWhereTheirTextDoes) {
  EXPECT_EQ(converted<std::uint64_t>(text(std::string_view("13:05\0:09", 9)), QM_TYPE_DATETIME),
            time_only(clock(13, 5)));
  // Bytes above ASCII are characters like any other, and wide ones that cannot be narrowed end it.
  EXPECT_EQ(converted<std::uint64_t>(text("2024-02-29\xFF"
                                          "13:05"),
                                     QM_TYPE_DATETIME),
            date(2024, 2, 29, clock(13, 5)));
  EXPECT_EQ(converted<std::uint64_t>(wide_text(QM_W("13:05\x20AC:09")), QM_TYPE_DATETIME),
            time_only(clock(13, 5)));
  EXPECT_EQ(converted<std::uint64_t>(wide_text(QM_W("\x20AC")), QM_TYPE_DATETIME), kEmptyDateTime);
}

// ---- Counting ----------------------------------------------------------------------------------

TEST_F(VariantDates, CountMillisecondsSince1970) {
  struct {
    std::uint64_t bits;
    std::int64_t as_signed;
    std::uint64_t as_unsigned;
  } const all[] = {
      {date(1970, 1, 1, 0), 0, 0},
      {date(1970, 1, 2), kDay, kDay},
      {date(2024, 2, 29, clock(13, 5, 9, 123999)), 1709211909123, 1709211909123},
      {date(1969, 12, 31, clock(23, 59, 59, 500000)), -500, (UINT64_MAX - 499999) / 1000},
      {date(1969, 12, 31, clock(23, 59, 59, 999998)), 0, (UINT64_MAX - 1) / 1000},
      // the last microsecond before 1970 cannot be told from the value without any
      {date(1969, 12, 31, clock(23, 59, 59, 999999)), -1, UINT64_MAX},
      {packed(-1024, 0, 1, 1), kFirstDay * kDay,
       (UINT64_MAX - static_cast<std::uint64_t>(-kFirstDay) * kDay * 1000 + 1) / 1000},
      {packed(1023, 99, 12, 31, clock(23, 59, 59, 999999)), kEndDay * kDay - 1, kEndDay * kDay - 1},
      // days that do not exist belong to the next month, times beyond the day to the next day
      {date(2023, 2, 30), 19418 * kDay, 19418 * kDay},
      {date(1970, 1, 1, kLongestTime), 137438953, 137438953},
      // without a complete date the time of day alone
      {time_only(clock(13, 5)), 47100000, 47100000},
      {packed(20, 24, 2, 0, clock(0, 0, 1)), 1000, 1000},
      {packed(0, 99, 12, 31, clock(0, 0, 2)), 2000, 2000},
      {packed(20, kNoYear, 12, 31, 999), 0, 0},
      {packed(20, 24, 0, 29), -1, UINT64_MAX},
      {packed(0, 24, 2, 29), -1, UINT64_MAX},
      {kEmptyDateTime, -1, UINT64_MAX},
      {kInvalidDateTime, -1, UINT64_MAX},
  };
  for (const auto& expected : all) {
    SCOPED_TRACE(printable(text_value(date_time(expected.bits))));
    EXPECT_EQ(counted<std::int64_t>(expected.bits, QM_TYPE_SIGNED), expected.as_signed);
    EXPECT_EQ(counted<std::uint64_t>(expected.bits, QM_TYPE_UNSIGNED), expected.as_unsigned);
    EXPECT_EQ(counted<std::int16_t>(expected.bits, QM_TYPE_SIGNED),
              static_cast<std::int16_t>(expected.as_signed));
    EXPECT_EQ(counted<std::uint16_t>(expected.bits, QM_TYPE_UNSIGNED),
              static_cast<std::uint16_t>(expected.as_unsigned));
  }
}

TEST_F(VariantDates, AreBuiltFromMillisecondsSince1970) {
  struct {
    std::int64_t count;
    std::uint64_t bits;
  } const all[] = {
      {0, date(1970, 1, 1, 0)},
      {kDay, date(1970, 1, 2, 0)},
      {-2, date(1969, 12, 31, clock(23, 59, 59, 998000))},
      {951782400000, date(2000, 2, 29, 0)},
      {-2203891200000, date(1900, 3, 1, 0)},
      {-2203891200001, date(1900, 2, 28, clock(23, 59, 59, 999000))},
      // century 0 is an absent century, and years before year 0 belong to negative ones
      {-719162 * kDay, packed(0, 1, 1, 1, 0)},
      {-719162 * kDay - 1, packed(0, 0, 12, 31, clock(23, 59, 59, 999000))},
      {-719528 * kDay - 1, packed(-1, 99, 12, 31, clock(23, 59, 59, 999000))},
      {kFirstDay * kDay, packed(-1024, 0, 1, 1, 0)},
      {kEndDay * kDay - 1, packed(1023, 99, 12, 31, clock(23, 59, 59, 999000))},
      {-1, kInvalidDateTime},
      {kFirstDay * kDay - 1, kInvalidDateTime},
      {kEndDay * kDay, kInvalidDateTime},
      {INT64_MAX / 1000, kInvalidDateTime},
      {INT64_MAX, kInvalidDateTime},
      {INT64_MIN, kInvalidDateTime},
  };
  for (const auto& [count, bits] : all) {
    EXPECT_EQ(dated(QM_TYPE_SIGNED, count), bits) << count;
    if (count < -1) {
      EXPECT_EQ(dated(QM_TYPE_UNSIGNED, count), kInvalidDateTime) << "too large without its sign";
    } else {
      EXPECT_EQ(dated(QM_TYPE_UNSIGNED, count), bits) << count;
    }
  }
  EXPECT_EQ(dated(QM_TYPE_SIGNED, std::int8_t{-1}), kInvalidDateTime);
  EXPECT_EQ(dated(QM_TYPE_UNSIGNED, std::uint8_t{255}), date(1970, 1, 1, clock(0, 0, 0, 255000)));
}

TEST_F(VariantDates, CountDaysSinceTheEndOf1899) {
  struct {
    std::uint64_t bits;
    double days;
  } const all[] = {
      {date(1899, 12, 30, 0), 0.0},
      {date(1899, 12, 30), 0.0},
      {date(1900, 1, 1, clock(12, 0)), 2.5},
      {date(1899, 12, 28, clock(18, 0)), -1.25},
      {date(1970, 1, 1), kDaysTo1970},
      {date(2024, 2, 29, clock(6, 0)), 45351.25},
      {date(2023, 2, 30), 44987},
      {packed(-1024, 0, 1, 1), kFirstDay + kDaysTo1970},
      {packed(1023, 99, 12, 31, clock(12, 0)), kEndDay - 1 + kDaysTo1970 + 0.5},
      {time_only(clock(18, 0)), 0.75},
      {time_only(0), 0.0},
      {packed(0, 99, 1, 1, clock(6, 0)), 0.25},
      {packed(20, 24, 2, 0, clock(6, 0)), 0.25},
  };
  for (const auto& [bits, days] : all) {
    EXPECT_EQ(counted<double>(bits, QM_TYPE_FLOATING), days) << days;
    EXPECT_EQ(counted<float>(bits, QM_TYPE_FLOATING), static_cast<float>(days)) << days;
  }
  for (const std::uint64_t bits :
       {kEmptyDateTime, kInvalidDateTime, packed(20, 24, 2, 0), packed(0, 24, 2, 29)}) {
    EXPECT_TRUE(std::isnan(counted<double>(bits, QM_TYPE_FLOATING)));
  }
}

TEST_F(VariantDates, AreBuiltFromDaysSinceTheEndOf1899) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kMicrosecond = 1 / 86400e6;
  const double first = kFirstDay + kDaysTo1970;
  const double end = kEndDay + kDaysTo1970;
  struct {
    double days;
    std::uint64_t bits;
  } const all[] = {
      {0.0, date(1899, 12, 30, 0)},
      {-0.0, date(1899, 12, 30, 0)},
      {2.5, date(1900, 1, 1, clock(12, 0))},
      {-1.25, date(1899, 12, 28, clock(18, 0))},
      {45351.25, date(2024, 2, 29, clock(6, 0))},
      {-693593, packed(0, 1, 1, 1, 0)},
      {0.4 * kMicrosecond, date(1899, 12, 30, 0)},
      {0.6 * kMicrosecond, date(1899, 12, 30, 1)},
      {1 - 0.4 * kMicrosecond, date(1899, 12, 31, 0)},
      {-1e-20, date(1899, 12, 30, 0)},
      {first, packed(-1024, 0, 1, 1, 0)},
      {end - 0.5, packed(1023, 99, 12, 31, clock(12, 0))},
      {std::nextafter(first, -kInfinity), kEmptyDateTime},
      {end, kEmptyDateTime},
      {1e300, kEmptyDateTime},
      {kInfinity, kEmptyDateTime},
      {-kInfinity, kEmptyDateTime},
      {std::numeric_limits<double>::quiet_NaN(), kEmptyDateTime},
  };
  for (const auto& [days, bits] : all) EXPECT_EQ(dated(QM_TYPE_FLOATING, days), bits) << days;
  EXPECT_EQ(dated(QM_TYPE_FLOATING, 2.5f), date(1900, 1, 1, clock(12, 0)));
}

}  // namespace
}  // namespace contract
