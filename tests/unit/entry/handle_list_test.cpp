#include "kernel/entry/handle_list.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "tests/support/allocation_failures.h"

namespace qmsd {
namespace {

std::vector<std::uint32_t> values_of(const HandleList& list) {
  std::vector<std::uint32_t> values;
  for (const HandleRecord* record : list) values.push_back(record->handle);
  return values;
}

std::vector<std::uint32_t> removal_order(HandleList& list) {
  std::vector<std::uint32_t> order;
  while (const HandleList::Owner oldest = list.remove_oldest()) order.push_back(oldest->handle);
  return order;
}

TEST(HandleList, IssuesConsecutiveValuesFromTheFirst) {
  HandleList list;
  EXPECT_EQ(list.add()->handle, 0x10000u);
  EXPECT_EQ(list.add()->handle, 0x10001u);
}

TEST(HandleList, ANewRecordIsUnboundAndHeldOnce) {
  HandleList list;
  const HandleRecord* record = list.add();
  EXPECT_EQ(record->kind, OwnerKind::unbound);
  EXPECT_EQ(record->references, 1);
  EXPECT_EQ(record->owner_handle, 0u);
  EXPECT_FALSE(record->owner_name);
}

TEST(HandleList, DoesNotReuseAValueThatWasGivenBack) {
  HandleList list;
  list.remove(list.add()->handle);
  EXPECT_EQ(list.add()->handle, 0x10001u);
}

TEST(HandleList, StartsAgainBehindTheLastValueAndSkipsLiveOnes) {
  HandleList list(0xFFFEFFFE);
  EXPECT_EQ(list.add()->handle, 0xFFFEFFFFu);
  EXPECT_EQ(list.add()->handle, 0x10000u);
  EXPECT_EQ(list.add()->handle, 0x10001u);
  HandleList wrapped(0xFFFEFFFD);
  wrapped.add();
  wrapped.add();
  EXPECT_EQ(values_of(wrapped), (std::vector<std::uint32_t>{0xFFFEFFFE, 0xFFFEFFFF}));
  wrapped.add();
  EXPECT_EQ(values_of(wrapped), (std::vector<std::uint32_t>{0x10000, 0xFFFEFFFE, 0xFFFEFFFF}));
}

TEST(HandleList, NeverIssuesALiveValue) {
  // A counter that went round meets the handles that outlived the whole round.
  HandleList list(0xFFFEFFFF);
  EXPECT_EQ(list.add()->handle, 0x10000u);
  EXPECT_EQ(list.add()->handle, 0x10001u);
}

class StartValue : public testing::TestWithParam<std::uint32_t> {};

TEST_P(StartValue, OutsideTheRangeLeadsToTheFirstHandle) {
  HandleList list(GetParam());
  EXPECT_EQ(list.add()->handle, kFirstHandle);
}

INSTANTIATE_TEST_SUITE_P(HandleList, StartValue,
                         testing::Values(0u, 1u, 0xFFFFu, 0xFFFEFFFFu, 0xFFFF0000u, 0xFFFFFFFFu));

TEST(HandleList, StaysSortedByValue) {
  HandleList list(0xFFFEFFFD);
  for (int i = 0; i < 100; ++i) ASSERT_NE(list.add(), nullptr);
  const std::vector<std::uint32_t> values = values_of(list);
  EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
  for (const std::uint32_t value : values) EXPECT_EQ(list.find(value)->handle, value);
}

TEST(HandleList, FindsOnlyLiveHandles) {
  HandleList list;
  const std::uint32_t first = list.add()->handle;
  const std::uint32_t second = list.add()->handle;
  EXPECT_TRUE(list.remove(first));
  EXPECT_EQ(list.find(first), nullptr);
  EXPECT_EQ(list.find(second)->handle, second);
  EXPECT_EQ(list.find(0), nullptr);
  EXPECT_FALSE(list.remove(first));
}

TEST(HandleList, RemovesTheOldestFirstWhateverItsValue) {
  HandleList list(0xFFFEFFFD);
  for (int i = 0; i < 3; ++i) list.add();
  EXPECT_EQ(removal_order(list), (std::vector<std::uint32_t>{0xFFFEFFFE, 0xFFFEFFFF, 0x10000}));
}

TEST(HandleList, KeepsTheOrderOfCreationWhenTheCounterWraps) {
  HandleList list(0, 0xFFFFFFFC);
  for (int i = 0; i < 3; ++i) list.add();
  const HandleRecord* newest = list.add();
  EXPECT_EQ(newest->sequence, 3u) << "three records were renumbered 0, 1, 2";
  std::uint32_t expected = 0;
  for (const HandleRecord* record : list) EXPECT_EQ(record->sequence, expected++);
  EXPECT_EQ(removal_order(list), (std::vector<std::uint32_t>{0x10000, 0x10001, 0x10002, 0x10003}));
}

// ---- Exhausted memory ----

// What is added while the n-th allocation and all behind it fail.
const HandleRecord* add_without(HandleList& list, int n) {
  const HandleRecord* added = nullptr;
  EXPECT_TRUE(
      test::with_allocation_failing(n, test::Shortage::from_then_on, [&] { added = list.add(); }));
  return added;
}

TEST(HandleList, SurvivesEveryFailedAllocation) {
  for (int failing = 1; failing <= 2; ++failing) {
    HandleList list;
    EXPECT_EQ(add_without(list, failing), nullptr) << failing;
    EXPECT_EQ(list.size(), 0u);
    EXPECT_NE(list.add(), nullptr);
  }
}

TEST(HandleList, AFailedRenumberingLeavesTheCounterForTheNextTry) {
  HandleList list(0, 0xFFFFFFFE);
  list.add();
  EXPECT_EQ(add_without(list, 1), nullptr);
  EXPECT_EQ(list.add()->sequence, 1u) << "renumbered now: one record lived";
}

}  // namespace
}  // namespace qmsd
