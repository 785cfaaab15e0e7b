// Conversion between narrow and wide text, in every locale that the runtime at hand knows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <string>

#include "services/text/strings.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/poison.h"
#include "tests/support/wide_text.h"
#include "tests/unit/text/text_support.h"

namespace qmsd {
namespace {

using test::LocaleScope;
using test::LocaleText;
using test::PoisonedText;
using test::WideString;

constexpr std::size_t kLongest = 16;

WideString whole_wide(const LocaleText& text) {
  WideString whole;
  for (const WideView character : text.wide) whole += character;
  return whole;
}

std::string whole_narrow(const LocaleText& text) {
  std::string whole;
  for (const char* character : text.narrow) whole += character;
  return whole;
}

bool is_convertible(const LocaleText& text) {
  return std::find(text.narrow.begin(), text.narrow.end(), nullptr) == text.narrow.end();
}

// The characters that fit whole into so many elements, up to the first without a counterpart.
WideString wide_prefix(const LocaleText& text, std::size_t room) {
  WideString prefix;
  for (const WideView character : text.wide) {
    if (prefix.size() + character.size() > room) break;
    prefix += character;
  }
  return prefix;
}

std::string narrow_prefix(const LocaleText& text, std::size_t room) {
  std::string prefix;
  for (const char* character : text.narrow) {
    if (character == nullptr || prefix.size() + std::string(character).size() > room) break;
    prefix += character;
  }
  return prefix;
}

// Returns how many of the texts the runtime could try.
int for_each_text(const std::function<void(const LocaleText&)>& check) {
  int tried = 0;
  for (const LocaleText& text : test::locale_texts()) {
    const LocaleScope locale(text.locale);
    if (!locale) continue;
    SCOPED_TRACE(testing::Message() << text.locale << ", text " << tried);
    check(text);
    ++tried;
  }
  return tried;
}

TEST(Conversion, ToNarrowEndsAtTheLastWholeCharacterThatFits) {
  EXPECT_GE(for_each_text([](const LocaleText& text) {
              for (std::size_t size = 1; size < kLongest; ++size) {
                PoisonedText<char, kLongest> buffer;
                const std::string expected = narrow_prefix(text, size - 1);
                const auto limit = static_cast<std::ptrdiff_t>(size);
                EXPECT_EQ(wcs_to_mbs(buffer.data(), limit, whole_wide(text).c_str()),
                          expected.size() + 1);
                EXPECT_EQ(buffer.c_str(), expected) << size;
                EXPECT_TRUE(buffer.untouched_from(expected.size() + 1)) << size;
              }
            }),
            4);
}

TEST(Conversion, ToWideEndsAtTheLastWholeCharacterThatFits) {
  EXPECT_GE(for_each_text([](const LocaleText& text) {
              if (!is_convertible(text)) return;
              for (std::size_t length = 1; length < kLongest; ++length) {
                PoisonedText<qm_wchar, kLongest> buffer;
                const WideString expected = wide_prefix(text, length - 1);
                const auto limit = static_cast<std::ptrdiff_t>(length);
                EXPECT_EQ(mbs_to_wcs(buffer.data(), limit, whole_narrow(text).c_str()),
                          expected.size() + 1);
                EXPECT_EQ(buffer.c_str(), expected) << length;
                EXPECT_TRUE(buffer.untouched_from(expected.size() + 1)) << length;
              }
            }),
            4);
}

TEST(Conversion, MeasuresExactlyWhatItWrites) {
  for_each_text([](const LocaleText& text) {
    if (is_convertible(text)) {
      EXPECT_EQ(narrow_size(whole_wide(text)), whole_narrow(text).size() + 1);
    } else {
      EXPECT_EQ(narrow_size(whole_wide(text)), std::nullopt);
    }
  });
  EXPECT_EQ(narrow_size(WideView()), 1u);
}

TEST(Conversion, KeepsEveryByteInTheCLocale) {
  const LocaleScope locale("C");
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  qm_wchar wide[256];
  ASSERT_EQ(mbs_to_wcs(wide, 256, bytes.c_str()), 256u);
  for (std::size_t at = 0; at < 255; ++at) EXPECT_EQ(wide[at], at + 1);
  char narrow[256];
  EXPECT_EQ(wcs_to_mbs(narrow, 256, wide), 256u);
  EXPECT_EQ(narrow, bytes);
}

TEST(Conversion, WritesNothingWithoutRoom) {
  PoisonedText<qm_wchar, 2> wide;
  PoisonedText<char, 2> narrow;
  for (const std::ptrdiff_t size : {0, -1, -1000}) {
    EXPECT_EQ(mbs_to_wcs(wide.data(), size, "abc"), 0u);
    EXPECT_EQ(wcs_to_mbs(narrow.data(), size, QM_W("abc")), 0u);
  }
  EXPECT_TRUE(wide.untouched_from(0));
  EXPECT_TRUE(narrow.untouched_from(0));
  EXPECT_EQ(mbs_to_wcs(nullptr, 5, "abc"), 0u);
  EXPECT_EQ(wcs_to_mbs(nullptr, 5, QM_W("abc")), 0u);
}

TEST(Conversion, TakesNullForAnEmptyText) {
  PoisonedText<qm_wchar, 2> wide;
  PoisonedText<char, 2> narrow;
  EXPECT_EQ(mbs_to_wcs(wide.data(), 2, nullptr), 1u);
  EXPECT_EQ(wcs_to_mbs(narrow.data(), 2, nullptr), 1u);
  EXPECT_EQ(wide[0], 0);
  EXPECT_EQ(narrow[0], 0);
}

// ---- Copies in memory of their own ----

TEST(DupFromMbs, CopiesTheWholeText) {
  for_each_text([](const LocaleText& text) {
    if (!is_convertible(text)) return;
    const std::string narrow = whole_narrow(text);
    const OwnedText copy = wcs_dup_from_mbs(narrow.c_str());
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy.get(), whole_wide(text));
    EXPECT_EQ(copy[narrow.size()], 0) << "the unit at the byte length";
  });
}

TEST(DupFromMbs, EndsAtTheFirstCharacterThatCannotBeConverted) {
  const LocaleScope utf8("C.UTF-8");
  const LocaleScope japanese(utf8 ? "C.UTF-8" : "Japanese_Japan.932");
  ASSERT_TRUE(utf8 || japanese);
  const OwnedText copy = wcs_dup_from_mbs(
      "ab\xFF"
      "c");
  ASSERT_TRUE(copy);
  EXPECT_EQ(WideView(copy.get()), QM_W("ab"));
  EXPECT_EQ(copy[4], 0);
}

TEST(DupFromMbs, GivesNullForNullAndForExhaustedMemory) {
  EXPECT_FALSE(wcs_dup_from_mbs(nullptr));
  errno = 0;
  EXPECT_TRUE(test::with_allocation_failing(1, test::Shortage::once,
                                            [] { EXPECT_FALSE(wcs_dup_from_mbs("abc")); }));
  EXPECT_EQ(errno, ENOMEM);
}

TEST(FromMbsAlloc, CopiesTheWholeText) {
  for_each_text([](const LocaleText& text) {
    if (!is_convertible(text)) return;
    const OwnedText copy = wcs_from_mbs_alloc(whole_narrow(text).c_str());
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy.get(), whole_wide(text));
  });
  const OwnedText empty = wcs_from_mbs_alloc("");
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty[0], 0);
}

TEST(FromMbsAlloc, RefusesWhatItCannotConvertToItsEnd) {
  const LocaleScope utf8("C.UTF-8");
  const LocaleScope japanese(utf8 ? "C.UTF-8" : "Japanese_Japan.932");
  ASSERT_TRUE(utf8 || japanese);
  for (const char* text : {static_cast<const char*>(nullptr), "ab\xFF", "ab\xE2"}) {
    errno = 0;
    EXPECT_FALSE(wcs_from_mbs_alloc(text));
    EXPECT_EQ(errno, EINVAL);
  }
}

TEST(FromMbsAlloc, TellsExhaustedMemory) {
  errno = 0;
  EXPECT_TRUE(test::with_allocation_failing(1, test::Shortage::once,
                                            [] { EXPECT_FALSE(wcs_from_mbs_alloc("abc")); }));
  EXPECT_EQ(errno, ENOMEM);
}

}  // namespace
}  // namespace qmsd
