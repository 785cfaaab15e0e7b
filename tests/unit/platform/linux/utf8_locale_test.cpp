// Single characters in the one multibyte locale that every machine has.
#include <gtest/gtest.h>

#include "tests/unit/platform/locale_guard.h"
#include "tests/unit/platform/multibyte_support.h"

namespace qmsd::platform {
namespace {

class MultibyteInUtf8 : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(locale_.accepted()); }

  LocaleGuard locale_{"C.UTF-8"};
};

TEST_F(MultibyteInUtf8, ConvertsCharactersOfEveryLength) {
  expect_pair({"a", u"a"});
  expect_pair({"\xC3\xA4", u"\u00E4"});
  expect_pair({"\xE2\x82\xAC", u"\u20AC"});
  expect_pair({"\xEF\xBF\xBF", u"\uFFFF"});
}

TEST_F(MultibyteInUtf8, JoinsAndSplitsSurrogatePairs) {
  expect_pair({"\xF0\x90\x80\x80", u"\U00010000"});
  expect_pair({"\xF0\x9F\x98\x80", u"\U0001F600"});
  expect_pair({"\xF4\x8F\xBF\xBF", u"\U0010FFFF"});
}

TEST_F(MultibyteInUtf8, RefusesWhatIsNoCharacter) {
  for (const char* bytes : {"\x80", "\xC3", "\xC3(", "\xC0\x80", "\xE2\x82", "\xED\xA0\x80",
                            "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF"}) {
    expect_not_widened(bytes);
  }
}

TEST_F(MultibyteInUtf8, RefusesLoneSurrogates) {
  expect_not_narrowed({0xD83D});
  expect_not_narrowed({0xDE00});
  expect_not_narrowed({0xD83D, 'a'});
  expect_not_narrowed({0xDE00, 0xD83D});
}

}  // namespace
}  // namespace qmsd::platform
