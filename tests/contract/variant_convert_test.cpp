// The matrix of number and date-time conversions: every source, every target, every width, for
// scalars and for array elements, with guards around each target.
#include <bit>
#include <climits>
#include <cmath>
#include <limits>

#include "tests/contract/support/guarded_target.h"
#include "tests/contract/support/variant_test.h"
#include "tests/support/x87_precision.h"

namespace contract {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kTwoTo63 = 9223372036854775808.0;
const qm_wchar* const kInvalidDate = QM_W("-1XX-15-31");
const qm_wchar* const kEmptyDate = QM_W("");

// A source element and what it reads as.
struct Source {
  std::int32_t type;
  std::int32_t size;
  std::int64_t bits;  // as they lie in memory, low bytes first
  std::int64_t as_signed;
  std::uint64_t as_unsigned;  // at width 8
  double as_floating;
  const qm_wchar* as_date;
  const qm_wchar* as_text;
};

Source integer_source(std::int32_t size, std::int64_t value, const qm_wchar* date,
                      const qm_wchar* text) {
  return {QM_TYPE_SIGNED,
          size,
          value,
          value,
          static_cast<std::uint64_t>(value),
          static_cast<double>(value),
          date,
          text};
}
Source unsigned_source(std::int32_t size, std::uint64_t value, const qm_wchar* date,
                       const qm_wchar* text) {
  const auto bits = static_cast<std::int64_t>(value);
  return {QM_TYPE_UNSIGNED, size, bits, bits, value, static_cast<double>(value), date, text};
}
Source double_source(double value, std::int64_t as_signed, std::uint64_t as_unsigned,
                     const qm_wchar* date, const qm_wchar* text) {
  return {QM_TYPE_FLOATING,
          8,
          std::bit_cast<std::int64_t>(value),
          as_signed,
          as_unsigned,
          value,
          date,
          text};
}
Source float_source(float value, std::int64_t truncated, const qm_wchar* date,
                    const qm_wchar* text) {
  return {QM_TYPE_FLOATING,
          4,
          std::bit_cast<std::int32_t>(value),
          truncated,
          static_cast<std::uint64_t>(truncated),
          value,
          date,
          text};
}
// Microseconds since 1970 give both counts of milliseconds.
Source date_source(std::uint64_t packed, std::int64_t microseconds, double days,
                   const qm_wchar* text) {
  return {QM_TYPE_DATETIME,
          8,
          static_cast<std::int64_t>(packed),
          microseconds / 1000,
          static_cast<std::uint64_t>(microseconds) / 1000,
          days,
          text,
          text};
}

class VariantConversion : public VariantTest {
 protected:
  struct Outcome {
    bool succeeded;
    std::int32_t size;
    GuardedTarget target;
  };

  qm_variant* scalar_of(const Source& source) {
    return make(source.type, source.size, 1, &source.bits, 31);
  }
  // Its second element is the source.
  qm_variant* array_of(const Source& source) {
    const auto width = static_cast<std::size_t>(source.size);
    unsigned char elements[24];
    std::memset(elements, 0x11, sizeof elements);
    std::memcpy(elements + width, &source.bits, width);
    return make(source.type + 64, source.size, 3, elements);
  }

