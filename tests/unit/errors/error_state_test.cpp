// Errors that the kernel records itself.
#include "kernel/errors/error_state.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "kernel/errors/thread_error.h"
#include "platform/test_hooks.h"
#include "platform/thread_slot.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/expect_error.h"

namespace qmsd {
namespace {

using test::ErrorState;
using test::thread_error;
using test::WideString;

// What the code's own text makes of a message.
WideString with_text(const qm_wchar* text, const qm_wchar* detail) {
  return WideString(text) + QM_W("  [qmsd]") + detail;
}

class Fail : public testing::Test {
  ErrorState state_;
};

TEST_F(Fail, RecordsTheCodesTextTheTagAndTheDetail) {
  ASSERT_TRUE(error_texts_set(22, QM_W("Wrong")));
  EXPECT_FALSE(fail(22, QM_W("(!ptr)")));
  EXPECT_EQ(thread_error().code, 22);
  EXPECT_EQ(thread_error().message, QM_W("Wrong  [qmsd] (!ptr)"));
  EXPECT_ERROR(22, QM_W("(!ptr)"));
}

TEST_F(Fail, EndsWithTheTagWithoutADetail) {
  ASSERT_TRUE(error_texts_set(22, QM_W("Wrong")));
  EXPECT_FALSE(fail(22));
  EXPECT_EQ(thread_error().message, QM_W("Wrong  [qmsd]"));
  EXPECT_STANDARD_ERROR(22);
}

TEST_F(Fail, FormatsTheDetail) {
  fail(22, QM_W("(handle=%08x, %ls, %hs)"), 0xABCDu, QM_W("wide"), "narrow");
  EXPECT_ERROR(22, QM_W("(handle=0000abcd, wide, narrow)"));
}

TEST_F(Fail, ReplacesTheErrorBefore) {
  fail(22, QM_W("(a long detail of an error that is over)"));
  fail(2, QM_W("(x)"));
  EXPECT_ERROR(2, QM_W("(x)"));
}

TEST_F(Fail, TakesTheCurrentMessageAsAnArgument) {
  ASSERT_TRUE(error_texts_set(22, QM_W("A text that is longer than the message")));
  fail(2, QM_W("%s"), QM_W("inner"));
  const WideString before = thread_error().message;
  fail(22, QM_W("%ls (pos=%i)"), current_message(), 7);
  EXPECT_EQ(thread_error().message,
            with_text(QM_W("A text that is longer than the message"), QM_W(" ")) + before +
                QM_W(" (pos=7)"));
}

// ---- Texts of codes ----

TEST_F(Fail, LeavesOneBlankWhereACodeHasNoText) {
  ASSERT_TRUE(error_texts_set(5, nullptr));
  fail(5, QM_W("(x)"));
  EXPECT_EQ(thread_error().message, QM_W(" [qmsd] (x)"));
  ASSERT_TRUE(error_texts_set(6, QM_W("")));
  fail(6);
  EXPECT_EQ(thread_error().message, QM_W(" [qmsd]"));
}

TEST_F(Fail, ACodeWithoutTextTakesThatOfItsLowerBits) {
  ASSERT_TRUE(error_texts_set(0x12345, nullptr));
  ASSERT_TRUE(error_texts_set(0x2345, QM_W("x")));
  fail(0x12345);
  EXPECT_EQ(thread_error().message, QM_W("x  [qmsd]"));
}

TEST_F(Fail, AnEmptyTextIsATextOfItsOwn) {
  ASSERT_TRUE(error_texts_set(0x12345, QM_W("")));
  ASSERT_TRUE(error_texts_set(0x2345, QM_W("x")));
  fail(0x12345);
  EXPECT_EQ(thread_error().message, QM_W(" [qmsd]"));
}

TEST_F(Fail, ACodeWithBit15HasNoSecondText) {
  ASSERT_TRUE(error_texts_set(0x1A345, nullptr));
  ASSERT_TRUE(error_texts_set(0x2345, QM_W("x")));
  fail(0x1A345);
  EXPECT_EQ(thread_error().message, QM_W(" [qmsd]"));
}

TEST_F(Fail, NegativeCodesKeepTheirSign) {
  fail(-1);
  EXPECT_EQ(thread_error().code, -1);
  EXPECT_EQ(get_error_wide(nullptr), -1);
}

TEST(FailWithoutTable, SaysThatTheErrorIsUnknown) {
  error_state_create();
  fail(0);
  EXPECT_EQ(thread_error().message, QM_W(" [qmsd]"));
  fail(22);
  EXPECT_EQ(thread_error().message, QM_W("Unknown Error  [qmsd]"));
  fail(0x8000, QM_W("(x)"));
  EXPECT_EQ(thread_error().message, QM_W("Unknown Error  [qmsd] (x)"));
  error_state_destroy();
}

// ---- Limits ----

constexpr std::size_t kLongest = kMessageLength - 1;

TEST_F(Fail, CutsALongText) {
  ASSERT_TRUE(error_texts_set(22, WideString(2100, 't').c_str()));
  fail(22, QM_W("(x)"));
  EXPECT_EQ(thread_error().message, WideString(kLongest, 't'));
}

TEST_F(Fail, CutsALongDetail) {
  ASSERT_TRUE(error_texts_set(22, QM_W("Wrong")));
  fail(22, QM_W("%s"), WideString(3000, 'd').c_str());
  const WideString message = thread_error().message;
  EXPECT_EQ(message.size(), kLongest);
  EXPECT_EQ(message, with_text(QM_W("Wrong"), QM_W(" ")) + WideString(kLongest - 14, 'd'));
}

// A text nearly as long as the message leaves the blank behind itself out.
TEST_F(Fail, FitsTheTagIntoWhatIsLeft) {
  const WideString tail = QM_W("  [qmsd]");
  for (std::size_t length = kLongest - 10; length <= kLongest; ++length) {
    const WideString text(length, 't');
    ASSERT_TRUE(error_texts_set(22, text.c_str()));
    fail(22);
    const WideString expected = length == kLongest - 1 ? text + QM_W(" ") : text + tail;
    EXPECT_EQ(thread_error().message, expected.substr(0, kLongest)) << length;
  }
}

// ---- Threads ----

TEST_F(Fail, EachThreadHasAnErrorOfItsOwn) {
  fail(22, QM_W("(mine)"));
  std::thread([] {
    EXPECT_NO_ERROR();
    fail(2, QM_W("(theirs)"));
    EXPECT_ERROR(2, QM_W("(theirs)"));
    error_thread_clear();
    EXPECT_NO_ERROR();
  }).join();
  EXPECT_ERROR(22, QM_W("(mine)"));
}

TEST_F(Fail, ANewThreadForgetsWhatIsNotItsOwn) {
  fail(22, QM_W("(before)"));
  const MessageBuffer abandoned = exchange_message(nullptr);
  set_current_code(22);
  error_thread_reset();
  EXPECT_NO_ERROR();
}

TEST_F(Fail, ThreadsMayRecordACodeWhileItsTextChanges) {
  ASSERT_TRUE(error_texts_set(5, QM_W("one")));
  std::atomic<bool> done = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&done] {
      while (!done) {
        fail(5, QM_W("(x)"));
        const WideString message = thread_error().message;
        EXPECT_TRUE(message == QM_W("one  [qmsd] (x)") || message == QM_W("another  [qmsd] (x)") ||
                    message == QM_W(" [qmsd] (x)"))
            << test::readable(message);
      }
      error_thread_clear();
    });
  }
  for (int round = 0; round < 1000; ++round) {
    error_texts_set(5, QM_W("another"));
    error_texts_set(5, nullptr);
    error_texts_set(5, QM_W("one"));
  }
  done = true;
  for (std::thread& thread : threads) thread.join();
}

