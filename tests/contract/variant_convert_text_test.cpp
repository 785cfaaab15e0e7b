// Texts and bytes as targets and as sources of conversions.
#include <climits>
#include <cmath>

#include "tests/contract/support/guarded_target.h"
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

const Codes kRead = {QM_CALL_VARIANTREADARRAY, QM_CALL_VARIANTREADARRAYSHARED};

class VariantTexts : public VariantTest {
 protected:
  // The converted text; what was not told to be the buffer is untouched.
  std::int32_t convert(qm_variant* source, std::int32_t type, std::int32_t size,
                       std::int32_t capacity, GuardedTarget& target) {
    qm_variant_convert record{source, 0, type, size, 1, target.data(), capacity};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1)
        << testing::PrintToString(kernel().error());
    return record.size;
  }
  std::int64_t number_of(std::string_view characters, std::int32_t type, std::int32_t width) {
    std::int64_t values[2] = {0, 0};
    qm_variant* sources[] = {text(characters),
                             wide_text(Text(characters.begin(), characters.end()))};
    for (std::size_t at = 0; at < 2; ++at) {
      qm_variant_convert record{sources[at], 0, type, width, 1, &values[at], width};
      EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
      EXPECT_EQ(record.size, width);
    }
    EXPECT_EQ(values[0], values[1]) << "narrow and wide text read alike: " << characters;
    return values[0];
  }
  double floating_of(std::string_view characters) {
    const std::int64_t bits = number_of(characters, QM_TYPE_FLOATING, 8);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
};

// ---- Numbers as narrow text --------------------------------------------------------------------

struct Counted {
  std::int32_t size;
  std::int32_t capacity;
  unsigned char filled_with;
  const char* bytes;  // of the whole capacity
  std::int32_t result;
};

// 123 into a buffer that was filled with something before.
constexpr Counted kCounted[] = {
    {8, 8, '#', "123\0####", 4}, {2, 8, '#', "12#####\0", 8},  {2, 8, 0, "12\0\0\0\0\0\0", 3},
    {3, 8, '#', "123####\0", 8}, {4, 8, '#', "123\0###\0", 4}, {8, 3, '#', "12\0", 3},
    {8, 4, '#', "123\0", 4},     {1, 8, '#', "1######\0", 8},  {8, 1, '#', "\0", 1},
    {1, 1, '#', "\0", 1},        {8, 2, '#', "1\0", 2},        {100, 5, '#', "123\0\0", 4},
};

TEST_F(VariantTexts, OfNumbersAreCutAtTheWidthAndEndWithTheBuffer) {
  const std::int32_t elements[] = {0, 123, 0};
  qm_variant* numbers = make(QM_TYPE_SIGNED_ARRAY, 4, 3, elements);
  for (const Counted& counted : kCounted) {
    SCOPED_TRACE(printable(text_of("size %d, capacity %d", counted.size, counted.capacity)));
    std::string expected(counted.bytes, static_cast<std::size_t>(counted.capacity));
    expected.back() = '\0';
    const auto check = [&](const unsigned char* found) {
      EXPECT_EQ(std::string(found, found + counted.capacity), expected);
      EXPECT_EQ(found[counted.capacity], counted.filled_with) << "written behind the capacity";
    };
    for (const std::int32_t type : {QM_TYPE_TEXT, QM_TYPE_TEXT_AUTO}) {
      for (qm_variant* source : {integer(123), scalar<std::uint8_t>(QM_TYPE_UNSIGNED, 123),
                                 scalar<float>(QM_TYPE_FLOATING, 123)}) {
        GuardedTarget target(counted.filled_with);
        EXPECT_EQ(convert(source, type, counted.size, counted.capacity, target), counted.result);
        check(target.data());
      }
      for (const std::uint32_t code : kRead) {
        GuardedTarget target(counted.filled_with);
        qm_variant_array record{numbers, counted.size, type, 1, 1, target.data(), counted.capacity};
        EXPECT_EQ(kernel()(code, &record), 1);
        check(target.data());
      }
    }
  }
}

TEST_F(VariantTexts, OfNumbersInWideCharactersIgnoreTheWidth) {
  struct {
    std::int32_t capacity;
    const qm_wchar* text;
    std::int32_t result;
  } const all[] = {
      {2, QM_W(""), 1},    {3, QM_W(""), 1},    {4, QM_W("1"), 2},
      {5, QM_W("1"), 2},   {6, QM_W("12"), 3},  {7, QM_W("12"), 3},
      {8, QM_W("123"), 4}, {9, QM_W("123"), 4}, {16, QM_W("123"), 4},
  };
  qm_variant* source = integer(123);
  for (const auto& expected : all) {
    for (const std::int32_t type :
         {QM_TYPE_WIDE_TEXT, QM_TYPE_WIDE_TEXT_AUTO, QM_TYPE_WIDE_TEXT_UTF8}) {
      for (const std::int32_t size : {1, 2, 100}) {
        SCOPED_TRACE(printable(text_of("capacity %d, size %d", expected.capacity, size)));
        GuardedTarget target;
        EXPECT_EQ(convert(source, type, size, expected.capacity, target), expected.result);
        EXPECT_EQ(target.wide_text(), expected.text);
        const auto slots = static_cast<std::size_t>(expected.capacity / 2);
        EXPECT_EQ(target.read<qm_wchar>(slots - 1), 0) << "the last slot is always zero";
        EXPECT_TRUE(target.untouched_from(2 * slots));
      }
    }
  }
}

