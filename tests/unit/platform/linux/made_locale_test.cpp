// Locales with one and two bytes to a character, and with a decimal comma.
#include <gtest/gtest.h>

#include "tests/unit/platform/format_support.h"
#include "tests/unit/platform/linux/made_locale.h"
#include "tests/unit/platform/multibyte_support.h"

namespace qmsd::platform {
namespace {

constexpr char kNoSources[] = "the sources of locales are not installed (package locales)";

TEST(LatinLocale, ConvertsWhatItHoldsAndNothingAlike) {
  const MadeLocale locale("de_DE", "ISO-8859-1");
  if (!locale.made()) GTEST_SKIP() << kNoSources;
  expect_pair({"\xE4", u"\u00E4"});
  expect_pair({"\xFF", u"\u00FF"});
  // Nor is "EUR", "oe" or "-" put in their place.
  for (const char16_t foreign : {u'\u20AC', u'\u0153', u'\u2013'}) expect_not_narrowed({foreign});
}

TEST(LatinLocale, LeavesThePointInNumbers) {
  const MadeLocale locale("de_DE", "ISO-8859-1");
  if (!locale.made()) GTEST_SKIP() << kNoSources;
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  expect_format("%f|%e|%g|%a", "1.500000|1.500000e+000|1.5|0x1.8000000000000p+0", 1.5, 1.5, 1.5,
                1.5);
}

TEST(JapaneseLocale, TakesDoubleBytesWhole) {
  const MadeLocale locale("ja_JP", "EUC-JP");
  if (!locale.made()) GTEST_SKIP() << kNoSources;
  expect_pair({"\xA5\xC6", u"\u30C6"});
  expect_pair({"\x8E\xB1", u"\uFF71"});
  expect_not_widened("\xA5");
  expect_not_widened("\xA5 ");
  expect_not_narrowed({0xD83D, 0xDE00});
}

TEST(JapaneseLocale, CutsConvertedTextBetweenCharacters) {
  const MadeLocale locale("ja_JP", "EUC-JP");
  if (!locale.made()) GTEST_SKIP() << kNoSources;
  const auto formatted = format_into<char>(&format_narrow, 4, "%ls", u"\u30C6\u30C6");
  EXPECT_EQ(formatted.text(), "\xA5\xC6");
  EXPECT_EQ(formatted.result, -1);
}

}  // namespace
}  // namespace qmsd::platform
