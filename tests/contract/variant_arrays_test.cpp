// Several elements at once: slices of arrays read to typed buffers and written from them, and
// conversions with a count.
#include <climits>

#include "tests/contract/support/guarded_target.h"
#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

const Codes kRead = {QM_CALL_VARIANTREADARRAY, QM_CALL_VARIANTREADARRAYSHARED};
const Codes kWrite = {QM_CALL_VARIANTWRITEARRAY, QM_CALL_VARIANTWRITEARRAYSHARED};

struct Refusal {
  std::int32_t width, type, first, count, capacity;
  bool has_buffer;
  const char* condition;  // null: the code's own text alone
};

class VariantArrays : public VariantTest {
 protected:
  qm_variant* four_numbers() {
    return array<std::int32_t>(QM_TYPE_SIGNED_ARRAY, {10, -20, 300, 70000});
  }
  void expect_refused(const Codes& codes, qm_variant* numbers, const Refusal& refusal) {
    const auto& [width, type, first, count, capacity, has_buffer, condition] = refusal;
    SCOPED_TRACE(printable(text_of("width %d, type %d, first %d, count %d, capacity %d", width,
                                   type, first, count, capacity)));
    const Failure expected = condition == nullptr ? failure(22) : failure(22, "%s", condition);
    for (const std::uint32_t code : codes) {
      GuardedTarget buffer;
      void* given = has_buffer ? buffer.data() : nullptr;
      qm_variant_array record{numbers, width, type, first, count, given, capacity};
      EXPECT_TRUE(kernel().refuses(code, record, expected));
      EXPECT_TRUE(buffer.untouched_from(0));
    }
  }
};

// ---- Reading -----------------------------------------------------------------------------------

TEST_F(VariantArrays, AreReadElementByElement) {
  qm_variant* numbers = four_numbers();
  for (const std::uint32_t code : kRead) {
    for (std::int32_t first = 0; first < 4; ++first) {
      for (std::int32_t count = 1; first + count <= 4; ++count) {
        GuardedTarget target;
        qm_variant_array record{numbers, 2, QM_TYPE_SIGNED, first, count, target.data(), 32};
        const qm_variant_array before = record;
        ASSERT_EQ(kernel()(code, &record), 1);
        EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
        const std::int16_t expected[] = {10, -20, 300, 4464};
        for (std::int32_t at = 0; at < count; ++at) {
          EXPECT_EQ(target.read<std::int16_t>(static_cast<std::size_t>(at)), expected[first + at]);
        }
        EXPECT_TRUE(target.untouched_from(2 * static_cast<std::size_t>(count)));
      }
    }
  }
}

TEST_F(VariantArrays, ReadAsFloatingValuesAndDateTimes) {
  qm_variant* numbers = array<std::int32_t>(QM_TYPE_SIGNED_ARRAY, {0, 86400000});
  GuardedTarget floating;
  qm_variant_array record{numbers, 8, QM_TYPE_FLOATING, 0, 2, floating.data(), 16};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTREADARRAY, &record), 1);
  EXPECT_EQ(floating.read<double>(0), 0.0);
  EXPECT_EQ(floating.read<double>(1), 86400000.0);
  GuardedTarget dates;
  record = {numbers, 8, QM_TYPE_DATETIME, 0, 2, dates.data(), 16};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTREADARRAY, &record), 1);
  EXPECT_EQ(text_value(scalar(QM_TYPE_DATETIME, dates.read<std::uint64_t>(1))),
            QM_W("1970-01-02 00:00:00.000"));
}

TEST_F(VariantArrays, ReadWithWidth0WriteNothing) {
  for (const std::uint32_t code : kRead) {
    for (const std::int32_t type : {QM_TYPE_SIGNED, QM_TYPE_FLOATING, QM_TYPE_DATETIME}) {
      GuardedTarget target;
      qm_variant_array record{four_numbers(), 0, type, 0, 3, target.data(), 1};
      EXPECT_EQ(kernel()(code, &record), 1);
      EXPECT_TRUE(target.untouched_from(0));
    }
  }
}