  // Success gives `expected` at the width, failure leaves the record and says why.
  void check(qm_variant* variant, qm_variant* elements, std::int32_t type, std::int32_t size,
             std::int32_t capacity, const unsigned char* expected, bool is_width) {
    SCOPED_TRACE(printable(text_of("type %d, size %d, capacity %d", type, size, capacity)));
    const std::int32_t width = std::min(size, capacity);
    const Failure refusal = failure(22, "(tgtlen)");
    const auto written = static_cast<std::size_t>(is_width ? width : 0);
    const auto expect_written = [&](GuardedTarget& target) {
      EXPECT_EQ(std::memcmp(target.data(), expected, written), 0);
      EXPECT_TRUE(target.untouched_from(written));
    };
    GuardedTarget target;
    qm_variant_convert record{variant, -99, type, size, 1, target.data(), capacity};
    if (is_width) {
      const qm_variant_convert before = record;
      ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
      EXPECT_EQ(record.id, 31);
      EXPECT_EQ(record.size, width);
      record.id = before.id;
      record.size = before.size;
      EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
    } else {
      EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTCONVERT, record, refusal));
    }
    expect_written(target);
    for (const std::uint32_t code : {QM_CALL_VARIANTREADARRAY, QM_CALL_VARIANTREADARRAYSHARED}) {
      GuardedTarget slot;
      qm_variant_array slice{elements, size, type, 1, 1, slot.data(), capacity};
      if (is_width) {
        const qm_variant_array before = slice;
        ASSERT_EQ(kernel()(code, &slice), 1);
        EXPECT_EQ(std::memcmp(&slice, &before, sizeof slice), 0);
      } else {
        EXPECT_TRUE(kernel().refuses(code, slice, refusal));
      }
      expect_written(slot);
    }
  }

  void check_integers(const Source& source, qm_variant* variant, qm_variant* elements) {
    for (const std::int32_t type : {QM_TYPE_SIGNED, QM_TYPE_UNSIGNED}) {
      for (std::int32_t width = 1; width <= 10; ++width) {
        const bool is_width = width == 1 || width == 2 || width == 4 || width == 8;
        // Only the full width reaches the upper half from a floating value.
        const bool goes_signed =
            type == QM_TYPE_SIGNED || (source.type == QM_TYPE_FLOATING && width != 8);
        const std::uint64_t bits =
            goes_signed ? static_cast<std::uint64_t>(source.as_signed) : source.as_unsigned;
        unsigned char expected[8];
        std::memcpy(expected, &bits, sizeof expected);
        check(variant, elements, type, width, 16, expected, is_width);
        check(variant, elements, type, 16, width, expected, is_width);
      }
    }
  }

  void check_floating(const Source& source, qm_variant* variant, qm_variant* elements) {
    const auto narrow = static_cast<float>(source.as_floating);
    unsigned char expected[8];
    for (std::int32_t width = 1; width <= 10; ++width) {
      std::memset(expected, 0, sizeof expected);
      if (std::isnan(source.as_floating)) {
        // Which of the many is no matter, as long as it is one.
        GuardedTarget target;
        qm_variant_convert record{variant, 0, QM_TYPE_FLOATING, 8, 1, target.data(), 8};
        ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
        EXPECT_TRUE(std::isnan(target.read<double>()));
        return;
      }
      if (width == 4) {
        std::memcpy(expected, &narrow, sizeof narrow);
      } else {
        std::memcpy(expected, &source.as_floating, sizeof source.as_floating);
      }
      const bool is_width = width == 4 || width == 8;
      check(variant, elements, QM_TYPE_FLOATING, width, 16, expected, is_width);
      check(variant, elements, QM_TYPE_FLOATING, 16, width, expected, is_width);
    }
  }

  void check_date(const Source& source, qm_variant* variant, qm_variant* elements) {
    std::int64_t packed = 0;
    qm_variant_convert record{variant, 0, QM_TYPE_DATETIME, 8, 1, &packed, 8};
    ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
    EXPECT_EQ(text_value(scalar(QM_TYPE_DATETIME, packed)), source.as_date);
    unsigned char expected[8];
    std::memcpy(expected, &packed, sizeof expected);
    for (std::int32_t width = 1; width <= 10; ++width) {
      check(variant, elements, QM_TYPE_DATETIME, width, 16, expected, width == 8);
      check(variant, elements, QM_TYPE_DATETIME, 16, width, expected, width == 8);
    }
  }

  void check_all(const Source& source) {
    SCOPED_TRACE(printable(text_of("source type %d, size %d, value %lld", source.type, source.size,
                                   static_cast<long long>(source.as_signed))));
    qm_variant* variant = scalar_of(source);
    qm_variant* elements = array_of(source);
    check_integers(source, variant, elements);
    check_floating(source, variant, elements);
    check_date(source, variant, elements);
    if (source.as_text == nullptr) return;
    EXPECT_EQ(text_value(variant), source.as_text);
  }
};

