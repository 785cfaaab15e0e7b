// Saving errors and taking them back.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "kernel/errors/error_calls.h"
#include "kernel/errors/error_state.h"
#include "kernel/errors/thread_error.h"
#include "platform/test_hooks.h"
#include "platform/thread_slot.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/expect_error.h"

namespace qmsd {
namespace {

using test::thread_error;
using test::WideString;

constexpr const qm_wchar* kEmptyStack = QM_W("No more errors in stack");

void expect_empty_stack() {
  EXPECT_FALSE(pop_error());
  EXPECT_EQ(thread_error().code, 2);
  EXPECT_EQ(thread_error().message, kEmptyStack);
}

class ErrorStackCalls : public testing::Test {
  test::ErrorState state_;
};

TEST_F(ErrorStackCalls, GiveBackWhatWasSaved) {
  fail(22, QM_W("(first)"));
  EXPECT_TRUE(push_error());
  EXPECT_ERROR(22, QM_W("(first)")) << "saving leaves the error as it is";
  fail(2, QM_W("(second)"));
  EXPECT_TRUE(pop_error());
  EXPECT_ERROR(22, QM_W("(first)"));
  expect_empty_stack();
}

TEST_F(ErrorStackCalls, GiveBackTheLatestFirst) {
  for (int i = 1; i <= 40; ++i) {
    fail(0x2000 + i, QM_W("(error %d)"), i);
    ASSERT_TRUE(push_error());
  }
  for (int i = 40; i >= 1; --i) {
    ASSERT_TRUE(pop_error());
    const std::string detail = "(error " + std::to_string(i) + ")";
    EXPECT_ERROR(0x2000 + i, WideString(detail.begin(), detail.end()).c_str());
  }
  expect_empty_stack();
}

TEST_F(ErrorStackCalls, TellThatNothingWasSaved) {
  expect_empty_stack();
  fail(22, QM_W("(x)"));
  expect_empty_stack();
}

TEST_F(ErrorStackCalls, LeaveRoomForALongErrorAfterAnEmptyStack) {
  expect_empty_stack();
  fail(22, QM_W("%s"), WideString(3000, 'd').c_str());
  EXPECT_EQ(thread_error().message.size(), kMessageLength - 1);
}

TEST_F(ErrorStackCalls, LeaveRoomForALongErrorAfterAShortOneCameBack) {
  fail(22, QM_W("(x)"));
  ASSERT_TRUE(push_error() && pop_error());
  fail(22, QM_W("%s"), WideString(3000, 'd').c_str());
  EXPECT_EQ(thread_error().message.size(), kMessageLength - 1);
}

TEST_F(ErrorStackCalls, SaveAFreshThreadsLackOfAnError) {
  EXPECT_TRUE(push_error());
  EXPECT_FALSE(has_message()) << "saving makes no message";
  fail(22, QM_W("(x)"));
  EXPECT_TRUE(pop_error());
  EXPECT_NO_ERROR();
}

TEST_F(ErrorStackCalls, CanBeginAnewAfterTheStackWasEmptied) {
  for (int round = 0; round < 3; ++round) {
    fail(22, QM_W("(x)"));
    ASSERT_TRUE(push_error());
    ASSERT_TRUE(pop_error());
    expect_empty_stack();
  }
}

TEST_F(ErrorStackCalls, BelongToTheThread) {
  fail(22, QM_W("(mine)"));
  ASSERT_TRUE(push_error());
  std::thread([] {
    expect_empty_stack();
    ASSERT_TRUE(push_error());
    ASSERT_TRUE(push_error());
    error_thread_clear();  // frees what is left on the stack
    expect_empty_stack();
    error_thread_clear();
  }).join();
  EXPECT_TRUE(pop_error());
}

// Natively the system itself ends a thread's error state.
TEST_F(ErrorStackCalls, AreForgottenByAThreadThatJustEnds) {
  std::thread([] {
    fail(22);
    EXPECT_TRUE(push_error());
  }).join();
  expect_empty_stack();
}

// ---- Exhausted memory ----

TEST_F(ErrorStackCalls, TellWhenMemoryIsExhausted) {
  test::fail_each_allocation([] {
    error_thread_clear();
    fail(22, QM_W("(first)"));
    const bool had_message = has_message();
    if (push_error()) {
      EXPECT_EQ(thread_error().code, 22);
      EXPECT_TRUE(pop_error());
      EXPECT_EQ(thread_error().code, 22);
    } else {
      EXPECT_TRUE(test::allocation_refused());
      EXPECT_EQ(thread_error().code, 12);
      if (had_message) {
        EXPECT_STANDARD_ERROR(12);
      }
      EXPECT_FALSE(pop_error());
    }
  });
}

TEST_F(ErrorStackCalls, LoseNothingWhenTheStackCannotGrow) {
  for (int i = 0; i < 32; ++i) {
    fail(0x2000 + i);
    ASSERT_TRUE(push_error());
  }
  fail(22);
  for (int n = 1; n <= 2; ++n) {
    EXPECT_TRUE(
        test::with_allocation_failing(n, test::Shortage::once, [] { EXPECT_FALSE(push_error()); }));
    EXPECT_STANDARD_ERROR(12);
  }
  for (int i = 31; i >= 0; --i) {
    ASSERT_TRUE(pop_error());
    EXPECT_STANDARD_ERROR(0x2000 + i);
  }
  expect_empty_stack();
}

TEST_F(ErrorStackCalls, TellWhenNotEvenTheEmptyStackCanBeTold) {
  test::with_allocation_failing(1, test::Shortage::from_then_on, [] {
    EXPECT_FALSE(pop_error());
    EXPECT_EQ(thread_error().code, 12);
    EXPECT_EQ(thread_error().message, WideString());
  });
}

TEST_F(ErrorStackCalls, LeakNothingWhenTheAllocatorThrows) {
  test::throw_at_each_allocation([] {
    error_thread_clear();
    for (int i = 0; i < 33; ++i) push_error();
    pop_error();
  });
}

// ---- Missing slots ----

TEST(ErrorStackWithoutSlots, FailsAndSaysWhy) {
  platform::fail_next_thread_slots(3);
  error_state_create();
  EXPECT_FALSE(push_error());
  EXPECT_EQ(thread_error().code, 22);
  EXPECT_EQ(thread_error().message, QM_W("No thread-local key"));
  EXPECT_FALSE(pop_error());
  error_state_destroy();
}

TEST(ErrorStackWithoutSlots, SavesWhatStandsForAMissingMessage) {
  platform::fail_next_thread_slots(2);
  error_state_create();
  EXPECT_TRUE(push_error());
  const SavedMessage saved = current_stack()->pop();
  EXPECT_EQ(saved.code, 22);
  EXPECT_EQ(WideView(saved.message.get()), QM_W("No thread-local key"));
  EXPECT_TRUE(push_error());
  EXPECT_FALSE(pop_error()) << "there is no message to take back";
  error_state_destroy();
}

}  // namespace
}  // namespace qmsd