TEST_F(VariantArrays, OfOneElementAreReadAtTheSmallerWidth) {
  qm_variant* numbers = array<std::int64_t>(QM_TYPE_SIGNED_ARRAY, {0x1122334455667788});
  GuardedTarget target;
  qm_variant_array record{numbers, 8, QM_TYPE_SIGNED, 0, 1, target.data(), 4};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTREADARRAY, &record), 1);
  EXPECT_EQ(target.read<std::uint32_t>(), 0x55667788u);
  EXPECT_TRUE(target.untouched_from(4));
}

// Four numbers; in the order of the checks.
constexpr Refusal kReadRefusals[] = {
    {4, 1, 0, 0, 32, true, nullptr},
    {4, 1, 0, -1, 32, true, nullptr},
    {4, 77, -1, INT_MIN, 0, false, nullptr},
    {4, 1, 0, 1, 32, false, "(target || tgtlen)"},
    {4, 1, 0, 1, 0, true, "(target || tgtlen)"},
    {4, 77, -1, 1, INT_MIN, true, "(target || tgtlen)"},
    {4, 0, 0, 1, 32, true, "(type)"},
    {4, 77, -1, 1, 32, true, "(type)"},
    {4, 65, 0, 1, 32, true, "(type)"},
    {4, 128, 0, 1, 32, true, "(type)"},
    {4, 129, 0, 1, 32, true, "(type)"},
    {4, 132, 0, 1, 32, true, "(type)"},
    {4, 130, 0, 2, 32, true, "(type)"},
    {4, 131, 0, 2, 32, true, "(type)"},
    {4, 8322, 9, 2, 32, true, "(type)"},
    {4, 1, -1, 1, 32, true, "(ix)"},
    {4, 1, -1, 2, 32, true, "(ix)"},
    {4, 1, 4, 1, 32, true, "(ix)"},
    {4, 1, 0, 5, 32, true, "(ix)"},
    {4, 1, 3, 2, 32, true, "(ix)"},
    {4, 1, INT_MAX, 1, 32, true, "(ix)"},
    {4, 1, INT_MAX, 2, 32, true, "(ix)"},
    {4, 1, 1, INT_MAX, 32, true, "(ix)"},
    {4, 1, INT_MIN, INT_MAX, 32, true, "(ix)"},
    {4, 130, 4, 1, 32, true, "(ix)"},
    {4, 1, 0, 4, 8, true, "(target || tgtlen)"},
    {4, 1, 0, 2, 7, true, "(target || tgtlen)"},
    {INT_MAX, 1, 0, 4, INT_MAX, true, "(target || tgtlen)"},
    {3, 1, 0, 1, 32, true, "(tgtlen)"},
    {-1, 1, 0, 1, 32, true, "(tgtlen)"},
    {-1, 1, 0, 2, 32, true, "(tgtlen)"},
    {INT_MIN, 3, 0, 2, 32, true, "(tgtlen)"},
    {2, 3, 0, 2, 32, true, "(tgtlen)"},
    {4, 4, 0, 2, 32, true, "(tgtlen)"},
};

TEST_F(VariantArrays, RefuseToBeReadInTheWordsOfTheFirstBreach) {
  qm_variant* numbers = four_numbers();
  for (const Refusal& refusal : kReadRefusals) expect_refused(kRead, numbers, refusal);
}

