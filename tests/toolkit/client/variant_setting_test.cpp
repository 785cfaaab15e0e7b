// Values set without a change of type, and elements of arrays.
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

using namespace std::chrono_literals;
using ClientSetting = ClientTest;

TEST_F(ClientSetting, KeepsTypeAndSize) {
  auto number = qm::Variant::create(kernel(), std::int16_t{5}, "name", 3);
  number.set(-32768);
  number.set(std::uint64_t{32767});
  number.set(12.0);
  EXPECT_EQ(number.as<int>(), 12);
  number.set("77");
  EXPECT_EQ(number.as<int>(), 77);
  EXPECT_EQ(number.type(), QM_TYPE_SIGNED);
  EXPECT_EQ(number.info().size, 2);
  EXPECT_EQ(number.name(), "name");
  EXPECT_EQ(number.info().id, 3);

  auto floating = qm::Variant::create(kernel(), 0.0f);
  floating.set(0.1f);
  EXPECT_EQ(floating.as<float>(), 0.1f);
  floating.set(std::numeric_limits<double>::quiet_NaN());
  EXPECT_TRUE(std::isnan(floating.as<double>()));
  EXPECT_EQ(floating.info().size, 4);

  auto text = qm::Variant::create(kernel(), "text");
  text.set("caf\xC3\xA9");
  EXPECT_EQ(text.as<std::string>(), "caf\xC3\xA9");
  text.set(300);
  EXPECT_EQ(text.as<std::string>(), "300");
  EXPECT_EQ(text.type(), QM_TYPE_WIDE_TEXT);

  auto narrow = qm::Variant::create(kernel(), qm::Value::raw(QM_TYPE_TEXT, 2, 1, "a"));
  narrow.set("longer");
  EXPECT_EQ(narrow.as<std::string>(), "longer");
  EXPECT_EQ(narrow.type(), QM_TYPE_TEXT);

  auto when = qm::Variant::create(kernel(), qm::DateTime());
  when.set(std::chrono::sys_days(2024y / 2 / 29) + 1us);
  EXPECT_EQ(when.as<qm::TimePoint>(), std::chrono::sys_days(2024y / 2 / 29) + 1us);
  when.set(2024y / 3 / 1);
  EXPECT_EQ(when.as<std::chrono::year_month_day>(), 2024y / 3 / 1);
  when.set("2024-02-29");
  EXPECT_EQ(when.as<std::string>(), "2024-02-29");

  auto truth = qm::Variant::create(kernel(), false);
  truth.set(true);
  EXPECT_TRUE(truth.as<bool>());
}

template <class T>
testing::AssertionResult refuses(const qm::Value& holds, std::int32_t code, const T& value) {
  auto variant = qm::Variant::create(qm::Kernel(&Spy::call), holds);
  const auto before = variant.try_convert<std::string>();
  const auto result = fails_with(code, variant.try_set(value));
  const auto after = variant.try_convert<std::string>();
  if (result && before && *before != *after) return testing::AssertionFailure() << *after;
  return result;
}

