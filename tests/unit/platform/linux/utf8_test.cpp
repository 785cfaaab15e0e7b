#include "platform/linux/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace qmsd::platform {
namespace {

using WideString = std::u16string;

WideString widen(const std::string& text) {
  qm_wchar buffer[64];
  EXPECT_TRUE(widen_utf8(text.c_str(), buffer, 64));
  return buffer;
}

std::string narrow(const WideString& text) {
  char buffer[64];
  EXPECT_TRUE(narrow_utf8(text.c_str(), buffer, sizeof buffer));
  return buffer;
}

void expect_both_ways(const std::string& bytes, const WideString& wide) {
  EXPECT_EQ(widen(bytes), wide);
  EXPECT_EQ(narrow(wide), bytes);
}

TEST(Utf8, ConvertsBothWays) {
  expect_both_ways("", u"");
  expect_both_ways("plain", u"plain");
  expect_both_ways("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E4\u20AC\U0001F600");
}

TEST(Utf8, CarriesForeignBytesThroughUnchanged) {
  expect_both_ways("a\xE4z", u"a\xDCE4z");
  expect_both_ways("\x80", u"\xDC80");
  expect_both_ways("\xC3", u"\xDCC3");
  expect_both_ways("\xC3(", u"\xDCC3(");
  expect_both_ways("\xC0\x80", u"\xDCC0\xDC80");
  expect_both_ways("\xE0\x80\x80", u"\xDCE0\xDC80\xDC80");
  expect_both_ways("\xED\xA0\x80", u"\xDCED\xDCA0\xDC80");
  expect_both_ways("\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80");
  expect_both_ways("\xE2\x82", u"\xDCE2\xDC82");
  expect_both_ways("\xFF\xFE", u"\xDCFF\xDCFE");
}

TEST(Utf8, EveryByteComesBackAsItWas) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string text = {'x', static_cast<char>(byte), 'y'};
    EXPECT_EQ(narrow(widen(text)), text) << byte;
  }
}

TEST(Utf8, CutsBetweenCharacters) {
  qm_wchar wide[4];
  EXPECT_FALSE(widen_utf8("abcd", wide, 4));
  EXPECT_EQ(WideString(wide), u"abc");
  EXPECT_FALSE(widen_utf8("ab\xF0\x9F\x98\x80", wide, 4));
  EXPECT_EQ(WideString(wide), u"ab");
  EXPECT_TRUE(widen_utf8("a\xF0\x9F\x98\x80", wide, 4));
  char bytes[4];
  EXPECT_FALSE(narrow_utf8(u"a\u20AC", bytes, 4));
  EXPECT_STREQ(bytes, "a");
  EXPECT_TRUE(narrow_utf8(u"\u20AC", bytes, 4));
  EXPECT_FALSE(widen_utf8("a", wide, 1));
  EXPECT_EQ(wide[0], 0);
}

TEST(Utf8, EndsANameAtASurrogateThatStandsForNothing) {
  char bytes[16];
  for (const WideString& lone : {WideString{u'a', 0xD83D, u'b'}, WideString{u'a', 0xDC41},
                                 WideString{u'a', 0xDD00}, WideString{u'a', 0xD800}}) {
    EXPECT_FALSE(narrow_utf8(lone.c_str(), bytes, sizeof bytes));
    EXPECT_STREQ(bytes, "a");
  }
}

}  // namespace
}  // namespace qmsd::platform
