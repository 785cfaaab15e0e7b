// Values read as other types: exactly or not at all, and as the kernel converts them.
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

using ClientReading = ClientTest;

constexpr std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kUint64Max = std::numeric_limits<std::uint64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

template <class T, class From>
testing::AssertionResult reads(From value, T expected) {
  const auto read = qm::Variant::create(qm::Kernel(&Spy::call), value).template try_as<T>();
  if (!read) return testing::AssertionFailure() << value << ": " << read.error().text();
  if (*read == expected) return testing::AssertionSuccess();
  return testing::AssertionFailure() << value << " reads as " << +*read;
}
template <class T>
testing::AssertionResult refuses(auto value) {
  return fails_with(QM_ERROR_RANGE,
                    qm::Variant::create(qm::Kernel(&Spy::call), value).template try_as<T>());
}

// The limits of T are read, what lies just beyond is refused, from either kind of integer.
template <class T>
void expect_limits() {
  using Limits = std::numeric_limits<T>;
  EXPECT_TRUE(reads<T>(Limits::min(), Limits::min()));
  EXPECT_TRUE(reads<T>(Limits::max(), Limits::max()));
  EXPECT_TRUE(reads<T>(0, 0));
  EXPECT_TRUE(reads<T>(std::uint64_t{1}, 1));
  EXPECT_TRUE(reads<T>(-0.0, 0));
  EXPECT_TRUE(reads<T>(1.0f, 1));
  if constexpr (std::is_signed_v<T>) {
    EXPECT_TRUE(reads<T>(-1, -1));
    EXPECT_TRUE(reads<T>(static_cast<double>(Limits::min()), Limits::min()));
  } else {
    EXPECT_TRUE(refuses<T>(-1));
    EXPECT_TRUE(refuses<T>(kInt64Min));
    EXPECT_TRUE(refuses<T>(-1.0));
  }
  if constexpr (sizeof(T) < 8) {
    EXPECT_TRUE(refuses<T>(std::int64_t{Limits::max()} + 1));
    EXPECT_TRUE(refuses<T>(std::int64_t{Limits::min()} - 1));
    EXPECT_TRUE(refuses<T>(kUint64Max));
    EXPECT_TRUE(reads<T>(static_cast<double>(Limits::max()), Limits::max()));
    EXPECT_TRUE(refuses<T>(static_cast<double>(Limits::max()) + 1));
    EXPECT_TRUE(refuses<T>(static_cast<double>(Limits::min()) - 1));
  }
  EXPECT_TRUE(refuses<T>(0.5));
  EXPECT_TRUE(refuses<T>(kNaN));
  EXPECT_TRUE(refuses<T>(kInfinity));
  EXPECT_TRUE(refuses<T>(-kInfinity));
  EXPECT_TRUE(refuses<T>(1e300));
}

TEST_F(ClientReading, IntegersAreReadWithinTheirLimits) {
  expect_limits<std::int8_t>();
  expect_limits<std::uint8_t>();
  expect_limits<std::int16_t>();
  expect_limits<std::uint16_t>();
  expect_limits<std::int32_t>();
  expect_limits<std::uint32_t>();
  expect_limits<std::int64_t>();
  expect_limits<std::uint64_t>();
  expect_limits<long>();
  expect_limits<unsigned long>();
}

TEST_F(ClientReading, SixtyFourBitsEndWhereTheyEnd) {
  EXPECT_TRUE(refuses<std::int64_t>(kUint64Max));
  EXPECT_TRUE(refuses<std::int64_t>(std::uint64_t{1} << 63));
  EXPECT_TRUE(refuses<std::int64_t>(kTwoTo63));
  EXPECT_TRUE(reads<std::int64_t>(-kTwoTo63, kInt64Min));
  EXPECT_TRUE(refuses<std::int64_t>(std::nextafter(-kTwoTo63, -kInfinity)));
  EXPECT_TRUE(reads<std::int64_t>(std::nextafter(kTwoTo63, 0.0), kInt64Max - 1023));
  EXPECT_TRUE(reads<std::uint64_t>(kTwoTo63, std::uint64_t{1} << 63));
  EXPECT_TRUE(refuses<std::uint64_t>(kTwoTo64));
  EXPECT_TRUE(refuses<std::uint64_t>(-1));
}

TEST_F(ClientReading, IntegersBecomeFloatingOnlyExactly) {
  EXPECT_TRUE(reads<double>(std::int64_t{1} << 53, 9007199254740992.0));
  EXPECT_TRUE(refuses<double>((std::int64_t{1} << 53) + 1));
  EXPECT_TRUE(reads<double>(kInt64Min, -kTwoTo63));
  EXPECT_TRUE(refuses<double>(kInt64Max));
  EXPECT_TRUE(refuses<double>(kUint64Max));
  EXPECT_TRUE(reads<double>(std::uint64_t{1} << 63, kTwoTo63));
  EXPECT_TRUE(reads<float>(1 << 24, 16777216.0f));
  EXPECT_TRUE(refuses<float>((1 << 24) + 1));
}

