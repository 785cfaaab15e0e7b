// Slots: 8-byte cells shared by number.
#include <cstring>

#include "tests/contract/support/kernel_test.h"

namespace contract {
namespace {

class Slots : public KernelTest {
 protected:
  qm_slot create() {
    auto record = poisoned<qm_slot>();
    EXPECT_EQ(kernel()(QM_CALL_SLOTCREATE, &record), 1);
    return record;
  }
  void* join(std::int32_t id) {
    qm_slot record{id, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_SLOTJOIN, &record), 1);
    EXPECT_EQ(record.id, id);
    return record.data;
  }
  void release(std::int32_t id) {
    auto record = poisoned<qm_slot>();
    record.id = id;
    EXPECT_EQ(kernel()(QM_CALL_SLOTRELEASE, &record), 1);
    EXPECT_EQ(record.id, id);
    EXPECT_TRUE(is_poison(record.data));
  }
  void expect_unknown(std::uint32_t code, std::int32_t id) {
    auto record = poisoned<qm_slot>();
    record.id = id;
    EXPECT_TRUE(kernel().refuses(code, record, failure(2, "(slot)"))) << id;
  }
};

TEST_F(Slots, AreNumberedFromOne) {
  EXPECT_EQ(create().id, 1);
  EXPECT_EQ(create().id, 2);
}

TEST_F(Slots, AreZeroAndAlignedAtFirst) {
  const qm_slot slot = create();
  const char zero[8] = {};
  EXPECT_EQ(std::memcmp(slot.data, zero, sizeof zero), 0);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(slot.data) % 8, 0u);
}

TEST_F(Slots, ShareTheirBytesWithEveryoneWhoJoins) {
  const qm_slot slot = create();
  void* joined = join(slot.id);
  EXPECT_EQ(joined, slot.data);
  std::memcpy(joined, "shared!", 8);
  EXPECT_STREQ(static_cast<char*>(slot.data), "shared!");
}

TEST_F(Slots, StayWhereTheyAreWhenOthersCome) {
  const qm_slot first = create();
  for (int i = 0; i < 100; ++i) create();
  EXPECT_EQ(join(first.id), first.data);
}

TEST_F(Slots, LiveUntilTheLastRelease) {
  const std::int32_t id = create().id;
  join(id);
  join(id);
  for (int use = 0; use < 3; ++use) release(id);
  expect_unknown(QM_CALL_SLOTRELEASE, id);
  expect_unknown(QM_CALL_SLOTJOIN, id);
}

TEST_F(Slots, DoNotTakeANumberBelowTheCounter) {
  for (int i = 0; i < 3; ++i) create();
  release(2);
  EXPECT_EQ(create().id, 4);
}

TEST_F(Slots, CanAllGoAndComeAgain) {
  release(create().id);
  EXPECT_EQ(create().id, 2);
}

TEST_F(Slots, UnknownNumbersAreRefused) {
  create();
  for (const std::int32_t id : {0, -1, 2, 99}) {
    expect_unknown(QM_CALL_SLOTJOIN, id);
    expect_unknown(QM_CALL_SLOTRELEASE, id);
  }
}

}  // namespace
}  // namespace contract
