// Formats made of whatever bytes, all of whose arguments read as zero.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "tests/unit/platform/format_support.h"

namespace qmsd::platform {
namespace {

template <class Char>
void expect_sound(const std::string& format, std::size_t room) {
  const auto zero = std::uint64_t{0};
  const auto formatted = format_into<Char>(
      Formatting<Char>{&format_portable}, room, text_of<Char>(format).c_str(), zero, zero, zero,
      zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero,
      zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero, zero);
  ASSERT_TRUE(formatted.guard_is_whole()) << format;
  ASSERT_LT(formatted.result, static_cast<int>(room)) << format;
  const std::size_t end = formatted.buffer.find(Char{0});
  ASSERT_LT(end, room) << format;
  if (formatted.result >= 0) {
    ASSERT_LE(end, static_cast<std::size_t>(formatted.result)) << format;  // %c writes zeros too
  }
}

TEST(FormatHostile, NeverLeavesTheBuffer) {
  constexpr std::string_view kLikely = "%%%%%%0123456789.*-+ #hlwILNjzt64d32iouxXpsScCeEfFgGaAnyZ";
  std::mt19937 random(4711);
  for (int i = 0; i < 20000; ++i) {
    std::string format;
    for (auto length = random() % 30; length > 0; --length) {
      format += kLikely[random() % kLikely.size()];
    }
    const std::size_t room = 1 + random() % 200;
    expect_sound<qm_wchar>(format, room);
    expect_sound<char>(format, room);
  }
}

}  // namespace
}  // namespace qmsd::platform
