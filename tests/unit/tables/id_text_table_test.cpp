#include "services/tables/id_text_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include "tests/support/allocation_failures.h"
#include "tests/support/wide_text.h"

namespace qmsd {
namespace {

using test::WideString;

// Ids whose 32-bit differences overflow.
constexpr std::array<std::int32_t, 5> kFarIds = {INT32_MIN, -1, 0, 22, INT32_MAX};

WideString text_for(std::int32_t id) {
  const std::string digits = std::to_string(id);
  return WideString(digits.begin(), digits.end());
}

template <class Table>
bool insert(Table& table, std::int32_t id) {
  OwnedText text = copy_text(text_for(id));
  return text && table.insert(id, std::move(text));
}

template <class Table>
void expect_all_found(Table& table) {
  for (const std::int32_t id : kFarIds) {
    const IdText* entry = table.find(id);
    ASSERT_NE(entry, nullptr) << id;
    EXPECT_EQ(entry->id, id);
    EXPECT_EQ(entry->text, text_for(id));
  }
  for (const std::int32_t id : {INT32_MIN + 1, -2, 1, 21, 23, INT32_MAX - 1}) {
    EXPECT_EQ(table.find(id), nullptr) << id;
  }
}

template <class Order>
class OrderedTable : public testing::Test {};

using Orders = testing::Types<Ascending, Descending>;
TYPED_TEST_SUITE(OrderedTable, Orders);

TYPED_TEST(OrderedTable, FindsIdsHoweverFarApartAndInWhateverOrderTheyCame) {
  auto ids = kFarIds;
  do {
    IdTextTable<TypeParam, 16> table;
    for (const std::int32_t id : ids) ASSERT_TRUE(insert(table, id));
    expect_all_found(table);
  } while (std::next_permutation(ids.begin(), ids.end()));
}

TYPED_TEST(OrderedTable, FindsRowsBeforeAndAfterItIsSorted) {
  IdTextTable<TypeParam, 16> table;
  for (const std::int32_t id : kFarIds) ASSERT_TRUE(table.append(id, copy_text(text_for(id))));
  expect_all_found(table);
  table.sort();
  expect_all_found(table);
}

TYPED_TEST(OrderedTable, SortsItselfBeforeAnInsertion) {
  IdTextTable<TypeParam, 16> table;
  for (const std::int32_t id : {22, INT32_MIN, INT32_MAX, -1}) {
    ASSERT_TRUE(table.append(id, copy_text(text_for(id))));
  }
  ASSERT_TRUE(insert(table, 0));
  expect_all_found(table);
}

TYPED_TEST(OrderedTable, FindsTheOthersAfterARemoval) {
  for (const std::int32_t removed : kFarIds) {
    IdTextTable<TypeParam, 16> table;
    for (const std::int32_t id : kFarIds) ASSERT_TRUE(insert(table, id));
    table.remove(*table.find(removed));
    EXPECT_EQ(table.find(removed), nullptr);
    EXPECT_EQ(table.size(), kFarIds.size() - 1);
    ASSERT_TRUE(insert(table, removed));
    expect_all_found(table);
  }
}

TYPED_TEST(OrderedTable, SurvivesEveryFailedAllocation) {
  const auto scenario = [] {
    IdTextTable<TypeParam, 2> table;
    for (const std::int32_t id : kFarIds) {
      const std::size_t before = table.size();
      if (insert(table, id)) continue;
      EXPECT_EQ(table.size(), before);
      EXPECT_EQ(table.find(id), nullptr);
    }
    if (!test::allocation_refused()) expect_all_found(table);
  };
  test::fail_each_allocation(scenario);
  test::throw_at_each_allocation(scenario);
}

TEST(IdTextTable, TakesTheLastOfTwoRowsWhileUnsorted) {
  IdTextTable<Ascending, 32> table;
  ASSERT_TRUE(table.append(5, copy_text(QM_W("first"))));
  ASSERT_TRUE(table.append(5, copy_text(QM_W("second"))));
  EXPECT_EQ(WideView(table.find(5)->text), QM_W("second"));
}

TEST(IdTextTable, ReplacesTextsAndTakesThemAway) {
  IdTextTable<Ascending, 32> table;
  ASSERT_TRUE(insert(table, 5));
  ASSERT_TRUE(table.replace(*table.find(5), QM_W("new")));
  EXPECT_EQ(WideView(table.find(5)->text), QM_W("new"));
  ASSERT_TRUE(table.replace(*table.find(5), nullptr));
  EXPECT_EQ(table.find(5)->text, nullptr);
}

TEST(IdTextTable, LosesTheOldTextWhenTheNewOneCannotBeCopied) {
  for (const test::Shortage shortage : {test::Shortage::once, test::Shortage::throws}) {
    IdTextTable<Ascending, 32> table;
    ASSERT_TRUE(insert(table, 5));
    test::with_allocation_failing(1, shortage, [&] {
      try {
        EXPECT_FALSE(table.replace(*table.find(5), QM_W("new")));
      } catch (const std::bad_alloc&) {
        EXPECT_EQ(shortage, test::Shortage::throws);
      }
    });
    EXPECT_EQ(table.find(5)->text, nullptr);
  }
}

TEST(SharedTextTable, IsClaimedOnce) {
  SharedTextTable<Ascending, 32> table(LockRank::groups);
  EXPECT_TRUE(table.claim_loading());
  EXPECT_FALSE(table.claim_loading());
}

}  // namespace
}  // namespace qmsd
