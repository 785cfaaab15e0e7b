// Our own formatter against the runtime whose rules it follows.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <random>
#include <string>

#include "tests/unit/platform/format_support.h"
#include "tests/unit/platform/locale_guard.h"

namespace qmsd::platform {
namespace {

// Without '*', '-' before floating values and integers of many digits: there the runtime errs.
class RandomFormat {
 public:
  std::string conversion(std::string_view types) {
    const char type = pick(types);
    const bool floating = std::string_view("eEfgGaA").find(type) != std::string_view::npos;
    std::string text = "%";
    for (unsigned flags = below(4); flags > 0; --flags) text += pick(floating ? "+ 0#" : "-+ 0#");
    if (below(2) == 0) text += std::to_string(1 + below(30));
    if (below(2) == 0) text += '.' + std::to_string(below(20));
    return text + type;
  }

  double floating() {
    switch (below(4)) {
      case 0:
        return std::bit_cast<double>(random_());
      case 1:
        return static_cast<double>(below(2000)) / 16;
      case 2:
        return static_cast<double>(below(100000)) / 1000;
      default:
        return -static_cast<double>(random_() >> below(64));
    }
  }

  std::uint64_t integer() { return random_() >> below(64); }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
  char pick(std::string_view from) { return from[below(static_cast<unsigned>(from.size()))]; }

  std::mt19937_64 random_{20240229};
};

void expect_same(const std::string& format, auto argument) {
  const auto runtime = format_into<char>(&format_narrow, 1500, format.c_str(), argument);
  const auto own = format_into<char>(&format_portable, 1500, format.c_str(), argument);
  ASSERT_EQ(own.text(), runtime.text()) << format;
  ASSERT_EQ(own.result, runtime.result) << format;
}

TEST(FormatLikeTheRuntime, FloatingValues) {
  RandomFormat random;
  for (int i = 0; i < 20000; ++i) expect_same(random.conversion("eEfgGaA"), random.floating());
}

TEST(FormatLikeTheRuntime, Integers) {
  RandomFormat random;
  for (int i = 0; i < 20000; ++i) {
    std::string format = random.conversion("diouxX");
    const std::uint64_t value = random.integer();
    expect_same(format, static_cast<std::uint32_t>(value));
    expect_same(format.insert(format.size() - 1, "I64"), value);
  }
}

bool heaps_are_whole() {
  std::array<HANDLE, 16> heaps{};
  const DWORD count = std::min<DWORD>(::GetProcessHeaps(heaps.size(), heaps.data()), heaps.size());
  return std::all_of(heaps.begin(), heaps.begin() + count,
                     [](HANDLE heap) { return ::HeapValidate(heap, 0, nullptr) != FALSE; });
}

// A runtime that is given these writes beyond memory of its own.
TEST(FormatUnlikeTheRuntime, KeepsLongIntegersWithinTheirBuffers) {
  for (const char* flags : {"", "0", "#", "0#", "-#", "+"}) {
    for (int width = 1; width < 60; ++width) {
      for (const char* rest : {"I64d", "I64o", "I64X", ".13I64o", ".20d", ".20I64x", ".40u"}) {
        const std::string format = "%" + (flags + std::to_string(width)) + rest;
        format_into<qm_wchar>(&format_wide, 100, text_of<qm_wchar>(format).c_str(), ~0ULL);
        format_into<char>(&format_narrow, 100, format.c_str(), ~0ULL);
        ASSERT_TRUE(heaps_are_whole()) << format;
      }
    }
  }
  expect_format(
      "%0#26I64X|%25.20d|%30I64o",
      "0X00000000FFFFFFFF80000000|     00000000000000000007|        1777777777777777777777",
      ~0ULL << 31, 7, ~0ULL);
}

TEST(FormatUnlikeTheRuntime, PrintsAPointWhateverTheLocale) {
  const LocaleGuard locale("German_Germany.1252");
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expect_format("%f|%e|%g|%a", "1.500000|1.500000e+000|1.5|0x1.8000000000000p+0", 1.5, 1.5, 1.5,
                1.5);
  expect_format("%s|%d|%f", "1,5|5|-1.#IND00", Own{"1,5"}, 5, std::bit_cast<double>(~0ULL));
}

TEST(FormatLikeTheRuntime, TextAndCharacters) {
  RandomFormat random;
  for (int i = 0; i < 5000; ++i) {
    expect_same(random.conversion("s"), "some text");
    expect_same(random.conversion("S"), L"some text");
    expect_same(random.conversion("cC"), 'x');
    expect_same(random.conversion("pyk"), reinterpret_cast<void*>(random.integer() & 0xFFFFFFFF));
  }
}

}  // namespace
}  // namespace qmsd::platform
