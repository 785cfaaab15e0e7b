// Reading and setting errors from outside.
#include "kernel/errors/error_calls.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdarg>
#include <string>
#include <vector>

#include "kernel/errors/error_state.h"
#include "platform/test_hooks.h"
#include "platform/thread_slot.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/expect_error.h"
#include "tests/support/poison.h"

namespace qmsd {
namespace {

using test::PoisonedText;
using test::thread_error;
using test::WideString;

constexpr std::size_t kLongest = kMessageLength - 1;

// Code 22 has a text, code 5 an empty one.
class ErrorCalls : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(error_texts_set(22, QM_W("Wrong")));
    ASSERT_TRUE(error_texts_set(5, QM_W("")));
  }

 private:
  test::ErrorState state_;
};

// As callers do it: the record carries the list itself, or a pointer to it where it is an array.
bool set_wide(std::uint32_t flags, std::int32_t code, const qm_wchar* text, ...) {
  va_list arguments;
  va_start(arguments, text);
  qm_set_error_w record{flags, code, text, static_cast<void*>(arguments)};
  const bool done = set_error_wide(record);
  va_end(arguments);
  return done;
}

bool set_narrow(std::uint32_t flags, std::int32_t code, const char* text, ...) {
  va_list arguments;
  va_start(arguments, text);
  qm_set_error_a record{flags, code, text, static_cast<void*>(arguments)};
  const bool done = set_error_narrow(record);
  va_end(arguments);
  return done;
}

bool set_wide_without_list(std::uint32_t flags, std::int32_t code, const qm_wchar* text) {
  qm_set_error_w record{flags, code, text, nullptr};
  return set_error_wide(record);
}

bool set_literal(std::uint32_t flags, std::int32_t code, const qm_wchar* text) {
  return set_wide_without_list(flags | QM_SET_ERROR_LITERAL, code, text);
}

// ---- Setting: modes ----

struct ModeCase {
  std::uint32_t flags;
  std::int32_t code;
  const qm_wchar* old_text;
  const qm_wchar* new_text;
  const qm_wchar* message;
};

class ErrorModes : public ErrorCalls, public testing::WithParamInterface<ModeCase> {};

TEST_P(ErrorModes, CombineOldAndNew) {
  const ModeCase& mode = GetParam();
  if (mode.old_text != nullptr) {
    ASSERT_TRUE(set_literal(QM_SET_ERROR_NO_CODE_TEXT, 2, mode.old_text));
  }
  EXPECT_TRUE(set_literal(mode.flags, mode.code, mode.new_text));
  EXPECT_EQ(thread_error().code, mode.code);
  EXPECT_EQ(test::readable(thread_error().message), test::readable(mode.message));
}

constexpr std::uint32_t kBare = QM_SET_ERROR_NO_CODE_TEXT;

INSTANTIATE_TEST_SUITE_P(
    Replace, ErrorModes,
    testing::Values(ModeCase{0, 22, nullptr, QM_W("new"), QM_W("Wrong new")},
                    ModeCase{0, 22, QM_W("old"), QM_W("new"), QM_W("Wrong new")},
                    ModeCase{0, 22, QM_W("old"), QM_W(""), QM_W("Wrong ")},
                    ModeCase{0, 5, QM_W("old"), QM_W("new"), QM_W("new")},
                    ModeCase{kBare, 22, QM_W("old"), QM_W("new"), QM_W("new")},
                    ModeCase{kBare, 22, QM_W("old"), QM_W(""), QM_W("")},
                    ModeCase{kBare | 3, 22, QM_W("old"), QM_W("new"), QM_W("new")}));
INSTANTIATE_TEST_SUITE_P(
    Append, ErrorModes,
    testing::Values(ModeCase{1, 22, nullptr, QM_W("new"), QM_W("Wrong new")},
                    ModeCase{1, 22, QM_W(""), QM_W("new"), QM_W("Wrong new")},
                    ModeCase{1, 22, QM_W("old"), QM_W("new"), QM_W("old\r\nWrong new")},
                    ModeCase{kBare | 1, 22, QM_W("old"), QM_W("new"), QM_W("old\r\nnew")},
                    ModeCase{kBare | 1, 22, QM_W("old"), QM_W(""), QM_W("old\r\n")},
                    ModeCase{1, 5, QM_W("old"), QM_W("new"), QM_W("old\r\nnew")}));
