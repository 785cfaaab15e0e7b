#include "kernel/base/growable_array.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/support/allocation_failures.h"

namespace qmsd {
namespace {

using Array = GrowableArray<int, 4>;

std::vector<int> values_of(const Array& array) { return {array.begin(), array.end()}; }

void fill(Array& array, int count) {
  for (int i = 0; i < count; ++i) ASSERT_TRUE(array.append(i));
}

TEST(GrowableArray, BeginsWithoutMemory) {
  const Array array;
  EXPECT_TRUE(array.empty());
  EXPECT_EQ(array.capacity(), 0u);
  EXPECT_EQ(array.begin(), array.end());
}

TEST(GrowableArray, GrowsByItsStep) {
  Array array;
  for (std::size_t count = 1; count <= 13; ++count) {
    ASSERT_TRUE(array.append(7));
    EXPECT_EQ(array.size(), count);
    EXPECT_EQ(array.capacity(), (count + 3) / 4 * 4);
  }
}

TEST(GrowableArray, InsertsAtEveryPosition) {
  for (std::size_t at = 0; at <= 4; ++at) {
    Array array;
    fill(array, 4);
    ASSERT_TRUE(array.insert(at, 99));
    std::vector<int> expected{0, 1, 2, 3};
    expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(at), 99);
    EXPECT_EQ(values_of(array), expected);
  }
}

TEST(GrowableArray, InsertsOneOfItsOwnElementsWhileItMoves) {
  Array array;
  fill(array, 4);
  ASSERT_TRUE(array.insert(0, array[3]));
  EXPECT_EQ(values_of(array), (std::vector<int>{3, 0, 1, 2, 3}));
}

TEST(GrowableArray, ErasesAtEveryPositionAndKeepsTheMemory) {
  for (std::size_t at = 0; at < 5; ++at) {
    Array array;
    fill(array, 5);
    array.erase(at);
    std::vector<int> expected{0, 1, 2, 3, 4};
    expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(at));
    EXPECT_EQ(values_of(array), expected);
    EXPECT_EQ(array.capacity(), 8u);
  }
}

TEST(GrowableArray, ZeroesTheMemoryItGains) {
  Array array;
  fill(array, 5);
  const int* behind = array.end();
  EXPECT_TRUE(std::all_of(behind, behind + 3, [](int value) { return value == 0; }));
}

TEST(GrowableArray, ClearsToNothing) {
  Array array;
  fill(array, 5);
  array.clear();
  EXPECT_TRUE(array.empty());
  EXPECT_EQ(array.capacity(), 0u);
  fill(array, 1);
  EXPECT_EQ(array.back(), 0);
}

TEST(GrowableArray, FindsThePlaceOfAValue) {
  Array array;
  for (const int value : {10, 20, 20, 30}) ASSERT_TRUE(array.append(value));
  const auto place_of = [&](int value) {
    return array.lower_bound([value](int element) { return element < value; });
  };
  EXPECT_EQ(place_of(5), 0u);
  EXPECT_EQ(place_of(20), 1u);
  EXPECT_EQ(place_of(25), 3u);
  EXPECT_EQ(place_of(31), 4u);
}

TEST(GrowableArray, AfterReservingTheNextInsertNeedsNoMemory) {
  Array array;
  fill(array, 4);
  ASSERT_TRUE(array.reserve_one());
  const bool refused = test::with_allocation_failing(1, test::Shortage::from_then_on,
                                                     [&] { EXPECT_TRUE(array.append(4)); });
  EXPECT_FALSE(refused);
}

TEST(GrowableArray, AFailedGrowthLeavesItAsItWas) {
  const auto scenario = [] {
    Array array;
    for (int i = 0; i < 9; ++i) {
      const std::vector<int> before = values_of(array);
      if (!array.append(i)) {
        EXPECT_TRUE(test::allocation_refused());
        EXPECT_EQ(values_of(array), before);
      }
    }
  };
  test::fail_each_allocation(scenario);
  test::throw_at_each_allocation(scenario);
}

}  // namespace
}  // namespace qmsd
