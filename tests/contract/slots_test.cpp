// Slots: 8-byte cells shared by number.
#include <cstring>
#include <thread>
#include <vector>

#include "tests/contract/support/module_test.h"

namespace contract {
namespace {

class Slots : public ModuleTest {
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

// Ending at once whoever is last: no use is lost, none counts twice.
TEST_F(Slots, EndWithTheLastOfManyThreads) {
  constexpr int kThreads = 8;
  for (int times = 0; times < 50; ++times) {
    const std::int32_t id = create().id;
    for (int user = 1; user < kThreads; ++user) join(id);
    {
      std::vector<std::jthread> threads;
      for (int user = 0; user < kThreads; ++user) {
        threads.emplace_back([this, id] { release(id); });
      }
    }
    expect_unknown(QM_CALL_SLOTJOIN, id);
  }
}

// ---- Modules -----------------------------------------------------------------------------------

TEST_F(Slots, AreSharedByModulesThatDoNotKnowEachOther) {
  install("tm_plain");
  install("tm_other");
  const std::uint32_t first = open(QM_W("tm_plain"));
  const std::uint32_t second = open(QM_W("tm_other"));
  const auto through = [this](std::uint32_t module, std::uint32_t code, qm_slot* slot) {
    tm_forward forward{0, code, slot, 0};
    EXPECT_EQ(kernel().through(module, TM_FORWARD, &forward), 1);
    return forward.result;
  };

  auto created = poisoned<qm_slot>();
  EXPECT_EQ(through(first, QM_CALL_SLOTCREATE, &created), 1);
  qm_slot joined{created.id, nullptr};
  EXPECT_EQ(through(second, QM_CALL_SLOTJOIN, &joined), 1);
  EXPECT_EQ(joined.data, created.data);

  // It does not belong to who made it.
  EXPECT_EQ(through(first, QM_CALL_SLOTRELEASE, &created), 1);
  EXPECT_TRUE(close(first));
  EXPECT_FALSE(is_loaded("tm_plain"));
  EXPECT_EQ(join(created.id), joined.data);
  release(created.id);

  EXPECT_EQ(through(second, QM_CALL_SLOTRELEASE, &joined), 1);
  EXPECT_EQ(through(second, QM_CALL_SLOTJOIN, &joined), 0);
  EXPECT_TRUE(close(second));
}

TEST_F(Slots, EndWithTheKernel) {
  for (int i = 0; i < 40; ++i) join(create().id);
  load_kernel();
  expect_unknown(QM_CALL_SLOTJOIN, 1);
  EXPECT_EQ(create().id, 1);
}

}  // namespace
}  // namespace contract