INSTANTIATE_TEST_SUITE_P(
    Prepend, ErrorModes,
    testing::Values(ModeCase{2, 22, nullptr, QM_W("new"), QM_W("Wrong new")},
                    ModeCase{2, 22, QM_W("old"), QM_W("new"), QM_W("Wrong new\r\nold")},
                    ModeCase{2, 22, QM_W("old"), QM_W(""), QM_W("Wrong \r\nold")},
                    ModeCase{kBare | 2, 22, QM_W("old"), QM_W("new"), QM_W("new\r\nold")},
                    ModeCase{kBare | 2, 22, QM_W("old"), QM_W(""), QM_W("")},
                    ModeCase{kBare | 2, 22, QM_W(""), QM_W("new"), QM_W("new")}));

// ---- Setting: texts ----

TEST_F(ErrorCalls, SetFormatsTheTextWithItsArguments) {
  EXPECT_TRUE(set_wide(0, 22, QM_W("%s %hs %d"), QM_W("wide"), "narrow", 7));
  EXPECT_EQ(thread_error().message, QM_W("Wrong wide narrow 7"));
}

TEST_F(ErrorCalls, SetLeavesTheListToItsCaller) {
  const auto set_twice = [](const qm_wchar* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    qm_set_error_w record{kBare, 22, text, static_cast<void*>(arguments)};
    EXPECT_TRUE(set_error_wide(record));
    record.flags |= QM_SET_ERROR_APPEND;
    EXPECT_TRUE(set_error_wide(record));
    va_end(arguments);
  };
  set_twice(QM_W("%d %s %d"), 1, QM_W("two"), 3);
  EXPECT_EQ(thread_error().message, QM_W("1 two 3\r\n1 two 3"));
}

TEST_F(ErrorCalls, SetTakesALiteralTextAsItIs) {
  EXPECT_TRUE(set_literal(0, 22, QM_W("100% %s %d")));
  EXPECT_EQ(thread_error().message, QM_W("Wrong 100% %s %d"));
}

TEST_F(ErrorCalls, SetNeverReadsAMissingList) {
  EXPECT_TRUE(set_wide_without_list(kBare, 22, QM_W("%s and %d")));
  EXPECT_EQ(thread_error().message, QM_W("%s and %d"));
  EXPECT_TRUE(set_wide_without_list(kBare, 22, QM_W("100%% sure")));
  EXPECT_EQ(thread_error().message, QM_W("100% sure"));
  EXPECT_TRUE(set_wide_without_list(kBare, 22, QM_W("100%")));
  EXPECT_EQ(thread_error().message, QM_W("100%"));
  EXPECT_TRUE(set_wide_without_list(kBare, 22, QM_W("%% %d")));
  EXPECT_EQ(thread_error().message, QM_W("%% %d"));
}

TEST_F(ErrorCalls, SetTakesNullForAnEmptyText) {
  EXPECT_TRUE(set_wide_without_list(0, 22, nullptr));
  EXPECT_EQ(thread_error().message, QM_W("Wrong "));
  qm_set_error_a record{0, 22, nullptr, nullptr};
  EXPECT_TRUE(set_error_narrow(record));
  EXPECT_EQ(thread_error().message, QM_W("Wrong "));
}

TEST_F(ErrorCalls, SetAddsNoTag) {
  EXPECT_TRUE(set_literal(0, 22, QM_W("new")));
  EXPECT_EQ(thread_error().message.find(QM_W("[qmsd]")), WideString::npos);
}

TEST_F(ErrorCalls, SetUsesTheTextOfTheLowerBitsOnlyInPlaceOfNone) {
  ASSERT_TRUE(error_texts_set(0x12345, nullptr));
  ASSERT_TRUE(error_texts_set(0x2345, QM_W("x")));
  EXPECT_TRUE(set_literal(0, 0x12345, QM_W("new")));
  EXPECT_EQ(thread_error().message, QM_W("x new"));
  ASSERT_TRUE(error_texts_set(0x12345, QM_W("")));
  EXPECT_TRUE(set_literal(0, 0x12345, QM_W("new")));
  EXPECT_EQ(thread_error().message, QM_W("new"));
}