std::vector<Source> sources() {
  return {
      integer_source(1, -1, kInvalidDate, QM_W("-1")),
      integer_source(1, 127, QM_W("1970-01-01 00:00:00.127"), QM_W("127")),
      integer_source(1, -128, QM_W("1969-12-31 23:59:59.872"), QM_W("-128")),
      integer_source(2, 300, QM_W("1970-01-01 00:00:00.300"), QM_W("300")),
      integer_source(2, SHRT_MIN, QM_W("1969-12-31 23:59:27.232"), QM_W("-32768")),
      integer_source(4, -1, kInvalidDate, QM_W("-1")),
      integer_source(4, -2, QM_W("1969-12-31 23:59:59.998"), QM_W("-2")),
      integer_source(4, 86400000, QM_W("1970-01-02 00:00:00.000"), QM_W("86400000")),
      integer_source(8, 0, QM_W("1970-01-01 00:00:00.000"), QM_W("0")),
      integer_source(8, 0x123456789A, QM_W("1972-06-23 22:44:53.530"), QM_W("78187493530")),
      integer_source(8, INT64_MAX, kInvalidDate, QM_W("9223372036854775807")),
      integer_source(8, INT64_MIN, kInvalidDate, QM_W("-9223372036854775808")),
      unsigned_source(1, 255, QM_W("1970-01-01 00:00:00.255"), QM_W("255")),
      unsigned_source(2, 65535, QM_W("1970-01-01 00:01:05.535"), QM_W("65535")),
      unsigned_source(4, UINT_MAX, QM_W("1970-02-19 17:02:47.295"), QM_W("4294967295")),
      unsigned_source(8, 0, QM_W("1970-01-01 00:00:00.000"), QM_W("0")),
      unsigned_source(8, UINT64_MAX, kInvalidDate, QM_W("18446744073709551615")),
      unsigned_source(8, UINT64_MAX - 1, kInvalidDate, QM_W("18446744073709551614")),
      unsigned_source(8, UINT64_MAX - 2047, kInvalidDate, QM_W("18446744073709549568")),
      float_source(1.5f, 1, QM_W("1899-12-31 12:00:00.000"), QM_W("1.5")),
      float_source(-2.75f, -2, QM_W("1899-12-27 06:00:00.000"), QM_W("-2.75")),
      double_source(0.0, 0, 0, QM_W("1899-12-30 00:00:00.000"), QM_W("0")),
      double_source(2.5, 2, 2, QM_W("1900-01-01 12:00:00.000"), QM_W("2.5")),
      double_source(-0.5, 0, 0, QM_W("1899-12-29 12:00:00.000"), QM_W("-0.5")),
      double_source(-1.25, -1, UINT64_MAX, QM_W("1899-12-28 18:00:00.000"), QM_W("-1.25")),
      double_source(-1.5, -1, UINT64_MAX, QM_W("1899-12-28 12:00:00.000"), QM_W("-1.5")),
      double_source(255.9, 255, 255, QM_W("1900-09-11 21:36:00.000"), QM_W("255.9")),
      double_source(25569, 25569, 25569, QM_W("1970-01-01 00:00:00.000"), QM_W("25569")),
      double_source(1234567, 1234567, 1234567, QM_W("5280-02-15 00:00:00.000"),
                    QM_W("1.23457e+006")),
      double_source(kTwoTo63, INT64_MIN, std::uint64_t{1} << 63, kEmptyDate, nullptr),
      double_source(1e19, INT64_MIN, 10000000000000000000u, kEmptyDate, nullptr),
      double_source(2 * kTwoTo63, INT64_MIN, std::uint64_t{1} << 63, kEmptyDate, nullptr),
      double_source(-kTwoTo63, INT64_MIN, std::uint64_t{1} << 63, kEmptyDate, nullptr),
      double_source(-1e19, INT64_MIN, std::uint64_t{1} << 63, kEmptyDate, nullptr),
      double_source(kInfinity, INT64_MIN, std::uint64_t{1} << 63, kEmptyDate, nullptr),
      double_source(-kInfinity, INT64_MIN, std::uint64_t{1} << 63, kEmptyDate, nullptr),
      double_source(kNaN, INT64_MIN, std::uint64_t{1} << 63, kEmptyDate, nullptr),
  };
}

