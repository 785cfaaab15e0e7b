#include "modules/slot_table.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "platform/heap.h"
#include "platform/test_hooks.h"

namespace qmsd {
namespace {

constexpr std::int32_t kLastId = std::numeric_limits<std::int32_t>::max();

Slot& created(SlotTable& table) {
  Slot* slot = nullptr;
  EXPECT_EQ(table.create(slot), SlotTable::Created::yes);
  return *slot;
}

TEST(SlotTable, CountsIdsFromOne) {
  SlotTable table;
  EXPECT_EQ(created(table).id, 1);
  EXPECT_EQ(created(table).id, 2);
}

TEST(SlotTable, ANewSlotIsZeroAlignedAndHasOneUser) {
  SlotTable table;
  const Slot& slot = created(table);
  EXPECT_EQ(slot.users, 1);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(slot.data) % 8, 0u);
  for (const std::byte byte : slot.data) EXPECT_EQ(byte, std::byte{0});
}

TEST(SlotTable, DoesNotReuseAnIdBelowTheCounter) {
  SlotTable table;
  created(table);
  Slot& second = created(table);
  created(table);
  table.release(second);
  EXPECT_EQ(created(table).id, 4);
}

TEST(SlotTable, FillsTheFirstGapAfterTheCounterWentRound) {
  SlotTable table(kLastId);
  EXPECT_EQ(created(table).id, kLastId);
  Slot& first = created(table);
  EXPECT_EQ(first.id, 1);
  EXPECT_EQ(created(table).id, 2);

  SlotTable busy;
  created(busy);
  created(busy);
  SlotTable wrapped(kLastId);
  created(wrapped);
  EXPECT_EQ(created(wrapped).id, 1);
  for (const std::int32_t id : {kLastId, 1}) EXPECT_EQ(wrapped.find(id)->id, id);
}

TEST(SlotTable, SkipsLiveIdsWhenTheCounterMeetsThem) {
  SlotTable table(kLastId - 1);
  created(table);
  created(table);
  const std::int32_t first = created(table).id;
  EXPECT_EQ(first, 1);
  EXPECT_EQ(table.find(kLastId - 1)->id, kLastId - 1);
}

class OddCounter : public testing::TestWithParam<std::int32_t> {};
TEST_P(OddCounter, CountsAsOne) {
  SlotTable table(GetParam());
  EXPECT_EQ(created(table).id, 1);
}
INSTANTIATE_TEST_SUITE_P(SlotTable, OddCounter,
                         testing::Values(0, -1, std::numeric_limits<std::int32_t>::min()));

TEST(SlotTable, TheLastReleaseEndsTheSlot) {
  SlotTable table;
  Slot& slot = created(table);
  EXPECT_TRUE(SlotTable::join(slot));
  table.release(slot);
  EXPECT_NE(table.find(1), nullptr);
  table.release(slot);
  EXPECT_EQ(table.find(1), nullptr);
}

TEST(SlotTable, ACountBelowOneEndsTheSlotToo) {
  SlotTable table;
  Slot& slot = created(table);
  slot.users = -5;
  table.release(slot);
  EXPECT_EQ(table.find(1), nullptr);
}

TEST(SlotTable, RefusesTheLastUseButKeepsTheRaise) {
  SlotTable table;
  Slot& slot = created(table);
  slot.users = kLastId - 2;
  EXPECT_TRUE(SlotTable::join(slot));
  EXPECT_FALSE(SlotTable::join(slot));
  EXPECT_EQ(slot.users, kLastId);
  slot.users = 1;
}

TEST(SlotTable, UnknownIdsAreNotFound) {
  SlotTable table;
  created(table);
  for (const std::int32_t id : {0, -1, 2, 99, kLastId}) EXPECT_EQ(table.find(id), nullptr) << id;
}

TEST(SlotTable, FreesTheArrayWithTheLastSlotAndGrowsInSteps) {
  SlotTable table;
  Slot& only = created(table);
  EXPECT_EQ(table.capacity(), 32u);
  table.release(only);
  EXPECT_EQ(table.capacity(), 0u);
  for (int i = 0; i < 33; ++i) created(table);
  EXPECT_EQ(table.capacity(), 64u);
}

// ---- Exhausted memory ----

int g_allocations_left;
bool allow_some(std::size_t) { return g_allocations_left-- > 0; }

SlotTable::Created create_with(SlotTable& table, int allocations) {
  g_allocations_left = allocations;
  platform::set_allocation_gate(allow_some);
  Slot* slot = nullptr;
  const SlotTable::Created result = table.create(slot);
  platform::set_allocation_gate(nullptr);
  EXPECT_EQ(slot, nullptr);
  return result;
}

TEST(SlotTable, AnEmptyPlaceIsSkippedByEveryone) {
  SlotTable table;
  EXPECT_EQ(create_with(table, 1), SlotTable::Created::no_memory) << "array yes, slot no";
  EXPECT_EQ(table.capacity(), 32u);
  Slot& slot = created(table);
  EXPECT_EQ(slot.id, 1) << "the id was not used up";
  EXPECT_EQ(table.find(1), &slot);
  table.release(slot);
  EXPECT_EQ(table.capacity(), 0u) << "an empty place alone keeps no array";
}

TEST(SlotTable, AFailedGrowthLeavesTheTableAsItWas) {
  SlotTable table;
  EXPECT_EQ(create_with(table, 0), SlotTable::Created::no_memory);
  EXPECT_EQ(table.capacity(), 0u);
  EXPECT_EQ(created(table).id, 1);
}

}  // namespace
}  // namespace qmsd
