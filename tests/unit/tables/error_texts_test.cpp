#include "services/tables/error_texts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "platform/runtime_text.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/wide_text.h"

namespace qmsd {
namespace {

using test::WideString;

struct Answer {
  TextFound found;
  WideString text;
  bool operator==(const Answer&) const = default;
};

const Answer kNoText{TextFound::none, {}};
const Answer kEmpty{TextFound::empty, {}};
const Answer kNoTable{TextFound::no_table, {}};

Answer text(const qm_wchar* words) { return {TextFound::text, words}; }

Answer look_up(std::int32_t code) {
  qm_wchar buffer[2048] = {'?', 0};
  const TextFound found = error_texts_lookup(code, buffer, 2048);
  return {found, buffer};
}

WideString runtime_text(int code) {
  char narrow[256];
  platform::runtime_error_text(code, narrow, sizeof narrow);
  const std::string words = narrow;
  return WideString(words.begin(), words.end());  // ASCII in the "C" locale
}

class ErrorTexts : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(error_texts_create()); }
  void TearDown() override { error_texts_destroy(); }
};

TEST_F(ErrorTexts, TellsWhatIsRegistered) {
  EXPECT_TRUE(error_texts_set(5, QM_W("five")));
  EXPECT_TRUE(error_texts_set(-5, QM_W("")));
  EXPECT_EQ(look_up(5), text(QM_W("five")));
  EXPECT_EQ(look_up(-5), kEmpty);
  EXPECT_TRUE(error_texts_set(5, QM_W("other")));
  EXPECT_EQ(look_up(5), text(QM_W("other")));
}

TEST_F(ErrorTexts, FindsCodesHoweverFarApartAndInWhateverOrderTheyCame) {
  std::array<std::int32_t, 5> codes = {INT32_MIN, -1, 0, 22, INT32_MAX};
  do {
    for (const std::int32_t code : codes) EXPECT_TRUE(error_texts_set(code, QM_W("registered")));
    for (const std::int32_t code : codes) {
      EXPECT_EQ(look_up(code), text(QM_W("registered")));
    }
    error_texts_destroy();
    ASSERT_TRUE(error_texts_create());
  } while (std::next_permutation(codes.begin(), codes.end()));
}

TEST_F(ErrorTexts, ANullTextIsNoTextAndTheRuntimeIsNotAsked) {
  EXPECT_TRUE(error_texts_set(5, nullptr));
  EXPECT_EQ(look_up(5), kNoText);
  EXPECT_TRUE(error_texts_set(6, QM_W("six")));
  EXPECT_TRUE(error_texts_set(6, nullptr));
  EXPECT_EQ(look_up(6), kNoText);
  EXPECT_TRUE(error_texts_set(5, QM_W("five")));
  EXPECT_EQ(look_up(5), text(QM_W("five")));
}

TEST_F(ErrorTexts, AsksTheRuntimeForWhatItDoesNotKnow) {
  for (const std::int32_t code : {0, 2, 12, 22, 34}) {
    EXPECT_EQ(look_up(code).text, runtime_text(code)) << code;
    EXPECT_EQ(look_up(code).found, TextFound::text) << code;
  }
}

// Whether looking the code up takes memory, that is, adds an entry.
bool lookup_allocates(std::int32_t code) {
  return test::with_allocation_failing(1, test::Shortage::from_then_on, [=] { look_up(code); });
}

TEST_F(ErrorTexts, KeepsTheRuntimesTextOfACode) {
  EXPECT_TRUE(lookup_allocates(9999)) << "not known yet, and not kept for lack of memory";
  const Answer first = look_up(9999);
  EXPECT_FALSE(lookup_allocates(9999));
  EXPECT_EQ(look_up(9999), first);
}

TEST_F(ErrorTexts, KeepsAsManyTextsAsItIsAskedFor) {
  for (std::int32_t code = 10'000; code < 11'000; ++code) look_up(code);
  for (std::int32_t code = 10'000; code < 11'000; ++code) {
    ASSERT_FALSE(lookup_allocates(code)) << code;
  }
}

TEST_F(ErrorTexts, CutsAnswersToTheBuffer) {
  EXPECT_TRUE(error_texts_set(5, QM_W("12345")));
  for (std::size_t length = 1; length <= 7; ++length) {
    qm_wchar buffer[8];
    std::fill(std::begin(buffer), std::end(buffer), qm_wchar{'?'});
    EXPECT_EQ(error_texts_lookup(5, buffer, length), TextFound::text);
    EXPECT_EQ(buffer, WideString(QM_W("12345")).substr(0, length - 1));
    EXPECT_EQ(buffer[length], '?');
  }
}

