// The texts that go with error codes: registered ones, and those of the runtime library.
#include <algorithm>
#include <climits>
#include <vector>

#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

class ErrorTexts : public KernelTest {
 protected:
  std::int32_t add(std::int32_t code, const qm_wchar* text) {
    const qm_error_text pair{code, text};
    qm_add_error_texts record{1, &pair};
    return kernel()(QM_CALL_ADDERRORTEXTS, &record);
  }
  std::int32_t add(const std::vector<qm_error_text>& pairs) {
    qm_add_error_texts record{static_cast<std::int32_t>(pairs.size()), pairs.data()};
    return kernel()(QM_CALL_ADDERRORTEXTS, &record);
  }
  // "TEXT |" for a code with a text, "|" for one without.
  Text shown(std::int32_t code) {
    qm_set_error_w record{QM_SET_ERROR_LITERAL, code, QM_W("|"), nullptr};
    EXPECT_EQ(kernel()(QM_CALL_SETERRORW, &record), 1);
    return kernel().error().message;
  }
  static Text shown_by_runtime(std::int32_t code) { return runtime_text(code) + QM_W(" |"); }
};

TEST_F(ErrorTexts, AreRegisteredInOneCall) {
  EXPECT_EQ(add({{0x2001, QM_W("one")}, {22, QM_W("two")}, {-1, QM_W("three")}}), 1);
  EXPECT_EQ(shown(0x2001), QM_W("one |"));
  EXPECT_EQ(shown(22), QM_W("two |"));
  EXPECT_EQ(shown(-1), QM_W("three |"));
}

TEST_F(ErrorTexts, AreCopied) {
  qm_wchar text[] = QM_W("before");
  EXPECT_EQ(add(0x2001, text), 1);
  text[0] = QM_W('X');
  EXPECT_EQ(shown(0x2001), QM_W("before |"));
}

TEST_F(ErrorTexts, AreReplacedByALaterRegistration) {
  EXPECT_EQ(add({{0x2001, QM_W("one")}, {0x2001, QM_W("two")}}), 1);
  EXPECT_EQ(shown(0x2001), QM_W("two |"));
  EXPECT_EQ(add(0x2001, QM_W("three")), 1);
  EXPECT_EQ(shown(0x2001), QM_W("three |"));
}

TEST_F(ErrorTexts, NeedNoneToBeRegistered) {
  for (const std::int32_t count : {0, -1, INT_MIN}) {
    qm_add_error_texts record{count, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_ADDERRORTEXTS, &record), 1) << count;
    record.pairs = reinterpret_cast<const qm_error_text*>(std::uintptr_t{4});
    EXPECT_EQ(kernel()(QM_CALL_ADDERRORTEXTS, &record), 1) << "nothing to read: " << count;
  }
}

TEST_F(ErrorTexts, NeedPairsWhereTheCountTellsOfSome) {
  for (const std::int32_t count : {1, 2, INT_MAX}) {
    qm_add_error_texts record{count, nullptr};
    EXPECT_TRUE(kernel().refuses(QM_CALL_ADDERRORTEXTS, record, failure(22, "(!ptr)"))) << count;
  }
}

TEST_F(ErrorTexts, AreClearedByANullText) {
  EXPECT_EQ(add({{5, QM_W("five")}, {5, nullptr}}), 1);
  EXPECT_EQ(shown(5), QM_W("|")) << "the runtime's text does not come back";
  EXPECT_EQ(add(6, nullptr), 1);
  EXPECT_EQ(shown(6), QM_W("|")) << "a code that had no text before";
  EXPECT_EQ(add(6, QM_W("six")), 1);
  EXPECT_EQ(shown(6), QM_W("six |"));
}

TEST_F(ErrorTexts, FallBackToTheLowerBitsOfACodeWithoutText) {
  EXPECT_EQ(add({{0x12345, nullptr}, {0x2345, QM_W("x")}}), 1);
  EXPECT_EQ(shown(0x12345), QM_W("x |"));
  EXPECT_EQ(add(0x12345, QM_W("")), 1);
  EXPECT_EQ(shown(0x12345), QM_W("|")) << "an empty text is a text";
}

TEST_F(ErrorTexts, DoNotFallBackFromACodeWithBit15) {
  EXPECT_EQ(add({{0x18005, nullptr}, {5, QM_W("five")}, {0x8005, QM_W("other")}}), 1);
  EXPECT_EQ(shown(0x18005), QM_W("|"));
}

TEST_F(ErrorTexts, FallBackToTheRuntimesTextOfTheLowerBits) {
  EXPECT_EQ(add(0x10016, nullptr), 1);
  EXPECT_EQ(shown(0x10016), shown_by_runtime(22));
}

TEST_F(ErrorTexts, ComeFromTheRuntimeForOtherCodes) {
  for (const std::int32_t code : {1, 2, 12, 14, 16, 22, 34, 9999, 0x1000, 0x1002, 0x8000, -7}) {
    for (int times = 0; times < 2; ++times) EXPECT_EQ(shown(code), shown_by_runtime(code)) << code;
  }
}

TEST_F(ErrorTexts, ReplaceWhatCameFromTheRuntime) {
  EXPECT_EQ(shown(22), shown_by_runtime(22));
  EXPECT_EQ(add(22, QM_W("mine")), 1);
  EXPECT_EQ(shown(22), QM_W("mine |"));
}

// Codes at both ends of the range are as far apart as their difference does not fit.
TEST_F(ErrorTexts, AreFoundWhateverTheOrderTheyCameIn) {
  std::vector<std::int32_t> codes = {INT_MIN, -1, 0, 22, INT_MAX};
  do {
    load_kernel();
    for (const std::int32_t code : codes) {
      const Text text = text_of("text of %d", code);
      ASSERT_EQ(add(code, text.c_str()), 1);
    }
    for (const std::int32_t code : codes) {
      ASSERT_EQ(shown(code), text_of("text of %d |", code));
    }
  } while (std::next_permutation(codes.begin(), codes.end()));
}

TEST_F(ErrorTexts, MayBeAnyNumber) {
  constexpr std::int32_t kCount = 1000;
  std::vector<Text> texts;
  std::vector<qm_error_text> pairs;
  texts.reserve(kCount);
  for (std::int32_t i = 0; i < kCount; ++i) {
    texts.push_back(text_of("text %d", i));
    pairs.push_back({0x2000 + (i * 7919) % kCount, texts.back().c_str()});
  }
  EXPECT_EQ(add(pairs), 1);
  for (std::int32_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(shown(pairs[static_cast<std::size_t>(i)].code), text_of("text %d |", i));
  }
}

TEST_F(ErrorTexts, AreRememberedForAThousandUnknownCodes) {
  for (int times = 0; times < 2; ++times) {
    for (std::int32_t code = 20000; code < 21000; ++code) {
      ASSERT_EQ(shown(code), shown_by_runtime(code));
    }
  }
}

}  // namespace
}  // namespace contract
