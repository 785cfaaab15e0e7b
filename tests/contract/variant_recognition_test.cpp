// What text that may be a number or a date-time turns out to be, to the bit.
#include <bit>
#include <clocale>

#include "tests/contract/support/date_values.h"
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantRecognition : public VariantTest {
 protected:
  // Both kinds of text.
  std::vector<qm_variant*> created(const std::string& characters) {
    return {text(characters, 0, nullptr, QM_TYPE_TEXT_AUTO),
            wide_text(Text(characters.begin(), characters.end()), QM_TYPE_WIDE_TEXT_AUTO)};
  }
  template <class Value>
  Value value_as(qm_variant* variant, std::int32_t type) {
    Value value{};
    qm_variant_convert record{variant, 0, type, sizeof value, 1, &value, sizeof value};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
    return value;
  }
  std::uint64_t bits_of(qm_variant* date) {
    return value_as<std::uint64_t>(date, QM_TYPE_DATETIME);
  }
  void expect_type(qm_variant* variant, std::int32_t type, std::int32_t size) {
    const qm_variant_info found = info(variant);
    EXPECT_EQ(found.type, type);
    EXPECT_EQ(found.size, size);
    EXPECT_EQ(found.nitems, 1);
  }
  void expect_text(const std::string& characters) {
    SCOPED_TRACE(characters);
    const auto size = static_cast<std::int32_t>(characters.size() + 1);
    const auto variants = created(characters);
    expect_type(variants[0], QM_TYPE_TEXT, size);
    expect_type(variants[1], QM_TYPE_WIDE_TEXT, size);
    for (qm_variant* variant : variants) {
      EXPECT_EQ(text_value(variant), Text(characters.begin(), characters.end()));
    }
  }
  void expect_date_time(const std::string& characters, std::uint64_t bits) {
    SCOPED_TRACE(characters);
    for (qm_variant* variant : created(characters)) {
      expect_type(variant, QM_TYPE_DATETIME, 8);
      EXPECT_EQ(bits_of(variant), bits) << printable(text_value(variant));
    }
  }
};

// ---- Numbers -----------------------------------------------------------------------------------

TEST_F(VariantRecognition, ReadsIntegersInTheirBase) {
  struct {
    const char* text;
    std::int32_t size;
    std::int64_t value;
  } const all[] = {
      {"2147483646", 4, 2147483646},
      {"2147483647", 8, 2147483647},
      {"-2147483647", 4, -2147483647},
      {"-2147483648", 8, -2147483648},
      {"0x10", 4, 16},
      {"-0x10", 4, -16},
      {"0X7ffffffe", 4, 0x7ffffffe},
      {"0x7FFFFFFF", 8, 0x7fffffff},
      {"0x7ffffffffffffffe", 8, 0x7ffffffffffffffe},
      {"010", 4, 8},
      {"-017777777777", 4, -2147483647},
      {"0", 4, 0},
      {"-0", 4, 0},
      {"+7", 4, 7},
      {" \t\n\v\f\r+7", 4, 7},
      {"000000000000000000000000000001", 4, 1},
      {"9223372036854775806", 8, INT64_MAX - 1},
      {"-9223372036854775807", 8, INT64_MIN + 1},
  };
  for (const auto& expected : all) {
    SCOPED_TRACE(expected.text);
    for (qm_variant* variant : created(expected.text)) {
      expect_type(variant, QM_TYPE_SIGNED, expected.size);
      EXPECT_EQ(value_of(variant), expected.value);
    }
  }
}