TEST_F(ClientSetting, RefusesWhatWouldGetLost) {
  EXPECT_TRUE(refuses(std::int8_t{5}, QM_ERROR_RANGE, 300));
  EXPECT_TRUE(refuses(std::int8_t{5}, QM_ERROR_RANGE, std::uint64_t{0xFF}));
  EXPECT_TRUE(refuses(std::uint64_t{5}, QM_ERROR_RANGE, -1));
  EXPECT_TRUE(refuses(5, QM_ERROR_RANGE, 1.5));
  EXPECT_TRUE(refuses(5, QM_ERROR_RANGE, std::numeric_limits<double>::quiet_NaN()));
  EXPECT_TRUE(refuses(5, QM_ERROR_RANGE, "12abc"));
  EXPECT_TRUE(refuses(5, QM_ERROR_RANGE, " 12"));
  EXPECT_TRUE(refuses(0.0f, QM_ERROR_RANGE, 0.1));
  EXPECT_TRUE(refuses(0.0, QM_ERROR_RANGE, (std::int64_t{1} << 53) + 1));
  EXPECT_TRUE(refuses("text", QM_ERROR_RANGE, 1.0 / 3));
  EXPECT_TRUE(refuses("text", QM_ERROR_RANGE, std::chrono::sys_days(2024y / 1 / 1) + 1us));
  EXPECT_TRUE(refuses(qm::DateTime(), QM_ERROR_ARGUMENT, 5));
  EXPECT_TRUE(refuses(qm::DateTime(), QM_ERROR_RANGE, "tomorrow"));
  EXPECT_TRUE(refuses(5, QM_ERROR_ARGUMENT, qm::DateTime::from(5h)));
  EXPECT_TRUE(refuses(qm::Value::container(), QM_ERROR_ARGUMENT, 5));
  EXPECT_TRUE(refuses(qm::Value(), QM_ERROR_ARGUMENT, 5));
  EXPECT_TRUE(refuses(std::vector<int>{1}, QM_ERROR_ARGUMENT, 5));
}

TEST_F(ClientSetting, ConvertedTakesWhatTheKernelMakesOfIt) {
  auto number = qm::Variant::create(kernel(), std::int8_t{5});
  number.set_converted(300);
  EXPECT_EQ(number.as<int>(), 44);
  number.set_converted("12abc");
  EXPECT_EQ(number.as<int>(), 12);
  number.set_converted(-1.9);
  EXPECT_EQ(number.as<int>(), -1);
  EXPECT_EQ(number.info().size, 1);
  auto when = qm::Variant::create(kernel(), qm::DateTime());
  when.set_converted(0);
  EXPECT_EQ(when.as<qm::TimePoint>(), qm::TimePoint());
  EXPECT_TRUE(
      fails_with(QM_ERROR_ARGUMENT,
                 qm::Variant::create(kernel(), qm::Value::container()).try_set_converted(5)));
}

TEST_F(ClientSetting, WithoutMemoryChangesNothing) {
  auto number = qm::Variant::create(kernel(), 5);
  for (const std::uint32_t code : {QM_CALL_VARIANTINFO, QM_CALL_VARIANTCREATE,
                                   QM_CALL_VARIANTCONVERT, QM_CALL_VARIANTASSIGNVALUE}) {
    spy().refuse(code);
    EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, number.try_set(7))) << std::hex << code;
    EXPECT_EQ(number.as<int>(), 5);
  }
  spy().refuse(QM_CALL_VARIANTASSIGNVALUE);
  EXPECT_TRUE(throws_with(QM_ERROR_NO_MEMORY, [&] { number.assign(7); }));
  EXPECT_EQ(number.as<int>(), 5);
}

// ---- Arrays ------------------------------------------------------------------------------------

using ClientArrays = ClientTest;

template <class T>
std::vector<T> elements_of(const qm::Variant& array) {
  return array.as<std::vector<T>>();
}

TEST_F(ClientArrays, ReadAsEveryTypeThatHoldsTheirElements) {
  const auto array = qm::Variant::create(kernel(), std::vector<std::int16_t>{-1, 0, 127});
  EXPECT_EQ(elements_of<std::int16_t>(array), (std::vector<std::int16_t>{-1, 0, 127}));
  EXPECT_EQ(elements_of<std::int8_t>(array), (std::vector<std::int8_t>{-1, 0, 127}));
  EXPECT_EQ(elements_of<std::int64_t>(array), (std::vector<std::int64_t>{-1, 0, 127}));
  EXPECT_EQ(elements_of<float>(array), (std::vector<float>{-1, 0, 127}));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, array.try_as<std::vector<unsigned>>()));
  EXPECT_EQ(array.convert<std::vector<std::uint8_t>>(), (std::vector<std::uint8_t>{255, 0, 127}));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, array.try_as<std::vector<qm::DateTime>>()));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, array.try_as<int>()));

  const auto unsigned_array = qm::Variant::create(kernel(), std::vector<std::uint64_t>{~0ull});
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, unsigned_array.try_as<std::vector<std::int64_t>>()));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, unsigned_array.try_as<std::vector<double>>()));
  const auto floats = qm::Variant::create(kernel(), std::vector<float>{1.0f, 2.5f});
  EXPECT_EQ(elements_of<double>(floats), (std::vector<double>{1.0, 2.5}));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, floats.try_as<std::vector<int>>()));
  EXPECT_EQ(floats.convert<std::vector<int>>(), (std::vector<int>{1, 2}));
}

