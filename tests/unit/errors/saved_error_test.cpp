// Lending the error state out and putting it back.
#include <gtest/gtest.h>

#include "kernel/errors/error_state.h"
#include "kernel/errors/thread_error.h"
#include "platform/test_hooks.h"
#include "platform/thread_slot.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/expect_error.h"

namespace qmsd {
namespace {

class SavedErrors : public testing::Test {
  test::ErrorState state_;
};

TEST_F(SavedErrors, ComeBackWhateverHappensMeanwhile) {
  fail(22, QM_W("(first)"));
  {
    const SavedError saved;
    EXPECT_NO_ERROR();
    fail(2, QM_W("(second)"));
    EXPECT_ERROR(2, QM_W("(second)"));
  }
  EXPECT_ERROR(22, QM_W("(first)"));
}

TEST_F(SavedErrors, NoErrorComesBackAsNone) {
  {
    const SavedError saved;
    fail(2, QM_W("(second)"));
  }
  EXPECT_NO_ERROR();
  EXPECT_FALSE(has_message()) << "not even an empty buffer";
}

TEST_F(SavedErrors, YieldToANewerOneOnDemand) {
  fail(22, QM_W("(first)"));
  {
    SavedError saved;
    fail(2, QM_W("(second)"));
    saved.keep_newer();
  }
  EXPECT_ERROR(2, QM_W("(second)"));
}

TEST_F(SavedErrors, ComeBackWhenThereIsNoNewerOne) {
  fail(22, QM_W("(first)"));
  {
    SavedError saved;
    saved.keep_newer();
  }
  EXPECT_ERROR(22, QM_W("(first)"));
}

TEST_F(SavedErrors, YieldToANewerOneThatIsOnlyACode) {
  fail(22, QM_W("(first)"));
  {
    SavedError saved;
    test::with_allocation_failing(1, test::Shortage::from_then_on, [] { fail(12); });
    saved.keep_newer();
  }
  EXPECT_EQ(test::thread_error().code, 12);
}

TEST_F(SavedErrors, NeedNoMemory) {
  fail(22, QM_W("(first)"));
  EXPECT_FALSE(test::with_allocation_failing(1, test::Shortage::from_then_on, [] {
    { const SavedError saved; }
    SavedError saved;
    saved.keep_newer();
  }));
  EXPECT_ERROR(22, QM_W("(first)"));
}

TEST_F(SavedErrors, MayBeNested) {
  fail(22, QM_W("(first)"));
  {
    const SavedError outer;
    fail(2, QM_W("(second)"));
    { const SavedError inner; }
    EXPECT_ERROR(2, QM_W("(second)"));
  }
  EXPECT_ERROR(22, QM_W("(first)"));
}

TEST_F(SavedErrors, LeaveTheStackAlone) {
  fail(22, QM_W("(first)"));
  ASSERT_TRUE(push_error());
  {
    const SavedError saved;
    ASSERT_TRUE(pop_error());
    EXPECT_ERROR(22, QM_W("(first)"));
  }
  EXPECT_ERROR(22, QM_W("(first)"));
}

TEST(SavedErrorsWithoutSlots, DoNothing) {
  for (int missing = 1; missing <= 3; ++missing) {
    platform::fail_next_thread_slots(missing);
    error_state_create();
    fail(22, QM_W("(first)"));
    const test::WideString before = test::thread_error().message;
    {
      SavedError saved;
      saved.keep_newer();
    }
    EXPECT_EQ(test::thread_error().message, before);
    error_state_destroy();
  }
}

}  // namespace
}  // namespace qmsd
