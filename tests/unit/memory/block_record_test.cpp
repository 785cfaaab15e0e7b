#include "memory/block_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/allocation_failures.h"

namespace qmsd {
namespace {

constexpr std::byte kGuard{BlockRecord::kGuardByte};

std::string text_of(const BlockRecord& record) {
  return reinterpret_cast<const char*>(record.data);
}

void set_text(BlockRecord& record, const char* text) {
  std::memcpy(record.data, text, std::strlen(text) + 1);
}

struct Size {
  std::int32_t wanted;
  std::int32_t capacity;
};
class Rounding : public testing::TestWithParam<Size> {};

TEST_P(Rounding, OfSizesIsUpToAMultipleOfFour) {
  BlockRecord record;
  ASSERT_TRUE(record.build(GetParam().wanted, 0, nullptr, 0));
  EXPECT_EQ(record.size, GetParam().wanted);
  EXPECT_EQ(record.capacity, GetParam().capacity);
  ASSERT_TRUE(record.resize(GetParam().wanted, 0, nullptr, 0));
  EXPECT_EQ(record.capacity, GetParam().capacity);
}
INSTANTIATE_TEST_SUITE_P(BlockRecord, Rounding,
                         testing::Values(Size{1, 4}, Size{3, 4}, Size{4, 4}, Size{5, 8}, Size{8, 8},
                                         Size{9, 12}, Size{1000, 1000}, Size{1001, 1004}));

TEST(BlockRecord, IsCompleteOnceBuilt) {
  BlockRecord record;
  EXPECT_FALSE(record.header_sound());
  ASSERT_TRUE(record.build(5, 0, "a.c", 7));
  EXPECT_EQ(std::memcmp(&record.magic, "f&L^", 4), 0);
  EXPECT_TRUE(record.sound());
  EXPECT_EQ(record.guard, 0);
  EXPECT_STREQ(record.file.get(), "a.c");
  EXPECT_EQ(record.line, 7);
}

TEST(BlockRecord, KeepsACopyOfTheFileName) {
  char file[] = "a.c";
  BlockRecord record;
  ASSERT_TRUE(record.build(4, 0, file, 1));
  file[0] = 'b';
  EXPECT_STREQ(record.file.get(), "a.c");
}

TEST(BlockRecord, ClearsTheBytesBehindTheSize) {
  BlockRecord record;
  ASSERT_TRUE(record.build(5, 0, nullptr, 0));
  for (int i = 5; i < 8; ++i) EXPECT_EQ(record.data[i], std::byte{0}) << i;
  std::memset(record.data, 'x', 8);
  ASSERT_TRUE(record.resize(2, 0, nullptr, 0));
  EXPECT_EQ(record.data[1], std::byte{'x'});
  EXPECT_EQ(record.data[2], std::byte{0});
  EXPECT_EQ(record.data[3], std::byte{0});
}

TEST(BlockRecord, EveryHeaderFieldCounts) {
  BlockRecord record;
  ASSERT_TRUE(record.build(8, 0, nullptr, 0));
  const auto damaged_with = [&record](auto BlockRecord::*field, auto value) {
    const auto kept = record.*field;
    record.*field = value;
    const bool sound = record.header_sound();
    record.*field = kept;
    return !sound;
  };
  EXPECT_TRUE(damaged_with(&BlockRecord::magic, 0u));
  EXPECT_TRUE(damaged_with(&BlockRecord::magic, BlockRecord::kComplete + 1));
  EXPECT_TRUE(damaged_with(&BlockRecord::guard, -1));
  EXPECT_TRUE(damaged_with(&BlockRecord::data, nullptr));
  EXPECT_TRUE(damaged_with(&BlockRecord::capacity, 0));
  EXPECT_TRUE(damaged_with(&BlockRecord::capacity, -4));
  EXPECT_TRUE(record.header_sound());
}

class GuardWidth : public testing::TestWithParam<std::int32_t> {
 protected:
  static constexpr std::int32_t kSize = 6;
  static constexpr std::int32_t kCapacity = 8;
};

TEST_P(GuardWidth, IsFilledOnBothSides) {
  const std::int32_t width = GetParam();
  BlockRecord record;
  ASSERT_TRUE(record.build(kSize, width, nullptr, 0));
  EXPECT_EQ(record.guard, width);
  for (std::int32_t i = 0; i < width; ++i) {
    EXPECT_EQ(record.data[i - width], kGuard);
    EXPECT_EQ(record.data[kCapacity + i], kGuard);
  }
  EXPECT_TRUE(record.sound());
}

TEST_P(GuardWidth, EachOfItsBytesCounts) {
  const std::int32_t width = GetParam();
  BlockRecord record;
  ASSERT_TRUE(record.build(kSize, width, nullptr, 0));
  std::memset(record.data, 0xFF, kCapacity);
  EXPECT_TRUE(record.sound());
  for (std::int32_t i = 0; i < width; ++i) {
    for (std::byte* guard : {&record.data[i - width], &record.data[kCapacity + i]}) {
      *guard = std::byte{0};
      EXPECT_TRUE(record.header_sound());
      EXPECT_FALSE(record.sound()) << i;
      *guard = kGuard;
    }
  }
  EXPECT_TRUE(record.sound());
}

TEST_P(GuardWidth, MayChangeWithAResizeThatKeepsTheContent) {
  for (const std::int32_t other : {0, 4, 8, 20}) {
    for (const std::int32_t size : {3, 6, 400}) {
      BlockRecord record;
      ASSERT_TRUE(record.build(kSize, GetParam(), nullptr, 0));
      set_text(record, "ab");
      ASSERT_TRUE(record.resize(size, other, nullptr, 0));
      EXPECT_EQ(text_of(record), "ab");
      EXPECT_EQ(record.guard, other);
      EXPECT_TRUE(record.sound());
    }
  }
}
INSTANTIATE_TEST_SUITE_P(BlockRecord, GuardWidth, testing::Values(0, 1, 3, 4, 6, 8, 16));

TEST(BlockRecord, KeepsItsPositionWhenResizedWithoutAFile) {
  BlockRecord record;
  ASSERT_TRUE(record.build(4, 0, "a.c", 7));
  ASSERT_TRUE(record.resize(40, 0, nullptr, 9));
  EXPECT_STREQ(record.file.get(), "a.c");
  EXPECT_EQ(record.line, 7);
  ASSERT_TRUE(record.resize(4, 0, "b.c", 9));
  EXPECT_STREQ(record.file.get(), "b.c");
  EXPECT_EQ(record.line, 9);
}

class Unallocatable : public testing::TestWithParam<std::int32_t> {};

TEST_P(Unallocatable, SizesFailLikeExhaustedMemory) {
  BlockRecord fresh;
  EXPECT_FALSE(fresh.build(GetParam(), 0, nullptr, 0));
  EXPECT_FALSE(fresh.header_sound());
  BlockRecord record;
  ASSERT_TRUE(record.build(5, 0, nullptr, 0));
  set_text(record, "abcd");
  EXPECT_FALSE(record.resize(GetParam(), 0, nullptr, 0));
  EXPECT_EQ(text_of(record), "abcd");
  EXPECT_EQ(record.size, 5);
  EXPECT_EQ(record.capacity, 8);
}
INSTANTIATE_TEST_SUITE_P(BlockRecord, Unallocatable,
                         testing::Values(0x7FFFFFFD, 0x7FFFFFFE, 0x7FFFFFFF));

TEST(BlockRecord, StaysIncompleteWhenAnythingCannotBeAllocated) {
  test::fail_each_allocation([] {
    BlockRecord record;
    const bool built = record.build(5, 8, "a.c", 7);
    EXPECT_EQ(built, !test::allocation_refused());
    EXPECT_EQ(record.sound(), !test::allocation_refused());
    EXPECT_EQ(record.size, 5);
    EXPECT_EQ(record.capacity, 8);
  });
}

TEST(BlockRecord, KeepsItsBlockWhenAResizeFails) {
  for (const std::int32_t guard : {8, 0}) {
    BlockRecord record;
    ASSERT_TRUE(record.build(5, 8, "a.c", 7));
    set_text(record, "abcd");
    for (const int failing : {1, 2}) {
      EXPECT_TRUE(test::with_allocation_failing(failing, test::Shortage::once, [&] {
        EXPECT_FALSE(record.resize(5000, guard, "b.c", 9));
      }));
      EXPECT_EQ(text_of(record), "abcd");
      EXPECT_EQ(record.size, 5);
      EXPECT_EQ(record.capacity, 8);
      EXPECT_EQ(record.guard, 8);
      EXPECT_TRUE(record.sound());
    }
  }
}

}  // namespace
}  // namespace qmsd