TEST_F(VariantTexts, InWideCharactersNeedRoomForOne) {
  const std::int32_t element = 123;
  qm_variant* numbers = make(QM_TYPE_SIGNED_ARRAY, 4, 1, &element);
  for (qm_variant* source :
       {integer(123), scalar(QM_TYPE_FLOATING, 1.0), numbers,
        scalar<std::int64_t>(QM_TYPE_DATETIME, -1), text("123"), wide_text(QM_W("123"))}) {
    GuardedTarget target;
    qm_variant_convert record{source, -1, QM_TYPE_WIDE_TEXT, 8, 1, target.data(), 1};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTCONVERT, record, failure(22, "(tgtlen)")));
    EXPECT_TRUE(target.untouched_from(0));
  }
  for (const std::uint32_t code : kRead) {
    GuardedTarget target;
    qm_variant_array record{numbers, 8, QM_TYPE_WIDE_TEXT, 0, 1, target.data(), 1};
    EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(tgtlen)")));
    EXPECT_TRUE(target.untouched_from(0));
  }
}

TEST_F(VariantTexts, OfDateTimesAreCutToTheBuffer) {
  std::uint64_t packed = 0;
  qm_variant_convert parse{text("2024-02-29 13:05:09.123"), 0, QM_TYPE_DATETIME, 8, 1, &packed, 8};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &parse), 1);
  qm_variant* source = scalar(QM_TYPE_DATETIME, packed);
  const std::string whole = "2024-02-29 13:05:09.123";
  for (const std::size_t capacity : {1, 2, 11, 23, 24, 25, 40}) {
    SCOPED_TRACE(capacity);
    const auto size = static_cast<std::int32_t>(capacity);
    const std::string expected = whole.substr(0, capacity - 1);
    GuardedTarget narrow;
    EXPECT_EQ(convert(source, QM_TYPE_TEXT, size, size, narrow),
              static_cast<std::int32_t>(expected.size() + 1));
    EXPECT_EQ(narrow.text(), expected);
    EXPECT_TRUE(narrow.untouched_from(capacity));
    if (capacity > 25) continue;
    GuardedTarget wide;
    EXPECT_EQ(convert(source, QM_TYPE_WIDE_TEXT, 1, 2 * size, wide),
              static_cast<std::int32_t>(expected.size() + 1));
    EXPECT_EQ(wide.wide_text(), Text(expected.begin(), expected.end()));
    EXPECT_TRUE(wide.untouched_from(2 * capacity));
  }
}

// ---- Numbers from text -------------------------------------------------------------------------

TEST_F(VariantTexts, ReadAsIntegersUpToTheirFirstOtherCharacter) {
  struct {
    const char* text;
    std::int64_t value;
  } const all[] = {
      {"12abc", 12},
      {"abc", 0},
      {"", 0},
      {" -5x", -5},
      {"\t +7", 7},
      {"0x10", 0},
      {"010", 10},
      {"1.9", 1},
      {"- 5", 0},
      {"9223372036854775807", INT64_MAX},
      {"9223372036854775808", INT64_MAX},
      {"99999999999999999999", INT64_MAX},
      {"-9223372036854775808", INT64_MIN},
      {"-99999999999999999999", INT64_MIN},
  };
  for (const auto& expected : all) {
    SCOPED_TRACE(expected.text);
    kernel().plant_error();
    EXPECT_EQ(number_of(expected.text, QM_TYPE_SIGNED, 8), expected.value);
    EXPECT_EQ(number_of(expected.text, QM_TYPE_UNSIGNED, 8), expected.value);
    EXPECT_EQ(number_of(expected.text, QM_TYPE_SIGNED, 1), expected.value & 0xFF);
    EXPECT_EQ(number_of(expected.text, QM_TYPE_UNSIGNED, 2), expected.value & 0xFFFF);
    EXPECT_EQ(number_of(expected.text, QM_TYPE_SIGNED, 4), expected.value & 0xFFFFFFFF);
    EXPECT_EQ(kernel().error().code, 31415) << "reading a number is never an error";
  }
}

