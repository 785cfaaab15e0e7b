// Bounded copying and formatting, and text results.
#include "services/text/strings.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/allocation_failures.h"
#include "tests/support/poison.h"
#include "tests/support/wide_text.h"

namespace qmsd {
namespace {

using test::PoisonedText;
using test::WideString;

// ---- Copying and appending ----

struct CopyCase {
  std::ptrdiff_t length;
  std::ptrdiff_t count;
  WideString result;
};

class CopyBounded : public testing::TestWithParam<CopyCase> {};

TEST_P(CopyBounded, WritesWhatFitsAndTerminates) {
  PoisonedText<qm_wchar, 16> buffer;
  const auto& [length, count, result] = GetParam();
  EXPECT_EQ(wcs_copy_bounded(buffer.data(), length, QM_W("abcdef"), count), buffer.data());
  EXPECT_EQ(buffer.c_str(), result);
  EXPECT_TRUE(buffer.untouched_from(result.size() + 1));
}

INSTANTIATE_TEST_SUITE_P(Strings, CopyBounded,
                         testing::Values(CopyCase{16, -1, QM_W("abcdef")},
                                         CopyCase{7, -1, QM_W("abcdef")},
                                         CopyCase{6, -1, QM_W("abcde")}, CopyCase{2, -1, QM_W("a")},
                                         CopyCase{1, -1, QM_W("")}, CopyCase{16, 3, QM_W("abc")},
                                         CopyCase{3, 5, QM_W("ab")}, CopyCase{16, 0, QM_W("")},
                                         CopyCase{16, 100, QM_W("abcdef")},
                                         CopyCase{16, -2, QM_W("")},
                                         CopyCase{16, PTRDIFF_MIN, QM_W("")}));

TEST(CopyBoundedEdges, WritesNothingWithoutRoom) {
  PoisonedText<qm_wchar, 2> buffer;
  for (const std::ptrdiff_t length : {std::ptrdiff_t{0}, std::ptrdiff_t{-1}, PTRDIFF_MIN}) {
    EXPECT_EQ(wcs_copy_bounded(buffer.data(), length, QM_W("abc")), buffer.data());
    EXPECT_EQ(wcs_append_bounded(buffer.data(), length, QM_W("abc")), buffer.data());
  }
  EXPECT_TRUE(buffer.untouched_from(0));
}

TEST(CopyBoundedEdges, ReadsNoFurtherThanTheCount) {
  const qm_wchar source[] = {'a', 'b', 'c'};  // no terminator
  qm_wchar buffer[8];
  EXPECT_EQ(WideView(wcs_copy_bounded(buffer, 8, source, 3)), QM_W("abc"));
}

TEST(CopyBoundedEdges, TakesNullForAnEmptyText) {
  PoisonedText<qm_wchar, 4> buffer;
  wcs_copy_bounded(buffer.data(), 4, nullptr);
  EXPECT_EQ(buffer[0], 0);
  EXPECT_TRUE(buffer.untouched_from(1));
}

struct AppendCase {
  std::ptrdiff_t length;
  std::ptrdiff_t count;
  WideString result;
};

class AppendBounded : public testing::TestWithParam<AppendCase> {};

TEST_P(AppendBounded, AddsWhatFitsBehindTheText) {
  PoisonedText<qm_wchar, 16> buffer;
  wcs_copy_bounded(buffer.data(), 16, QM_W("abc"));
  const auto& [length, count, result] = GetParam();
  EXPECT_EQ(wcs_append_bounded(buffer.data(), length, QM_W("def"), count), buffer.data());
  EXPECT_EQ(buffer.c_str(), result);
  EXPECT_TRUE(buffer.untouched_from(result.size() + 1));
}

// In a length of 3 the text "abc" has no terminator.
INSTANTIATE_TEST_SUITE_P(
    Strings, AppendBounded,
    testing::Values(AppendCase{16, -1, QM_W("abcdef")}, AppendCase{7, -1, QM_W("abcdef")},
                    AppendCase{6, -1, QM_W("abcde")}, AppendCase{4, -1, QM_W("abc")},
                    AppendCase{3, -1, QM_W("abc")}, AppendCase{1, -1, QM_W("abc")},
                    AppendCase{16, 2, QM_W("abcde")}, AppendCase{16, 0, QM_W("abc")},
                    AppendCase{16, -2, QM_W("abc")}));

// ---- Formatting ----

TEST(FormatWide, ReadsWideAndNarrowTextAsTheFormatSays) {
  qm_wchar buffer[64];
  EXPECT_EQ(
      format_wide(buffer, 64, QM_W("%s|%hs|%ls|%S"), QM_W("wide"), "narrow", QM_W("long"), "small"),
      22);
  EXPECT_EQ(WideView(buffer), QM_W("wide|narrow|long|small"));
}

TEST(FormatNarrow, ReadsWideAndNarrowTextAsTheFormatSays) {
  char buffer[64];
  EXPECT_EQ(format_narrow(buffer, 64, "%s|%hs|%ls|%S", "narrow", "small", QM_W("wide"), QM_W("W")),
            19);
  EXPECT_STREQ(buffer, "narrow|small|wide|W");
}

TEST(FormatWide, TellsThatItCut) {
  for (std::ptrdiff_t length = 1; length <= 7; ++length) {
    PoisonedText<qm_wchar, 16> buffer;
    const bool fits = length > 5;
    const WideString expected =
        WideString(QM_W("12345")).substr(0, fits ? 5 : static_cast<std::size_t>(length - 1));
    EXPECT_EQ(format_wide(buffer.data(), length, QM_W("%d"), 12345), fits ? 5 : -1);
    EXPECT_EQ(buffer.c_str(), expected);
    EXPECT_TRUE(buffer.untouched_from(static_cast<std::size_t>(length)));
  }
}

TEST(FormatNarrow, TellsThatItCut) {
  for (std::ptrdiff_t size = 1; size <= 7; ++size) {
    PoisonedText<char, 16> buffer;
    const bool fits = size > 5;
    EXPECT_EQ(format_narrow(buffer.data(), size, "%d", 12345), fits ? 5 : -1);
    EXPECT_EQ(buffer.c_str(),
              std::string("12345").substr(0, fits ? 5 : static_cast<std::size_t>(size - 1)));
    EXPECT_TRUE(buffer.untouched_from(static_cast<std::size_t>(size)));
  }
}

TEST(FormatWide, StoresAsMuchOfALongResultAsFits) {
  qm_wchar buffer[32];
  EXPECT_EQ(format_wide(buffer, 32, QM_W("%040d"), 7), -1);
  EXPECT_EQ(WideView(buffer), WideString(31, '0'));
}

TEST(Format, WritesNothingWithoutRoom) {
  PoisonedText<qm_wchar, 2> wide;
  PoisonedText<char, 2> narrow;
  for (const std::ptrdiff_t size : {0, -1}) {
    EXPECT_EQ(format_wide(wide.data(), size, QM_W("x")), -1);
    EXPECT_EQ(format_narrow(narrow.data(), size, "x"), -1);
  }
  EXPECT_TRUE(wide.untouched_from(0));
  EXPECT_TRUE(narrow.untouched_from(0));
  EXPECT_EQ(format_wide(nullptr, 4, QM_W("x")), -1);
  EXPECT_EQ(format_narrow(nullptr, 4, "x"), -1);
}

// ---- Text results ----

TEST(TextResult, CutsAndForcesTheLastElementToZero) {
  PoisonedText<qm_wchar, 8> wide;
  PoisonedText<char, 8> narrow;
  text_result(wide.data(), 7, QM_W("abc"));
  text_result(narrow.data(), 7, QM_W("abc"));
  EXPECT_EQ(WideView(wide.c_str()), QM_W("abc"));
  EXPECT_STREQ(narrow.c_str(), "abc");
  EXPECT_EQ(wide[6], 0);
  EXPECT_EQ(narrow[6], 0);
  EXPECT_TRUE(test::is_poison(wide[5]));
  EXPECT_TRUE(test::is_poison(narrow[5]));
  EXPECT_TRUE(wide.untouched_from(7));
  EXPECT_TRUE(narrow.untouched_from(7));

  text_result(wide.data(), 3, QM_W("xyz"));
  text_result(narrow.data(), 3, QM_W("xyz"));
  EXPECT_EQ(WideView(wide.c_str()), QM_W("xy"));
  EXPECT_STREQ(narrow.c_str(), "xy");
}

TEST(TextResult, InOneElementIsTheTerminator) {
  PoisonedText<qm_wchar, 2> wide;
  PoisonedText<char, 2> narrow;
  text_result(wide.data(), 1, QM_W("abc"));
  text_result(narrow.data(), 1, QM_W("abc"));
  EXPECT_EQ(wide[0], 0);
  EXPECT_EQ(narrow[0], 0);
  EXPECT_TRUE(wide.untouched_from(1));
  EXPECT_TRUE(narrow.untouched_from(1));
}

TEST(TextResult, WritesNothingWithoutABuffer) {
  PoisonedText<qm_wchar, 2> wide;
  PoisonedText<char, 2> narrow;
  for (const std::int32_t length : {0, -1, INT32_MIN}) {
    text_result(wide.data(), length, QM_W("abc"));
    text_result(narrow.data(), length, QM_W("abc"));
  }
  EXPECT_TRUE(wide.untouched_from(0));
  EXPECT_TRUE(narrow.untouched_from(0));
  text_result(static_cast<qm_wchar*>(nullptr), 5, QM_W("abc"));
  text_result(static_cast<char*>(nullptr), 5, QM_W("abc"));
}

// ---- Owned copies ----

TEST(CopyText, CopiesViewsThatGoOn) {
  const OwnedText wide = copy_text(WideView(QM_W("abcdef")).substr(1, 3));
  const OwnedNarrow narrow = copy_narrow(std::string_view("abcdef").substr(1, 3));
  ASSERT_TRUE(wide && narrow);
  EXPECT_EQ(WideView(wide.get()), QM_W("bcd"));
  EXPECT_STREQ(narrow.get(), "bcd");
  EXPECT_EQ(copy_text(WideView())[0], 0);
}

TEST(CopyText, IsNullWhenMemoryIsExhausted) {
  EXPECT_TRUE(test::with_allocation_failing(1, test::Shortage::from_then_on, [] {
    EXPECT_FALSE(copy_text(QM_W("abc")));
    EXPECT_FALSE(copy_narrow("abc"));
  }));
}

TEST(TextViews, TakeNullForAnEmptyText) {
  EXPECT_TRUE(view_of(nullptr).empty());
  EXPECT_EQ(view_of(QM_W("ab")).size(), 2u);
  EXPECT_TRUE(is_empty(static_cast<const qm_wchar*>(nullptr)));
  EXPECT_TRUE(is_empty(static_cast<const char*>(nullptr)));
  EXPECT_TRUE(is_empty(QM_W("")));
  EXPECT_FALSE(is_empty("a"));
}

}  // namespace
}  // namespace qmsd