TEST_F(ErrorCalls, SetCutsWhatIsTooLong) {
  ASSERT_TRUE(set_literal(kBare, 22, QM_W("old")));
  EXPECT_TRUE(set_literal(2, 22, WideString(3000, 'n').c_str()));
  EXPECT_EQ(thread_error().message, QM_W("Wrong ") + WideString(kLongest - 6, 'n'));
  EXPECT_TRUE(set_literal(1, 22, QM_W("lost")));
  EXPECT_EQ(thread_error().message, QM_W("Wrong ") + WideString(kLongest - 6, 'n'));
  EXPECT_TRUE(set_wide(kBare, 22, QM_W("%s"), WideString(3000, 'f').c_str()));
  EXPECT_EQ(thread_error().message, WideString(kLongest, 'f'));
}

TEST_F(ErrorCalls, SetKeepsSurrogatePairs) {
  EXPECT_TRUE(set_literal(kBare, 22, QM_W("\U0001F600")));
  EXPECT_EQ(thread_error().message, QM_W("\U0001F600"));
}

// ---- Setting: narrow ----

TEST_F(ErrorCalls, NarrowStringsInNarrowFormatsAreNarrow) {
  EXPECT_TRUE(set_narrow(0, 22, "%s %hs %d", "one", "two", 3));
  EXPECT_EQ(thread_error().message, QM_W("Wrong one two 3"));
}

TEST_F(ErrorCalls, OnlyAnSRightBehindThePercentSignIsChanged) {
  EXPECT_TRUE(set_narrow(kBare, 22, "%-5s|%s", QM_W("wide"), "narrow"));
  EXPECT_EQ(thread_error().message, QM_W("wide |narrow"));
}

TEST_F(ErrorCalls, LiteralNarrowTextIsChangedToo) {
  EXPECT_TRUE(set_narrow(kBare | QM_SET_ERROR_LITERAL, 22, "50%s %%s %"));
  EXPECT_EQ(thread_error().message, QM_W("50%S %%S %"));
}

TEST_F(ErrorCalls, NarrowTextIsCutToo) {
  EXPECT_TRUE(set_narrow(kBare | QM_SET_ERROR_LITERAL, 22, std::string(3000, 'n').c_str()));
  EXPECT_EQ(thread_error().message, WideString(kLongest, 'n'));
}

TEST_F(ErrorCalls, SetWithoutMemoryStoresOnlyTheCode) {
  test::with_allocation_failing(1, test::Shortage::from_then_on, [] {
    EXPECT_FALSE(set_literal(kBare, 5, QM_W("new")));
    EXPECT_EQ(thread_error().code, 5);
    EXPECT_EQ(thread_error().message, WideString());
  });
}

TEST_F(ErrorCalls, SetSurvivesEveryFailedAllocation) {
  test::fail_each_allocation([] {
    error_thread_clear();
    const bool first = set_literal(kBare, 7, QM_W("first"));
    const bool second = set_literal(QM_SET_ERROR_APPEND, 8, QM_W("second"));
    EXPECT_EQ(thread_error().code, 8);
    EXPECT_EQ(thread_error().message.empty(), !first && !second);
  });
}

TEST(ErrorCallsWithoutSlots, SetStoresWhatItCan) {
  platform::fail_next_thread_slots(2);
  error_state_create();
  EXPECT_FALSE(set_literal(0, 5, QM_W("new")));
  EXPECT_EQ(thread_error().code, 22);
  error_state_destroy();
  platform::fail_next_thread_slots(1);
  error_state_create();
  EXPECT_TRUE(set_literal(0, 5, QM_W("new")));
  EXPECT_EQ(thread_error().code, 22);
  EXPECT_EQ(thread_error().message, QM_W("Unknown Error new"));
  error_state_destroy();
}

// ---- Reading ----

TEST_F(ErrorCalls, GetReturnsTheCodeWithOrWithoutARecord) {
  EXPECT_EQ(get_error_wide(nullptr), 0);
  EXPECT_EQ(get_error_narrow(nullptr), 0);
  fail(-7);
  EXPECT_EQ(get_error_wide(nullptr), -7);
  EXPECT_EQ(get_error_narrow(nullptr), -7);
  auto wide = test::poisoned<qm_get_error_w>();
  auto narrow = test::poisoned<qm_get_error_a>();
  wide.text = nullptr;
  narrow.text = nullptr;
  EXPECT_EQ(get_error_wide(&wide), -7);
  EXPECT_EQ(get_error_narrow(&narrow), -7);
  EXPECT_EQ(wide.code, -7);
  EXPECT_EQ(narrow.code, -7);
}