TEST_F(VariantRecognition, KeepsFloatingValuesAsTheyAreWhateverTheirSize) {
  struct {
    const char* text;
    std::int32_t size;
    std::uint64_t bits;
  } const all[] = {
      {"0.5", 4, 0x3FE0000000000000},
      {"0.1", 8, 0x3FB999999999999A},
      {"-0.0", 4, 0x8000000000000000},
      {"0e999", 4, 0},
      {" +.5", 4, 0x3FE0000000000000},
      {"5.", 4, 0x4014000000000000},
      {"08", 4, 0x4020000000000000},
      {"09.5e-1", 8, 0x3FEE666666666666},
      {"0x1p3", 4, 0x4020000000000000},
      {"1.00000000000000", 4, 0x3FF0000000000000},
      {"000000000000001e5", 4, 0x40F86A0000000000},
      {"1e308", 8, 0x7FE1CCF385EBC8A0},
      {"0.33333333333333", 8, 0x3FD5555555555519},
      // too large for an integer, yet a floating value in hexadecimal
      {"0x7fffffffffffffff", 4, 0x43E0000000000000},
      {"-0x8000000000000000", 4, 0xC3E0000000000000},
      // the ends of single precision
      {"0x1p-126", 4, 0x3810000000000000},
      {"0x1p-127", 8, 0x3800000000000000},
      {"0x1.fffffep127", 4, 0x47EFFFFFE0000000},
      {"0x1p128", 8, 0x47F0000000000000},
      {"0x1p-1022", 8, 0x0010000000000000},
      // bits 2 to 27 decide, the others may be anything
      {"0x1.0000000000003p0", 4, 0x3FF0000000000003},
      {"0x1.0000000000004p0", 8, 0x3FF0000000000004},
      {"0x1.0000008p0", 8, 0x3FF0000008000000},
      {"0x1.000001p0", 4, 0x3FF0000010000000},
      {"0x1.000000ffffffcp0", 4, 0x3FF000000FFFFFFC},
      {"0x1.000000ffffff8p0", 8, 0x3FF000000FFFFFF8},
      {"0x1.fffffffffffffp0", 4, 0x3FFFFFFFFFFFFFFF},
  };
  for (const auto& expected : all) {
    SCOPED_TRACE(expected.text);
    for (qm_variant* variant : created(expected.text)) {
      expect_type(variant, QM_TYPE_FLOATING, expected.size);
      EXPECT_EQ(value_as<std::uint64_t>(variant, QM_TYPE_FLOATING), expected.bits);
    }
  }
}

TEST_F(VariantRecognition, TakesNoNumberThatWouldHaveToBeChanged) {
  for (const char* characters :
       {"9223372036854775807", "-9223372036854775808", "99999999999999999999", "1234567890.123456",
        "0.1234567890123456", "0.0000000000000000", "1000000000000000.", "1e309", "-1e400",
        "1e-320", "1e-400", "0x1p-1023", "inf", "-INFINITY", "nan", "NAN(1)"}) {
    expect_text(characters);
  }
}

TEST_F(VariantRecognition, TakesWholeTextsOnly) {
  for (const char* characters : {"", " ", "+", "-", "--1", "+ 1", "1 ", "1x", "0x", "0xg", "1.5 ",
                                 "1.5.", "1e", "1e+", "0x1p", ".", "0,5", "1'000", "12 13"}) {
    expect_text(characters);
  }
}

// ---- Date-times --------------------------------------------------------------------------------