// ---- Exhausted memory ----

TEST_F(Fail, WithoutMemoryOnlyTheCodeIsNew) {
  test::with_allocation_failing(1, test::Shortage::from_then_on, [] {
    EXPECT_FALSE(fail(12, QM_W("(x)")));
    EXPECT_EQ(thread_error().code, 12);
    EXPECT_EQ(thread_error().message, WideString());
  });
}

TEST_F(Fail, NeedsNoMemoryOnceTheThreadHasItsBuffer) {
  fail(22);
  test::with_allocation_failing(1, test::Shortage::from_then_on, [] {
    EXPECT_FALSE(fail(12, QM_W("(x)")));
    EXPECT_ERROR(12, QM_W("(x)"));
  });
}

TEST_F(Fail, NeverThrows) {
  test::throw_at_each_allocation([] {
    error_thread_clear();
    EXPECT_NO_THROW(fail(4711, QM_W("(x)")));
    EXPECT_EQ(thread_error().code, 4711);
  });
}

// ---- Missing slots ----

// The first so many of the code, the message and the stack cannot be had.
class MissingSlots {
 public:
  explicit MissingSlots(int count) {
    platform::fail_next_thread_slots(count);
    error_state_create();
  }
  ~MissingSlots() { error_state_destroy(); }
  MissingSlots(const MissingSlots&) = delete;
  MissingSlots& operator=(const MissingSlots&) = delete;
};

TEST(MissingSlots, WithoutTheCodeTheMessageIsStillKept) {
  const MissingSlots missing(1);
  EXPECT_FALSE(fail(2, QM_W("(x)")));
  EXPECT_EQ(thread_error().code, 22);
  EXPECT_EQ(thread_error().message, QM_W("Unknown Error  [qmsd] (x)"));
}

TEST(MissingSlots, WithoutTheMessageErrorsSaySo) {
  const MissingSlots missing(2);
  EXPECT_FALSE(fail(2, QM_W("(x)")));
  EXPECT_EQ(thread_error().code, 22);
  EXPECT_EQ(thread_error().message, QM_W("No thread-local key"));
}

TEST(MissingSlots, WithoutAnyThreadsComeAndGo) {
  const MissingSlots missing(3);
  error_thread_reset();
  error_thread_clear();
  EXPECT_FALSE(fail(2));
}

TEST(MissingSlots, BeforeThereAreAnyErrorsAreLost) {
  EXPECT_FALSE(fail(2));
  EXPECT_EQ(thread_error().code, 22);
  EXPECT_EQ(thread_error().message, QM_W("No thread-local key"));
}

}  // namespace
}  // namespace qmsd