TEST_F(VariantConversion, OfNumbersFollowsTheMatrixHoweverPreciseTheHost) {
  const auto all = sources();
  for (const qmsd::test::Precision precision : qmsd::test::kPrecisions) {
    SCOPED_TRACE(static_cast<int>(precision));
    const qmsd::test::X87Precision guard(precision);
    for (const Source& source : all) check_all(source);
  }
}

TEST_F(VariantConversion, OfDateTimesFollowsTheMatrix) {
  const auto packed = [this](const char* form) {
    std::uint64_t bits = 0;
    qm_variant_convert record{text(form), 0, QM_TYPE_DATETIME, 8, 1, &bits, 8};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
    return bits;
  };
  constexpr std::int64_t kSecond = 1000000;
  constexpr std::int64_t kDay = 86400 * kSecond;
  const Source all[] = {
      date_source(packed("1970-01-02 00:00:00.000"), kDay, 25570, QM_W("1970-01-02 00:00:00.000")),
      date_source(packed("1899-12-30 00:00:00.000"), -25569 * kDay, 0,
                  QM_W("1899-12-30 00:00:00.000")),
      date_source(packed("1900-01-01 12:00:00.000"), -25567 * kDay + kDay / 2, 2.5,
                  QM_W("1900-01-01 12:00:00.000")),
      date_source(packed("1969-12-31 23:59:59.500"), -kSecond / 2, 25568 + 86399.5 / 86400,
                  QM_W("1969-12-31 23:59:59.500")),
      date_source(packed("1970-01-01 00:00:00.123999"), 123999, 25569 + 0.123999 / 86400,
                  QM_W("1970-01-01 00:00:00.123")),
      date_source(packed("2024-02-29"), 19782 * kDay, 45351, QM_W("2024-02-29")),
      date_source(packed("12:00:00.250"), kDay / 2 + kSecond / 4, (43200.25) / 86400,
                  QM_W("12:00:00.250")),
  };
  for (const Source& source : all) {
    SCOPED_TRACE(printable(source.as_text));
    qm_variant* variant = scalar_of(source);
    qm_variant* elements = array_of(source);
    check_integers(source, variant, elements);
    check_floating(source, variant, elements);
    check_date(source, variant, elements);
    EXPECT_EQ(text_value(variant), source.as_text);
  }
}

TEST_F(VariantConversion, PassesTheInvalidDateTimeOn) {
  for (const auto& [bits, shown] :
       {std::pair(UINT64_MAX, kInvalidDate), {0xFFFFFFFFF803F800u, kEmptyDate}}) {
    const Source source{
        QM_TYPE_DATETIME, 8, static_cast<std::int64_t>(bits), -1, UINT64_MAX, kNaN, shown, shown};
    qm_variant* variant = scalar_of(source);
    qm_variant* elements = array_of(source);
    check_integers(source, variant, elements);
    check_date(source, variant, elements);
    EXPECT_EQ(text_value(variant), shown);
  }
}

TEST_F(VariantConversion, OfValuesWithoutAnyDateIsNotANumber) {
  qm_variant* variant = scalar<std::uint64_t>(QM_TYPE_DATETIME, 0xFFFFFFFFF803F800u);
  GuardedTarget target;
  qm_variant_convert record{variant, 0, QM_TYPE_FLOATING, 8, 1, target.data(), 8};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
  EXPECT_TRUE(std::isnan(target.read<double>()));
}