TEST_F(VariantTexts, ReadAsFloatingValuesUpToTheirLongestNumber) {
  EXPECT_EQ(floating_of("1e3z"), 1000.0);
  EXPECT_EQ(floating_of(" -2.5e-1"), -0.25);
  EXPECT_EQ(floating_of("1.5.7"), 1.5);
  EXPECT_EQ(floating_of("1e"), 1.0);
  EXPECT_EQ(floating_of("0x1p3"), 8.0);
  EXPECT_EQ(floating_of("0,5"), 0.0);
  EXPECT_EQ(floating_of("z"), 0.0);
  EXPECT_EQ(floating_of(""), 0.0);
  EXPECT_TRUE(std::isinf(floating_of("inf")));
  EXPECT_TRUE(std::isnan(floating_of("nan")));
  const std::int64_t bits = number_of("0.5", QM_TYPE_FLOATING, 4);
  EXPECT_EQ(bits, 0x3F000000);
}

TEST_F(VariantTexts, EndAtTheirFirstTerminator) {
  EXPECT_EQ(number_of(std::string_view("1\0"
                                       "2",
                                       3),
                      QM_TYPE_SIGNED, 8),
            1);
}

TEST_F(VariantTexts, BeyondAsciiEndTheNumber) {
  qm_variant* source = wide_text(QM_W("1\x0662"));
  EXPECT_EQ(value_of(source), 1);
  EXPECT_EQ(value_of(wide_text(QM_W("\xFF11"))), 0);
}

TEST_F(VariantTexts, HaveNumbersOfNumberWidthsOnly) {
  for (qm_variant* source : {text("7"), wide_text(QM_W("7"))}) {
    for (std::int32_t width = 1; width <= 9; ++width) {
      for (const std::int32_t type :
           {QM_TYPE_SIGNED, QM_TYPE_UNSIGNED, QM_TYPE_FLOATING, QM_TYPE_DATETIME}) {
        const bool is_integer = type == QM_TYPE_SIGNED || type == QM_TYPE_UNSIGNED;
        const bool fits = width == 8 || (width == 4 && type != QM_TYPE_DATETIME) ||
                          (is_integer && (width == 1 || width == 2));
        SCOPED_TRACE(printable(text_of("type %d, width %d", type, width)));
        GuardedTarget target;
        qm_variant_convert record{source, 0, type, width, 1, target.data(), 16};
        if (fits) {
          EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
          EXPECT_TRUE(target.untouched_from(static_cast<std::size_t>(width)));
        } else {
          EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTCONVERT, record, failure(22, "(tgtlen)")));
          EXPECT_TRUE(target.untouched_from(0));
        }
      }
    }
  }
}

TEST_F(VariantTexts, ReadAsDateTimesOrAsNone) {
  struct {
    const char* text;
    const qm_wchar* date;
  } const all[] = {
      {"2024-02-29 13:05:09.123456", QM_W("2024-02-29 13:05:09.123")},
      {"2024-02-29", QM_W("2024-02-29")},
      {"13:05:09.123", QM_W("13:05:09.123")},
      {"XXXX-05-17", QM_W("XXXX-05-17")},
      {"hello", QM_W("")},
      {"", QM_W("")},
  };
  for (const auto& expected : all) {
    SCOPED_TRACE(expected.text);
    const auto packed = number_of(expected.text, QM_TYPE_DATETIME, 8);
    EXPECT_EQ(text_value(scalar(QM_TYPE_DATETIME, packed)), expected.date);
  }
}

// ---- Text from text ----------------------------------------------------------------------------

TEST_F(VariantTexts, AreCopiedAndCutToTheBuffer) {
  qm_variant* sources[] = {text(std::string_view("abc\0d", 5)),
                           wide_text(Text{'a', 'b', 'c', 0, 'd'})};
  const std::string whole = "abc";
  for (qm_variant* source : sources) {
    for (std::size_t capacity = 1; capacity <= 8; ++capacity) {
      const auto size = static_cast<std::int32_t>(capacity);
      for (const std::int32_t width : {1, 2, 100}) {
        SCOPED_TRACE(printable(text_of("capacity %d, width %d", size, width)));
        const std::string expected = whole.substr(0, capacity - 1);
        const auto result = static_cast<std::int32_t>(expected.size() + 1);
        for (const std::int32_t type : {QM_TYPE_TEXT, QM_TYPE_TEXT_AUTO, QM_TYPE_TEXT_UTF8}) {
          GuardedTarget target;
          EXPECT_EQ(convert(source, type, width, size, target), result);
          EXPECT_EQ(target.text(), expected);
          EXPECT_EQ(target.data()[capacity - 1], 0);
          EXPECT_TRUE(target.untouched_from(capacity));
        }
        for (const std::int32_t type :
             {QM_TYPE_WIDE_TEXT, QM_TYPE_WIDE_TEXT_AUTO, QM_TYPE_WIDE_TEXT_UTF8}) {
          GuardedTarget target;
          EXPECT_EQ(convert(source, type, width, 2 * size, target), result);
          EXPECT_EQ(target.wide_text(), Text(expected.begin(), expected.end()));
          EXPECT_EQ(target.read<qm_wchar>(capacity - 1), 0);
          EXPECT_TRUE(target.untouched_from(2 * capacity));
        }
      }
    }
  }
}