TEST_F(VariantRecognition, ReadsDates) {
  struct {
    const char* text;
    std::uint64_t bits;
  } const all[] = {
      {"2024-02-29", date(2024, 2, 29)},
      {"2023-02-29", date(2023, 2, 29)},
      {"0099-12-31", packed(0, 99, 12, 31)},
      {"+2024-02-29", date(2024, 2, 29)},
      {"-0044-03-15", packed(-1, 56, 3, 15)},
      {"+12024-01-02", date(12024, 1, 2)},
      {"+002024-01-02", date(2024, 1, 2)},
      {"+102399-12-31", packed(1023, 99, 12, 31)},
      {"-102399-01-01", packed(-1024, 1, 1, 1)},
      // parts that are not known
      {"XXXX-05-17", packed(0, kNoYear, 5, 17)},
      {"20XX-05-17", packed(20, kNoYear, 5, 17)},
      {"XX24-05-17", packed(0, 24, 5, 17)},
      {"2024-XX-31", packed(20, 24, 0, 31)},
      {"2024-05-XX", packed(20, 24, 5, 0)},
      {"2024-XX-XX", packed(20, 24, 0, 0)},
      // without a day, by the day of the year, by the week
      {"2024-12", packed(20, 24, 12, 0)},
      {"XXXX-12", packed(0, kNoYear, 12, 0)},
      {"2024-060", date(2024, 2, 29)},
      {"2024-366", date(2024, 12, 31)},
      {"2023-365", date(2023, 12, 31)},
      {"2024-W09", date(2024, 2, 26)},
      {"2024-w09-4", date(2024, 2, 29)},
      {"2025-W01-1", date(2024, 12, 30)},
      {"2020-W53-7", date(2021, 1, 3)},
      {"2024W09", date(2024, 2, 26)},
      {"2024W094", date(2024, 2, 29)},
  };
  for (const auto& [characters, bits] : all) expect_date_time(characters, bits);
}

TEST_F(VariantRecognition, ReadsTimes) {
  struct {
    const char* text;
    std::uint64_t bits;
  } const all[] = {
      {"13:05", time_only(clock(13, 5))},
      {"23:59:59", time_only(clock(23, 59, 59))},
      {"13:05:09.5", time_only(clock(13, 5, 9, 500000))},
      {"13:05:09,000001", time_only(clock(13, 5, 9, 1))},
      {"13:05:09.123456999", time_only(clock(13, 5, 9, 123456))},
      {"XXXX-XX-XX 13:05", time_only(clock(13, 5))},
      {"2024-02-29 13:05", date(2024, 2, 29, clock(13, 5))},
      {"2024-02-29T13:05:09.123", date(2024, 2, 29, clock(13, 5, 9, 123000))},
      {"2024-02-29t13", date(2024, 2, 29, clock(13, 0))},
      {"2024-02-29T1305", date(2024, 2, 29, clock(13, 5))},
      {"2024-02-29T130509,25", date(2024, 2, 29, clock(13, 5, 9, 250000))},
      {"2024-02 13:05", packed(20, 24, 2, 0, clock(13, 5))},
      {"2024-060T13", date(2024, 2, 29, clock(13, 0))},
      {"2024-W09-4 13:05", date(2024, 2, 29, clock(13, 5))},
      {"2024W094T13", date(2024, 2, 29, clock(13, 0))},
      {"20240229T130509", date(2024, 2, 29, clock(13, 5, 9))},
      {"20240229t13:05", date(2024, 2, 29, clock(13, 5))},
      {"2024060T13", date(2024, 2, 29, clock(13, 0))},
  };
  for (const auto& [characters, bits] : all) expect_date_time(characters, bits);
}

TEST_F(VariantRecognition, LeavesOtherTextsAlone) {
  for (const char* characters :
       {// dates
        "2024-13-01", "2024-00-01", "2024-02-30", "2024-02-00", "2024-2-29", "24-02-29",
        "12024-01-01", "+102400-01-01", "+0002024-01-02", "-102400-01-01", "+XXXX-01-01",
        "2X24-01-01", "2024-0X-01", "XXXX-XX-XX", "00XX-XX-XX", "2024-XX", "2024-000", "2023-366",
        "2024-367", "XXXX-060", "XX24-060", "2024-W00", "2024-W53", "20XX-W09", "XX24-W09",
        "2024-W09-0", "2024-W09-8", "2024W09-4", "+2024W09", "2024/02/29", "29.02.2024",
        "2024-02-29 ", " 2024-02-29", "xxxx-05-17",
        // times
        "24:00", "23:60", "23:59:60", "7:05", "13:5", "13:05:", "13:05:9", "13:05:09.", "13:05.5",
        "T13:05", "XX:05", "13:05 ", " 13:05",
        // both
        "2024-02-29T", "2024-02-29  13:05", "2024-02-29 13", "2024-02-29 1305", "2024-02-29T24",
        "2024-02-29T1305:09", "2024-02-29T13.5", "20240229 13:05", "20240230T13", "2023366T13",
        // zones that are none, or that cannot be applied
        "13:05+24", "13:05+01:60", "13:05+1", "13:05Z+01", "2024-02-29Z", "2024-02-XX 13:05Z",
        "XXXX-02-29T13:05+01:00", "0099-12-31T13:05Z"}) {
    expect_text(characters);
  }
}