TEST_F(VariantConversion, OfScalarsWithoutSizeWritesNothing) {
  for (const std::int32_t type :
       {QM_TYPE_SIGNED, QM_TYPE_UNSIGNED, QM_TYPE_FLOATING, QM_TYPE_DATETIME}) {
    qm_variant* variant = make(type, 0, 0, nullptr, 31);
    for (const std::int32_t wanted :
         {QM_TYPE_SIGNED, QM_TYPE_UNSIGNED, QM_TYPE_FLOATING, QM_TYPE_DATETIME, QM_TYPE_BINARY,
          QM_TYPE_TEXT, QM_TYPE_WIDE_TEXT}) {
      GuardedTarget target;
      qm_variant_convert record{variant, 0, wanted, 8, 1, target.data(), 16};
      ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
      EXPECT_EQ(record.size, 0);
      EXPECT_EQ(record.id, 31);
      EXPECT_TRUE(target.untouched_from(0));
    }
  }
}

// ---- What converts to what ---------------------------------------------------------------------

TEST_F(VariantConversion, KnowsWhichTypesBecomeWhich) {
  const Codes values = {1, 2, 3, 4, 129, 130, 131, 4226, 4227, 8322, 8323};
  const std::int32_t one = 1;
  struct {
    qm_variant* variant;
    Codes targets;
  } const all[] = {
      {empty(), {}},
      {integer(1), values},
      {scalar(QM_TYPE_UNSIGNED, one), values},
      {scalar(QM_TYPE_FLOATING, 1.0), values},
      {scalar(QM_TYPE_DATETIME, std::int64_t{0}), values},
      {array<std::int32_t>(QM_TYPE_SIGNED_ARRAY, {1}), values},
      {array<std::uint32_t>(QM_TYPE_UNSIGNED_ARRAY, {1}), values},
      {array<double>(QM_TYPE_FLOATING_ARRAY, {1}), values},
      {array<std::int64_t>(QM_TYPE_DATETIME_ARRAY, {0}), values},
      {container(), {}},
      {make(QM_TYPE_BINARY, 4, 1, &one), {129}},
      {text("1"), values},
      {wide_text(QM_W("1")), values},
      {object(1, QM_W("no_such_module")), {132}},
  };
  for (const auto& source : all) {
    for (const std::int32_t type :
         {0,       1,      2,    3,    4,    5,    63,   64,   65,   66,   67,
          68,      69,     127,  128,  129,  130,  131,  132,  133,  -1,   INT_MAX,
          INT_MIN, 0x1001, 4225, 4226, 4227, 4228, 8321, 8322, 8323, 8324, 12418}) {
      SCOPED_TRACE(printable(text_of("from %d to %d", info(source.variant).type, type)));
      GuardedTarget target;
      qm_variant_convert record{source.variant, -99, type, 8, 0, target.data(), 64};
      const bool converts = std::find(source.targets.begin(), source.targets.end(),
                                      static_cast<std::uint32_t>(type)) != source.targets.end();
      if (converts) {
        EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
      } else {
        EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTCONVERT, record, failure(22, "(type)")));
        EXPECT_TRUE(target.untouched_from(0));
      }
    }
  }
}

TEST_F(VariantConversion, NeedsAllItsParameters) {
  qm_variant* variant = integer(1);
  std::int64_t value;
  const qm_variant_convert whole{variant, -99, QM_TYPE_SIGNED, 8, 1, &value, 8};
  std::vector<qm_variant_convert> refused(8, whole);
  refused[0].source = nullptr;
  refused[1].target = nullptr;
  refused[2].size = 0;
  refused[3].size = -1;
  refused[4].capacity = 0;
  refused[5].capacity = INT_MIN;
  refused[6].count = -1;
  refused[7].count = INT_MIN;
  for (qm_variant_convert& record : refused) {
    for (const std::int32_t type : {1, 77}) {
      record.type = type;
      EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTCONVERT, record, failure(22, "(param)")));
    }
  }
}

}  // namespace
}  // namespace contract