TEST_F(VariantTexts, InUtf8AreCutBetweenCodePoints) {
  // e with acute accent, then a code point of two units: two and four bytes.
  qm_variant* source = wide_text(Text{0x00E9, 0xD83D, 0xDE00, 'z'});
  const std::string whole = "\xC3\xA9\xF0\x9F\x98\x80z";
  const std::size_t lengths[] = {0, 0, 2, 2, 2, 2, 6, 7, 7};
  for (std::size_t capacity = 1; capacity <= 9; ++capacity) {
    SCOPED_TRACE(capacity);
    GuardedTarget target;
    const std::size_t length = lengths[capacity - 1];
    EXPECT_EQ(convert(source, QM_TYPE_TEXT_UTF8, 1, static_cast<std::int32_t>(capacity), target),
              static_cast<std::int32_t>(length + 1));
    EXPECT_EQ(target.text(), whole.substr(0, length));
    EXPECT_EQ(target.data()[capacity - 1], 0);
    EXPECT_TRUE(target.untouched_from(capacity));
  }
}

TEST_F(VariantTexts, InUtf8MarkUnpairedSurrogates) {
  for (const Text& lone :
       {Text{0xD83D}, Text{0xDE00}, Text{0xD83D, 0xD83D}, Text{0xDE00, 0xD83D}}) {
    GuardedTarget target;
    convert(wide_text(Text{'a'} + lone + Text{'b'}), QM_TYPE_TEXT_UTF8, 32, 32, target);
    std::string expected = "a";
    for (std::size_t unit = 0; unit < lone.size(); ++unit) expected += "\xEF\xBF\xBD";
    EXPECT_EQ(target.text(), expected + "b");
  }
}

TEST_F(VariantTexts, InUtf8ComeFromNumbersToo) {
  GuardedTarget target;
  EXPECT_EQ(convert(integer(-12), QM_TYPE_TEXT_UTF8, 16, 16, target), 4);
  EXPECT_STREQ(target.text(), "-12");
}

// ---- Bytes -------------------------------------------------------------------------------------

TEST_F(VariantTexts, AndAllElseHaveBytes) {
  const std::uint16_t numbers[] = {0x0102, 0x0304, 0x0506};
  const float one_and_a_half = 1.5f;
  struct {
    qm_variant* variant;
    std::string bytes;
  } const all[] = {
      {scalar<std::int32_t>(QM_TYPE_SIGNED, 0x01020304), "\4\3\2\1"},
      {scalar<std::int8_t>(QM_TYPE_SIGNED, -1), "\xFF"},
      // A float is kept as a double, whose low half is this.
      {make(QM_TYPE_FLOATING, 4, 1, &one_and_a_half), std::string(4, '\0')},
      {scalar<double>(QM_TYPE_FLOATING, 1.5), std::string("\0\0\0\0\0\0\xF8\x3F", 8)},
      {make(QM_TYPE_UNSIGNED_ARRAY, 2, 3, numbers), "\2\1\4\3\6\5"},
      {make(QM_TYPE_UNSIGNED_ARRAY, 2, 0, nullptr), ""},
      {make(QM_TYPE_BINARY, 3, 1, "x\0y"), std::string("x\0y", 3)},
      {make(QM_TYPE_BINARY, 0, 1, "x"), ""},
      {text("ab"), std::string("ab\0", 3)},
      {wide_text(QM_W("ab")), std::string("a\0b\0\0\0", 6)},
  };
  for (const auto& source : all) {
    SCOPED_TRACE(printable(text_of("type %d", info(source.variant).type)));
    for (std::int32_t size = 1; size <= 10; ++size) {
      for (const auto& [width, capacity] : {std::pair(size, 16), {16, size}}) {
        const std::string expected = source.bytes.substr(0, static_cast<std::size_t>(size));
        GuardedTarget target;
        EXPECT_EQ(convert(source.variant, QM_TYPE_BINARY, width, capacity, target),
                  static_cast<std::int32_t>(expected.size()));
        EXPECT_EQ(std::memcmp(target.data(), expected.data(), expected.size()), 0);
        EXPECT_TRUE(target.untouched_from(expected.size()));
      }
    }
  }
}

}  // namespace
}  // namespace contract
