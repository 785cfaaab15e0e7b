#include "platform/unicode.h"

#include <gtest/gtest.h>

#include <string_view>

namespace qmsd::platform {
namespace {

using namespace std::string_view_literals;
using WideView = std::basic_string_view<qm_wchar>;

struct Spelling {
  char32_t point;
  std::string_view utf8;
  WideView utf16;
};

// The first and last code point of each length, and those around the surrogates.
constexpr Spelling kSpellings[] = {
    {0x0, "\0"sv, WideView(QM_W("\0"), 1)},
    {0x7F, "\x7F", QM_W("\x7F")},
    {0x80, "\xC2\x80", QM_W("\x80")},
    {0x7FF, "\xDF\xBF", QM_W("\x7FF")},
    {0x800, "\xE0\xA0\x80", QM_W("\x800")},
    {0xD7FF, "\xED\x9F\xBF", QM_W("\xD7FF")},
    {0xE000, "\xEE\x80\x80", QM_W("\xE000")},
    {0xFFFF, "\xEF\xBF\xBF", QM_W("\xFFFF")},
    {0x10000, "\xF0\x90\x80\x80", QM_W("\xD800\xDC00")},
    {0x10FFFF, "\xF4\x8F\xBF\xBF", QM_W("\xDBFF\xDFFF")},
};

TEST(Unicode, SpellsCodePointsInBothForms) {
  for (const Spelling& spelling : kSpellings) {
    SCOPED_TRACE(static_cast<unsigned>(spelling.point));
    char bytes[4];
    EXPECT_EQ(std::string_view(bytes, encode_utf8(spelling.point, bytes)), spelling.utf8);
    qm_wchar units[2];
    EXPECT_TRUE(WideView(units, encode_utf16(spelling.point, units)) == spelling.utf16);
  }
}

TEST(Unicode, ReadsBackWhatItSpells) {
  for (const Spelling& spelling : kSpellings) {
    SCOPED_TRACE(static_cast<unsigned>(spelling.point));
    const CodePoint narrow = decode_utf8(spelling.utf8);
    EXPECT_EQ(narrow.value, spelling.point);
    EXPECT_EQ(narrow.taken, spelling.utf8.size());
    const CodePoint wide = decode_utf16(spelling.utf16);
    EXPECT_EQ(wide.value, spelling.point);
    EXPECT_EQ(wide.taken, spelling.utf16.size());
  }
}

TEST(Unicode, TakesTheFirstCodePointOnly) {
  EXPECT_EQ(decode_utf8("\xC2\x80z").taken, 2u);
  EXPECT_EQ(decode_utf16(QM_W("\xD800\xDC00z")).taken, 2u);
}

TEST(Unicode, RefusesMalformedUtf8) {
  constexpr std::string_view kMalformed[] = {
      "\x80",              // a trail byte alone
      "\xC2",              // cut off
      "\xE0\xA0",          //
      "\xF0\x90\x80",      //
      "\xC2z",             // the next character comes too early
      "\xF0\x90z\x80",     //
      "\xC0\x80",          // overlong
      "\xC1\xBF",          //
      "\xE0\x9F\xBF",      //
      "\xF0\x8F\xBF\xBF",  //
      "\xED\xA0\x80",      // surrogates
      "\xED\xBF\xBF",      //
      "\xF4\x90\x80\x80",  // beyond the last code point
      "\xF7\xBF\xBF\xBF",  //
      "\xF8\x88\x80\x80",  // no such lead byte
      "\xFF",              //
  };
  for (const std::string_view text : kMalformed) {
    EXPECT_EQ(decode_utf8(text).taken, 0u) << testing::PrintToString(text);
  }
}

TEST(Unicode, RefusesHalvesOfSurrogatePairs) {
  constexpr qm_wchar kHigh = 0xD800;
  constexpr qm_wchar kLow = 0xDC00;
  const qm_wchar cut_off[] = {kHigh};
  const qm_wchar low_first[] = {kLow, kHigh};
  const qm_wchar two_highs[] = {kHigh, kHigh};
  const qm_wchar no_surrogate_next[] = {kHigh, 'z'};
  EXPECT_EQ(decode_utf16({cut_off, 1}).taken, 0u);
  EXPECT_EQ(decode_utf16({low_first, 2}).taken, 0u);
  EXPECT_EQ(decode_utf16({two_highs, 2}).taken, 0u);
  EXPECT_EQ(decode_utf16({no_surrogate_next, 2}).taken, 0u);
}

TEST(Unicode, SpellsNoUtf16ForWhatIsNoCodePoint) {
  for (const char32_t none : {0xD800u, 0xDFFFu, 0x110000u, 0xFFFFFFFFu}) {
    qm_wchar units[2];
    EXPECT_EQ(encode_utf16(none, units), 0u);
  }
}

}  // namespace
}  // namespace qmsd::platform
