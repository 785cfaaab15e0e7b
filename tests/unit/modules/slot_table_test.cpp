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

TEST(SlotTable, CountsOnFromOneBehindTheLastId) {
  SlotTable table(kLastId - 1);
  for (const std::int32_t id : {kLastId - 1, kLastId, 1, 2}) EXPECT_EQ(created(table).id, id);
  for (const std::int32_t id : {1, 2, kLastId - 1, kLastId}) EXPECT_EQ(table.find(id)->id, id);
}

TEST(SlotTable, FillsTheFirstGapAtOrAboveTheCounter) {
  SlotTable table(1, 8);
  Slot* slots[9] = {};
  for (std::int32_t id = 1; id <= 8; ++id) slots[id] = &created(table);
  for (const std::int32_t id : {2, 3, 6, 8}) table.release(*slots[id]);
  for (const std::int32_t id : {2, 3, 6, 8}) EXPECT_EQ(created(table).id, id) << "in this order";
}

TEST(SlotTable, GoesRoundToAGapBelowTheCounter) {
  SlotTable table(5, 8);
  Slot* slots[9] = {};
  for (const std::int32_t id : {5, 6, 7, 8, 1, 2, 3}) slots[id] = &created(table);
  table.release(*slots[2]);
  EXPECT_EQ(created(table).id, 4);
  EXPECT_EQ(created(table).id, 2) << "behind 4 all are taken up to the last, and 1 is";
}

TEST(SlotTable, HasNoIdWhenAllAreTaken) {
  SlotTable table(3, 4);
  Slot* slot = nullptr;
  for (int i = 0; i < 4; ++i) slot = &created(table);
  Slot* fifth = nullptr;
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(table.create(fifth), SlotTable::Created::no_id);
    EXPECT_EQ(fifth, nullptr);
  }
  const std::int32_t id = slot->id;
  table.release(*slot);
  EXPECT_EQ(created(table).id, id);
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

TEST(SlotTable, AnEmptyPlaceCountsAsOneOfTheArray) {
  SlotTable table;
  EXPECT_EQ(create_with(table, 1), SlotTable::Created::no_memory);
  for (int i = 0; i < 31; ++i) created(table);
  EXPECT_EQ(table.capacity(), 32u);
  created(table);
  EXPECT_EQ(table.capacity(), 64u);
}

TEST(SlotTable, EmptyPlacesKeepTheOrder) {
  SlotTable table(6, 8);
  for (const std::int32_t id : {6, 7, 8}) EXPECT_EQ(created(table).id, id);
  EXPECT_EQ(create_with(table, 0), SlotTable::Created::no_memory) << "in front of all";
  EXPECT_EQ(create_with(table, 0), SlotTable::Created::no_memory);
  for (const std::int32_t id : {1, 2, 3, 4, 5}) EXPECT_EQ(created(table).id, id);
  for (std::int32_t id = 1; id <= 8; ++id) {
    ASSERT_NE(table.find(id), nullptr) << id;
    EXPECT_EQ(table.find(id)->id, id);
  }
}

TEST(SlotTable, AFailedGrowthLeavesTheTableAsItWas) {
  SlotTable table;
  EXPECT_EQ(create_with(table, 0), SlotTable::Created::no_memory);
  EXPECT_EQ(table.capacity(), 0u);
  EXPECT_EQ(created(table).id, 1);
}

}  // namespace
}  // namespace qmsd