TEST_F(VariantArrays, AreTheOnlyOnesReadAndWrittenSo) {
  for (const Codes& codes : {kRead, kWrite}) {
    for (const std::uint32_t code : codes) {
      GuardedTarget buffer;
      qm_variant_array record{nullptr, 4, QM_TYPE_SIGNED, 0, 0, nullptr, 0};
      EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(variant)")));
      for (qm_variant* other :
           {integer(1), container(), empty(), text("text"), make(QM_TYPE_BINARY, 4, 1, "abcd")}) {
        record = {other, 4, QM_TYPE_SIGNED, -1, 1, buffer.data(), 32};
        EXPECT_TRUE(kernel().refuses(code, record, failure(22, "(type)")));
      }
    }
  }
}

TEST_F(VariantArrays, WithoutElementsHaveNothingToRead) {
  qm_variant* none = array<std::int32_t>(QM_TYPE_SIGNED_ARRAY, {});
  GuardedTarget target;
  for (const Codes& codes : {kRead, kWrite}) {
    qm_variant_array record{none, 4, QM_TYPE_SIGNED, 0, 1, target.data(), 32};
    EXPECT_TRUE(kernel().refuses(codes[0], record, failure(22, "(ix)")));
  }
  qm_variant_convert record{none, -99, QM_TYPE_SIGNED, 4, 1, target.data(), 32};
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTCONVERT, record, failure(22, "(ix)")));
}

// ---- Writing -----------------------------------------------------------------------------------

TEST_F(VariantArrays, AreWrittenThroughTheMatrix) {
  for (const std::uint32_t code : kWrite) {
    qm_variant* doubles = array<double>(QM_TYPE_FLOATING_ARRAY, {1, 2, 3, 4});
    std::int32_t buffer[] = {-7, 8};
    qm_variant_array record{doubles, 4, QM_TYPE_SIGNED, 1, 2, buffer, sizeof buffer};
    const qm_variant_array before = record;
    ASSERT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0);
    double read[4];
    const auto bytes = bytes_of(doubles);
    ASSERT_EQ(bytes.size(), sizeof read);
    std::memcpy(read, bytes.data(), sizeof read);
    EXPECT_EQ(read[0], 1);
    EXPECT_EQ(read[1], -7);
    EXPECT_EQ(read[2], 8);
    EXPECT_EQ(read[3], 4);

    qm_variant* bytes_array = array<std::uint8_t>(QM_TYPE_UNSIGNED_ARRAY, {0, 0, 9});
    const std::int16_t wide[] = {300, -1};
    record = {bytes_array, 2, QM_TYPE_SIGNED, 0, 2, const_cast<std::int16_t*>(wide), sizeof wide};
    ASSERT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(bytes_of(bytes_array), (std::vector<unsigned char>{44, 255, 9}));

    qm_variant* dates = array<std::int64_t>(QM_TYPE_DATETIME_ARRAY, {0});
    double day = 2.5;
    record = {dates, 8, QM_TYPE_FLOATING, 0, 1, &day, sizeof day};
    ASSERT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(text_value(dates), QM_W("1900-01-01 12:00:00.000"));
  }
}

constexpr Refusal kWriteRefusals[] = {
    {4, 1, 0, 0, 32, true, nullptr},
    {4, 1, 0, 1, 32, false, "(target || tgtlen)"},
    {4, 1, 0, 1, 0, true, "(target || tgtlen)"},
    {4, 0, 0, 1, 32, true, "(type)"},
    {4, 65, 0, 1, 32, true, "(type)"},
    {4, 129, 0, 1, 32, true, "(type)"},
    {4, 130, 0, 1, 32, true, "(type)"},
    {4, 131, 0, 1, 32, true, "(type)"},
    {4, 132, 0, 1, 32, true, "(type)"},
    {4, 1, -1, 1, 32, true, "(ix)"},
    {4, 1, 4, 1, 32, true, "(ix)"},
    {4, 1, INT_MAX, INT_MAX, 32, true, "(ix)"},
    {3, 1, 0, 1, 32, true, "(srclen)"},
    {-4, 1, 0, 1, 32, true, "(srclen)"},
    {2, 3, 0, 1, 32, true, "(srclen)"},
    {4, 4, 0, 1, 32, true, "(srclen)"},
    {4, 1, 0, 4, 15, true, "(target || tgtlen)"},
    {4, 1, 0, 1, 3, true, "(target || tgtlen)"},
};