TEST_F(ClientArrays, OfDateTimesAndOfNothing) {
  const std::vector<qm::DateTime> days = {qm::DateTime::from(2024y / 2 / 29), qm::DateTime()};
  const auto array = qm::Variant::create(kernel(), days);
  EXPECT_EQ(elements_of<qm::DateTime>(array), days);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, array.try_as<std::vector<std::int64_t>>()));
  EXPECT_TRUE(elements_of<int>(qm::Variant::create(kernel(), std::vector<double>())).empty());
}

TEST_F(ClientArrays, AreReadInPartOrNotAtAll) {
  const auto array = qm::Variant::create(kernel(), std::vector<int>{1, 2, 300, 4});
  std::int8_t bytes[2] = {-1, -1};
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, array.try_read(1, std::span(bytes))));
  EXPECT_EQ(bytes[0], -1);
  array.read(0, std::span(bytes));
  EXPECT_EQ(bytes[1], 2);
  array.read_converted(2, std::span(bytes));
  EXPECT_EQ(bytes[0], 44);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, array.try_read(3, std::span(bytes))));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, array.try_read(-1, std::span(bytes))));
  EXPECT_TRUE(array.try_read(4, std::span(bytes, 0)).has_value());
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT,
                         qm::Variant::create(kernel(), 5).try_read(0, std::span(bytes))));
}

TEST_F(ClientArrays, AreWrittenInPartOrNotAtAll) {
  auto array = qm::Variant::create(kernel(), std::vector<std::int8_t>{1, 2, 3});
  const std::vector<int> fitting = {-128, 127};
  const std::vector<int> large = {5, 300};
  const double fractions[] = {0.5};
  array.write(1, std::span(fitting));
  EXPECT_EQ(elements_of<int>(array), (std::vector<int>{1, -128, 127}));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, array.try_write(0, std::span(large))));
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, array.try_write(0, std::span(fractions))));
  EXPECT_EQ(elements_of<int>(array), (std::vector<int>{1, -128, 127}));
  array.write_converted(0, std::span(large));
  EXPECT_EQ(elements_of<int>(array), (std::vector<int>{5, 44, 127}));
  EXPECT_EQ(array.info().size, 1);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, array.try_write(2, std::span(fitting))));
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT,
                         qm::Variant::create(kernel(), 5).try_write(0, std::span(fitting))));
  const std::vector<qm::DateTime> days(1);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, array.try_write(0, std::span(days))));
}

TEST_F(ClientArrays, OfOneTypeAreWrittenWithoutADetour) {
  auto array = qm::Variant::create(kernel(), std::vector<double>{1, 2});
  const double special[] = {std::numeric_limits<double>::quiet_NaN(), -0.0};
  const int created = spy().served(QM_CALL_VARIANTCREATE);
  array.write(0, std::span(special));
  EXPECT_EQ(spy().served(QM_CALL_VARIANTCREATE), created);
  EXPECT_TRUE(std::isnan(elements_of<double>(array).at(0)));
  EXPECT_TRUE(std::signbit(elements_of<double>(array).at(1)));
}

}  // namespace
}  // namespace client_test
