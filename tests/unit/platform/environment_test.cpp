#include "platform/environment.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/platform/surroundings.h"

namespace qmsd::platform {
namespace {

constexpr char kName[] = "QMSD_TEST_VARIABLE";

template <class Char>
class EnvironmentTest : public testing::Test {
 protected:
  Variable read(std::size_t length) {
    buffer_.assign(length + 1, Char{'~'});
    const Variable result = read_variable(kName, buffer_.data(), length);
    EXPECT_EQ(buffer_[length], Char{'~'});
    return result;
  }
  std::string text() const {
    const std::basic_string<Char> value = buffer_.c_str();
    return {value.begin(), value.end()};
  }

  std::basic_string<Char> buffer_;
};

using BothForms = testing::Types<qm_wchar, char>;
TYPED_TEST_SUITE(EnvironmentTest, BothForms);

TYPED_TEST(EnvironmentTest, TellsAMissingVariable) {
  EXPECT_EQ(this->read(10), Variable::missing);
  EXPECT_EQ(this->text(), "");
}

TYPED_TEST(EnvironmentTest, TellsAnEmptyVariable) {
  const VariableGuard variable(kName, "");
  const Variable result = this->read(10);
  EXPECT_EQ(this->text(), "");
  EXPECT_EQ(result, Variable::present);
}

TYPED_TEST(EnvironmentTest, SeesEveryChangeAtOnce) {
  const VariableGuard variable(kName, "first");
  EXPECT_EQ(this->read(10), Variable::present);
  EXPECT_EQ(this->text(), "first");
  set_variable(kName, "second");
  EXPECT_EQ(this->read(10), Variable::present);
  EXPECT_EQ(this->text(), "second");
}

TYPED_TEST(EnvironmentTest, GivesAValueWholeOrNotAtAll) {
  const VariableGuard variable(kName, "12345");
  EXPECT_EQ(this->read(6), Variable::present);
  EXPECT_EQ(this->text(), "12345");
  for (const std::size_t length : {5u, 4u, 1u}) {
    EXPECT_EQ(this->read(length), Variable::too_long) << length;
    EXPECT_EQ(this->text(), "") << length;
  }
}

TYPED_TEST(EnvironmentTest, TakesLongValues) {
  const std::string value(5000, 'x');
  const VariableGuard variable(kName, value.c_str());
  EXPECT_EQ(this->read(5001), Variable::present);
  EXPECT_EQ(this->text(), value);
  EXPECT_EQ(this->read(1024), Variable::too_long);
}

}  // namespace
}  // namespace qmsd::platform