TEST_F(ErrorTexts, KeepsTextsOfAnyLength) {
  const WideString words(5000, 'x');
  EXPECT_TRUE(error_texts_set(5, words.c_str()));
  EXPECT_EQ(look_up(5), text(words.substr(0, 2047).c_str()));
}

TEST_F(ErrorTexts, IsClaimedOncePerLife) {
  EXPECT_TRUE(error_texts_claim_loading());
  EXPECT_FALSE(error_texts_claim_loading());
  error_texts_destroy();
  EXPECT_FALSE(error_texts_claim_loading()) << "there is no table";
  ASSERT_TRUE(error_texts_create());
  EXPECT_TRUE(error_texts_claim_loading());
}

TEST_F(ErrorTexts, ForgetsEverythingWhenItIsDestroyed) {
  EXPECT_TRUE(error_texts_set(5, QM_W("five")));
  error_texts_destroy();
  EXPECT_EQ(look_up(5), kNoTable);
  EXPECT_FALSE(error_texts_set(5, QM_W("late")));
  error_texts_destroy();
  ASSERT_TRUE(error_texts_create());
  EXPECT_EQ(look_up(5).text, runtime_text(5));
}

TEST_F(ErrorTexts, ANewTextThatCannotBeCopiedLeavesTheCodeWithoutAny) {
  EXPECT_TRUE(error_texts_set(5, QM_W("five")));
  EXPECT_TRUE(error_texts_set(6, QM_W("six")));
  errno = 0;
  EXPECT_TRUE(test::with_allocation_failing(
      1, test::Shortage::once, [] { EXPECT_FALSE(error_texts_set(5, QM_W("other"))); }));
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(look_up(5), kNoText);
  EXPECT_EQ(look_up(6), text(QM_W("six")));
}

TEST_F(ErrorTexts, ACodeThatCannotBeAddedStaysUnknown) {
  errno = 0;
  EXPECT_TRUE(test::with_allocation_failing(
      1, test::Shortage::once, [] { EXPECT_FALSE(error_texts_set(5, QM_W("five"))); }));
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(look_up(5).text, runtime_text(5));
}

TEST_F(ErrorTexts, AnswersWithTheRuntimesTextEvenWhenItCannotBeKept) {
  test::with_allocation_failing(1, test::Shortage::from_then_on,
                                [] { EXPECT_EQ(look_up(22), text(runtime_text(22).c_str())); });
}

TEST(ErrorTextsMemory, EveryFailedAllocationLeavesASoundTable) {
  const auto scenario = [] {
    if (error_texts_create()) {
      for (std::int32_t code = 0x2000; code < 0x2014; ++code) {
        const bool set = error_texts_set(code, QM_W("set"));
        EXPECT_EQ(look_up(code).text, set ? QM_W("set") : runtime_text(code));
      }
      EXPECT_EQ(look_up(22).text, runtime_text(22));
    } else {
      EXPECT_EQ(look_up(22).found, TextFound::no_table);
    }
    error_texts_destroy();
  };
  test::fail_each_allocation(scenario);
}

TEST(ErrorTextsMemory, EveryThrowingAllocationLeavesASoundTable) {
  test::throw_at_each_allocation([] {
    struct Destroy {
      ~Destroy() { error_texts_destroy(); }
    } destroy;
    error_texts_create();
    error_texts_set(5, QM_W("five"));
    error_texts_set(5, QM_W("other"));
    look_up(22);
  });
}

TEST_F(ErrorTexts, AnswersWhileTextsChange) {
  error_texts_set(5, nullptr);
  std::atomic<bool> done = false;
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&done, i] {
      for (std::int32_t code = 20'000; !done; ++code) {
        const Answer answer = look_up(5);
        EXPECT_TRUE(answer == kNoText || answer == text(QM_W("one")) ||
                    answer == text(QM_W("another")));
        if (code < 20'100) look_up(code + i);
      }
    });
  }
  for (int round = 0; round < 2000; ++round) {
    error_texts_set(5, QM_W("one"));
    error_texts_set(5, QM_W("another"));
    error_texts_set(5, nullptr);
  }
  done = true;
  for (std::thread& reader : readers) reader.join();
}

}  // namespace
}  // namespace qmsd
