// Values or errors.
#include <qm/result.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

const qm::Error kGone(QM_ERROR_NOT_FOUND, "gone");

TEST(ClientResult, HoldsAValue) {
  qm::Result<std::string> result = std::string("value");
  EXPECT_TRUE(result.has_value());
  EXPECT_EQ(*result, "value");
  EXPECT_EQ(result->size(), 5u);
  EXPECT_EQ(std::as_const(result).value(), "value");
  EXPECT_EQ(result.value_or("other"), "value");
  EXPECT_THROW(static_cast<void>(result.error()), std::bad_variant_access);
}

TEST(ClientResult, HoldsAnErrorAndThrowsItInPlaceOfTheValue) {
  qm::Result<std::string> result = kGone;
  EXPECT_FALSE(result.has_value());
  EXPECT_EQ(result.error().text(), "gone");
  EXPECT_EQ(result.value_or("other"), "other");
  EXPECT_TRUE(throws_with(2, [&] { static_cast<void>(result.value()); }));
  EXPECT_TRUE(throws_with(2, [&] { static_cast<void>(*result); }));
  EXPECT_TRUE(throws_with(2, [&] { static_cast<void>(result->size()); }));
  EXPECT_TRUE(throws_with(2, [&] { static_cast<void>(std::move(result).value()); }));
}

TEST(ClientResult, GivesItsValueAway) {
  qm::Result<std::unique_ptr<int>> result = std::make_unique<int>(7);
  const std::unique_ptr<int> taken = std::move(result).value();
  EXPECT_EQ(*taken, 7);
  EXPECT_EQ(*result, nullptr);
}

TEST(ClientResult, PassesValuesOnAndErrorsThrough) {
  const auto half = [](int n) -> qm::Result<int> {
    if (n % 2 == 0) return n / 2;
    return qm::Error(QM_ERROR_ARGUMENT, "odd");
  };
  EXPECT_EQ(*qm::Result<int>(12).and_then(half).and_then(half), 3);
  EXPECT_TRUE(fails_with(22, qm::Result<int>(6).and_then(half).and_then(half)));
  EXPECT_TRUE(fails_with(2, qm::Result<int>(kGone).and_then(half)));
  EXPECT_EQ(*qm::Result<int>(5).transform([](int n) { return std::to_string(n); }), "5");
  EXPECT_TRUE(fails_with(2, qm::Result<int>(kGone).transform([](int n) { return n; })));
  EXPECT_TRUE(qm::Result<int>(5).transform([](int) {}).has_value());
}

TEST(ClientResult, OfNothingIsSuccessOrAnError) {
  const qm::Result<void> good;
  const qm::Result<void> bad = kGone;
  EXPECT_TRUE(good.has_value());
  EXPECT_NO_THROW(good.value());
  EXPECT_THROW(static_cast<void>(good.error()), std::bad_optional_access);
  EXPECT_TRUE(fails_with(2, bad));
  EXPECT_TRUE(throws_with(2, [&] { bad.value(); }));
  EXPECT_EQ(*qm::Result<void>().and_then([] { return qm::Result<int>(3); }), 3);
  EXPECT_TRUE(fails_with(2, qm::Result<void>(kGone).and_then([] { return qm::Result<int>(3); })));
}

}  // namespace
}  // namespace client_test