TEST_F(ClientReading, FloatingBecomesFloatOnlyExactly) {
  EXPECT_TRUE(reads<float>(1.5, 1.5f));
  EXPECT_TRUE(reads<float>(0.1f, 0.1f));
  EXPECT_TRUE(refuses<float>(0.1));
  EXPECT_TRUE(refuses<float>(1e300));
  EXPECT_TRUE(refuses<float>(-1e300));
  EXPECT_TRUE(refuses<float>(1e-300));
  EXPECT_TRUE(reads<float>(kInfinity, std::numeric_limits<float>::infinity()));
  EXPECT_TRUE(reads<double>(-kInfinity, -kInfinity));
  EXPECT_TRUE(reads<double>(std::numeric_limits<float>::denorm_min(),
                            double{std::numeric_limits<float>::denorm_min()}));
  EXPECT_TRUE(std::isnan(qm::Variant::create(kernel(), kNaN).as<float>()));
  EXPECT_TRUE(std::signbit(qm::Variant::create(kernel(), -0.0).as<float>()));
}

TEST_F(ClientReading, TruthIs0Or1) {
  EXPECT_TRUE(reads<bool>(true, true));
  EXPECT_TRUE(reads<bool>(0, false));
  EXPECT_TRUE(reads<bool>(1.0, true));
  EXPECT_TRUE(refuses<bool>(2));
  EXPECT_TRUE(refuses<bool>(-1));
  EXPECT_TRUE(refuses<bool>(256));
}

TEST_F(ClientReading, RefusalsSayWhy) {
  const auto told = [](const auto& result) { return std::string(result.error().text()); };
  const auto create = [](const qm::Value& value) { return qm::Variant::create(kernel(), value); };
  EXPECT_EQ(told(create(300).try_as<std::int8_t>()), "300 is no int8");
  EXPECT_EQ(told(create(-1).try_as<std::uint64_t>()), "-1 is no uint64");
  EXPECT_EQ(told(create(0.1).try_as<float>()), "0.1 is no float32");
  EXPECT_EQ(told(create("12x").try_as<int>()), "'12x' is no int32");
  EXPECT_EQ(told(create(7).try_as<bool>()), "7 is no bool");
  EXPECT_EQ(told(create(qm::Value::container()).try_as<int>()),
            "a variant of type 128 is no number");
  EXPECT_TRUE(throws_with(QM_ERROR_RANGE, [&] { create(300).as<std::int8_t>(); }));
}

// ---- Text --------------------------------------------------------------------------------------

TEST_F(ClientReading, TextIsANumberOnlyAsAWhole) {
  EXPECT_TRUE(reads<int>("42", 42));
  EXPECT_TRUE(reads<std::int64_t>("-9223372036854775808", kInt64Min));
  EXPECT_TRUE(reads<std::uint64_t>("18446744073709551615", kUint64Max));
  EXPECT_TRUE(refuses<std::uint64_t>("18446744073709551616"));
  EXPECT_TRUE(refuses<std::int8_t>("128"));
  EXPECT_TRUE(reads<double>("0.1", 0.1));
  EXPECT_TRUE(reads<double>("1e3", 1000.0));
  EXPECT_TRUE(reads<float>("0.1", 0.1f));
  EXPECT_TRUE(refuses<double>("1e999"));
  for (const char* text : {"", " ", "abc", "12abc", " 12", "12 ", "+12", "0x10", "1.5", "1,5"}) {
    EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::Variant::create(kernel(), text).try_as<int>()))
        << text;
  }
  for (const char* text : {"", "inf", "nan", "1,5", "1.5 "}) {
    EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::Variant::create(kernel(), text).try_as<double>()))
        << text;
  }
}

TEST_F(ClientReading, NumbersAreTextIfTheyReadBack) {
  const auto text_of = [](const qm::Value& value) {
    return qm::Variant::create(kernel(), value).try_as<std::string>();
  };
  EXPECT_EQ(*text_of(kInt64Min), "-9223372036854775808");
  EXPECT_EQ(*text_of(kUint64Max), "18446744073709551615");
  EXPECT_EQ(*text_of(0.5), "0.5");
  EXPECT_EQ(*text_of(1e20), "1e+020");
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, text_of(1.0 / 3)));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, text_of(kNaN)));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, text_of(qm::Value::container())));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, text_of(std::vector<int>{1})));
  EXPECT_EQ(qm::Variant::create(kernel(), 1.0 / 3).convert<std::string>(), "0.333333");
}

