// The function codes of slots where ids, uses or memory run out.
#include "modules/slots.h"

#include <cstddef>
#include <limits>

#include "tests/support/allocation_failures.h"
#include "tests/support/expect_error.h"
#include "tests/support/poison.h"

namespace qmsd {
namespace {

constexpr std::int32_t kMostUsers = std::numeric_limits<std::int32_t>::max();

class Slots : public testing::Test {
 protected:
  Slots() {
    // The code's text and the message buffer are there before memory runs out.
    fail(QM_ERROR_NO_MEMORY);
  }
  ~Slots() override { slots_destroy(); }

  static qm_slot created() {
    auto record = test::poisoned<qm_slot>();
    EXPECT_TRUE(slot_create(record));
    return record;
  }
  // The slot around the bytes that were handed out.
  static Slot& around(void* data) {
    return *reinterpret_cast<Slot*>(static_cast<std::byte*>(data) - offsetof(Slot, data));
  }
  template <class Call>
  static void expect_refused(Call call, std::int32_t id, std::int32_t code) {
    auto record = test::poisoned<qm_slot>();
    record.id = id;
    EXPECT_FALSE(call(record));
    EXPECT_ERROR(code, QM_W("(slot)"));
    EXPECT_EQ(record.id, id);
    EXPECT_TRUE(test::is_poison(record.data));
  }

 private:
  test::ErrorState errors_;
};

TEST_F(Slots, EndWhenAllIdsAreTaken) {
  slots_create(3);
  for (const std::int32_t id : {1, 2, 3}) EXPECT_EQ(created().id, id);
  expect_refused(slot_create, 77, QM_ERROR_RANGE);
}

TEST_F(Slots, RefuseTheLastUseThatFits) {
  slots_create();
  const qm_slot slot = created();
  around(slot.data).users = kMostUsers - 2;
  qm_slot joined{slot.id, nullptr};
  EXPECT_TRUE(slot_join(joined));
  expect_refused(slot_join, slot.id, QM_ERROR_RANGE);
  EXPECT_EQ(around(slot.data).users, kMostUsers) << "the use counts all the same";
}

TEST_F(Slots, SurviveExhaustedMemory) {
  test::fail_each_allocation([] {
    slots_destroy();
    const bool exists = slots_create();
    auto record = test::poisoned<qm_slot>();
    const bool done = slot_create(record);
    EXPECT_NE(done, test::allocation_refused());
    if (!exists) {
      EXPECT_ERROR(QM_ERROR_DAMAGED, QM_W("(init slot)"));
      return;
    }
    if (done) return;
    EXPECT_ERROR(QM_ERROR_NO_MEMORY, QM_W("(slot)"));
    EXPECT_TRUE(test::is_poison(record.id) && test::is_poison(record.data));
    expect_refused(slot_join, 1, QM_ERROR_NOT_FOUND);
    expect_refused(slot_release, 1, QM_ERROR_NOT_FOUND);
  });
}

TEST_F(Slots, GoOnBehindAnEmptyPlace) {
  slots_create();
  EXPECT_TRUE(test::with_allocation_failing(
      2, test::Shortage::once, [] { expect_refused(slot_create, 77, QM_ERROR_NO_MEMORY); }));
  const qm_slot first = created();
  const qm_slot second = created();
  EXPECT_EQ(first.id, 1);
  EXPECT_EQ(second.id, 2);
  EXPECT_TRUE(slot_release(first));
  qm_slot joined{second.id, nullptr};
  EXPECT_TRUE(slot_join(joined));
  EXPECT_EQ(joined.data, second.data);
  expect_refused(slot_join, first.id, QM_ERROR_NOT_FOUND);
}

}  // namespace
}  // namespace qmsd
