// This runtime reads numbers by the letter of C, in the "C" locale that a test program starts with.
#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "services/text/numbers.h"
#include "tests/support/random.h"

namespace qmsd {
namespace {

std::string random_text(test::Random& random, std::string_view characters) {
  std::string text;
  for (std::size_t length = random.below(std::size_t{24}); length > 0; --length) {
    text += random.one_of(characters);
  }
  return text;
}

TEST(ReadInteger, AgreesWithTheRuntime) {
  test::Random random(11);
  for (int i = 0; i < 300'000; ++i) {
    std::string text = random_text(random, "0123456789000777xXaF+- ");
    if (random.below(2) == 0) text.insert(0, random.below(2) == 0 ? "0x" : "-9223372036854775");
    for (const int base : {0, 10}) {
      errno = 0;
      char* end = nullptr;
      const std::int64_t expected = std::strtoll(text.c_str(), &end, base);
      const bool overflow = errno == ERANGE;
      const IntegerReading result = base == 0 ? read_integer(text) : read_decimal(text);
      ASSERT_EQ(result.value, expected) << text;
      ASSERT_EQ(result.consumed, static_cast<std::size_t>(end - text.c_str())) << text;
      ASSERT_EQ(result.overflow, overflow) << text;
    }
  }
}

TEST(ReadFloating, AgreesWithTheRuntime) {
  test::Random random(12);
  for (int i = 0; i < 300'000; ++i) {
    std::string text = random_text(random, "0123456789.1234567890e+-xp");
    if (random.below(3) == 0) text.insert(0, "0x1.");
    if (random.below(5) == 0) text += "e-3" + std::to_string(random.below(50));
    char* end = nullptr;
    const double expected = std::strtod(text.c_str(), &end);
    const FloatingReading result = read_floating(text);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(result.value), std::bit_cast<std::uint64_t>(expected))
        << text;
    ASSERT_EQ(result.consumed, static_cast<std::size_t>(end - text.c_str())) << text;
  }
}

}  // namespace
}  // namespace qmsd