TEST_F(ClientReading, TextComesBackWhateverItsLength) {
  for (const std::size_t length :
       {0u, 1u, 250u, 251u, 252u, 253u, 254u, 255u, 256u, 257u, 511u, 512u, 100000u}) {
    for (const char* character : {"x", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
      std::string text;
      while (text.size() + std::strlen(character) <= length) text += character;
      const auto variant = qm::Variant::create(kernel(), text);
      EXPECT_EQ(variant.as<std::string>(), text) << length << character;
      EXPECT_EQ(variant.as<qm::WideString>(), qm::to_wide(text));
    }
  }
}

TEST_F(ClientReading, HalfASurrogatePairIsNoUtf8) {
  const char16_t units[] = {'a', 0xD83D, 'b', 0};
  const auto variant = qm::Variant::create(kernel(), units);
  EXPECT_EQ(variant.as<qm::WideString>(), qm::WideString(qm::Text(units).view()));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, variant.try_as<std::string>()));
  EXPECT_EQ(variant.convert<std::string>(),
            "a\xEF\xBF\xBD"
            "b");
}

TEST_F(ClientReading, NarrowTextOfOthersIsReadAsWell) {
  const auto narrow = qm::Variant::create(kernel(), qm::Value::raw(QM_TYPE_TEXT, 3, 1, "42"));
  EXPECT_EQ(narrow.type(), QM_TYPE_TEXT);
  EXPECT_EQ(narrow.as<std::string>(), "42");
  EXPECT_EQ(narrow.as<int>(), 42);
}

TEST_F(ClientReading, TextIsADateTimeOnlyAsAWhole) {
  const auto date_of = [](const char* text) {
    return qm::Variant::create(kernel(), text).try_as<qm::DateTime>();
  };
  EXPECT_EQ(date_of("2024-02-29")->month(), 2);
  for (const char* text : {"", "2024-02-30", "2024-02-29x", "13", "tomorrow"}) {
    EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, date_of(text))) << text;
  }
}

// ---- Bytes and the kernel's conversions --------------------------------------------------------

TEST_F(ClientReading, BinaryValuesAreBytes) {
  std::vector<std::byte> bytes;
  for (const std::size_t size : {0u, 1u, 255u, 256u, 257u, 70000u}) {
    bytes.resize(size, std::byte{0xA5});
    EXPECT_EQ(qm::Variant::create(kernel(), bytes).as<std::vector<std::byte>>(), bytes);
  }
  const auto number = qm::Variant::create(kernel(), 0x04030201);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, number.try_as<std::vector<std::byte>>()));
  EXPECT_EQ(number.convert<std::vector<std::byte>>().at(1), std::byte{2});
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::Variant::create(kernel(), bytes).try_as<int>()));
}

TEST_F(ClientReading, ConversionsWrapAsTheKernelDoes) {
  const auto of = [](const qm::Value& value) { return qm::Variant::create(kernel(), value); };
  EXPECT_EQ(of(300).convert<std::int8_t>(), 44);
  EXPECT_EQ(of(-1).convert<std::uint16_t>(), 65535);
  EXPECT_EQ(of(-1).convert<std::uint64_t>(), kUint64Max);
  EXPECT_EQ(of(-1.9).convert<int>(), -1);
  EXPECT_EQ(of(kTwoTo63).convert<std::uint64_t>(), std::uint64_t{1} << 63);
  EXPECT_EQ(of(kNaN).convert<std::int64_t>(), kInt64Min);
  EXPECT_EQ(of("12abc").convert<int>(), 12);
  EXPECT_EQ(of("abc").convert<int>(), 0);
  EXPECT_EQ(of(86400000).convert<qm::DateTime>(),
            qm::DateTime::from(std::chrono::sys_days(std::chrono::days(1))));
  EXPECT_EQ(of(5).convert<qm::WideString>(), QM_W("5"));
  EXPECT_EQ(of(qm::Value::raw(QM_TYPE_SIGNED, 0, 0, nullptr)).convert<int>(), 0);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, of(qm::Value::container()).try_convert<int>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, of(5).try_convert<std::vector<int>>()));
}

TEST_F(ClientReading, NothingReadsAsNothing) {
  const auto empty = qm::Variant::create(kernel(), qm::Value());
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, empty.try_as<int>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, empty.try_as<std::string>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, empty.try_as<qm::DateTime>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, empty.try_as<std::vector<int>>()));
}

TEST_F(ClientReading, PassesTheKernelsFailureOn) {
  const auto number = qm::Variant::create(kernel(), 5);
  for (const std::uint32_t code : {QM_CALL_VARIANTINFO, QM_CALL_VARIANTCONVERT}) {
    spy().refuse(code);
    EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, number.try_as<int>()));
    spy().refuse(code);
    EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, number.try_as<std::string>()));
  }
}

}  // namespace
}  // namespace client_test