// ---- The local zone ----------------------------------------------------------------------------

class VariantZone : public VariantRecognition {
 protected:
  // Milliseconds from one text's time to the other's.
  std::int64_t between(const std::string& from, const std::string& to) {
    const auto count = [this](const std::string& characters) {
      return value_of(text(characters, 0, nullptr, QM_TYPE_TEXT_AUTO));
    };
    return count(to) - count(from);
  }
};

TEST_F(VariantZone, IsWhereDesignatedTimesEnd) {
  const std::int64_t zone = seconds_behind_utc();
  struct {
    const char* designator;
    std::int64_t offset;  // seconds east of Greenwich
  } const all[] = {{"Z", 0},          {"z", 0},          {"+01", 3600},     {"-01", -3600},
                   {"+0130", 5400},   {"-0130", -5400},  {"+05:45", 20700}, {"-00:01", -60},
                   {"+23:59", 86340}, {"-23:59", -86340}};
  for (const auto& [designator, offset] : all) {
    SCOPED_TRACE(designator);
    for (const std::string plain : {"2024-03-01T00:30:00", "2024-02-29 23:59", "-0044-03-15T12"}) {
      EXPECT_EQ(between(plain, plain + designator), -(offset + zone) * 1000);
    }
    // A time without a date turns round at midnight.
    const std::int64_t day = 86400000;
    const std::int64_t moved = between("13:05:09", std::string("13:05:09") + designator);
    EXPECT_EQ(((moved + (offset + zone) * 1000) % day + day) % day, 0);
  }
}

TEST_F(VariantZone, IsNoneForTimesWithoutDesignator) {
  expect_date_time("2024-03-01T00:30:00", date(2024, 3, 1, clock(0, 30)));
  expect_date_time("00:30", time_only(clock(0, 30)));
}

#ifndef _WIN32
// Where the zone follows a variable, a host can move while it runs; the kernel stays where it was.
TEST_F(VariantZone, IsReadOnceWithTheFirstText) {
  const ScopedVariable west("TZ", std::string("WEST5"));
  expect_date_time("13:05Z", time_only(clock(8, 5)));
  expect_date_time("2024-03-01T02:00Z", date(2024, 2, 29, clock(21, 0)));
  const ScopedVariable east("TZ", std::string("EAST-5:30"));
  expect_date_time("13:05Z", time_only(clock(8, 5)));
}
#endif

// ---- The locale --------------------------------------------------------------------------------

TEST_F(VariantRecognition, KnowsOneDecimalPointInEveryLocale) {
  kernel()(QM_CALL_NOP);
  for (const char* locale : {"de_DE.UTF-8", "fr_FR.UTF-8", "German_Germany.1252"}) {
    if (std::setlocale(LC_NUMERIC, locale) == nullptr) continue;
    SCOPED_TRACE(locale);
    for (qm_variant* variant : created("0.5")) {
      expect_type(variant, QM_TYPE_FLOATING, 4);
      EXPECT_EQ(text_value(variant), QM_W("0.5"));
    }
    expect_text("0,5");
    EXPECT_EQ(value_as<double>(text("1.5,5"), QM_TYPE_FLOATING), 1.5);
  }
}

}  // namespace
}  // namespace contract