TEST_F(VariantArrays, RefuseToBeWrittenInTheWordsOfTheFirstBreach) {
  qm_variant* numbers = four_numbers();
  const auto before = bytes_of(numbers);
  for (const Refusal& refusal : kWriteRefusals) expect_refused(kWrite, numbers, refusal);
  EXPECT_EQ(bytes_of(numbers), before);
}

// ---- Conversion with a count -------------------------------------------------------------------

TEST_F(VariantArrays, AreConvertedFromTheirFirstElementOn) {
  qm_variant* numbers = four_numbers();
  for (std::int32_t count = 0; count <= 4; ++count) {
    GuardedTarget target;
    qm_variant_convert record{numbers, 0, QM_TYPE_SIGNED, 2, count, target.data(), 32};
    ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
    const std::int32_t elements = count == 0 ? 1 : count;
    EXPECT_EQ(record.size, 2 * elements) << "the total";
    EXPECT_EQ(record.count, count);
    EXPECT_EQ(target.read<std::int16_t>(0), 10);
    EXPECT_EQ(target.read<std::int16_t>(1), count < 2 ? std::int16_t(0xC3C3) : -20);
    EXPECT_TRUE(target.untouched_from(2 * static_cast<std::size_t>(elements)));
  }
}

TEST_F(VariantArrays, AreConvertedOnlyAsFarAsTheyAndTheBufferReach) {
  qm_variant* numbers = four_numbers();
  qm_variant* number = integer(1);
  qm_variant* letters = text("1");
  struct {
    qm_variant* source;
    std::int32_t type, size, count, capacity;
    const char* condition;
  } const all[] = {
      {numbers, QM_TYPE_SIGNED, 4, 5, 64, "(ix)"},
      {numbers, QM_TYPE_SIGNED, 4, INT_MAX, 64, "(ix)"},
      {number, QM_TYPE_SIGNED, 4, 2, 64, "(ix)"},
      {letters, QM_TYPE_SIGNED, 4, 2, 64, "(ix)"},
      {numbers, QM_TYPE_SIGNED, 4, 4, 8, "(target || tgtlen)"},
      {numbers, QM_TYPE_FLOATING, 8, 2, 15, "(target || tgtlen)"},
      {numbers, QM_TYPE_SIGNED, INT_MAX, 4, 64, "(target || tgtlen)"},
      {numbers, QM_TYPE_TEXT, 8, 2, 64, "(type)"},
      {numbers, QM_TYPE_WIDE_TEXT, 8, 2, 64, "(type)"},
      {numbers, QM_TYPE_TEXT_UTF8, 8, 5, 64, "(type)"},
      {number, QM_TYPE_TEXT, 8, 2, 64, "(type)"},
      {letters, QM_TYPE_WIDE_TEXT, 8, 2, 64, "(type)"},
      {numbers, QM_TYPE_BINARY, 8, 2, 64, "(type)"},
      {letters, QM_TYPE_BINARY, 8, 2, 64, "(type)"},
      {numbers, QM_TYPE_SIGNED, 3, 2, 64, "(tgtlen)"},
  };
  for (const auto& refusal : all) {
    SCOPED_TRACE(printable(
        text_of("type %d, size %d, count %d", refusal.type, refusal.size, refusal.count)));
    GuardedTarget target;
    qm_variant_convert record{refusal.source, -99,           refusal.type,    refusal.size,
                              refusal.count,  target.data(), refusal.capacity};
    EXPECT_TRUE(
        kernel().refuses(QM_CALL_VARIANTCONVERT, record, failure(22, "%s", refusal.condition)));
    EXPECT_TRUE(target.untouched_from(0));
  }
}

}  // namespace
}  // namespace contract
