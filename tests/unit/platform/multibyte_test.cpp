#include "platform/multibyte.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/unit/platform/locale_guard.h"
#include "tests/unit/platform/multibyte_support.h"

namespace qmsd::platform {
namespace {

TEST(Multibyte, MapsTheFirst256ToEachOtherInTheCLocale) {
  const LocaleGuard locale("C");
  for (unsigned code = 0; code < 256; ++code) {
    const char narrow = static_cast<char>(code);
    const auto wide = static_cast<qm_wchar>(code);
    const WideCharacter to_wide = widen_character(&narrow, 1);
    EXPECT_EQ(to_wide.taken, 1u) << code;
    EXPECT_EQ(to_wide.made, 1u) << code;
    EXPECT_EQ(to_wide.units[0], wide) << code;
    const NarrowCharacter to_narrow = narrow_character(&wide, 1);
    EXPECT_EQ(to_narrow.taken, 1u) << code;
    EXPECT_EQ(to_narrow.made, 1u) << code;
    EXPECT_EQ(to_narrow.bytes[0], narrow) << code;
  }
}

TEST(Multibyte, HasNoNarrowFormForAnythingElseInTheCLocale) {
  const LocaleGuard locale("C");
  for (unsigned code = 256; code <= 0xFFFF; ++code) {
    const auto wide = static_cast<qm_wchar>(code);
    ASSERT_EQ(narrow_character(&wide, 1).taken, 0u) << code;
  }
  expect_not_narrowed({0xD83D, 0xDE00});
}

TEST(Multibyte, TakesOneCharacterHoweverManyFollow) {
  const LocaleGuard locale("C");
  EXPECT_EQ(widen_character("\xE4\xF6", 2).taken, 1u);
  const qm_wchar wide[] = {0xE4, 0xF6};
  EXPECT_EQ(narrow_character(wide, 2).taken, 1u);
}

TEST(Multibyte, KeepsErrnoEvenWhenNothingConverts) {
  const LocaleGuard locale("C");
  errno = 77;
  expect_not_narrowed({0x20AC});
  EXPECT_EQ(errno, 77);
  widen_character("\x80", 1);
  EXPECT_EQ(errno, 77);
}

}  // namespace
}  // namespace qmsd::platform
