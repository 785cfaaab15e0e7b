#include "kernel/base/lock_order.h"

#include <gtest/gtest.h>

#include <thread>

#include "kernel/base/rw_lock.h"

namespace qmsd {
namespace {

// Only a build that checks its locks can fail this one.
TEST(LockOrder, AllowsLocksOfRisingRankInAnyOrderOfLeaving) {
  assert_no_lock_held("test");
  RwLock low(LockRank::handle_table);
  RwLock middle(LockRank::registry);
  RwLock high(LockRank::error_texts);
  ReadGuard first(low);
  const ReadGuard second(middle);
  const WriteGuard third(high);
  first.unlock();
}

#ifdef QMSD_CHECK_LOCKS

void take_in_order(LockRank first, LockRank second) {
  RwLock outer(first);
  RwLock inner(second);
  const ReadGuard holding(outer);
  const ReadGuard taking(inner);
}

TEST(LockOrderDeathTest, AbortsWhenALowerLockIsTakenLater) {
  EXPECT_DEATH(take_in_order(LockRank::registry, LockRank::handle_table), "taking rank 1");
}

TEST(LockOrderDeathTest, AbortsOnTwoLocksOfOneRank) {
  EXPECT_DEATH(take_in_order(LockRank::groups, LockRank::groups), "taking rank 5");
}

TEST(LockOrderDeathTest, AbortsWhenALockIsLeftThatIsNotHeld) {
  EXPECT_DEATH(note_unlocked(LockRank::slots), "leaving rank 4");
}

TEST(LockOrderDeathTest, AbortsWhenAModuleWouldBeCalledWithALockHeld) {
  EXPECT_DEATH(
      {
        RwLock lock(LockRank::registry);
        const ReadGuard guard(lock);
        assert_no_lock_held("module call");
      },
      "reaching module call");
}

TEST(LockOrder, CountsEachThreadForItself) {
  RwLock high(LockRank::error_texts);
  RwLock low(LockRank::handle_table);
  const ReadGuard guard(high);
  std::thread([&] {
    assert_no_lock_held("thread");
    const ReadGuard mine(low);
  }).join();
}

#endif

}  // namespace
}  // namespace qmsd