// Both forms into buffers of every length from nothing to more than enough.
template <class Record, class Character>
void expect_cut(std::int32_t (*get)(Record*), std::int32_t code, const std::string& message) {
  constexpr std::int32_t kRoom = 48;
  for (std::int32_t length = -1; length < kRoom; ++length) {
    PoisonedText<Character, kRoom> buffer;
    Record record{0, buffer.data(), length};
    EXPECT_EQ(get(&record), code);
    EXPECT_EQ(record.code, code);
    const auto written = static_cast<std::size_t>(std::max(length, 0));
    EXPECT_TRUE(buffer.untouched_from(written)) << length;
    if (written == 0) continue;
    const std::string expected = message.substr(0, written - 1);
    EXPECT_EQ(buffer.c_str(), std::basic_string<Character>(expected.begin(), expected.end()));
    EXPECT_EQ(buffer[written - 1], 0) << "the last element is always zero";
  }
}

TEST_F(ErrorCalls, GetCutsTheMessageToTheBuffer) {
  fail(22, QM_W("(!ptr)"));
  expect_cut<qm_get_error_w, qm_wchar>(get_error_wide, 22, "Wrong  [qmsd] (!ptr)");
  expect_cut<qm_get_error_a, char>(get_error_narrow, 22, "Wrong  [qmsd] (!ptr)");
}

TEST_F(ErrorCalls, GetNarrowEndsWhereAMessageHasNoNarrowForm) {
  std::setlocale(LC_ALL, "C");
  ASSERT_TRUE(set_literal(kBare, 22, QM_W("ab\u20acc")));
  char text[8];
  qm_get_error_a record{0, text, 8};
  EXPECT_EQ(get_error_narrow(&record), 22);
  EXPECT_STREQ(text, "ab");
}

TEST(ClosedKernel, AnswersThatItIsClosed) {
  expect_cut<qm_get_error_w, qm_wchar>(
      [](qm_get_error_w* record) { return closed_error_wide(record); }, 2,
      "qmsd has been closed already");
  expect_cut<qm_get_error_a, char>(
      [](qm_get_error_a* record) { return closed_error_narrow(record); }, 2,
      "qmsd has been closed already");
  EXPECT_EQ(closed_error_wide(nullptr), 2);
  EXPECT_EQ(closed_error_narrow(nullptr), 2);
}

// ---- Registering texts ----

TEST_F(ErrorCalls, AddRegistersEveryPair) {
  const qm_error_text pairs[] = {
      {0x2001, QM_W("one")}, {0x2002, nullptr}, {-3, QM_W("")}, {0x2001, QM_W("later")}};
  qm_add_error_texts record{4, pairs};
  EXPECT_TRUE(add_error_texts(record));
  fail(0x2001);
  EXPECT_EQ(thread_error().message, QM_W("later  [qmsd]"));
  fail(0x2002);
  EXPECT_EQ(thread_error().message, QM_W(" [qmsd]"));
}

TEST_F(ErrorCalls, AddReadsNothingWhenThereIsNothing) {
  for (const std::int32_t count : {0, -1, INT32_MIN}) {
    qm_add_error_texts record{count, nullptr};
    EXPECT_TRUE(add_error_texts(record));
  }
  EXPECT_NO_ERROR();
}

TEST_F(ErrorCalls, AddWantsPairs) {
  qm_add_error_texts record{1, nullptr};
  EXPECT_FALSE(add_error_texts(record));
  EXPECT_ERROR(22, QM_W("(!ptr)"));
}

TEST_F(ErrorCalls, AddTriesEveryPairEvenAfterAFailure) {
  fail(2);
  const qm_error_text pairs[] = {{0x2001, QM_W("one")}, {0x2002, QM_W("two")}};
  qm_add_error_texts record{2, pairs};
  EXPECT_TRUE(test::with_allocation_failing(1, test::Shortage::once,
                                            [&] { EXPECT_FALSE(add_error_texts(record)); }));
  EXPECT_STANDARD_ERROR(12);
  fail(0x2002);
  EXPECT_EQ(thread_error().message, QM_W("two  [qmsd]"));
}

TEST(ErrorCallsWithoutTable, AddFails) {
  error_state_create();
  const qm_error_text pair{0x2001, QM_W("one")};
  qm_add_error_texts record{1, &pair};
  EXPECT_FALSE(add_error_texts(record));
  EXPECT_STANDARD_ERROR(12);
  error_state_destroy();
}

}  // namespace
}  // namespace qmsd
