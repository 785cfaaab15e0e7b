// Single characters in a code page of single bytes and in one of double bytes.
#include <gtest/gtest.h>

#include "tests/unit/platform/locale_guard.h"
#include "tests/unit/platform/multibyte_support.h"

namespace qmsd::platform {
namespace {

TEST(MultibyteIn1252, ConvertsWhatTheCodePageHolds) {
  const LocaleGuard locale("English_United States.1252");
  ASSERT_TRUE(locale.accepted());
  expect_pair({"a", L"a"});
  expect_pair({"\xE4", L"\x00E4"});
  expect_pair({"\x80", L"\x20AC"});
  expect_pair({"\x9F", L"\x0178"});
}

TEST(MultibyteIn1252, HasNoBestFit) {
  const LocaleGuard locale("English_United States.1252");
  ASSERT_TRUE(locale.accepted());
  for (const wchar_t lookalike : WideString{0x0101, 0x2212, 0x221E, 0xFF21, 0x0080, 0x4E00}) {
    expect_not_narrowed({lookalike});
  }
}

TEST(MultibyteIn1252, ComesBackFromEveryByteAsItWas) {
  const LocaleGuard locale("English_United States.1252");
  ASSERT_TRUE(locale.accepted());
  int converted = 0;
  for (unsigned code = 0; code < 256; ++code) {
    const std::string narrow(1, static_cast<char>(code));
    const WideString wide = widened(narrow);
    if (wide.empty()) continue;
    ++converted;
    EXPECT_EQ(narrowed(wide), narrow) << code;
  }
  EXPECT_GE(converted, 251);
}

TEST(MultibyteIn932, TakesDoubleBytesWhole) {
  const LocaleGuard locale("Japanese_Japan.932");
  ASSERT_TRUE(locale.accepted());
  expect_pair({"\\", L"\\"});
  expect_pair({"\xB1", L"\xFF71"});
  expect_pair({"\x83\x65", L"\x30C6"});
  expect_pair({"\x83\x5C", L"\x30BD"});  // its second byte is a backslash
}

TEST(MultibyteIn932, RefusesWhatIsNoCharacter) {
  const LocaleGuard locale("Japanese_Japan.932");
  ASSERT_TRUE(locale.accepted());
  expect_not_widened("\x83");
  expect_not_widened("\x83 ");
  expect_not_widened(std::string_view("\x83\0", 2));
  expect_not_narrowed({0x20AC});
  expect_not_narrowed({0xD83D, 0xDE00});
}

}  // namespace
}  // namespace qmsd::platform
